// What the windows share: the state of the interface, owned by the interface thread.
#pragma once

#include <array>
#include <cstdint>

#include "capture/CaptureEngine.h"
#include "core/Text.h"
#include "platform/Window.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/FutureSlot.h"
#include "ui/kit/UiState.h"
#include "ui/windows/ToastRules.h"

namespace zv {

inline constexpr int noShortcut = -1;

struct UiGlobals {
    // Each is null before its creation and after its end.
    AppWindow* mainWindow = nullptr;
    AppWindow* overlayWindow = nullptr;
    AppWindow* badgeWindow = nullptr;
    AppWindow* toastWindow = nullptr;
    AppWindow* videoWindow = nullptr;
    Owned<AppWindow> shortcutEditorWindow;  ///< only while it is open

    // What the windows of pages show.
    UiState mainState;
    UiState overlayState;
    UiState* painting = nullptr;         ///< the one that is being painted; null outside RenderUi
    std::int32_t desktopPage = 0;        ///< 0 Home, 1 Recommended, 2 Settings, 3 Updates, 4 Help
    std::int32_t overlayPage = 0;        ///< 0 tiles, 1 gallery, 3 settings, 4 viewer; any other shows the gallery
    std::int32_t settingsSection = -1;   ///< -1 all of them, else 0 to 8
    std::int32_t galleryFilter = 0;      ///< 0 all, 1 replays, 2 screenshots, 3 recordings
    std::int32_t galleryFirstIndex = 0;  ///< of the filtered captures
    Text galleryGame;                    ///< empty: all games
    Text monitorLabel;                   ///< empty: has to be looked up
    bool replayPopoverOpen = false;
    std::uint32_t overlaySignature = ~0U;   ///< of what the overlay showed at its last paint
    std::uint32_t badgeState = ~0U;         ///< 0 on, 1 busy, 2 recording
    std::uint32_t badgeProcessId = 0;       ///< the process in front that the badge was last decided for
    bool badgeProcessIsGame = false;        ///< whether that one is a known game
    Toast toast;                            ///< the notification that was shown last
    std::uint64_t lastOverlayActivity = 0;  ///< TickMs(); nothing reads it
    bool reopenOverlayAfterScreenshot = false;
    bool refreshAgain = false;  ///< another library scan follows the one that runs
    Fonts fonts;

    Text statusText = u"Ready";           ///< the status line; the engine has one of its own
    std::int32_t secondsReady = 0;        ///< seconds in the replay buffer at the last collected poll
    std::int64_t recordingStartTime = 0;  ///< SteadyNs() at the latest recording command
    bool displayChangePending = false;
    Text gameName = u"Desktop";              ///< only RefreshGameName changes it
    Color accentColor = Rgb(151, 119, 255);  ///< from the theme
    std::array<bool, 4> hotkeyRegistered{};
    int shortcutEditorIndex = noShortcut;  ///< the action of the editor that is open
    bool shortcutEditorHasKeyboard = false;
    Text shortcutError;               ///< why the last rebinding was refused
    FutureSlot<Text> captureJobSlot;  ///< the text to show
    FutureSlot<CapturePollResult> capturePollSlot;
    FutureSlot<Text> screenshotSlot;  ///< the text to show
};

/// The one record of the process.
UiGlobals& Ui();

/// Takes over the name of the game in front, unless nothing can be told.
void RefreshGameName();

/// Where a capture goes that is commanded now: the capture root and the game in front. Creates nothing.
Text CurrentGameFolder();

}  // namespace zv
