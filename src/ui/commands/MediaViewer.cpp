#include "ui/commands/MediaViewer.h"

#include <algorithm>
#include <utility>

#include "platform/Canvas.h"
#include "platform/MediaPlayer.h"
#include "ui/commands/Status.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/SmallWindow.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::int64_t mostPixels = 64'000'000;
constexpr std::int64_t endTolerance = 1'000'000;  ///< 0.1 s: closer to the end the video counts as ended

ViewerSession& Viewer() { return Ui().viewer; }

void InvalidateOverlay() {
    if (AppWindow* overlay = Ui().overlayWindow) {
        InvalidateWindow(*overlay);
    }
}

/// May be called on the player's thread. The lock keeps the session from ending meanwhile.
void OnMediaPlayerEvent(PlayerReport& report, Result result) {
    const std::lock_guard guard(report.lock);
    if (!report.current) {
        return;
    }
    if (Failed(result)) {
        report.failure = result;
    }
    InvalidateOverlay();
}

void EndReport() {
    if (const std::shared_ptr<PlayerReport> report = std::exchange(Viewer().report, nullptr)) {
        const std::lock_guard guard(report->lock);
        report->current = false;
    }
}

Owned<AppWindow> MakeVideoWindow() {
    WindowOptions options;
    options.className = u"ZVInternalVideo317";
    options.title = u"ZV internal player";
    options.procedure = VideoProc;
    options.frame = WindowFrame::Bare;
    options.width = 1;
    options.height = 1;
    options.topmost = true;
    options.toolWindow = true;
    options.noActivate = true;
    options.owner = Ui().overlayWindow;
    options.cursor = CursorShape::Hand;
    Owned<AppWindow> window = MakeWindow(options);
    if (window) {
        ExcludeFromCapture(*window);
    }
    return window;
}

void OpenVideo() {
    ViewerSession& viewer = Viewer();
    viewer.videoWindow = MakeVideoWindow();
    viewer.report = std::make_shared<PlayerReport>();
    if (viewer.videoWindow) {
        viewer.player =
            OpenMediaPlayer(viewer.viewerFile.path, *viewer.videoWindow,
                            [report = viewer.report](Result result) { OnMediaPlayerEvent(*report, result); });
    }
    if (viewer.player) {
        SetMediaVolume(*viewer.player, viewer.viewerVolume);
    } else {
        viewer.viewerError = u"The Windows media player component could not open this file.";
        PauseViewer();
    }
    PlaceVideoWindow();
}

/// Scales an image down that is larger than any overlay, so that the page paints it in a short time.
PixelBitmap Reduced(PixelBitmap picture) {
    const double scale = std::min(3840.0 / std::max(picture.width, 1), 2160.0 / std::max(picture.height, 1));
    const Rectangle box{0, 0, std::max(static_cast<std::int32_t>(picture.width * scale), 1),
                        std::max(static_cast<std::int32_t>(picture.height * scale), 1)};
    const Owned<Canvas> canvas = scale < 1 ? MakeCanvas(box.right, box.bottom) : nullptr;
    if (!canvas) {
        return picture;
    }
    DrawPixels(*canvas, box, {picture.pixels.data(), picture.width, picture.height});
    const PixelView view = PixelsOf(*canvas);
    picture.pixels.assign(view.pixels, view.pixels + box.Area());
    picture.pixels.shrink_to_fit();
    picture.width = box.right;
    picture.height = box.bottom;
    return picture;
}

void LoadViewerImage() {
    const std::uint32_t generation = Viewer().viewerGeneration;
    const auto load = [path = Viewer().viewerFile.path, generation, stop = Ui().pictureStop.get_token()] {
        MediaThumbnail image{Reduced(LoadPicture(path, mostPixels, stop)), {}};
        return ViewerImage{generation, std::make_shared<MediaThumbnail>(std::move(image))};
    };
    Viewer().viewerImageSlot.Start(load, ViewerImage{generation, std::make_shared<MediaThumbnail>()});
}

void CollectViewerImage() {
    ViewerSession& viewer = Viewer();
    if (!viewer.viewerImageSlot.IsFinished()) {
        return;
    }
    ViewerImage loaded = viewer.viewerImageSlot.Take();
    if (loaded.viewerGeneration != viewer.viewerGeneration) {
        return;
    }
    viewer.viewerImage = std::move(loaded.image);
    if (!viewer.viewerImage->HasPicture()) {
        viewer.viewerError = u"This image is unsupported, incomplete, or larger than 64 megapixels.";
    }
}

bool IsViewerShown() { return Ui().overlayPage == overlayPage::viewer && IsOverlayShown(); }

