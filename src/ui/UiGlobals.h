// What the windows share: the state of the interface, owned by the interface thread.
#pragma once

#include <array>
#include <cstdint>

#include "capture/CaptureEngine.h"
#include "core/Text.h"
#include "platform/Window.h"
#include "ui/FutureSlot.h"

namespace zv {

struct UiGlobals {
    AppWindow* mainWindow = nullptr;      ///< null before its creation and after its end
    Text statusText;                      ///< the status line; the engine has one of its own
    std::int32_t secondsReady = 0;        ///< seconds in the replay buffer at the last collected poll
    std::int64_t recordingStartTime = 0;  ///< SteadyNs() at the latest recording command
    bool displayChangePending = false;
    Text gameName = u"Desktop";     ///< only RefreshGameName changes it
    std::uint32_t accentColor = 0;  ///< 0x00BBGGRR, from the theme
    std::array<bool, 4> hotkeyRegistered{};
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
