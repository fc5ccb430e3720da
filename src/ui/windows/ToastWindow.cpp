#include "ui/windows/ToastWindow.h"

#include <optional>

#include "ui/commands/Notifications.h"
#include "ui/commands/ToastRules.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/Icons.h"
#include "ui/kit/SmallWindow.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::int32_t stripeWidth = 4;
constexpr double iconScale = 0.48;
constexpr PointF iconCentre{37, 38};
constexpr Rectangle textBox{68, 8, 314, 68};
constexpr Rectangle wrappedTextBox{68, 14, 314, 74};

void DrawToast(Canvas& canvas, const Rectangle& client) {
    const Toast& toast = Ui().toast;
    const Color accent = Drawing().accentColor;
    PushTransform(canvas, {}, static_cast<double>(client.Width()) / toastWidth);
    FillBox(canvas, {0, 0, toastWidth, toastHeight}, color::toast);
    FillBox(canvas, {0, 0, stripeWidth, toastHeight}, accent);
    PushTransform(canvas, iconCentre, iconScale);
    DrawVectorIcon(canvas, 0, 0, toast.kind, accent);
    PopTransform(canvas);
    if (toast.wrapped) {
        DrawWrappedText(canvas, wrappedTextBox, toast.text, color::primaryText, FontRole::Small);
    } else {
        DrawTextLine(canvas, textBox, toast.text, color::primaryText, FontRole::Small);
    }
    PopTransform(canvas);
}

}  // namespace

std::intptr_t ToastProc(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (const std::optional<std::intptr_t> answer = ClickThroughAnswer(code)) {
        return *answer;
    }
    switch (code) {
        case message::create:
            Ui().toastWindow = &window;
            return 0;
        case message::destroy:
            Ui().toastWindow = nullptr;
            return 0;
        case message::timer:
            if (wParam == toastTimer) {
                HideToast();
            }
            return 0;
        case message::paint:
            PaintSmallWindow(window, DrawToast);
            return 0;
        default:
            return DefaultProcedure(window, code, wParam, lParam);
    }
}

}  // namespace zv
