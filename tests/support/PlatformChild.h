// Starts tests/support/PlatformChild.cpp, which is built beside the tests.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>

#include "core/ReadSharedFile.h"
#include "platform/ChildProcess.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv::support {

inline Text PlatformChildPath() {
    const Text plain = JoinPath(ExecutableFolder(), u"platform_child");
    return std::filesystem::exists(ToPath(plain)) ? plain : plain + u".exe";
}

/// `arguments` follow the quoted name of the executable.
inline ChildOptions PlatformChild(const Text& arguments, const std::filesystem::path& log) {
    const Text path = PlatformChildPath();
    return {path, u"\"" + path + u"\" " + arguments, FromPath(log)};
}

/// The content of a file with "\n" as line end.
inline std::string ContentOf(const std::filesystem::path& path) {
    std::string content = ReadSharedFile(FromPath(path), 0x1000000);
    std::erase(content, '\r');
    return content;
}

}  // namespace zv::support
