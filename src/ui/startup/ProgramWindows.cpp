#include "ui/startup/ProgramWindows.h"

#include <vector>

#include "platform/Window.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/ProgramIcon.h"
#include "ui/windows/Badge.h"
#include "ui/windows/MainWindow.h"
#include "ui/windows/Notifications.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

constexpr std::uint8_t badgeAlpha = 225;

struct ProgramWindows {
    Owned<AppIcon> bigIcon;
    Owned<AppIcon> littleIcon;
    Owned<AppWindow> main;
    Owned<AppWindow> overlay;
    Owned<AppWindow> badge;
    Owned<AppWindow> toast;
};

ProgramWindows& Windows() {
    static ProgramWindows windows;
    return windows;
}

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
    options.littleIcon = Windows().littleIcon.get();
    return options;
}

/// Of a window that lies over the game and never takes its keyboard.
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
    options.arrowCursor = false;
    return options;
}

WindowOptions ToastOptions() {
    WindowOptions options = TopmostOptions(u"ZVCaptureNotification315", u"Zorvel notification", ToastProc);
    options.width = 330;
    options.height = 76;
    options.clickThrough = true;
    options.arrowCursor = false;
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
        ExcludeFromCapture(*Windows().toast);
    }
}

void DressOverlay() {
    if (Windows().overlay) {
        SetColorKey(*Windows().overlay, color::overlayKey);
        ExcludeFromCapture(*Windows().overlay);
    }
}

}  // namespace

void MakeProgramIcons() {
    Windows().bigIcon = MakeProgramIcon(32);
    Windows().littleIcon = MakeProgramIcon(16);
}

void MakeProgramWindows(const Text& commandLine) {
    Windows().main = MakeWindow(MainOptions());
    Windows().overlay = MakeWindow(OverlayOptions());
    MakeBadge();
    if (Windows().main && Contains(commandLine, u"--background")) {
        HideWindow(*Windows().main);
    }
    MakeToast();
    DressOverlay();
    if (Windows().main) {
        SetWindowIcons(*Windows().main, Windows().bigIcon.get(), Windows().littleIcon.get());
    }
}

void DarkenWindowFrames() {
    for (AppWindow* window : {Windows().main.get(), Windows().overlay.get()}) {
        if (window != nullptr) {
            SetDarkFrame(*window);
        }
    }
}

const AppIcon* LittleIcon() { return Windows().littleIcon.get(); }

void EndToast() { Windows().toast.reset(); }

void EndBadge() { Windows().badge.reset(); }

void ReleaseProgramWindows() {
    // The window that carries the icons has ended with the loop, if it ever was.
    Windows().main.reset();
    Windows().bigIcon.reset();
    Windows().littleIcon.reset();
    EndToast();
    EndBadge();
    Windows().overlay.reset();
}

}  // namespace zv
