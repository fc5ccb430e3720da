#include "ui/kit/Controls.h"

#include <algorithm>
#include <utility>

#include "ui/kit/Colors.h"
#include "ui/kit/DrawingContext.h"

namespace zv {
namespace {

constexpr std::int32_t buttonCorner = 12;
constexpr std::int32_t cardCorner = 14;

Color FillOf(const Button& button) {
    if (!button.enabled) {
        return color::buttonDisabled;
    }
    if (IsHovered(button.id)) {
        return button.primary ? color::primaryButtonHovered : color::buttonHovered;
    }
    return button.primary ? Drawing().accentColor : button.selected ? color::buttonSelected : color::button;
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

/// The number of letters that no text in the box exceeds: as narrow as they get, in the smallest font.
std::size_t MostLettersIn(const Rectangle& box, TextLayout layout) {
    constexpr std::int32_t letterWidth = 4;
    constexpr std::int32_t lineHeight = 15;
    const std::int32_t lines = layout == TextLayout::Wrapped ? std::max(box.Height() / lineHeight, 1) : 1;
    return static_cast<std::size_t>(std::max(0, lines * (box.Width() / letterWidth + 1)));
}

/// Texts of feeds can be thousands of times longer than what is visible of them, and the time that a canvas needs grows
/// with their length.
Text Shortened(TextView text, std::size_t letters) {
    const bool splitsPair = letters > 0 && (text[letters - 1] & 0xFC00) == 0xD800;
    return Text(text.substr(0, splitsPair ? letters - 1 : letters)) + u"\u2026";
}

void DrawInFont(Canvas& canvas, const Rectangle& box, TextView text, Color color, FontRole role, TextLayout layout) {
    const Font* font = FontOf(role);
    const std::size_t most = MostLettersIn(box, layout);
    if (font != nullptr && text.size() > most) {
        DrawTextInBox(canvas, box, Shortened(text, most), color, *font, layout);
    } else if (font != nullptr) {
        DrawTextInBox(canvas, box, text, color, *font, layout);
    }
}

}  // namespace

void AddTarget(std::int32_t id, const Rectangle& box, std::function<void()> action) {
    Drawing().painting->targets.push_back({box, std::move(action), id});
}

bool IsHovered(std::int32_t id) { return Drawing().painting->hoverId == id; }
bool IsPressed(std::int32_t id) { return Drawing().painting->pressedId == id; }

void DrawButton(Canvas& canvas, Button button) {
    FillRoundBox(canvas, button.box, buttonCorner, FillOf(button));
    DrawCentredText(canvas, button.box, button.label, LabelColorOf(button), FontRole::Bold);
    if (!button.enabled) {
        return;
    }
    AddTarget(button.id, button.box, std::move(button.action));
    if (button.id == Drawing().painting->focusId) {
        FrameBox(canvas, Inset(button.box, 3), 1, Drawing().accentColor);
    }
}

void DrawCard(Canvas& canvas, const Rectangle& box) { FillRoundBox(canvas, box, cardCorner, color::card); }

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
