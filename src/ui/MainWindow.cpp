#include "ui/MainWindow.h"

#include "core/SessionMarker.h"
#include "core/Settings.h"
#include "ui/CaptureJobs.h"
#include "ui/CaptureSettings.h"
#include "ui/Commands.h"
#include "ui/Hotkeys.h"
#include "ui/UiGlobals.h"

namespace zv {
namespace {

void OnCreate(AppWindow& window) {
    Ui().mainWindow = &window;
    StartTimer(window, housekeepingTimer, housekeepingPeriodMs);
    RegisterHotkeys(window);
}

/// The order matters: nothing that a job touches goes away before the job has ended, and no wait has a time limit.
void OnDestroy(AppWindow& window) {
    // The media viewer closes, and the feeds' and its own image's jobs are waited for. The notification and the
    // shortcut editor go.
    StopTimer(window, housekeepingTimer);
    StopTimer(window, collectionTimer);
    // The capture badge goes.
    Ui().screenshotSlot.Wait();
    // The library scan and the thumbnails are waited for; the thumbnail cache is emptied and the tray icon removed.
    Ui().captureJobSlot.Wait();
    Ui().capturePollSlot.Wait();
    Engine().StopAll();
    UnregisterHotkeys(window);
    SaveSettings(CurrentSettings());
    SessionMarkerEnd();
    Ui().mainWindow = nullptr;
    PostQuit(0);
}

std::intptr_t OnClose(AppWindow& window) {
    // The overlay hides with the main window.
    if (CurrentSettings().minimizeToTray) {
        HideWindow(window);
        return 0;
    }
    return DefaultProcedure(window, message::close, 0, 0);
}

/// Capture is configured anew on a later tick, so that it can wait for a job that runs.
void OnDisplayChange() {
    Ui().displayChangePending = true;
    Ui().secondsReady = 0;
    ShowStatus(u"Display layout changed. Updating the selected monitor...");
}

/// The results that the user waits for. The timer runs only as long as there are any.
void OnCollectionTimer(AppWindow& window) {
    CollectCaptureJob();
    CollectScreenshot();
    // The library scan and the thumbnails are collected in this order. If anything was, the windows are painted anew
    // and the badge follows.
    if (!Ui().captureJobSlot.IsBusy() && !Ui().screenshotSlot.IsBusy()) {
        StopTimer(window, collectionTimer);
    }
}

void OnHousekeepingTimer() {
    // The feeds' results and the viewer's image come first.
    RefreshGameName();
    // The badge follows the process in front.
    if (Ui().displayChangePending && !Ui().captureJobSlot.IsBusy()) {
        Ui().displayChangePending = false;
        RestartCaptureJob();
    }
    if (Ui().captureJobSlot.IsBusy()) {
        CollectCaptureJob();
    } else {
        TickHealthPoll();
    }
    // The main window is painted anew while it can be seen, the overlay when what it shows has changed.
}

}  // namespace

std::intptr_t MainProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (code) {
        case message::create:
            OnCreate(window);
            return 0;
        case message::destroy:
            OnDestroy(window);
            return 0;
        case message::close:
            return OnClose(window);
        case message::displayChange:
            OnDisplayChange();
            return 0;
        case message::timer:
            if (wParam == collectionTimer) {
                OnCollectionTimer(window);
            } else {
                OnHousekeepingTimer();
            }
            return 0;
        case message::hotKey:
            RunHotkey(wParam);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

void ShowMainWindow() {
    if (AppWindow* window = Ui().mainWindow) {
        ShowInFront(*window);
    }
}

void ExitProgram() {
    AppWindow* window = Ui().mainWindow;
    if (window == nullptr) {
        PostQuit(0);
        return;
    }
    HideWindow(*window);
    // The overlay hides as well. What nobody handles destroys the window.
    DefaultProcedure(*window, message::close, 0, 0);
}

}  // namespace zv
