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

}  // namespace

SessionMarker& CurrentSessionMarker() { return currentMarker; }

void SessionMarkerBegin(TextView data) {
    CreateFolder(data);
    currentMarker.path = Below(data, u"running.lock");
    currentMarker.previousRunUnclean = PathExists(currentMarker.path);
    std::ofstream(ToPath(currentMarker.path), std::ios::out | std::ios::trunc | std::ios::binary) << "running";
}

void SessionMarkerEnd() {
    if (currentMarker.path.empty()) {
        return;
    }
    std::error_code ignored;
    std::filesystem::remove(ToPath(currentMarker.path), ignored);
}

}  // namespace zv
