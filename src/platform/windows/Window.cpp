// Windows whose messages are passed unchanged to the portable procedures.
#include "platform/Window.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/software/PaintedParts.h"
#include "platform/windows/SessionEnd.h"
#include "platform/windows/SystemLibrary.h"
#include "platform/windows/WindowHandle.h"

namespace zv {

static_assert(message::size == WM_SIZE && message::setFocus == WM_SETFOCUS && message::killFocus == WM_KILLFOCUS &&
              message::paint == WM_PAINT && message::close == WM_CLOSE && message::eraseBackground == WM_ERASEBKGND &&
              message::showWindow == WM_SHOWWINDOW && message::cancelMode == WM_CANCELMODE &&
              message::setCursor == WM_SETCURSOR && message::mouseActivate == WM_MOUSEACTIVATE &&
              message::getMinMaxInfo == WM_GETMINMAXINFO && message::displayChange == WM_DISPLAYCHANGE &&
              message::hitTest == WM_NCHITTEST && message::create == WM_CREATE && message::destroy == WM_DESTROY);
static_assert(message::keyDown == WM_KEYDOWN && message::keyUp == WM_KEYUP && message::systemKeyDown == WM_SYSKEYDOWN &&
              message::systemKeyUp == WM_SYSKEYUP && message::timer == WM_TIMER && message::mouseMove == WM_MOUSEMOVE &&
              message::leftButtonDown == WM_LBUTTONDOWN && message::leftButtonUp == WM_LBUTTONUP &&
              message::leftButtonDoubleClick == WM_LBUTTONDBLCLK && message::rightButtonDown == WM_RBUTTONDOWN &&
              message::rightButtonUp == WM_RBUTTONUP && message::mouseWheel == WM_MOUSEWHEEL &&
              message::captureChanged == WM_CAPTURECHANGED && message::mouseLeave == WM_MOUSELEAVE &&
              message::dpiChanged == WM_DPICHANGED && message::hotKey == WM_HOTKEY);
static_assert(mouseState::leftButton == MK_LBUTTON && mouseState::shift == MK_SHIFT &&
              mouseState::control == MK_CONTROL);
static_assert(hitCode::transparent == HTTRANSPARENT && hitCode::client == HTCLIENT && activateNo == MA_NOACTIVATE);
// The program reads the records that messages point to as its own types.
static_assert(sizeof(Rectangle) == sizeof(RECT) && sizeof(MinMaxInfo) == sizeof(MINMAXINFO) &&
              offsetof(MinMaxInfo, minTrackSize) == offsetof(MINMAXINFO, ptMinTrackSize));

namespace {

constexpr DWORD excludeFromCapture = 0x11;  // WDA_EXCLUDEFROMCAPTURE
constexpr DWORD useImmersiveDarkMode = 20;  // DWMWA_USE_IMMERSIVE_DARK_MODE

AppWindow* WindowOf(HWND handle) { return reinterpret_cast<AppWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA)); }

void Attach(HWND handle, LPARAM creation) {
    auto* window = static_cast<AppWindow*>(reinterpret_cast<CREATESTRUCTW*>(creation)->lpCreateParams);
    window->handle = handle;
    SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(window));
}

void Detach(HWND handle) {
    if (AppWindow* window = WindowOf(handle)) {
        window->handle = nullptr;
        SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
    }
}

/// Calls the procedure. Exceptions must not cross the system's stack frames: a procedure that throws counts as one that
/// did not handle the message, except that WM_CLOSE is ignored. The procedure may have destroyed the window before it
/// throws.
LRESULT Answer(AppWindow& window, HWND handle, UINT code, WPARAM wParam, LPARAM lParam) {
    try {
        return window.procedure(window, code, wParam, lParam);
    } catch (...) {
        return code == WM_CLOSE ? 0 : DefWindowProcW(handle, code, wParam, lParam);
    }
}

LRESULT CALLBACK PassOn(HWND handle, UINT code, WPARAM wParam, LPARAM lParam) {
    if (code == WM_NCCREATE) {
        Attach(handle, lParam);
    }
    if (code == WM_ENDSESSION && wParam != FALSE && EndSession()) {
        return 0;
    }
    if (code == WM_NCDESTROY) {
        const LRESULT answer = DefWindowProcW(handle, code, wParam, lParam);
        Detach(handle);
        return answer;
    }
    AppWindow* window = WindowOf(handle);
    return window != nullptr ? Answer(*window, handle, code, wParam, lParam)
                             : DefWindowProcW(handle, code, wParam, lParam);
}

HCURSOR CursorOf(CursorShape shape) { return LoadCursorW(nullptr, shape == CursorShape::Hand ? IDC_HAND : IDC_ARROW); }

void RegisterWindowClass(const WindowOptions& options) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = PassOn;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hIcon = IconHandle(options.bigIcon);
    windowClass.hIconSm = IconHandle(options.littleIcon);
    windowClass.hCursor = options.cursor ? CursorOf(*options.cursor) : nullptr;
    windowClass.lpszClassName = Native(options.className);
    RegisterClassExW(&windowClass);  // fails if the class is registered already, which is harmless
}

