// The commands that keys, buttons and menu items run. A command checks whether it is allowed, copies what it needs from
// the settings, and passes a function to CaptureJob or, for a screenshot, to a worker of its own. A refusal is always a
// status text. Interface thread only.
#pragma once

#include <functional>

#include "core/Text.h"

namespace zv {

void SaveReplay();

/// Starts a manual recording, or finishes the one that runs.
void ToggleRecording();

/// Saves a picture of the selected monitor as a PNG file, also while a capture job runs. Hides an open overlay until
/// the picture is saved.
void TakeScreenshot();

/// Shows the result of a finished screenshot, empties its slot and refreshes the library. Returns false if none is
/// finished.
bool CollectScreenshot();

/// Starts the replay according to the settings: the first job of the session.
void StartReplayJob();

/// Stops the engine, configures it again and starts the replay if it is enabled. For a display change.
void RestartCaptureJob();

/// Validates and saves the settings, adds `message` to the activity log and applies the settings to windows and engine.
void SaveSettingsAndRefresh(const Text& message);

/// Called by every control that changes a capture setting. `change` changes the settings.
void ApplyCaptureChange(const std::function<void()>& change);

/// Returns whether the user may select another monitor now. Shows the reason if not.
bool MayChooseMonitor();

/// Asks the user for an FFmpeg and uses it, unless the engine is busy. Returns when the dialog is closed; messages are
/// dispatched meanwhile.
void ChooseRuntime();

/// Resets all settings, including the shortcuts.
void RestoreDefaults();

}  // namespace zv
