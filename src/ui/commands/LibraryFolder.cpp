#include "ui/commands/LibraryFolder.h"

#include <algorithm>
#include <optional>

#include "core/Settings.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/FileDialogs.h"
#include "platform/Files.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/commands/Library.h"
#include "ui/commands/Status.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

/// Creates the folder if necessary. It remains even if no file can be created in it.
bool AcceptsFiles(const Text& folder) {
    const Text name = u".zv-write-check-" + DecimalUnsigned(OwnProcessId()) + u"-" + DecimalUnsigned(TickMs());
    return !CreateFolders(ToPath(folder)) && TryCreateFile(JoinPath(folder, name));
}

/// Adds the current folder to those that the library also scans.
void RememberRoot(Settings& settings) {
    std::vector<Text>& roots = settings.previousCaptureRoots;
    if (!settings.captureRoot.empty() && std::find(roots.begin(), roots.end(), settings.captureRoot) == roots.end()) {
        roots.push_back(settings.captureRoot);
    }
}

void UseFolder(const Text& folder) {
    if (!AcceptsFiles(folder)) {
        ShowStatus(u"This folder is not writable. Choose another location.");
        return;
    }
    Settings& settings = CurrentSettings();
    if (settings.captureRoot != folder) {
        RememberRoot(settings);
        settings.captureRoot = folder;
    }
    const bool saved = TrySaveSettings();
    QueueMediaRefresh();
    ShowStatus(saved ? u"Library folder updated." : settingsNotSaved);
}

}  // namespace

void ChooseLibraryFolder() {
    if (Ui().mainWindow == nullptr) {
        return;
    }
    const bool overlayShown = IsOverlayShown();
    HideOverlay();
    const std::optional<Text> folder = ChooseFolder(*Ui().mainWindow);
    if (Ui().phase != ProgramPhase::Running) {
        return;  // the program has ended while the dialog was open
    }
    if (folder) {
        UseFolder(*folder);
    }
    if (overlayShown) {
        ReopenOverlay();
    }
}

}  // namespace zv
