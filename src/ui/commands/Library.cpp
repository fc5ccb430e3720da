#include "ui/commands/Library.h"

#include <utility>

#include "core/Settings.h"
#include "ui/commands/FastJobs.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/UiGlobals.h"

namespace zv {

void QueueMediaRefresh() {
    LibraryRecord& library = Ui().library;
    if (library.mediaRefreshSlot.IsBusy() && !library.mediaRefreshSlot.IsFinished()) {
        library.refreshAgain = true;
        return;
    }
    const Settings& settings = CurrentSettings();
    LibraryFolders folders{settings.clipsFolder, settings.recordingsFolder, settings.screenshotsFolder,
                           settings.captureRoot, settings.previousCaptureRoots};
    library.mediaRefreshSlot.Start([folders = std::move(folders)] { return ScanAllRoots(folders); },
                                   MediaResult{{}, Text(libraryUnreadable)});
    ArmCollectionTimer();
}

bool CollectMediaRefresh() {
    LibraryRecord& library = Ui().library;
    if (!library.mediaRefreshSlot.IsFinished()) {
        return false;
    }
    library.found = library.mediaRefreshSlot.Take();
    if (std::exchange(library.refreshAgain, false)) {
        QueueMediaRefresh();
    }
    return true;
}

void SelectGallery() {
    SelectOverlayPage(overlayPage::gallery);
    Ui().gallery = {};
    QueueMediaRefresh();
}

}  // namespace zv
