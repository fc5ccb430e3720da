#include "ui/MainWindow.h"

#include "core/SessionMarker.h"
#include "core/Settings.h"
#include "ui/CaptureJobs.h"
#include "ui/CaptureSettings.h"
#include "ui/Commands.h"
#include "ui/DrawingFrame.h"
#include "ui/HitTargets.h"
#include "ui/Hotkeys.h"
#include "ui/UiGlobals.h"

namespace zv {
namespace {

constexpr Point leastSize{900, 600};

namespace virtualKey {
constexpr std::uintptr_t tab = 9;
constexpr std::uintptr_t enter = 13;
constexpr std::uintptr_t space = 32;
}  // namespace virtualKey

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

/// What can be clicked has moved: nothing can until the next paint.
void OnSize(AppWindow& window) {
    Ui().mainState.pressedId = noTarget;
    Ui().mainState.targets.clear();
    InvalidateWindow(window);
}

/// False when the key means nothing here.
bool OnKeyDown(AppWindow& window, std::uintptr_t key) {
    UiState& state = Ui().mainState;
    switch (key) {
        case virtualKey::tab:
            if (!MoveFocus(state, (HeldModifiers() & keyModifier::shift) != 0)) {
                return false;
            }
            InvalidateWindow(window);
            return true;
        case virtualKey::enter:
        case virtualKey::space:
            ActivateTarget(state, state.focusId);
            return true;
        default:
            return false;
    }
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
    AppWindow* window = Ui().mainWindow;
    if (window != nullptr && IsWindowShown(*window) && !IsWindowIcon(*window)) {
        InvalidateWindow(*window);
    }
    // The overlay is painted anew when what it shows has changed.
}

}  // namespace

std::intptr_t MainProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (HandleMouseMessage(window, Ui().mainState, code, lParam)) {
        return code == message::setCursor ? 1 : 0;
    }
    switch (code) {
        case message::getMinMaxInfo:
            reinterpret_cast<MinMaxInfo*>(lParam)->minTrackSize = leastSize;
            return 0;
        case message::create:
            OnCreate(window);
            return 0;
        case message::destroy:
            OnDestroy(window);
            return 0;
        case message::size:
            OnSize(window);
            return 0;
        case message::killFocus:
            Ui().mainState.pressedId = noTarget;
            return DefaultProcedure(window, code, wParam, lParam);
        case message::paint:
            PaintWindow(window, Ui().mainState, false);
            return 0;
        case message::close:
            return OnClose(window);
        case message::eraseBackground:
            return 1;
        case message::dpiChanged:
            PlaceWindow(window, *reinterpret_cast<const Rectangle*>(lParam));
            return 0;
        case message::displayChange:
            OnDisplayChange();
            return 0;
        case message::keyDown:
            return OnKeyDown(window, wParam) ? 0 : DefaultProcedure(window, code, wParam, lParam);
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
