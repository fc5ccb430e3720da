// The active window as the window manager tells it; without one, the window that has the input.
#include "platform/Foreground.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/linux/x11/WindowOwner.h"
#include "platform/linux/x11/XDisplay.h"

namespace zv {
namespace {

bool EndsInExe(const std::string& path) {
    constexpr std::string_view ending = ".exe";
    return path.size() >= ending.size() &&
           std::equal(ending.begin(), ending.end(), path.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [](char expected, char unit) { return expected == unit || expected == (unit | 0x20); });
}

/// The Windows program that runs under a compatibility layer's loader, with this system's separators. Else nothing.
std::string WindowsProgram(const std::string& process) {
    std::ifstream file("/proc/" + process + "/cmdline", std::ios::binary);
    std::string program;
    std::getline(file, program, '\0');
    if (!EndsInExe(program)) {
        return {};
    }
    std::replace(program.begin(), program.end(), '\\', '/');
    return program;
}

std::string ImageOf(const std::string& process) {
    std::string program = WindowsProgram(process);
    if (!program.empty()) {
        return program;
    }
    std::error_code code;
    std::string image = std::filesystem::read_symlink("/proc/" + process + "/exe", code).native();
    constexpr std::string_view replaced = " (deleted)";
    if (image.ends_with(replaced)) {
        image.resize(image.size() - replaced.size());
    }
    return image;
}

}  // namespace

ForegroundProcess LookUpForeground() {
    const std::optional<XDisplay> display = ThreadDisplay();
    const xcb_window_t window = display ? ActiveWindow(*display) : 0;
    if (window == 0) {
        return {};
    }
    const std::uint32_t process = ProcessOfWindow(*display, window);
    if (process == OwnProcessId()) {
        return {ForegroundKind::Own, process, {}};
    }
    const std::string image = process != 0 ? ImageOf(std::to_string(process)) : std::string();
    if (image.empty()) {
        return {ForegroundKind::Unknown, process, {}};
    }
    return {ForegroundKind::Known, process, FromUtf8(image)};
}

}  // namespace zv
