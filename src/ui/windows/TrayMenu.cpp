#include "ui/windows/TrayMenu.h"

#include <array>

#include "platform/PopupMenu.h"
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
};

constexpr int recordingId = 4;

/// The key names are constant, even if a shortcut is changed.
constexpr std::array<TrayCommand, 7> commands{{
    {1, u"Open Zorvel", ShowMainWindow},
    {2, u"Save Clip (Alt + F10)", SaveReplay},
    {recordingId, u"Start recording", ToggleRecording},
    {5, u"Screenshot selected monitor", TakeScreenshot},
    {6, u"Quick capture (Alt + X)", ToggleQuickOverlay},
    {},
    {3, u"Exit Zorvel", ExitProgram},
}};

void OpenMenu(AppWindow& mainWindow) {
    std::array<MenuItem, commands.size()> items;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        items[i] = {commands[i].id, Text(commands[i].label)};
        if (items[i].id == recordingId && GetRecordingStatus().recording) {
            items[i].label = u"Stop and save recording";
        }
    }
    const int chosen = ChooseFromMenu(mainWindow, items);
    for (const TrayCommand& command : commands) {
        if (command.id == chosen && command.run != nullptr) {
            command.run();
        }
    }
}

}  // namespace

void ShowTrayIcon(AppWindow& mainWindow) {
    RemoveTrayIcon();
    CurrentIcon() = AddTrayIcon({&mainWindow, trayMessage, Ui().programWindows.smallIcon.get(), u"ZV Reels Max"});
}

void RemoveTrayIcon() { CurrentIcon().reset(); }

void HandleTrayMessage(AppWindow& mainWindow, std::intptr_t lParam) {
    switch (static_cast<std::uint32_t>(lParam & 0xFFFF)) {
        case message::leftButtonDoubleClick:
            ShowMainWindow();
            break;
        case trayEvent::contextMenu:
        case message::rightButtonUp:
        case trayEvent::select:
        case trayEvent::keySelect:
            OpenMenu(mainWindow);
            break;
        default:
            break;
    }
}

}  // namespace zv
