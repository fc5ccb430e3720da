#include "ui/pages/SettingsPage.h"

#include <array>

#include "core/Settings.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/commands/Commands.h"
#include "ui/kit/Colors.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

struct SettingsCard {
    TextView title;
    TextView text;
};

/// By the section of the overlay's settings that the card opens.
constexpr std::array<SettingsCard, 4> cards{{
    {u"Video and replay", u"Resolution, FPS, bitrate, replay duration and monitor."},
    {u"Audio", u"System sound, microphone and the detected Windows devices."},
    {u"Keyboard shortcuts", u"Choose your own capture and overlay shortcuts."},
    {u"Library and notifications", u"Game folders, saved media and three-second notifications."},
}};

void DrawSettingsCard(Canvas& canvas, std::int32_t left, std::int32_t right, std::int32_t section) {
    const SettingsCard& card = cards[static_cast<std::size_t>(section)];
    const std::int32_t below = 92 * section;
    DrawCard(canvas, {left, 120 + below, right, 198 + below});
    DrawTextLine(canvas, {left + 20, 128 + below, right - 185, 156 + below}, card.title, color::primaryText,
                 FontRole::Bold);
    DrawTextLine(canvas, {left + 20, 161 + below, right - 185, 186 + below}, card.text, color::mutedText,
                 FontRole::Small);
    DrawButton(canvas, {.id = desktopTarget::firstCustomize + section,
                        .box = {right - 159, 139 + below, right - 20, 179 + below},
                        .label = u"Customize",
                        .action = [section] {
                            SelectSettingsSection(section);
                            OpenQuickOverlay();
                        }});
}

void ToggleKeepReplay() {
    bool& keep = CurrentSettings().minimizeToTray;
    keep = !keep;
    SaveInterfaceSettings();
}

}  // namespace

void DrawDesktopSettings(Canvas& canvas, std::int32_t left, std::int32_t right) {
    for (std::int32_t section = 0; section < static_cast<std::int32_t>(cards.size()); ++section) {
        DrawSettingsCard(canvas, left, right, section);
    }
    const TextView state = CurrentSettings().minimizeToTray ? u"On" : u"Off";
    DrawButton(canvas, {.id = desktopTarget::keepReplay,
                        .box = {left, 502, right, 542},
                        .label = u"Keep replay running when the window closes: " + Text(state),
                        .action = ToggleKeepReplay});
    DrawButton(canvas, {.id = desktopTarget::chooseRuntime,
                        .box = {left, 554, right, 594},
                        .label = u"Choose FFmpeg capture runtime",
                        .action = ChooseRuntime});
    DrawTextLine(canvas, {left, 606, right, 630},
                 u"Gallery playback uses Windows. Recording also needs an FFmpeg runtime.", color::mutedText,
                 FontRole::Small);
}

Button RestoreDefaultsButton(std::int32_t left, std::int32_t right) {
    return {.id = desktopTarget::restoreDefaults,
            .box = {left, 638, right, 676},
            .label = u"Restore Zorvel defaults",
            .action = RestoreDefaults};
}

}  // namespace zv
