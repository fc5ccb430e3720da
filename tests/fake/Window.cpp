#include "fake/Window.h"

#include <algorithm>
#include <string>

namespace zv {

using fake::Call;
using fake::Combination;
using fake::TheWindows;

struct AppWindow {
    WindowProc procedure = nullptr;
    bool ended = false;
    fake::WindowRecord record;
};

struct InstanceClaim {};

struct ShellServices {};

namespace {

/// The window's class, for the log of the calls.
std::string ClassOf(const WindowOptions& options) { return {options.className.begin(), options.className.end()}; }
std::string ClassOf(const AppWindow& window) { return ClassOf(window.record.options); }

std::vector<AppWindow*>& LiveWindows() {
    static std::vector<AppWindow*> windows;
    return windows;
}

void SetShown(AppWindow& window, bool shown) {
    if (window.record.shown == shown) {
        return;
    }
    TheWindows().shownWindows += shown ? 1 : -1;
    window.procedure(window, message::showWindow, shown ? 1 : 0, 0);
    window.record.shown = shown;
    window.record.mustPaint = window.record.mustPaint || shown;
}

void Place(AppWindow& window, const Rectangle& bounds) {
    const bool sized =
        bounds.Width() != window.record.bounds.Width() || bounds.Height() != window.record.bounds.Height();
    window.record.bounds = bounds;
    if (sized) {
        const std::intptr_t size = static_cast<std::intptr_t>(bounds.Height()) << 16 | bounds.Width();
        window.procedure(window, message::size, 0, size);
    }
}

void End(AppWindow& window) {
    if (window.ended) {
        return;
    }
    window.ended = true;
    const Call call("destroy", ClassOf(window));
    window.procedure(window, message::destroy, 0, 0);
    TheWindows().shownWindows -= static_cast<int>(window.record.shown);
    window.record.shown = false;
    std::erase(LiveWindows(), &window);
}

}  // namespace

template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept {
    End(*window);
    delete window;
}

template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept {
    const Call call("ReleaseInstance");
    delete claim;
}

template <>
void Closer<ShellServices>::operator()(ShellServices* services) const noexcept {
    const Call call("CloseShellServices");
    delete services;
}

Owned<ShellServices> OpenShellServices() {
    const Call call("OpenShellServices");
    return Owned<ShellServices>(new ShellServices);
}

bool OpenSession() { return !Call("OpenSession").Fails(); }

Owned<AppWindow> MakeWindow(const WindowOptions& options) {
    const Call call("MakeWindow", ClassOf(options));
    if (call.Fails()) {
        return nullptr;
    }
    TheWindows().made.push_back(options);
    Owned<AppWindow> window(new AppWindow{options.procedure, false, {}});
    window->record.options = options;
    window->record.topmost = options.topmost;
    window->record.bounds = {options.left, options.top, options.left + options.width, options.top + options.height};
    LiveWindows().push_back(window.get());
    options.procedure(*window, message::create, 0, 0);
    SetShown(*window, options.visible);
    return window;
}

void ShowWindowPlain(AppWindow& window) {
    const Call call("ShowWindowPlain", ClassOf(window));
    SetShown(window, true);
}

void HideWindow(AppWindow& window) {
    const Call call("HideWindow", ClassOf(window));
    window.record.icon = false;
    SetShown(window, false);
}

void ShowWithoutActivating(AppWindow& window) {
    const Call call("ShowWithoutActivating", ClassOf(window));
    SetShown(window, true);
}

void ShowInFront(AppWindow& window) {
    const Call call("ShowInFront", ClassOf(window));
    window.record.icon = false;
    SetShown(window, true);
    TheWindows().inFront = &window;
}

void MinimizeWindow(AppWindow& window) {
    const Call call("MinimizeWindow", ClassOf(window));
    window.record.icon = true;
    SetShown(window, true);
}

bool IsWindowShown(AppWindow& window) { return window.record.shown; }

bool IsWindowMinimized(AppWindow& window) { return window.record.icon; }

void ShowTopmostAt(AppWindow& window, const Rectangle& bounds) {
    const Call call("ShowTopmostAt", ClassOf(window));
    window.record.topmost = true;
    Place(window, bounds);
    SetShown(window, true);
}

void PlaceWindow(AppWindow& window, const Rectangle& bounds) {
    const Call call("PlaceWindow", ClassOf(window));
    Place(window, bounds);
}

Rectangle WindowBounds(AppWindow& window) { return window.record.bounds; }

Rectangle ClientBounds(AppWindow& window) { return window.record.bounds; }

int DpiOfWindow(AppWindow& window) { return window.record.dpi; }

void SetColorKey(AppWindow& window, std::uint32_t color) {
    const Call call("SetColorKey", ClassOf(window));
    window.record.colorKey = color;
}

void SetConstantAlpha(AppWindow& window, std::uint8_t alpha) {
    const Call call("SetConstantAlpha", ClassOf(window));
    window.record.alpha = alpha;
}

void ExcludeFromCapture(AppWindow& window) {
    const Call call("ExcludeFromCapture", ClassOf(window));
    window.record.excluded = true;
}

void SetDarkFrame(AppWindow& window) {
    const Call call("SetDarkFrame", ClassOf(window));
    window.record.darkFrame = true;
}

void SetWindowIcons(AppWindow& window, const AppIcon* big, const AppIcon* little) {
    const Call call("SetWindowIcons", ClassOf(window));
    window.record.bigIcon = big;
    window.record.littleIcon = little;
}

// Painting is recorded in the window's record, but not as a call, because its number depends on timing.

void InvalidateWindow(AppWindow& window) {
    ++window.record.invalidations;
    window.record.mustPaint = true;
}

void PaintNow(AppWindow& window) { fake::PaintIfNeeded(window); }

void PutPixels(AppWindow& window, const std::uint32_t* pixels, int width, int height) {
    PutPixelRows(window, pixels, width, height, 0);
}

void PutPixelRows(AppWindow& window, const std::uint32_t* pixels, int width, int rows, int top) {
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(rows);
    window.record.pixels.assign(pixels, pixels + count);
    window.record.pixelWidth = width;
    window.record.pixelHeight = rows;
    window.record.pixelTop = top;
    window.record.mustPaint = false;
}

void TrackMouseLeave(AppWindow& window) { ++window.record.leaveTracks; }

void CaptureMouse(AppWindow& window) { window.record.hasMouse = true; }

bool HasMouseCapture(AppWindow& window) { return window.record.hasMouse; }

void ReleaseMouse(AppWindow& window) {
    if (window.record.hasMouse) {
        window.record.hasMouse = false;
        window.procedure(window, message::captureChanged, 0, 0);
    }
}

void SetCursorShape(AppWindow& window, CursorShape shape) { window.record.cursor = shape; }

Point CursorPosition() { return TheWindows().cursor; }

std::uint32_t HeldModifiers() { return TheWindows().heldModifiers; }

Text KeyName(std::uint32_t virtualKey) {
    const auto found = TheWindows().keyNames.find(virtualKey);
    return found == TheWindows().keyNames.end() ? Text() : found->second;
}

void FlushScreen() { const Call call("FlushScreen"); }

std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t, std::intptr_t) {
    if (code == message::showWindow || code == message::size || code == message::paint) {
        window.record.mustPaint = window.record.mustPaint && code != message::paint;
        return 0;  // a message that the fake has sent needs no default handling
    }
    const Call call("DefaultProcedure");
    if (code == message::close) {
        End(window);
    }
    return 0;
}

