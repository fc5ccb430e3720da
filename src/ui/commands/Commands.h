// What a key, a button or a menu item sets off. Each one guards, takes what it needs from the settings at the moment of
// the command, and hands a function to CaptureJob or, for a screenshot, to a worker of its own. A refusal is always a
// status text. Interface thread only.
#pragma once

#include <functional>

#include "core/Text.h"

namespace zv {

void SaveReplay();

/// Starts a manual recording, or ends and saves the one that runs.
void ToggleRecording();

/// Takes the chosen monitor into a PNG file, also while a job runs: it has a slot of its own. An overlay that is open
/// hides until the picture is there.
void TakeScreenshot();

/// Shows the result of a finished screenshot and empties its slot. False when there is none.
bool CollectScreenshot();

/// Starts the replay as the settings have it: the first job of the session.
void StartReplayJob();

/// After a change of the desktop's monitors: everything stopped, configured anew and, where it is wanted, started.
void RestartCaptureJob();

/// Repairs and saves the settings, notes `message` in the activity log and applies them to the engine.
void SaveSettingsAndRefresh(const Text& message);

/// The path of every control that alters a capture setting. `change` alters the settings.
void ApplyCaptureChange(const std::function<void()>& change);

/// Whether the user may pick another monitor, or another FFmpeg, at this moment. Says why not.
bool MayChooseMonitor();
bool MayChooseRuntime();

/// Takes the FFmpeg that the user picked, for this session and the next ones.
void UseRuntime(const Text& ffmpegPath);

/// All settings, the keys among them, as on a first start.
void RestoreDefaults();

}  // namespace zv
