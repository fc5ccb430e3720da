#include "core/CreateFolder.h"

#include <filesystem>
#include <system_error>

#include "platform/Files.h"

namespace zv {
namespace {

bool Create(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return !error;
}

}  // namespace

bool CreateFolder(TextView folder) { return Create(ToPath(folder)); }

bool CreateParentFolder(TextView path) {
    const std::filesystem::path folder = ToPath(path).parent_path();
    return !folder.empty() && Create(folder);
}

}  // namespace zv
