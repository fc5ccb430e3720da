#include "ui/kit/DrawingFrame.h"

#include <algorithm>

#include "ui/kit/Colors.h"
#include "ui/kit/DrawingContext.h"

namespace zv {
namespace {

constexpr double minimumMainScale = 0.25;
constexpr double minimumOverlayScale = 0.1;
constexpr std::int32_t stripHeight = 32;

/// Makes `state` the one that the controls register into until the end of the scope. An exception before End restores
/// the targets of the last paint, because the window still shows that one.
class Painting {
public:
    explicit Painting(UiState& state) : state_(state) {
        before_.swap(state.targets);
        Drawing().painting = &state;
    }
    ~Painting() {
        if (!whole_) {
            state_.targets.swap(before_);
        }
        Drawing().painting = nullptr;
    }
    Painting(const Painting&) = delete;
    Painting& operator=(const Painting&) = delete;

    void End() { whole_ = true; }

private:
    UiState& state_;
    std::vector<HitTarget> before_;
    bool whole_ = false;
};

/// Fills the right and lower edge that the pages leave unpainted, because the logical size is truncated.
void FillMargins(Canvas& canvas, const UiState& state, Color background, double top) {
    const PixelView view = PixelsOf(canvas);
    const auto right = static_cast<std::int32_t>(state.logicalWidth * state.scale);
    const auto bottom = static_cast<std::int32_t>(state.logicalHeight * state.scale - top);
    if (right < view.width) {
        FillBox(canvas, {right, 0, view.width, view.height}, background);
    }
    if (bottom < view.height) {
        FillBox(canvas, {0, bottom, view.width, view.height}, background);
    }
}

void RenderScaled(Canvas& canvas, UiState& state, Color background, double top) {
    FillMargins(canvas, state, background, top);
    PushTransform(canvas, {0, -top}, state.scale);
    RenderUi(canvas, state);
    PopTransform(canvas);
}

/// Each strip is a full pass over the pages, clipped to the strip.
void PaintInStrips(AppWindow& window, UiState& state, Color background, std::int32_t width, std::int32_t height) {
    const Owned<Canvas> strip = MakeCanvas(width, stripHeight);
    if (!strip) {
        PutPixels(window, nullptr, 0, 0);  // validates the window, or the system would send the message again at once
    }
    for (std::int32_t top = 0; strip && top < height; top += stripHeight) {
        RenderScaled(*strip, state, background, top);
        PutPixelRows(window, PixelsOf(*strip).pixels, width, std::min(stripHeight, height - top), top);
    }
}

}  // namespace

void FitMainWindow(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight, std::int32_t dpi) {
    const double byWidth = static_cast<double>(clientWidth) / mainWidth;
    const double byHeight = static_cast<double>(clientHeight) / mainHeight;
    state.scale = std::max(std::min({byWidth, byHeight, dpi / 96.0}), minimumMainScale);
    state.logicalWidth = static_cast<std::int32_t>(clientWidth / state.scale);
    state.logicalHeight = static_cast<std::int32_t>(clientHeight / state.scale);
}

void FitOverlay(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight) {
    const double byWidth = static_cast<double>(clientWidth) / overlayWidth;
    const double byHeight = static_cast<double>(clientHeight) / overlayHeight;
    state.scale = std::max(std::min(byWidth, byHeight), minimumOverlayScale);
    state.logicalWidth = overlayWidth;
    state.logicalHeight = overlayHeight;
}

void PaintWindow(AppWindow& window, UiState& state, bool overlay) {
    const Rectangle client = ClientBounds(window);
    if (overlay) {
        FitOverlay(state, client.Width(), client.Height());
    } else {
        FitMainWindow(state, client.Width(), client.Height(), DpiOfWindow(window));
    }
    const std::int32_t width = std::max(client.Width(), 1);
    const std::int32_t height = std::max(client.Height(), 1);
    const Color background = overlay ? color::overlayKey : color::windowBackground;
    if (!EnsureBackBuffer(state, width, height)) {
        PaintInStrips(window, state, background, width, height);
        return;
    }
    try {
        RenderScaled(*state.backBuffer, state, background, 0);
    } catch (...) {
        state.backBuffer.reset();  // half painted, with transforms still pushed
        throw;
    }
    PutPixels(window, PixelsOf(*state.backBuffer).pixels, width, height);
}

bool EnsureBackBuffer(UiState& state, std::int32_t width, std::int32_t height) {
    if (state.backBuffer && state.backWidth == width && state.backHeight == height) {
        return true;
    }
    state.backBuffer.reset();  // first: there may be memory for one only
    state.backBuffer = MakeCanvas(width, height);
    state.backWidth = state.backBuffer ? width : 0;
    state.backHeight = state.backBuffer ? height : 0;
    return state.backBuffer != nullptr;
}

void RenderUi(Canvas& canvas, UiState& state) {
    Painting painting(state);
    FillBox(canvas, {0, 0, state.logicalWidth, state.logicalHeight}, color::windowBackground);
    if (state.pages != nullptr) {
        state.pages(canvas);
    }
    painting.End();
}

}  // namespace zv
