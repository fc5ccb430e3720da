#include "ui/startup/ProgramWindows.h"

#include <vector>

#include "platform/Window.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/startup/ProgramIcon.h"
#include "ui/state/UiGlobals.h"
#include "ui/windows/Badge.h"
#include "ui/windows/MainWindow.h"
#include "ui/windows/Overlay.h"
#include "ui/windows/ToastWindow.h"

namespace zv {
namespace {

constexpr std::uint8_t badgeAlpha = 225;
constexpr std::uint8_t opaque = 255;

ProgramWindows& Windows() { return Ui().programWindows; }

Owned<AppIcon> MakeProgramIcon(int size) {
    if (Owned<AppIcon> icon = LoadProgramIcon(size)) {
        return icon;
    }
    const std::vector<std::uint32_t> pixels = PaintProgramIcon(size);
    return pixels.empty() ? nullptr : MakeIcon(size, pixels.data());
}

WindowOptions MainOptions() {
    WindowOptions options;
    options.className = mainWindowClass;
    options.title = u"Zorvel";
    options.procedure = MainProc;
    options.width = 1220;
    options.height = 800;
    options.visible = true;
    options.bigIcon = Windows().bigIcon.get();
    options.littleIcon = Windows().smallIcon.get();
    return options;
}

/// Of a topmost window that is never activated.
WindowOptions TopmostOptions(TextView className, TextView title, WindowProc procedure) {
    WindowOptions options;
    options.className = className;
    options.title = title;
    options.procedure = procedure;
    options.frame = WindowFrame::Bare;
    options.topmost = true;
    options.toolWindow = true;
    options.noActivate = true;
    return options;
}

WindowOptions OverlayOptions() {
    WindowOptions options = TopmostOptions(u"ZVReelsOverlayV3", u"Zorvel Quick Overlay", OverlayProc);
    options.left = 100;
    options.top = 100;
    options.width = overlayWidth;
    options.height = overlayHeight;
    options.layered = true;
    return options;
}

WindowOptions BadgeOptions() {
    WindowOptions options = TopmostOptions(u"ZVGameStatusBadge", u"ZV capture indicator", BadgeProc);
    options.width = 90;
    options.height = 32;
    options.layered = true;
    options.clickThrough = true;
    options.cursor.reset();
    return options;
}

WindowOptions ToastOptions() {
    WindowOptions options = TopmostOptions(u"ZVCaptureNotification315", u"Zorvel notification", ToastProc);
    options.width = 330;
    options.height = 76;
    options.layered = true;
    options.clickThrough = true;
    options.cursor.reset();
    return options;
}

void MakeBadge() {
    Windows().badge = MakeWindow(BadgeOptions());
    if (Windows().badge) {
        SetConstantAlpha(*Windows().badge, badgeAlpha);
        ExcludeFromCapture(*Windows().badge);
    }
}

void MakeToast() {
    Windows().toast = MakeWindow(ToastOptions());
    if (Windows().toast) {
        SetConstantAlpha(*Windows().toast, opaque);
        ExcludeFromCapture(*Windows().toast);
    }
}

void SetOverlayAttributes() {
    if (Windows().overlay) {
        SetColorKey(*Windows().overlay, color::overlayKey);
        ExcludeFromCapture(*Windows().overlay);
    }
}

}  // namespace

void MakeProgramIcons() {
    Windows().bigIcon = MakeProgramIcon(32);
    Windows().smallIcon = MakeProgramIcon(16);
}

void MakeProgramWindows(const Text& commandLine) {
    Windows().main = MakeWindow(MainOptions());
    Windows().overlay = MakeWindow(OverlayOptions());
    MakeBadge();
    if (Windows().main && Contains(commandLine, u"--background")) {
        HideWindow(*Windows().main);
        Ui().mainWindowPutAway = true;  // until the notification icon has been added, which may fail
    }
    MakeToast();
    SetOverlayAttributes();
    if (Windows().main) {
        SetWindowIcons(*Windows().main, Windows().bigIcon.get(), Windows().smallIcon.get());
    }
}

void DarkenWindowFrames() {
    for (AppWindow* window : {Windows().main.get(), Windows().overlay.get()}) {
        if (window != nullptr) {
            SetDarkFrame(*window);
        }
    }
}

void ReleaseProgramWindows() {
    // The main window uses the icons.
    Windows().main.reset();
    Windows().bigIcon.reset();
    Windows().smallIcon.reset();
    Windows().toast.reset();
    Windows().badge.reset();
    Windows().overlay.reset();
}

}  // namespace zv
