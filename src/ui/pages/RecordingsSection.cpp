#include <array>
#include <vector>

#include "ui/commands/Commands.h"
#include "ui/commands/MonitorChoice.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/pages/SettingsControls.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/MonitorLabel.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

struct Option {
    TextView label;
    std::uint32_t value = 0;
};

/// Buttons side by side, one for each value of a setting.
struct OptionRow {
    std::uint32_t Settings::*setting = nullptr;
    std::int32_t firstId = 0;
    Rectangle first;  ///< the box of the first button
    std::int32_t pitch = 0;
    std::vector<Option> options;
};

const std::array<OptionRow, 4>& OptionRows() {
    static const std::array<OptionRow, 4> rows{{
        {&Settings::height,
         overlayTarget::firstResolution,
         {355, 175, 501, 209},
         160,
         {{u"1080p", 1080}, {u"1440p", 1440}, {u"4K", 2160}}},
        {&Settings::fps,
         overlayTarget::firstFrameRate,
         {355, 223, 463, 257},
         119,
         {{u"30 FPS", 30}, {u"60 FPS", 60}, {u"120 FPS", 120}, {u"240 FPS", 240}}},
        {&Settings::replaySeconds,
         overlayTarget::firstReplayLength,
         {355, 270, 463, 304},
         119,
         {{u"30 sec", 30}, {u"60 sec", 60}, {u"300 sec", 300}, {u"20 min", 1200}}},
        {&Settings::bitrateMbps,
         overlayTarget::firstBitrate,
         {508, 321, 580, 355},
         82,
         {{u"20 Mbps", 20}, {u"40 Mbps", 40}, {u"60 Mbps", 60}, {u"80 Mbps", 80}}},
    }};
    return rows;
}

void SetOption(std::uint32_t Settings::*setting, std::uint32_t value) {
    CurrentSettings().*setting = value;
    CurrentSettings().width = CurrentSettings().height * 16 / 9;
}

void DrawOptions(Canvas& canvas, const OptionRow& row) {
    Rectangle box = row.first;
    std::int32_t id = row.firstId;
    for (const Option& option : row.options) {
        DrawButton(canvas,
                   {.id = id++,
                    .box = box,
                    .label = Text(option.label),
                    .action = [setting = row.setting,
                               value = option.value] { ApplyCaptureChange([=] { SetOption(setting, value); }); },
                    .selected = CurrentSettings().*row.setting == option.value});
        box.left += row.pitch;
        box.right += row.pitch;
    }
}

void DrawRowLabel(Canvas& canvas, const Rectangle& box, TextView label) {
    DrawTextLine(canvas, box, label, color::primaryText, FontRole::Body);
}

}  // namespace

void DrawRecordingsSection(Canvas& canvas) {
    DrawRowLabel(canvas, {173, 175, 350, 204}, u"Resolution");
    DrawRowLabel(canvas, {173, 223, 340, 257}, u"Frame rate");
    DrawRowLabel(canvas, {173, 270, 340, 304}, u"Replay length");
    for (const OptionRow& row : OptionRows()) {
        DrawOptions(canvas, row);
    }
    DrawButton(canvas, {.id = overlayTarget::changeMonitor,
                        .box = {173, 321, 497, 355},
                        .label = MonitorLabel() + u" / Change",
                        .action = ChooseMonitor});
    DrawCaptureSwitch(
        canvas, {overlayTarget::recordSystemSound, {173, 370, 382, 405}, u"System sound", &Settings::gameAudioEnabled});
    DrawCaptureSwitch(canvas,
                      {overlayTarget::recordMicrophone, {398, 370, 607, 405}, u"Microphone", &Settings::micEnabled});
    DrawCaptureSwitch(canvas,
                      {overlayTarget::autoReplay, {623, 370, 835, 405}, u"Auto replay", &Settings::instantReplay});
    DrawSettingsNote(canvas, {173, 428, 835, 456},
                     Ui().capture.captureJobSlot.IsBusy()
                         ? u"Applying changes... You can keep browsing."
                         : u"Changes save automatically. Changing quality restarts the replay buffer.");
    DrawTextLine(canvas, {173, 467, 835, 503},
                 u"120 / 240 FPS depend on available GPU performance. 4K is experimental.", color::mutedText,
                 FontRole::Small);
}

}  // namespace zv
