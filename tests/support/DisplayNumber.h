// Numbers for the X servers of tests that run side by side.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace zv::support {

/// A number that no other test process uses. Servers that search for a free number conflict when two start at once or
/// one is killed.
inline int FreshDisplayNumber() {
    static int count = 0;
    constexpr int first = 1000;
    constexpr int span = 20000;
    return first + getpid() % span + span * (count++ % 2);
}

/// Removes the files of a killed server.
inline void ForgetDisplayNumber(int number) {
    std::error_code ignored;
    std::filesystem::remove("/tmp/.X" + std::to_string(number) + "-lock", ignored);
    std::filesystem::remove("/tmp/.X11-unix/X" + std::to_string(number), ignored);
}

}  // namespace zv::support
