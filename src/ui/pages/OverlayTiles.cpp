#include "ui/pages/OverlayTiles.h"

#include "core/Settings.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/OverlayControls.h"
#include "ui/state/CaptureSettings.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/MainWindow.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

constexpr Color popoverPanel = Rgb(24, 19, 34);
constexpr Color popoverFrame = Rgb(69, 49, 100);
constexpr std::int32_t popoverCorner = 12;

/// What the page follows, as it is at this paint.
struct CaptureState {
    bool job = Ui().captureJobSlot.IsBusy();
    bool recording = GetRecordingStatus().recording;
    bool replay = Engine().replayRunning;
    bool screenshot = Ui().screenshotSlot.IsBusy();

    bool MayChange() const { return !recording && !job; }
};

Text OnOrOff(bool on) { return on ? u"On" : u"Off"; }

void OpenApp() {
    HideOverlay();
    ShowMainWindow();
}

void OpenSettingsPage() { Ui().overlayPage = overlayPage::settings; }

void FlipMicrophone() {
    ApplyCaptureChange([] { CurrentSettings().micEnabled = !CurrentSettings().micEnabled; });
}

void FlipSystemSound() {
    ApplyCaptureChange([] { CurrentSettings().gameAudioEnabled = !CurrentSettings().gameAudioEnabled; });
}

/// What counts is what the engine does at the click, not what the settings wish for.
void FlipReplay() {
    ApplyCaptureChange([] { CurrentSettings().instantReplay = !Engine().replayRunning; });
}

void DrawLeftColumn(Canvas& canvas) {
    DrawOverlayButton(canvas, {.id = 914, .box = {170, 90, 298, 132}, .label = u"Broadcast LIVE", .action = [] {
                                   ShowStatus(u"Broadcast LIVE is not available in this version.");
                               }});
    DrawOverlayButton(canvas,
                      {.id = 913, .box = {170, 132, 298, 174}, .label = u"Photo gallery", .action = OpenGallery});
    DrawOverlayButton(canvas, {.id = 906, .box = {170, 174, 298, 217}, .label = u"Open app", .action = OpenApp});
}

Text ReplayStatus(const CaptureState& state) {
    if (state.job) {
        return u"";
    }
    return state.replay ? u"Activated" : u"Off";
}

Text RecordStatus(const CaptureState& state) {
    if (state.job) {
        return u"";
    }
    return state.recording ? u"Recording" : u"Ready";
}

void DrawTiles(Canvas& canvas, const CaptureState& state) {
    DrawOverlayTile(canvas, {.id = 904,
                             .box = {321, 90, 449, 218},
                             .title = u"Instant replay",
                             .status = ReplayStatus(state),
                             .icon = IconKind::Replay,
                             .action = [] { Ui().replayPopoverOpen = !Ui().replayPopoverOpen; },
                             .active = state.replay,
                             .enabled = state.MayChange()});
    DrawOverlayTile(canvas, {.id = 902,
                             .box = {449, 90, 577, 218},
                             .title = state.recording ? u"Stop recording" : u"Record",
                             .status = RecordStatus(state),
                             .icon = IconKind::Record,
                             .action = ToggleRecording,
                             .active = state.recording,
                             .enabled = !state.job});
    DrawOverlayTile(canvas, {.id = 903,
                             .box = {577, 90, 705, 218},
                             .title = u"Screenshot",
                             .status = state.screenshot ? u"Saving..." : u"Take photo",
                             .icon = IconKind::Camera,
                             .action = TakeScreenshot,
                             .enabled = !state.screenshot});
}

void DrawRightColumn(Canvas& canvas, const CaptureState& state) {
    const Settings& settings = CurrentSettings();
    DrawOverlayButton(canvas, {.id = 908, .box = {726, 90, 854, 153}, .label = u"Gallery", .action = OpenGallery});
    DrawOverlayButton(canvas, {.id = 905,
                               .box = {726, 165, 768, 217},
                               .label = OnOrOff(settings.micEnabled),
                               .action = FlipMicrophone,
                               .active = settings.micEnabled,
                               .enabled = state.MayChange()});
    DrawOverlayButton(canvas, {.id = 909,
                               .box = {768, 165, 810, 217},
                               .label = OnOrOff(settings.gameAudioEnabled),
                               .action = FlipSystemSound,
                               .active = settings.gameAudioEnabled,
                               .enabled = state.MayChange()});
    DrawOverlayButton(canvas, {.id = 910, .box = {810, 165, 854, 217}, .action = OpenSettingsPage});
}

void DrawReplayPopover(Canvas& canvas, const CaptureState& state) {
    constexpr Rectangle panel{321, 228, 705, 356};
    FillRoundBox(canvas, panel, popoverCorner, popoverPanel);
    FrameRoundBox(canvas, panel, popoverCorner, popoverFrame);
    DrawTextLine(canvas, {337, 234, 654, 260}, u"Instant replay", Ui().accentColor, FontRole::Bold);
    DrawOverlayButton(canvas, {.id = 965, .box = {665, 234, 697, 261}, .label = u"X", .action = [] {
                                   Ui().replayPopoverOpen = false;
                               }});
    DrawButton(canvas, {.id = 960,
                        .box = {335, 274, 511, 308},
                        .label = u"Save replay",
                        .action = SaveReplay,
                        .primary = true,
                        .enabled = !state.job && state.replay && Ui().secondsReady >= 1});
    DrawButton(canvas, {.id = 961,
                        .box = {521, 274, 691, 308},
                        .label = state.replay ? u"Turn off" : u"Turn on",
                        .action = FlipReplay,
                        .selected = state.replay,
                        .enabled = state.MayChange()});
    DrawTextLine(canvas, {337, 317, 515, 345}, Decimal(Ui().secondsReady) + u" seconds ready", color::mutedText,
                 FontRole::Small);
    DrawButton(canvas, {.id = 962, .box = {521, 316, 691, 347}, .label = u"Replay settings", .action = [] {
                            Ui().replayPopoverOpen = false;
                            OpenSettingsPage();
                        }});
}

}  // namespace

void DrawOverlayTiles(Canvas& canvas) {
    const CaptureState state;
    DrawLeftColumn(canvas);
    DrawTiles(canvas, state);
    DrawRightColumn(canvas, state);
    if (Ui().replayPopoverOpen) {
        DrawReplayPopover(canvas, state);
    }
}

}  // namespace zv
