// Windows of the system, whose messages go straight through to the portable procedures.
#include "platform/Window.h"

#include <new>
#include <utility>

#include "platform/windows/Native.h"

namespace zv {

struct AppWindow {
    HWND handle = nullptr;  ///< null once the system has destroyed the window
    WindowProc procedure = nullptr;
};

namespace {

/// What the program does when its session ends, for the one interface thread.
void (*sessionEnd)() = nullptr;

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

LRESULT CALLBACK PassOn(HWND handle, UINT code, WPARAM wParam, LPARAM lParam) {
    if (code == WM_NCCREATE) {
        Attach(handle, lParam);
    }
    if (code == WM_ENDSESSION && wParam != FALSE && sessionEnd != nullptr) {
        // The system ends the process when this returns: whatever has to be saved is saved inside. Every window is
        // told, the program asked once.
        std::exchange(sessionEnd, nullptr)();
        return 0;
    }
    if (code == WM_NCDESTROY) {
        const LRESULT answer = DefWindowProcW(handle, code, wParam, lParam);
        Detach(handle);
        return answer;
    }
    AppWindow* window = WindowOf(handle);
    return window != nullptr ? window->procedure(*window, code, wParam, lParam)
                             : DefWindowProcW(handle, code, wParam, lParam);
}

void RegisterWindowClass(const Text& name) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = PassOn;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = Native(name);
    RegisterClassExW(&windowClass);  // fails harmlessly for a class that is there already
}

}  // namespace

template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept {
    if (window != nullptr && window->handle != nullptr) {
        DestroyWindow(window->handle);
    }
    delete window;
}

bool OpenSession() {
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    return true;
}

Owned<AppWindow> MakeWindow(const WindowOptions& options) {
    RegisterWindowClass(options.className);
    Owned<AppWindow> window(new (std::nothrow) AppWindow{nullptr, options.procedure});
    if (!window) {
        return nullptr;
    }
    const DWORD style = WS_OVERLAPPEDWINDOW | (options.visible ? WS_VISIBLE : 0U);
    const HWND handle =
        CreateWindowExW(0, Native(options.className), Native(options.title), style, CW_USEDEFAULT, CW_USEDEFAULT,
                        options.width, options.height, nullptr, nullptr, GetModuleHandleW(nullptr), window.get());
    return handle != nullptr ? std::move(window) : nullptr;
}

void ShowWindowPlain(AppWindow& window) { ShowWindow(window.handle, SW_SHOW); }

void HideWindow(AppWindow& window) { ShowWindow(window.handle, SW_HIDE); }

bool IsWindowShown(AppWindow& window) { return IsWindowVisible(window.handle) != FALSE; }

void FlushScreen() { DwmFlush(); }

std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    return DefWindowProcW(window.handle, message, wParam, lParam);
}

void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs) {
    SetTimer(window.handle, id, periodMs, nullptr);
}

void StopTimer(AppWindow& window, std::uintptr_t id) { KillTimer(window.handle, id); }

bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey) {
    return RegisterHotKey(window.handle, id, modifiers, virtualKey) != FALSE;
}

void UnregisterGlobalKey(AppWindow& window, int id) { UnregisterHotKey(window.handle, id); }

void PostQuit(int code) { PostQuitMessage(code); }

int RunMessageLoop() {
    MSG code{};
    while (GetMessageW(&code, nullptr, 0, 0) > 0) {
        TranslateMessage(&code);
        DispatchMessageW(&code);
    }
    return static_cast<int>(code.wParam);
}

void SetEndRequest(void (*endRequest)()) { sessionEnd = endRequest; }

}  // namespace zv
