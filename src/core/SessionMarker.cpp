#include "core/SessionMarker.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "core/AppFolders.h"
#include "core/CreateFolder.h"
#include "platform/Files.h"

namespace zv {
namespace {

SessionMarker currentMarker;

bool Exists(const std::filesystem::path& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::status_known(status)) {
        throw std::filesystem::filesystem_error("exists", path, error);
    }
    return std::filesystem::exists(status);
}

}  // namespace

SessionMarker& CurrentSessionMarker() { return currentMarker; }

void SessionMarkerBegin(TextView data) {
    CreateFolder(data);
    currentMarker.path = Below(data, u"running.lock");
    const std::filesystem::path path = ToPath(currentMarker.path);
    currentMarker.previousRunUnclean = Exists(path);
    std::ofstream(path, std::ios::out | std::ios::trunc | std::ios::binary) << "running";
}

void SessionMarkerEnd() {
    if (currentMarker.path.empty()) {
        return;
    }
    std::error_code ignored;
    std::filesystem::remove(ToPath(currentMarker.path), ignored);
}

}  // namespace zv
