// The desktop's opener, which knows the user's browser and file manager.
#include "platform/Links.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "core/Utf8.h"
#include "platform/Files.h"
#include "platform/linux/posix/DetachedProgram.h"

namespace zv {
namespace {

bool OpenOnDesktop(const std::string& target) {
    return StartDetached({"xdg-open", target}) != 0 || StartDetached({"gio", "open", target}) != 0;
}

}  // namespace

bool OpenLink(TextView address) { return IsWebAddress(address) && OpenOnDesktop(ToUtf8(address)); }

/// An absolute path begins with "/", so the opener reads it neither as an option nor as an address.
bool OpenFolderInDesktop(TextView path) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::absolute(ToPath(path), error);
    return !error && std::filesystem::is_directory(folder, error) && OpenOnDesktop(folder.native());
}

}  // namespace zv
