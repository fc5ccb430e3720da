#include "ui/windows/TrayMenu.h"

#include <array>
#include <vector>

#include "platform/PopupMenu.h"
#include "platform/Session.h"
#include "platform/TrayIcon.h"
#include "ui/commands/Commands.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

Owned<TrayIcon>& CurrentIcon() {
    static Owned<TrayIcon> icon;
    return icon;
}

struct TrayCommand {
    int id = 0;  ///< 0: a separator
    TextView label;
    void (*run)() = nullptr;
    bool captures = false;  ///< left out where no program can capture the screen
};

constexpr int recordingId = 4;

/// The key names are constant, even if a shortcut is changed.
constexpr std::array<TrayCommand, 7> commands{{
    {1, u"Open Zorvel", ShowMainWindow},
    {2, u"Save Clip (Alt + F10)", SaveReplay, true},
    {recordingId, u"Start recording", ToggleRecording, true},
    {5, u"Screenshot selected monitor", TakeScreenshot, true},
    {6, u"Quick capture (Alt + X)", ToggleQuickOverlay},
    {},
    {3, u"Exit Zorvel", ExitProgram},
}};

std::vector<MenuItem> MenuItems() {
    std::vector<MenuItem> items;
    for (const TrayCommand& command : commands) {
        if (command.captures && !CaptureObstacle().empty()) {
            continue;
        }
        const bool stops = command.id == recordingId && GetRecordingStatus().recording;
        items.push_back({command.id, stops ? Text(u"Stop and save recording") : Text(command.label)});
    }
    return items;
}

void RunCommand(int chosen) {
    for (const TrayCommand& command : commands) {
        if (command.id == chosen && command.run != nullptr) {
            command.run();
        }
    }
}

}  // namespace

void ShowTrayIcon(AppWindow& mainWindow) {
    RemoveTrayIcon();
    CurrentIcon() =
        AddTrayIcon({&mainWindow, trayMessage, Ui().programWindows.smallIcon.get(), u"ZV Reels Max", MenuItems});
    if (Ui().mainWindowPutAway && (!IsWindowShown(mainWindow) || IsWindowMinimized(mainWindow))) {
        PutMainWindowAway(mainWindow);
    }
}

void PutMainWindowAway(AppWindow& mainWindow) {
    Ui().mainWindowPutAway = true;
    if (CurrentIcon() != nullptr) {
        if (IsWindowShown(mainWindow)) {
            HideWindow(mainWindow);
        }
    } else if (!IsWindowShown(mainWindow) || !IsWindowMinimized(mainWindow)) {
        MinimizeWindow(mainWindow);
    }
}

void RemoveTrayIcon() { CurrentIcon().reset(); }

void HandleTrayMessage(AppWindow& mainWindow, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (static_cast<std::uint32_t>(lParam & 0xFFFF)) {
        case message::leftButtonDoubleClick:
            ShowMainWindow();
            break;
        case trayEvent::chosen:
            RunCommand(static_cast<int>(wParam));
            break;
        case trayEvent::contextMenu:
        case message::rightButtonUp:
        case trayEvent::select:
        case trayEvent::keySelect:
            RunCommand(ChooseFromMenu(mainWindow, MenuItems()));
            break;
        default:
            break;
    }
}

}  // namespace zv
