#include "core/CreateFolder.h"

#include <filesystem>

#include "platform/Files.h"

namespace zv {

bool CreateFolder(TextView folder) { return !CreateFolders(ToPath(folder)); }

bool CreateParentFolder(TextView path) {
    const std::filesystem::path folder = ToPath(path).parent_path();
    return !folder.empty() && !CreateFolders(folder);
}

}  // namespace zv