DWORD StyleOf(const WindowOptions& options) {
    const DWORD visible = options.visible ? WS_VISIBLE : 0U;
    switch (options.frame) {
        case WindowFrame::Caption:
            return visible | WS_POPUP | WS_CAPTION | WS_SYSMENU;
        case WindowFrame::Bare:
            return visible | WS_POPUP;
        case WindowFrame::Full:
            break;
    }
    return visible | WS_OVERLAPPEDWINDOW;
}

DWORD ExtendedStyleOf(const WindowOptions& options) {
    DWORD style = 0;
    style |= options.topmost ? WS_EX_TOPMOST : 0U;
    style |= options.toolWindow ? WS_EX_TOOLWINDOW : 0U;
    style |= options.noActivate ? WS_EX_NOACTIVATE : 0U;
    style |= options.layered ? WS_EX_LAYERED : 0U;
    style |= options.clickThrough ? WS_EX_TRANSPARENT : 0U;
    return style;
}

struct DeleteRegion {
    using pointer = HRGN;
    void operator()(HRGN region) const { DeleteObject(region); }
};
using RegionHandle = std::unique_ptr<HRGN, DeleteRegion>;

RegionHandle MakeRegion(const std::vector<Rectangle>& parts) {
    RGNDATAHEADER header{};
    header.dwSize = sizeof(header);
    header.iType = RDH_RECTANGLES;
    header.nCount = static_cast<DWORD>(parts.size());
    header.nRgnSize = static_cast<DWORD>(parts.size() * sizeof(RECT));
    std::vector<std::byte> data(sizeof(header) + header.nRgnSize);
    std::memcpy(data.data(), &header, sizeof(header));
    std::memcpy(data.data() + sizeof(header), parts.data(), header.nRgnSize);
    return RegionHandle(
        ExtCreateRegion(nullptr, static_cast<DWORD>(data.size()), reinterpret_cast<const RGNDATA*>(data.data())));
}

std::vector<Rectangle> PartsWithoutKey(const PixelView& picture, std::uint32_t key) {
    return PaintedParts(picture, (key & 0xFFU) << 16U | (key & 0xFF00U) | (key >> 16U & 0xFFU));
}

/// Reduces the window to these parts.
void SetRegion(AppWindow& window, std::vector<Rectangle> parts) {
    RegionHandle region = MakeRegion(parts);
    if (region && SetWindowRgn(window.handle, region.get(), TRUE) != 0) {
        region.release();  // the system owns it now
        window.region = std::move(parts);
    }
}

void RemoveRegion(AppWindow& window) {
    if (!window.region.empty()) {
        SetWindowRgn(window.handle, nullptr, TRUE);
        window.region.clear();
    }
}

}  // namespace

template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept {
    if (window != nullptr && window->handle != nullptr) {
        DestroyWindow(window->handle);
    }
    delete window;
}

Owned<AppWindow> MakeWindow(const WindowOptions& options) {
    RegisterWindowClass(options);
    Owned<AppWindow> window(new (std::nothrow) AppWindow);
    if (!window) {
        return nullptr;
    }
    window->procedure = options.procedure;
    const bool placed = options.frame != WindowFrame::Full;
    const HWND handle = CreateWindowExW(
        ExtendedStyleOf(options), Native(options.className), Native(options.title), StyleOf(options),
        placed ? options.left : CW_USEDEFAULT, placed ? options.top : CW_USEDEFAULT, options.width, options.height,
        options.owner != nullptr ? options.owner->handle : nullptr, nullptr, GetModuleHandleW(nullptr), window.get());
    return handle != nullptr ? std::move(window) : nullptr;
}

void SetColorKey(AppWindow& window, std::uint32_t color) {
    SetLayeredWindowAttributes(window.handle, color, 255, LWA_COLORKEY);
    if (std::exchange(window.colorKey, color) != color) {
        RemoveRegion(window);
        InvalidateWindow(window);
    }
}

void SetConstantAlpha(AppWindow& window, std::uint8_t alpha) {
    SetLayeredWindowAttributes(window.handle, 0, alpha, LWA_ALPHA);
}

void ExcludeFromCapture(AppWindow& window) { SetWindowDisplayAffinity(window.handle, excludeFromCapture); }

void SetDarkFrame(AppWindow& window) {
    static const auto set = SystemFunction<decltype(DwmSetWindowAttribute)>(L"dwmapi.dll", "DwmSetWindowAttribute");
    const BOOL dark = TRUE;
    if (set != nullptr) {
        set(window.handle, useImmersiveDarkMode, &dark, sizeof(dark));
    }
}

void SetWindowIcons(AppWindow& window, const AppIcon* big, const AppIcon* little) {
    SendMessageW(window.handle, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(IconHandle(big)));
    SendMessageW(window.handle, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(IconHandle(little)));
}

void ShowWindowPlain(AppWindow& window) { ShowWindow(window.handle, SW_SHOW); }

