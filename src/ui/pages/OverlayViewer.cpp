#include "ui/pages/OverlayViewer.h"

#include <utility>
#include <vector>

#include "library/Thumbnails.h"
#include "platform/Files.h"
#include "platform/MediaPlayer.h"
#include "ui/commands/MediaViewer.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"
#include "ui/pages/Thumbnail.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::int64_t second = 10'000'000;  ///< in units of 100 ns
constexpr std::int64_t jump = 10 * second;
constexpr std::int32_t seekTargets = 32;
constexpr Rectangle track{204, 469, 972, 478};
constexpr float volumeStep = 0.1F;
constexpr float usualVolume = 0.6F;

ViewerSession& Viewer() { return Ui().viewer; }

std::int64_t Position() { return Viewer().player ? MediaPosition(*Viewer().player) : 0; }
std::int64_t Duration() { return Viewer().player ? MediaDuration(*Viewer().player) : 0; }
bool IsPlaying() { return Viewer().player && MediaState(*Viewer().player) == PlayerState::Playing; }

Button BackButton(const Rectangle& box) {
    return {.id = overlayTarget::viewerBack, .box = box, .label = u"< Gallery", .action = [] {
                CloseMediaViewer();
                SelectOverlayPage(overlayPage::gallery);
            }};
}

void DrawTitle(Canvas& canvas) {
    DrawButton(canvas, BackButton({32, 69, 171, 108}));
    DrawTextLine(canvas, {194, 69, 972, 108}, FromPath(ToPath(Viewer().viewerFile.path).filename()), color::primaryText,
                 FontRole::Small);
}

/// In device pixels, so that the video window covers it exactly at every scale.
void FillMediaRectangle(Canvas& canvas) {
    const double scale = Drawing().painting->scale;
    PushTransform(canvas, {0, 0}, 1 / scale);
    FillBox(canvas, MediaBounds(Viewer().viewerFullscreen, scale), color::black);
    PopTransform(canvas);
}

/// Shows the image as if it were the file's thumbnail, which fits it to the box.
void DrawViewerImage(Canvas& canvas, const Rectangle& box) {
    auto& cache = Ui().library.thumbnailCache;
    const Text key = ThumbnailKey(Viewer().viewerFile);
    const auto former = cache.extract(key);
    cache[key] = Viewer().viewerImage;
    DrawThumbnail(canvas, Viewer().viewerFile, box);
    cache.erase(key);
    if (former) {
        cache[key] = former.mapped();
    }
}

void DrawImage(Canvas& canvas) {
    const Rectangle box = MediaBounds(Viewer().viewerFullscreen, 1);
    if (Viewer().viewerImage && Viewer().viewerImage->HasPicture()) {
        DrawViewerImage(canvas, box);
    } else if (!Viewer().viewerImage && Viewer().viewerError.empty()) {
        DrawCentredText(canvas, box, u"Opening image...", color::mutedText, FontRole::Small);
    }
}

void DrawProgress(Canvas& canvas) {
    const std::int64_t position = Position();
    const std::int64_t duration = Duration();
    FillBox(canvas, track, Rgb(44, 47, 62));
    if (duration > 0) {
        const auto done = static_cast<std::int32_t>(position * track.Width() / duration);
        FillBox(canvas, {track.left, track.top, track.left + done, track.bottom}, Drawing().accentColor);
    }
    DrawTextLine(canvas, {33, 455, 192, 487}, FormatMediaTime(position) + u" / " + FormatMediaTime(duration),
                 color::mutedText, FontRole::Small);
    for (std::int32_t i = 0; i < seekTargets; ++i) {
        const std::int32_t left = track.left + track.Width() / seekTargets * i;
        AddTarget(overlayTarget::firstSeek + i, {left, 459, left + track.Width() / seekTargets, 487},
                  [i] { SeekVideo(i * Duration() / (seekTargets - 1)); });
    }
}

void DrawSizeButtons(Canvas& canvas) {
    DrawButton(canvas, {.id = overlayTarget::viewerFullscreen,
                        .box = {800, 502, 975, 538},
                        .label = Viewer().viewerFullscreen ? u"Exit fullscreen" : u"Fullscreen",
                        .action = [] {
                            Viewer().viewerFullscreen = !Viewer().viewerFullscreen;
                            PlaceVideoWindow();
                        }});
    if (Viewer().viewerFullscreen) {
        DrawButton(canvas, BackButton({32, 502, 165, 538}));
    }
}

void DrawTransport(Canvas& canvas) {
    const auto draw = [&](std::int32_t id, std::int32_t left, std::int32_t right, Text label, void (*action)()) {
        DrawButton(canvas, {.id = id, .box = {left, 502, right, 538}, .label = std::move(label), .action = action});
    };
    const auto percent = static_cast<std::int64_t>(Viewer().viewerVolume * 100);
    draw(overlayTarget::viewerPlay, 181, 305, IsPlaying() ? u"Pause" : u"Play", TogglePlayback);
    draw(overlayTarget::viewerBackward, 317, 404, u"-10 sec", [] { SeekVideo(Position() - jump); });
    draw(overlayTarget::viewerForward, 416, 503, u"+10 sec", [] { SeekVideo(Position() + jump); });
    draw(overlayTarget::viewerQuieter, 515, 562, u"-", [] { SetViewerVolume(Viewer().viewerVolume - volumeStep); });
    draw(overlayTarget::viewerMute, 574, 712, u"Volume " + Decimal(percent) + u"%",
         [] { SetViewerVolume(Viewer().viewerVolume > 0 ? 0 : usualVolume); });
    draw(overlayTarget::viewerLouder, 724, 771, u"+", [] { SetViewerVolume(Viewer().viewerVolume + volumeStep); });
}

}  // namespace

void DrawMediaViewer(Canvas& canvas) {
    const bool image = Viewer().viewerFile.kind == mediaKind::screenshot;
    CollectPlayerFailure();
    FillBox(canvas, {18, 54, 992, 554}, Rgb(18, 18, 24));
    if (!Viewer().viewerFullscreen) {
        DrawTitle(canvas);
    }
    FillMediaRectangle(canvas);
    if (image) {
        DrawImage(canvas);
    }
    if (!Viewer().viewerError.empty()) {
        DrawTextLine(canvas, {34, 461, 977, 485}, Viewer().viewerError, Drawing().accentColor, FontRole::Small);
    } else if (!image) {
        DrawProgress(canvas);
    }
    DrawSizeButtons(canvas);
    if (!image) {
        DrawTransport(canvas);
    }
}

Text FormatMediaTime(std::int64_t position) {
    const std::int64_t seconds = position / second;
    const std::int64_t rest = seconds % 60;
    return Decimal(seconds / 60) + (rest < 10 ? u":0" : u":") + Decimal(rest);
}

}  // namespace zv
