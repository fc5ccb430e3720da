#include "ui/pages/OverlayTiles.h"

#include "core/Settings.h"
#include "platform/Session.h"
#include "ui/commands/Commands.h"
#include "ui/commands/Library.h"
#include "ui/commands/Status.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/OverlayControls.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr Color popoverPanel = Rgb(24, 19, 34);
constexpr Color popoverFrame = Rgb(69, 49, 100);
constexpr std::int32_t popoverCorner = 12;

/// The state that the page shows, read once at the start of a paint.
struct TileState {
    bool job = Ui().capture.captureJobSlot.IsBusy();
    bool recording = GetRecordingStatus().recording;
    bool replay = Engine().replayRunning;
    bool screenshot = Ui().screenshot.screenshotSlot.IsBusy();
    bool possible = CaptureObstacle().empty();

    bool MayChange() const { return possible && !recording && !job; }
};

Text OnOrOff(bool on) { return on ? u"On" : u"Off"; }

void OpenApp() {
    HideOverlay();
    ShowMainWindow();
}

void OpenSettingsPage() { SelectOverlayPage(overlayPage::settings); }

void ToggleMicrophone() {
    ApplyCaptureChange([] { CurrentSettings().micEnabled = !CurrentSettings().micEnabled; });
}

void ToggleSystemSound() {
    ApplyCaptureChange([] { CurrentSettings().gameAudioEnabled = !CurrentSettings().gameAudioEnabled; });
}

/// Toggles the state of the engine at the click, not the setting.
void ToggleReplay() {
    ApplyCaptureChange([] { CurrentSettings().instantReplay = !Engine().replayRunning; });
}

void DrawLeftColumn(Canvas& canvas) {
    DrawOverlayButton(
        canvas, {.id = overlayTarget::broadcast, .box = {170, 90, 298, 132}, .label = u"Broadcast LIVE", .action = [] {
                     ShowStatus(u"Broadcast LIVE is not available in this version.");
                 }});
    DrawOverlayButton(canvas, {.id = overlayTarget::photoGallery,
                               .box = {170, 132, 298, 174},
                               .label = u"Photo gallery",
                               .icon = OverlayIcon::Picture,
                               .action = SelectGallery});
    DrawOverlayButton(canvas, {.id = overlayTarget::openApp,
                               .box = {170, 174, 298, 217},
                               .label = u"Open app",
                               .icon = OverlayIcon::Window,
                               .action = OpenApp});
}

Text ReplayStatus(const TileState& state) {
    if (state.job) {
        return u"";
    }
    if (!state.possible) {
        return u"Not available";
    }
    return state.replay ? u"Activated" : u"Off";
}

Text RecordStatus(const TileState& state) {
    if (state.job) {
        return u"";
    }
    if (!state.possible) {
        return u"Not available";
    }
    return state.recording ? u"Recording" : u"Ready";
}

Text ScreenshotStatus(const TileState& state) {
    if (!state.possible) {
        return u"Not available";
    }
    return state.screenshot ? u"Saving..." : u"Take photo";
}

void DrawTiles(Canvas& canvas, const TileState& state) {
    DrawOverlayTile(canvas, {.id = overlayTarget::replay,
                             .box = {321, 90, 449, 218},
                             .title = u"Instant replay",
                             .status = ReplayStatus(state),
                             .icon = IconKind::Replay,
                             .action = [] { Ui().replayPopoverOpen = !Ui().replayPopoverOpen; },
                             .active = state.replay,
                             .enabled = state.MayChange()});
    DrawOverlayTile(canvas, {.id = overlayTarget::record,
                             .box = {449, 90, 577, 218},
                             .title = state.recording ? u"Stop recording" : u"Record",
                             .status = RecordStatus(state),
                             .icon = IconKind::Record,
                             .action = ToggleRecording,
                             .active = state.recording,
                             .enabled = state.possible && !state.job});
    DrawOverlayTile(canvas, {.id = overlayTarget::screenshot,
                             .box = {577, 90, 705, 218},
                             .title = u"Screenshot",
                             .status = ScreenshotStatus(state),
                             .icon = IconKind::Camera,
                             .action = TakeScreenshot,
                             .enabled = state.possible && !state.screenshot});
}

void DrawRightColumn(Canvas& canvas, const TileState& state) {
    const Settings& settings = CurrentSettings();
    DrawOverlayButton(canvas, {.id = overlayTarget::gallery,
                               .box = {726, 90, 854, 153},
                               .label = u"Gallery",
                               .icon = OverlayIcon::Picture,
                               .action = SelectGallery});
    DrawOverlayButton(canvas, {.id = overlayTarget::microphone,
                               .box = {726, 165, 768, 217},
                               .label = OnOrOff(settings.micEnabled),
                               .icon = OverlayIcon::Microphone,
                               .action = ToggleMicrophone,
                               .active = settings.micEnabled,
                               .enabled = state.MayChange()});
    DrawOverlayButton(canvas, {.id = overlayTarget::systemSound,
                               .box = {768, 165, 810, 217},
                               .label = OnOrOff(settings.gameAudioEnabled),
                               .icon = OverlayIcon::Speaker,
                               .action = ToggleSystemSound,
                               .active = settings.gameAudioEnabled,
                               .enabled = state.MayChange()});
    DrawOverlayButton(canvas, {.id = overlayTarget::settings,
                               .box = {810, 165, 854, 217},
                               .icon = OverlayIcon::Gear,
                               .action = OpenSettingsPage});
}

void DrawReplayPopover(Canvas& canvas, const TileState& state) {
    constexpr Rectangle panel{321, 228, 705, 356};
    FillRoundBox(canvas, panel, popoverCorner, popoverPanel);
    FrameRoundBox(canvas, panel, popoverCorner, popoverFrame);
    DrawTextLine(canvas, {337, 234, 654, 260}, u"Instant replay", Drawing().accentColor, FontRole::Bold);
    DrawOverlayButton(canvas,
                      {.id = overlayTarget::closePopover, .box = {665, 234, 697, 261}, .label = u"X", .action = [] {
                           Ui().replayPopoverOpen = false;
                       }});
    DrawButton(canvas, {.id = overlayTarget::saveReplay,
                        .box = {335, 274, 511, 308},
                        .label = u"Save replay",
                        .action = SaveReplay,
                        .primary = true,
                        .enabled = !state.job && state.replay && Ui().capture.secondsReady >= 1});
    DrawButton(canvas, {.id = overlayTarget::switchReplay,
                        .box = {521, 274, 691, 308},
                        .label = state.replay ? u"Turn off" : u"Turn on",
                        .action = ToggleReplay,
                        .selected = state.replay,
                        .enabled = state.MayChange()});
    DrawTextLine(canvas, {337, 317, 515, 345}, Decimal(Ui().capture.secondsReady) + u" seconds ready", color::mutedText,
                 FontRole::Small);
    DrawButton(
        canvas,
        {.id = overlayTarget::replaySettings, .box = {521, 316, 691, 347}, .label = u"Replay settings", .action = [] {
             Ui().replayPopoverOpen = false;
             OpenSettingsPage();
         }});
}

}  // namespace

void DrawOverlayTiles(Canvas& canvas) {
    const TileState state;
    DrawLeftColumn(canvas);
    DrawTiles(canvas, state);
    DrawRightColumn(canvas, state);
    if (Ui().replayPopoverOpen) {
        DrawReplayPopover(canvas, state);
    }
}

}  // namespace zv