void ShowWithoutActivating(AppWindow& window) { ShowWindow(window.handle, SW_SHOWNOACTIVATE); }

void ShowInFront(AppWindow& window) {
    ShowWindow(window.handle, SW_RESTORE);
    SetForegroundWindow(window.handle);
    SetFocus(window.handle);
}

void HideWindow(AppWindow& window) {
    ShowWindow(window.handle, SW_HIDE);
    RemoveRegion(window);  // the window may be shown next with another size
}

bool IsWindowShown(AppWindow& window) { return IsWindowVisible(window.handle) != FALSE; }

void MinimizeWindow(AppWindow& window) { ShowWindow(window.handle, SW_SHOWMINNOACTIVE); }

bool IsWindowMinimized(AppWindow& window) { return IsIconic(window.handle) != FALSE; }

void ShowTopmostAt(AppWindow& window, const Rectangle& bounds) {
    SetWindowPos(window.handle, HWND_TOPMOST, bounds.left, bounds.top, bounds.Width(), bounds.Height(),
                 SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

void PlaceWindow(AppWindow& window, const Rectangle& bounds) {
    SetWindowPos(window.handle, nullptr, bounds.left, bounds.top, bounds.Width(), bounds.Height(),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

Rectangle WindowBounds(AppWindow& window) {
    RECT bounds{};
    GetWindowRect(window.handle, &bounds);
    return {bounds.left, bounds.top, bounds.right, bounds.bottom};
}

Rectangle ClientBounds(AppWindow& window) {
    RECT size{};
    POINT origin{};
    GetClientRect(window.handle, &size);
    ClientToScreen(window.handle, &origin);
    return {origin.x, origin.y, origin.x + size.right, origin.y + size.bottom};
}

int DpiOfWindow(AppWindow& window) {
    const UINT dpi = GetDpiForWindow(window.handle);
    return dpi != 0 ? static_cast<int>(dpi) : USER_DEFAULT_SCREEN_DPI;
}

void InvalidateWindow(AppWindow& window) {
    // A null handle would invalidate all windows of the desktop.
    if (window.handle != nullptr) {
        InvalidateRect(window.handle, nullptr, FALSE);
    }
}

void PaintNow(AppWindow& window) { UpdateWindow(window.handle); }

void PutPixels(AppWindow& window, const std::uint32_t* pixels, int width, int height) {
    if (!window.colorKey) {
        PutPixelRows(window, pixels, width, height, 0);
        return;
    }
    std::vector<Rectangle> parts = PartsWithoutKey({pixels, width, height}, *window.colorKey);
    const bool changed = parts != window.region;
    if (changed) {
        RemoveRegion(window);  // the pixels that leave the region receive the key colour, too
    }
    PutPixelRows(window, pixels, width, height, 0);
    // A window with an empty region would receive no more paint messages.
    if (changed && !parts.empty()) {
        SetRegion(window, std::move(parts));
    }
}

void PutPixelRows(AppWindow& window, const std::uint32_t* pixels, int width, int rows, int top) {
    // EndPaint has validated the whole window after the previous strip, so this strip is invalidated again.
    const RECT strip{0, top, width, top + rows};
    InvalidateRect(window.handle, &strip, FALSE);
    PAINTSTRUCT paint{};
    const HDC target = BeginPaint(window.handle, &paint);
    if (target == nullptr) {
        return;
    }
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -rows;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    const auto lines = static_cast<UINT>(rows);
    SetDIBitsToDevice(target, 0, top, static_cast<DWORD>(width), lines, 0, 0, 0, lines, pixels, &info, DIB_RGB_COLORS);
    EndPaint(window.handle, &paint);
}

void TrackMouseLeave(AppWindow& window) {
    TRACKMOUSEEVENT track{};
    track.cbSize = sizeof(track);
    track.dwFlags = TME_LEAVE;
    track.hwndTrack = window.handle;
    TrackMouseEvent(&track);
}

void CaptureMouse(AppWindow& window) { SetCapture(window.handle); }

bool HasMouseCapture(AppWindow& window) { return window.handle != nullptr && GetCapture() == window.handle; }

void ReleaseMouse(AppWindow& window) {
    if (HasMouseCapture(window)) {
        ReleaseCapture();
    }
}

void SetCursorShape(AppWindow&, CursorShape shape) { SetCursor(CursorOf(shape)); }

Point CursorPosition() {
    POINT at{};
    GetCursorPos(&at);
    return {at.x, at.y};
}

void FlushScreen() {
    static const auto flush = SystemFunction<decltype(DwmFlush)>(L"dwmapi.dll", "DwmFlush");
    if (flush != nullptr) {
        flush();
    }
}

std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    return DefWindowProcW(window.handle, message, wParam, lParam);
}

void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs) {
    SetTimer(window.handle, id, periodMs, nullptr);
}

void StopTimer(AppWindow& window, std::uintptr_t id) { KillTimer(window.handle, id); }

}  // namespace zv
