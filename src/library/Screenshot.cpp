// Writes the picture under a working name that the library does not list as an image, and renames it when it is
// complete. A full disk leaves no file.
#include "library/Screenshot.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "core/CreateFolder.h"
#include "library/CapturePath.h"
#include "platform/Files.h"
#include "platform/ScreenGrab.h"
#include "video/Monitors.h"

namespace zv {
namespace {

/// The working file of a picture. Removed by the destructor, unless Finish has renamed it.
class WorkingFile {
public:
    explicit WorkingFile(const Text& path) : path_(path), name_(path + u".partial"), native_(ToPath(name_)) {}
    ~WorkingFile() {
        std::error_code ignored;
        std::filesystem::remove(native_, ignored);
    }
    WorkingFile(const WorkingFile&) = delete;
    WorkingFile& operator=(const WorkingFile&) = delete;

    const Text& Name() const { return name_; }
    bool Finish() const { return Succeeded(MoveFileReplacing(name_, path_)); }

private:
    Text path_;
    Text name_;
    std::filesystem::path native_;
};

}  // namespace

bool GrabMonitor(const Text& monitorDevice, const Text& path) {
    if (path.empty() || !CreateParentFolder(path)) {
        return false;
    }
    const std::optional<MonitorEntry> monitor = ResolveMonitor(monitorDevice);
    if (!monitor || monitor->width <= 0 || monitor->height <= 0) {
        return false;
    }
    const WorkingFile file(path);
    return Succeeded(SaveScreenAsPng(monitor->Bounds(), file.Name())) && file.Finish();
}

Text SaveScreenshot(const Text& folder, const Text& monitorDevice) {
    if (folder.empty()) {
        return u"Choose a screenshot folder in Gallery > Folders.";
    }
    const Text path = BuildCapturePath(folder, screenshotStem, imageExtension);
    return GrabMonitor(monitorDevice, path) ? u"Screenshot saved: " + path
                                            : u"Screenshot failed. Check Gallery > Folders and disk space.";
}

}  // namespace zv
