// The program's windows, found and used by mouse and keyboard from another program. The screen is 1920 by 1080 pixels
// at 96 dpi and has no taskbar.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/ReadSharedFile.h"
#include "platform/Files.h"
#include "platform/Rectangle.h"
#include "windows/DriverScene.h"
#include "windows/Processes.h"

namespace zv::windows {

inline constexpr wchar_t mainClass[] = L"ZVReelsMainV3";
inline constexpr wchar_t overlayClass[] = L"ZVReelsOverlayV3";
inline constexpr wchar_t badgeClass[] = L"ZVGameStatusBadge";
inline constexpr wchar_t toastClass[] = L"ZVCaptureNotification315";
inline constexpr wchar_t editorClass[] = L"ZVShortcutEditor315";
inline constexpr wchar_t menuClass[] = L"#32768";
inline constexpr wchar_t dialogClass[] = L"#32770";
inline constexpr UINT trayMessage = 0x8016;
inline constexpr std::uint32_t betweenTriesMs = 700;

inline HWND Find(const wchar_t* className) { return FindWindowW(className, nullptr); }

inline bool IsShown(const wchar_t* className) {
    const HWND window = Find(className);
    return window != nullptr && IsWindowVisible(window) != FALSE;
}

inline Rectangle BoundsOf(HWND window) {
    RECT bounds{};
    GetWindowRect(window, &bounds);
    return {bounds.left, bounds.top, bounds.right, bounds.bottom};
}

// Mouse and keyboard input.

inline void SendAll(std::vector<INPUT> inputs) {
    ASSERT_EQ(SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT)), inputs.size());
}

inline INPUT KeyInput(WORD key, DWORD flags) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.dwFlags = flags;
    return input;
}

/// Presses all keys in order and releases them in reverse.
inline void PressKeys(const std::vector<WORD>& keys) {
    std::vector<INPUT> inputs;
    for (const WORD key : keys) {
        inputs.push_back(KeyInput(key, 0));
    }
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        inputs.push_back(KeyInput(*key, KEYEVENTF_KEYUP));
    }
    SendAll(inputs);
}

/// Presses keys until `condition` holds: Wine releases held keys if the focus changes meanwhile.
template <class Condition>
bool PressUntil(const std::vector<WORD>& keys, Condition condition) {
    return Eventually([&] {
        if (condition()) {
            return true;
        }
        PressKeys(keys);
        return Eventually(condition, betweenTriesMs);
    });
}

/// Has a position of its own: Wine moves the pointer back for a moment when windows are shown or hidden.
inline INPUT ButtonInput(POINT at, DWORD flags) {
    constexpr LONG whole = 65536;
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dx = (at.x * whole + 1919) / 1920;
    input.mi.dy = (at.y * whole + 1079) / 1080;
    input.mi.dwFlags = MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE | flags;
    return input;
}

inline void Click(POINT at, DWORD down = MOUSEEVENTF_LEFTDOWN, DWORD up = MOUSEEVENTF_LEFTUP) {
    SendAll({ButtonInput(at, down), ButtonInput(at, up)});
}

inline void RightClick(POINT at) { Click(at, MOUSEEVENTF_RIGHTDOWN, MOUSEEVENTF_RIGHTUP); }

/// The color of the screen at a point.
inline COLORREF PixelAt(POINT at) {
    const HDC screen = GetDC(nullptr);
    const COLORREF color = GetPixel(screen, at.x, at.y);
    ReleaseDC(nullptr, screen);
    return color;
}

inline constexpr COLORREF black = RGB(0, 0, 0);

/// A window over the whole screen that has the keyboard, like a game's, for the length of a scope. One thread owns it
/// for all tests: Wine ends a process if a thread with such a window ends.
class Game {
public:
    static constexpr COLORREF color = RGB(30, 140, 70);

    /// Called before any program is started: the X server reuses its ids, which confuses Wine.
    static void Make() {
        static std::once_flag made;
        std::call_once(made, [] { std::thread(Live).detach(); });
        ASSERT_TRUE(Eventually([] { return State().window != nullptr; }));
    }

    Game() {
        State().lastKey = 0;
        State().clicks = 0;
        SendMessageW(Window(), showMessage, TRUE, 0);
        EXPECT_EQ(GetForegroundWindow(), Window());
        // Answered only after the window has its position on the X server too.
        SendMessageW(Window(), WM_NULL, 0, 0);
    }
    ~Game() { SendMessageW(Window(), showMessage, FALSE, 0); }
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    static HWND Window() { return State().window; }
    /// The last key that it received.
    static WPARAM LastKey() { return State().lastKey; }
    static int Clicks() { return State().clicks; }

private:
    static constexpr UINT showMessage = WM_APP;

    struct Received {
        std::atomic<HWND> window = nullptr;
        std::atomic<WPARAM> lastKey = 0;
        std::atomic<int> clicks = 0;
    };
    static Received& State() {
        static Received state;
        return state;
    }

