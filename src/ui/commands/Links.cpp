#include "ui/commands/Links.h"

#include "capture/CacheFolder.h"
#include "core/CreateFolder.h"
#include "platform/Links.h"
#include "ui/commands/Status.h"

namespace zv {
namespace {

/// Of the printable characters below 0x80, those that RFC 3986 does not allow, except "%", which starts an escape.
constexpr TextView encodedCharacters = u"\"<>\\^`{|}\x7F";

Text PercentEncoded(TextView address) {
    constexpr TextView digits = u"0123456789ABCDEF";
    Text encoded;
    for (const char16_t unit : address) {
        if (unit > u' ' && encodedCharacters.find(unit) == TextView::npos) {
            encoded += unit;
        } else {
            encoded.append({u'%', digits[unit >> 4], digits[unit & 15]});
        }
    }
    return encoded;
}

}  // namespace

void OpenFolder(const Text& path) {
    if (path.empty()) {
        ShowStatus(u"Choose a folder in Gallery > Folders.");
    } else if (!CreateFolder(path)) {
        ShowStatus(u"Cannot open folder: " + path);
    } else if (!OpenFolderInDesktop(path)) {
        ShowStatus(u"Windows could not open folder: " + path);
    }
}

void OpenLogsFolder() { OpenFolder(CaptureLogsFolder()); }

void OpenWebPage(TextView address) {
    if (!OpenLink(PercentEncoded(address))) {
        ShowStatus(u"The web page could not be opened: " + Text(address));
    }
}

}  // namespace zv
