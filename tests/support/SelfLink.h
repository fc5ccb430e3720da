// Symbolic links.
#pragma once

#include <filesystem>

namespace zv::support {

/// A link to `target`, which is relative to the folder of the link. Removed at the end of its life.
class SymbolicLink {
public:
    SymbolicLink(const std::filesystem::path& target, std::filesystem::path path);
    ~SymbolicLink();
    SymbolicLink(const SymbolicLink&) = delete;
    SymbolicLink& operator=(const SymbolicLink&) = delete;

private:
    std::filesystem::path path_;
};

/// Creates a link to itself: the system cannot check whether it exists.
void MakeSelfLink(const std::filesystem::path& path);

}  // namespace zv::support
