// How the settings become the engine's configuration, and how commands save them.
#pragma once

#include "capture/CaptureEngine.h"

namespace zv {

/// A copy of the settings that the engine needs. Sets `codec` and `encoder` of the settings to the only supported
/// values first. Interface thread.
CaptureConfig MakeCaptureConfig();

/// Saves the settings. Returns false if their folder cannot be created; the caller then shows `settingsNotSaved`.
/// Interface thread.
bool TrySaveSettings();

/// Saves settings that the engine does not use. Shows `settingsNotSaved` on failure.
void SaveInterfaceSettings();

inline constexpr char16_t settingsNotSaved[] = u"Settings could not be saved.";

}  // namespace zv