    static void Live() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = Answer;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"ZVTestGame";
        windowClass.hbrBackground = CreateSolidBrush(color);
        RegisterClassW(&windowClass);
        State().window = CreateWindowExW(0, windowClass.lpszClassName, L"Game", WS_POPUP, 0, 0, 1920, 1080, nullptr,
                                         nullptr, windowClass.hInstance, nullptr);
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            DispatchMessageW(&message);
        }
    }

    static LRESULT CALLBACK Answer(HWND window, UINT code, WPARAM wParam, LPARAM lParam) {
        switch (code) {
            case showMessage:
                ShowWindow(window, wParam != FALSE ? SW_SHOW : SW_HIDE);
                if (wParam != FALSE) {
                    SetForegroundWindow(window);
                }
                return 0;
            case WM_KEYDOWN:
                State().lastKey = wParam;
                return 0;
            case WM_LBUTTONDOWN:
                ++State().clicks;
                return 0;
            default:
                return DefWindowProcW(window, code, wParam, lParam);
        }
    }
};

class ProgramInterface : public DriverScene {
protected:
    void SetUp() override {
        Game::Make();
        DriverScene::SetUp();
    }

    /// Starts the program and waits until its first job has ended.
    bool Start(const Text& arguments = u" --background") {
        return StartProgram(arguments) && Eventually([this] { return !Activity().empty(); });
    }

    /// Ends the program with the last item of the notification icon's menu.
    bool Exit() {
        const Rectangle menu = OpenTrayMenu();
        Click({menu.left + 40, menu.bottom - 12});
        return WaitForExit(*program_.process, generousMs) && ExitCode(*program_.process) == 0;
    }

    static void PostTrayEvent(UINT event) { PostMessageW(Find(mainClass), trayMessage, 0, event); }

    /// Returns the bounds of the open menu.
    static Rectangle OpenTrayMenu() {
        PostTrayEvent(WM_CONTEXTMENU);
        EXPECT_TRUE(Eventually([] { return IsShown(menuClass); }));
        return BoundsOf(Find(menuClass));
    }

    /// Tries until it is visible: if two programs raise windows at once, Wine may leave the wrong one in front.
    static void OpenOverlay() {
        constexpr std::uint32_t paintedMs = 3000;
        ASSERT_TRUE(Eventually([] {
            const bool shown = PressUntil({VK_MENU, 'X'}, [] { return IsShown(overlayClass); });
            if (shown && Eventually([] { return PixelAt(OnOverlay(200, 23)) == black; }, paintedMs)) {
                return true;
            }
            PressUntil({VK_MENU, 'X'}, [] { return !IsShown(overlayClass); });
            return false;
        }));
    }

    /// The screen position of a point of the overlay, which is designed for 1010 by 568.
    static POINT OnOverlay(int x, int y) {
        const Rectangle bounds = BoundsOf(Find(overlayClass));
        const double scale = std::min(bounds.Width() / 1010.0, bounds.Height() / 568.0);
        return {bounds.left + static_cast<LONG>(x * scale), bounds.top + static_cast<LONG>(y * scale)};
    }

    /// Opens a section of the settings page from the tiles or from another section.
    static void OpenSettingsSection(int section) {
        constexpr COLORREF panel = RGB(22, 21, 27);
        constexpr COLORREF card = RGB(26, 28, 38);
        const int dx = 226 * (section % 3);
        const int dy = 122 * (section / 3);
        Click(PixelAt(OnOverlay(160, 530)) == panel ? OnOverlay(236, 142) : OnOverlay(832, 190));
        ASSERT_TRUE(Eventually(
            [&] { return PixelAt(OnOverlay(160, 530)) == panel && PixelAt(OnOverlay(172 + dx, 180 + dy)) == card; }));
        Click(OnOverlay(272 + dx, 224 + dy));
        ASSERT_TRUE(Eventually([] { return PixelAt(OnOverlay(170, 140)) == RGB(37, 40, 54); }));
    }

    static POINT OnMainWindow(int x, int y) {
        POINT at{x, y};
        ClientToScreen(Find(mainClass), &at);
        return at;
    }

    /// Returns true if the settings file has the line.
    bool HasSetting(const std::string& setting) const {
        const std::string file = ReadSharedFile(FromPath(DataFolder() / "settings.ini"), 0x10000);
        return file.find("\n" + setting + "\r\n") != std::string::npos;
    }

    /// Clicks until `condition` holds: a disabled control ignores clicks.
    template <class Condition>
    static bool ClickUntil(POINT at, Condition condition) {
        return Eventually([&] {
            if (condition()) {
                return true;
            }
            Click(at);
            return Eventually(condition, betweenTriesMs);
        });
    }

    bool ClickUntilLogged(POINT at, const std::string& beginning) const {
        return ClickUntil(at, [&] {
            const std::vector<std::string> texts = Activity();
            return !texts.empty() && texts.back().starts_with(beginning);
        });
    }
};

}  // namespace zv::windows
