// A symbolic link to itself: the system cannot check whether it exists.
#pragma once

#include <filesystem>

namespace zv::support {

void MakeSelfLink(const std::filesystem::path& path);

}  // namespace zv::support
