#include "support/SelfLink.h"

#include <utility>

namespace zv::support {

SymbolicLink::SymbolicLink(const std::filesystem::path& target, std::filesystem::path path) : path_(std::move(path)) {
    std::filesystem::create_symlink(target, path_);
}

SymbolicLink::~SymbolicLink() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void MakeSelfLink(const std::filesystem::path& path) { std::filesystem::create_symlink(path.filename(), path); }

}  // namespace zv::support
