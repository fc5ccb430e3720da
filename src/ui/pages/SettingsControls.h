// The controls that the sections of the settings page share. Called inside RenderUi.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Settings.h"
#include "core/Text.h"
#include "platform/Canvas.h"

namespace zv {

/// The title of a section's content.
void DrawSettingsHeading(Canvas& canvas, const Rectangle& box, TextView text);

/// A small note: one line, or wrapped in a box of at least 45 design pixels.
void DrawSettingsNote(Canvas& canvas, const Rectangle& box, TextView text);

/// A switch: its label ends in its state.
struct SettingsSwitch {
    std::int32_t id = 0;
    Rectangle box = {};
    TextView name = {};
    bool Settings::*setting = nullptr;
};
void DrawSettingsSwitch(Canvas& canvas, const SettingsSwitch& toggle, std::function<void()> action);

/// A switch of a capture setting, which restarts the capture.
void DrawCaptureSwitch(Canvas& canvas, const SettingsSwitch& toggle);

/// A switch of a setting that capture does not use.
void DrawInterfaceSwitch(Canvas& canvas, const SettingsSwitch& toggle);

}  // namespace zv