void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs) {
    const Call call("StartTimer", std::to_string(id));
    window.record.timers[id] = periodMs;
    TheWindows().timers[id] = periodMs;
}

void StopTimer(AppWindow& window, std::uintptr_t id) {
    const Call call("StopTimer", std::to_string(id));
    window.record.timers.erase(id);
    TheWindows().timers.erase(id);
}

bool RegisterGlobalKey(AppWindow&, int id, std::uint32_t modifiers, std::uint32_t virtualKey) {
    const Call call("RegisterGlobalKey", std::to_string(id));
    fake::WindowControls& controls = TheWindows();
    const bool ours = std::any_of(controls.keys.begin(), controls.keys.end(), [&](const auto& key) {
        return key.second == Combination{modifiers, virtualKey};
    });
    if (call.Fails() || ours || controls.reservedByOthers.contains({modifiers & ~keyModifier::noRepeat, virtualKey})) {
        return false;
    }
    controls.keys[id] = {modifiers, virtualKey};
    return true;
}

void UnregisterGlobalKey(AppWindow&, int id) {
    const Call call("UnregisterGlobalKey", std::to_string(id));
    TheWindows().keys.erase(id);
}

void PostQuit(int code) {
    const Call call("PostQuit");
    TheWindows().quitPosted = true;
    TheWindows().quitCode = code;
}

int RunMessageLoop() {
    const Call call("RunMessageLoop");
    if (TheWindows().loop) {
        TheWindows().loop();
    }
    return TheWindows().quitCode;
}

void SetTaskbarIdentity(TextView id) {
    const Call call("SetTaskbarIdentity");
    TheWindows().taskbarIdentity = id;
}

TextView CaptureObstacle() { return TheWindows().captureObstacle; }

void SetEndRequest(void (*endRequest)()) { TheWindows().endRequest = endRequest; }

Owned<InstanceClaim> ClaimSingleInstance(TextView name) {
    const Call call("ClaimSingleInstance");
    TheWindows().claimedName = name;
    return call.Fails() ? nullptr : Owned<InstanceClaim>(new InstanceClaim);
}

bool BringOtherCopyForward(TextView className) {
    const Call call("BringOtherCopyForward");
    TheWindows().broughtForward = className;
    return TheWindows().otherCopyHasWindow;
}

void ShowInformation(TextView text, TextView caption) {
    const Call call("ShowInformation");
    TheWindows().informationText = text;
    TheWindows().informationCaption = caption;
}

namespace fake {

WindowControls& TheWindows() {
    static WindowControls controls;
    return controls;
}

void ResetWindows() { TheWindows() = {}; }

WindowRecord& RecordOf(AppWindow& window) { return window.record; }

AppWindow* FindWindowOf(TextView className) {
    const auto found = std::find_if(LiveWindows().rbegin(), LiveWindows().rend(), [&](const AppWindow* window) {
        return window->record.options.className == className;
    });
    return found == LiveWindows().rend() ? nullptr : *found;
}

void PaintIfNeeded(AppWindow& window) {
    if (window.record.mustPaint && window.record.shown && !window.record.icon) {
        window.procedure(window, message::paint, 0, 0);
    }
}

}  // namespace fake
}  // namespace zv