/// Where the video window belongs, in coordinates of the desktop.
Rectangle VideoBounds() {
    const Rectangle client = ClientBounds(*Ui().overlayWindow);
    const Rectangle media =
        MediaBounds(Viewer().viewerFullscreen, std::min(static_cast<double>(client.Height()) / overlayHeight,
                                                        static_cast<double>(client.Width()) / overlayWidth));
    return {client.left + media.left, client.top + media.top, client.left + media.right, client.top + media.bottom};
}

void PaintVideo(AppWindow& window) {
    if (!Viewer().player) {
        PaintSmallWindow(window,
                         [](Canvas& canvas, const Rectangle& client) { FillBox(canvas, client, color::black); });
        return;
    }
    PutPixels(window, nullptr, 0, 0);  // validates the window, or the system would send the message again at once
    UpdateVideo(*Viewer().player);
}

}  // namespace

void OpenMediaViewer(const MediaFile& file) {
    ViewerSession& viewer = Viewer();
    if (viewer.viewerImageSlot.IsBusy() && !viewer.viewerImageSlot.IsFinished()) {
        ShowStatus(u"Image is still opening. Try again shortly.");
        return;
    }
    viewer.viewerImageSlot.Release();
    CloseMediaViewer();
    viewer.viewerFile = file;
    SelectOverlayPage(overlayPage::viewer);
    if (file.kind == mediaKind::screenshot) {
        LoadViewerImage();
    } else {
        OpenVideo();
    }
}

void CloseMediaViewer() {
    ViewerSession& viewer = Viewer();
    ++viewer.viewerGeneration;
    EndReport();
    viewer.player.reset();
    viewer.videoWindow.reset();
    viewer.viewerImage.reset();
    viewer.viewerError.clear();
    viewer.viewerFullscreen = false;
}

void PauseViewer() {
    if (Viewer().player) {
        PauseMedia(*Viewer().player);
    }
    if (Viewer().videoWindow && IsWindowShown(*Viewer().videoWindow)) {
        HideWindow(*Viewer().videoWindow);
    }
}

void PollViewerImage() {
    CollectViewerImage();
    CollectPlayerFailure();
    PlaceVideoWindow();
    if (IsViewerShown()) {
        InvalidateOverlay();
    }
}

void PlaceVideoWindow() {
    AppWindow* window = Viewer().videoWindow.get();
    if (window == nullptr) {
        return;
    }
    if (!IsViewerShown()) {
        PauseViewer();
        return;
    }
    const Rectangle bounds = VideoBounds();
    if (!IsWindowShown(*window) || WindowBounds(*window) != bounds) {
        ShowTopmostAt(*window, bounds);
    }
}

void SeekVideo(std::int64_t position) {
    MediaPlayer* player = Viewer().player.get();
    if (player == nullptr) {
        return;
    }
    const std::int64_t target = std::max<std::int64_t>(std::min(position, MediaDuration(*player)), 0);
    if (!SeekMedia(*player, target)) {
        Viewer().viewerError = u"This video cannot seek to that position.";
    }
}

void TogglePlayback() {
    MediaPlayer* player = Viewer().player.get();
    if (player == nullptr) {
        return;
    }
    if (MediaState(*player) == PlayerState::Playing) {
        PauseMedia(*player);
        return;
    }
    const std::int64_t duration = MediaDuration(*player);
    if (duration > 0 && MediaPosition(*player) >= duration - endTolerance) {
        SeekVideo(0);
    }
    PlayMedia(*player);
}

void SetViewerVolume(float volume) {
    Viewer().viewerVolume = std::clamp(volume, 0.0F, 1.0F);
    if (Viewer().player) {
        SetMediaVolume(*Viewer().player, Viewer().viewerVolume);
    }
}

void CollectPlayerFailure() {
    ViewerSession& viewer = Viewer();
    if (!viewer.report) {
        return;
    }
    const std::lock_guard guard(viewer.report->lock);
    const Result failure = std::exchange(viewer.report->failure, resultOk);
    if (Failed(failure)) {
        viewer.viewerError = u"Windows cannot play this file" + CodeSuffix(CodeOf(failure)) +
                             u". Check that the file is complete and its codec is installed.";
    }
}

Rectangle MediaBounds(bool fullscreen, double scale) {
    const Rectangle design = fullscreen ? Rectangle{22, 65, 988, 459} : Rectangle{150, 126, 860, 446};
    const auto scaled = [scale](std::int32_t edge) { return static_cast<std::int32_t>(edge * scale); };
    return {scaled(design.left), scaled(design.top), scaled(design.right), scaled(design.bottom)};
}

std::intptr_t VideoProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (code) {
        case message::paint:
            PaintVideo(window);
            return 0;
        case message::size:
            if (Viewer().player) {
                UpdateVideo(*Viewer().player);
            }
            return 0;
        case message::leftButtonUp:
            TogglePlayback();
            InvalidateOverlay();
            return 0;
        case message::mouseActivate:
            return activateNo;
        case message::eraseBackground:
            return 1;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace zv
