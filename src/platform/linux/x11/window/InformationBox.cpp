// A message box of the desktop's own program; without one, a line on standard error.
#include "platform/InformationBox.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/linux/posix/DetachedProgram.h"

namespace zv {

void ShowInformation(TextView text, TextView caption) {
    static std::uint32_t box = 0;
    if (box != 0 && IsProcessRunning(box)) {
        return;
    }
    const std::string body = ToPath(text).string();
    const std::string title = ToPath(caption).string();
    box = StartDetached({"zenity", "--info", "--no-markup", "--title=" + title, "--text=" + body});
    if (box == 0) {
        box = StartDetached({"xmessage", "-center", "-title", title, body});
    }
    if (box == 0) {
        std::fprintf(stderr, "%s: %s\n", title.c_str(), body.c_str());
    }
}

}  // namespace zv
