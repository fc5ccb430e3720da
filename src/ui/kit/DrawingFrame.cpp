#include "ui/kit/DrawingFrame.h"

#include <algorithm>
#include <utility>

#include "ui/kit/Colors.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr double leastMainScale = 0.25;
constexpr double leastOverlayScale = 0.1;
constexpr std::int32_t stripHeight = 32;
constexpr std::int32_t buttonCorner = 12;

/// The primitives register into `state` for the length of a scope. Where a painting breaks off, the targets stay those
/// of the last one, which is what the window goes on showing.
class Painting {
public:
    explicit Painting(UiState& state) : state_(state) {
        before_.swap(state.targets);
        Ui().painting = &state;
    }
    ~Painting() {
        if (!whole_) {
            state_.targets.swap(before_);
        }
        Ui().painting = nullptr;
    }
    Painting(const Painting&) = delete;
    Painting& operator=(const Painting&) = delete;

    void End() { whole_ = true; }

private:
    UiState& state_;
    std::vector<HitTarget> before_;
    bool whole_ = false;
};

/// The background comes first: the logical size is truncated, and a row or column may be left over by the pages.
void RenderScaled(Canvas& canvas, UiState& state, Color background, double top) {
    const PixelView view = PixelsOf(canvas);
    FillBox(canvas, {0, 0, view.width, view.height}, background);
    PushTransform(canvas, {0, -top}, state.scale);
    RenderUi(canvas, state);
    PopTransform(canvas);
}

/// Each strip is a whole pass over the pages of which only a part lands on the canvas.
void PaintInStrips(AppWindow& window, UiState& state, Color background, std::int32_t width, std::int32_t height) {
    const Owned<Canvas> strip = MakeCanvas(width, stripHeight);
    if (!strip) {
        PutPixels(window, nullptr, 0, 0);  // or the message would come again at once, for ever
    }
    for (std::int32_t top = 0; strip && top < height; top += stripHeight) {
        RenderScaled(*strip, state, background, top);
        PutPixelRows(window, PixelsOf(*strip).pixels, width, std::min(stripHeight, height - top), top);
    }
}

Color FillOf(const Button& button) {
    if (!button.enabled) {
        return color::buttonDisabled;
    }
    if (IsHovered(button.id)) {
        return button.primary ? color::primaryButtonHovered : color::buttonHovered;
    }
    return button.primary ? Ui().accentColor : button.selected ? color::buttonSelected : color::button;
}

Color LabelColorOf(const Button& button) {
    if (!button.enabled) {
        return color::mutedText;
    }
    return button.primary ? color::textOnPrimaryButton : color::primaryText;
}

Rectangle Inset(const Rectangle& box, std::int32_t depth) {
    return {box.left + depth, box.top + depth, box.right - depth, box.bottom - depth};
}

void DrawInFont(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole role, TextLayout layout) {
    if (const Font* font = FontOf(role)) {
        DrawTextInBox(canvas, box, text, color, *font, layout);
    }
}

}  // namespace

void FitMainWindow(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight, std::int32_t dpi) {
    const double byWidth = static_cast<double>(clientWidth) / mainWidth;
    const double byHeight = static_cast<double>(clientHeight) / mainHeight;
    state.scale = std::max(std::min({byWidth, byHeight, dpi / 96.0}), leastMainScale);
    state.logicalWidth = static_cast<std::int32_t>(clientWidth / state.scale);
    state.logicalHeight = static_cast<std::int32_t>(clientHeight / state.scale);
}

void FitOverlay(UiState& state, std::int32_t clientWidth, std::int32_t clientHeight) {
    const double byWidth = static_cast<double>(clientWidth) / overlayWidth;
    const double byHeight = static_cast<double>(clientHeight) / overlayHeight;
    state.scale = std::max(std::min(byWidth, byHeight), leastOverlayScale);
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
        state.backBuffer.reset();  // half painted, and under transforms that nobody takes back
        throw;
    }
    PutPixels(window, PixelsOf(*state.backBuffer).pixels, width, height);
}

bool EnsureBackBuffer(UiState& state, std::int32_t width, std::int32_t height) {
    if (state.backBuffer && state.backWidth == width && state.backHeight == height) {
        return true;
    }
    state.backBuffer.reset();  // before the new one is made: there may be room for one only
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

void AddTarget(std::int32_t id, const Rectangle& box, std::function<void()> action) {
    Ui().painting->targets.push_back({box, std::move(action), id});
}

bool IsHovered(std::int32_t id) { return Ui().painting->hoverId == id; }
bool IsPressed(std::int32_t id) { return Ui().painting->pressedId == id; }

void DrawButton(Canvas& canvas, Button button) {
    FillRoundBox(canvas, button.box, buttonCorner, FillOf(button));
    DrawCentredText(canvas, button.box, button.label, LabelColorOf(button), FontRole::Bold);
    if (!button.enabled) {
        return;
    }
    AddTarget(button.id, button.box, std::move(button.action));
    if (button.id == Ui().painting->focusId) {
        FrameBox(canvas, Inset(button.box, 3), 1, Ui().accentColor);
    }
}

void DrawTextLine(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font) {
    DrawInFont(canvas, box, text, color, font, TextLayout::Line);
}

void DrawCentredText(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font) {
    DrawInFont(canvas, box, text, color, font, TextLayout::CentredLine);
}

void DrawWrappedText(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole font) {
    DrawInFont(canvas, box, text, color, font, TextLayout::Wrapped);
}

}  // namespace zv
