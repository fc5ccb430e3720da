// Opens web pages and folders in the user's own programs. Interface thread only, after OpenSession.
#pragma once

#include <algorithm>

#include "core/Text.h"

namespace zv {

/// Returns true for an https:// address without blanks, control characters and double quotes, which the program that
/// opens it could read as the start of another argument.
inline bool IsWebAddress(TextView address) {
    constexpr TextView scheme = u"https://";
    return address.starts_with(scheme) && address.size() > scheme.size() &&
           std::none_of(address.begin(), address.end(),
                        [](char16_t unit) { return unit <= u' ' || unit == u'"' || unit == 0x7F; });
}

/// Opens a web address in the browser. Returns false, without an attempt, for any other text. Returns false if the
/// system has no program for it. On Linux the program may still fail after that.
bool OpenLink(TextView address);

/// Opens a folder in the file manager. Returns false under the same conditions, and if `path` names no folder.
bool OpenFolderInDesktop(TextView path);

}  // namespace zv
