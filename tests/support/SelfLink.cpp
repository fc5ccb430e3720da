#include "support/SelfLink.h"

namespace zv::support {

void MakeSelfLink(const std::filesystem::path& path) { std::filesystem::create_symlink(path.filename(), path); }

}  // namespace zv::support
