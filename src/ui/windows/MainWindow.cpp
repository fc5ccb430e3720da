#include "ui/windows/MainWindow.h"

#include "core/SessionMarker.h"
#include "core/Settings.h"
#include "platform/Keyboard.h"
#include "platform/Session.h"
#include "platform/TrayIcon.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/commands/FastJobs.h"
#include "ui/commands/Feeds.h"
#include "ui/commands/Hotkeys.h"
#include "ui/commands/MediaViewer.h"
#include "ui/commands/Status.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/HitTargets.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/ShortcutEditor.h"
#include "ui/state/CurrentGame.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Badge.h"
#include "ui/windows/MainFrame.h"
#include "ui/windows/Overlay.h"
#include "ui/windows/TrayMenu.h"

namespace zv {
namespace {

constexpr Point minimumSize{900, 600};

namespace virtualKey {
constexpr std::uintptr_t tab = 9;
constexpr std::uintptr_t enter = 13;
constexpr std::uintptr_t escape = 27;
constexpr std::uintptr_t space = 32;
}  // namespace virtualKey

void OnCreate(AppWindow& window) {
    Ui().mainWindow = &window;
    Ui().mainState.pages = DrawMainFrame;
    Ui().mainState.afterAction = InvalidatePages;
    StartTimer(window, housekeepingTimer, housekeepingPeriodMs);
    RegisterHotkeys(window);
}

/// Ends the message loop even if the shutdown throws.
struct EndOfProgram {
    ~EndOfProgram() {
        Ui().mainWindow = nullptr;
        PostQuit(0);
    }
};

/// The order matters: nothing that a job uses ends before the job. The waits have no time limit.
void OnDestroy(AppWindow& window) {
    const EndOfProgram end;
    Ui().phase = ProgramPhase::Closing;
    CloseMediaViewer();
    Ui().pictureStop.request_stop();
    WaitForFeeds();
    Ui().viewer.viewerImageSlot.Wait();
    Ui().programWindows.toast.reset();
    CloseShortcutEditor();
    StopTimer(window, housekeepingTimer);
    StopTimer(window, collectionTimer);
    Ui().programWindows.badge.reset();
    WaitForFileJobs();
    Ui().library.thumbnailCache.clear();
    RemoveTrayIcon();
    WaitForEngineJobs();
    Engine().StopAll();
    UnregisterHotkeys(window);
    SaveSettings(CurrentSettings());
    SessionMarkerEnd();
    Ui().phase = ProgramPhase::Ended;
}

/// A step of the end that may fail when nobody is left to see a message.
void Attempt(void (*step)()) {
    try {
        step();
    } catch (...) {
        return;
    }
}

std::intptr_t OnClose(AppWindow& window) {
    HideOverlay();
    if (CurrentSettings().minimizeToTray) {
        PutMainWindowAway(window);
        return 0;
    }
    return DefaultProcedure(window, message::close, 0, 0);
}

/// The targets have moved: nothing can be clicked until the next paint.
void OnSize(AppWindow& window) {
    Ui().mainState.pressedId = noTarget;
    Ui().mainState.targets.clear();
    InvalidateWindow(window);
}

/// Returns false if the key has no function.
bool OnKeyDown(AppWindow& window, std::uintptr_t key) {
    UiState& state = Ui().mainState;
    switch (key) {
        case virtualKey::escape:
            HideOverlay();
            state.pressedId = noTarget;
            return true;
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

/// A later tick reconfigures the engine, so that a running job can end first.
void OnDisplayChange() {
    Ui().capture.displayChangePending = true;
    Ui().monitorLabel.clear();
    Ui().capture.secondsReady = 0;
    ShowStatus(u"Display layout changed. Updating the selected monitor...");
}

void OnCollectionTimer(AppWindow& window) {
    if (CollectFastJobs()) {
        InvalidatePages();
        UpdateBadge(LookUpFrontWindow());
    }
    if (!IsFastJobBusy()) {
        StopTimer(window, collectionTimer);
    }
}

void OnHousekeepingTimer() {
    CollectFeeds();
    PollViewerImage();
    const FrontWindow front = LookUpFrontWindow();
    RefreshGameName(front);
    UpdateBadge(front);
    if (Ui().capture.displayChangePending && !Ui().capture.captureJobSlot.IsBusy()) {
        Ui().capture.displayChangePending = false;
        RestartCaptureJob();
    }
    if (Ui().capture.captureJobSlot.IsBusy()) {
        CollectCaptureJob();
    } else {
        TickHealthPoll();
    }
    AppWindow* window = Ui().mainWindow;
    if (window != nullptr && IsWindowShown(*window) && !IsWindowMinimized(*window)) {
        InvalidateWindow(*window);
    }
    RefreshOverlay();
    ShowBusyHotkeys();
}

}  // namespace

std::intptr_t MainProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == TaskbarCreatedMessage()) {
        ShowTrayIcon(window);
        return 0;
    }
    EndLostPress(window, Ui().mainState, code, wParam);
    if (HandleMouseMessage(window, Ui().mainState, code, lParam)) {
        return code == message::setCursor ? 1 : 0;
    }
    switch (code) {
        case message::getMinMaxInfo:
            reinterpret_cast<MinMaxInfo*>(lParam)->minTrackSize = minimumSize;
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
            if (!PassHotkeyToShortcutEditor(wParam)) {
                RunHotkey(wParam);
            }
            return 0;
        case message::globalKeyChanged:
            UpdateHotkey(wParam, lParam != 0);
            return 0;
        case trayMessage:
            HandleTrayMessage(window, wParam, lParam);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

void EndWithoutMainWindow() {
    CloseMediaViewer();
    Ui().pictureStop.request_stop();
    WaitForFeeds();
    Ui().viewer.viewerImageSlot.Wait();
    WaitForFileJobs();
    WaitForEngineJobs();
    if (Ui().phase == ProgramPhase::Ended) {
        return;
    }
    Attempt([] { Engine().StopAll(); });
    Attempt([] { SaveSettings(CurrentSettings()); });
    Attempt(SessionMarkerEnd);
    Ui().phase = ProgramPhase::Ended;
}

void ExitProgram() {
    AppWindow* window = Ui().mainWindow;
    if (window == nullptr) {
        PostQuit(0);
        return;
    }
    HideWindow(*window);
    HideOverlay();
    // The default for message::close destroys the window.
    DefaultProcedure(*window, message::close, 0, 0);
}

}  // namespace zv
