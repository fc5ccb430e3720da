// Windows, timers, global keys and the single copy, on a real window system.
#include "platform/Window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "platform/ChildProcess.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/FrontWindow.h"
#include "platform/Keyboard.h"
#include "platform/Monitors.h"
#include "platform/PopupMenu.h"
#include "platform/Session.h"
#include "platform/SingleInstance.h"
#include "platform/TrayIcon.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv {
namespace {

constexpr char16_t className[] = u"ZVWindowTest";
constexpr std::uintptr_t watchdogId = 99;
constexpr std::uint32_t watchdogMs = 30000;

struct Received {
    std::uint32_t message;
    std::uintptr_t wParam;
};

std::vector<Received> received;
std::function<void(const Received&)> onMessage;
std::function<void(AppWindow&)> onPaint;
Owned<AppWindow> closing;  ///< onMessage moves a window here to destroy it inside the procedure

std::intptr_t Record(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    received.push_back({code, wParam});
    if (code == message::timer && wParam == watchdogId) {
        PostQuit(-1);
    } else if (onMessage) {
        onMessage(received.back());
    }
    if (closing) {
        closing.reset();
        return 0;
    }
    if (code == message::paint && onPaint) {
        onPaint(window);
        return 0;
    }
    return DefaultProcedure(window, code, wParam, lParam);
}

int CountOf(std::uint32_t code, std::uintptr_t wParam) {
    return static_cast<int>(std::count_if(received.begin(), received.end(), [&](const Received& one) {
        return one.message == code && one.wParam == wParam;
    }));
}

int CountOf(std::uint32_t code) {
    return static_cast<int>(
        std::count_if(received.begin(), received.end(), [&](const Received& one) { return one.message == code; }));
}

class Window : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(OpenSession());
        received.clear();
        onMessage = nullptr;
        onPaint = nullptr;
    }

    static Owned<AppWindow> Make(bool visible = false) {
        WindowOptions options;
        options.className = className;
        options.title = u"Test";
        options.procedure = Record;
        options.width = 400;
        options.height = 300;
        options.visible = visible;
        return MakeWindow(options);
    }

    static HWND Native() { return FindWindowW(L"ZVWindowTest", nullptr); }

    /// Runs the loop until it quits; returns -1 after a timeout.
    static int Loop(AppWindow& window) {
        StartTimer(window, watchdogId, watchdogMs);
        const int code = RunMessageLoop();
        StopTimer(window, watchdogId);
        return code;
    }

    /// Presses keys from another process.
    void Press(const Text& codes) {
        const Text program = JoinPath(ExecutableFolder(), u"PressKeys.exe");
        ASSERT_TRUE(
            SpawnChild({program, u"\"" + program + u"\" " + codes, FromPath(folder_.Path() / "keys.log")}, presser_));
    }

    support::TemporaryFolder folder_;
    Child presser_;
};

TEST_F(Window, TheProcedureReceivesCreateAndDestroy) {
    Owned<AppWindow> window = Make();
    ASSERT_TRUE(window);
    EXPECT_EQ(CountOf(message::create), 1);
    EXPECT_EQ(CountOf(message::destroy), 0);
    window.reset();
    EXPECT_EQ(CountOf(message::destroy), 1);
    EXPECT_EQ(Native(), nullptr);
}

TEST_F(Window, HasItsTitleAndSizeAndIsShown) {
    const Owned<AppWindow> shown = Make(true);
    EXPECT_TRUE(IsWindowShown(*shown));
    wchar_t title[16] = {};
    GetWindowTextW(Native(), title, 16);
    EXPECT_STREQ(title, L"Test");
    RECT bounds{};
    GetWindowRect(Native(), &bounds);
    EXPECT_EQ(bounds.right - bounds.left, 400);
    EXPECT_EQ(bounds.bottom - bounds.top, 300);
    HideWindow(*shown);
    EXPECT_FALSE(IsWindowShown(*shown));
    ShowWindowPlain(*shown);
    EXPECT_TRUE(IsWindowShown(*shown));
}

TEST_F(Window, IsCreatedHidden) {
    const Owned<AppWindow> window = Make();
    EXPECT_FALSE(IsWindowShown(*window));
}

TEST_F(Window, IsMinimizedWhetherItIsShownOrHidden) {
    const Owned<AppWindow> window = Make();
    MinimizeWindow(*window);
    EXPECT_TRUE(IsWindowShown(*window));
    EXPECT_TRUE(IsWindowMinimized(*window));
    ShowInFront(*window);
    EXPECT_FALSE(IsWindowMinimized(*window));
    MinimizeWindow(*window);
    EXPECT_TRUE(IsWindowMinimized(*window));
    HideWindow(*window);
    EXPECT_FALSE(IsWindowShown(*window));
}

TEST_F(Window, TheLoopReturnsThePostedCodeAfterEarlierMessages) {
    const Owned<AppWindow> window = Make();
    PostMessageW(Native(), message::null, 7, 0);
    PostQuit(5);
    EXPECT_EQ(RunMessageLoop(), 5);
    EXPECT_EQ(CountOf(message::null, 7), 1);
}

TEST_F(Window, ATimerRepeatsUntilItIsStopped) {
    const Owned<AppWindow> window = Make();
    StartTimer(*window, 42, 10);
    onMessage = [&](const Received& one) {
        if (one.message == message::timer && one.wParam == 42 && CountOf(message::timer, 42) == 5) {
            StopTimer(*window, 42);
            StartTimer(*window, 43, 200);
        } else if (one.message == message::timer && one.wParam == 43) {
            PostQuit(0);
        }
    };
    EXPECT_EQ(Loop(*window), 0);
    EXPECT_EQ(CountOf(message::timer, 42), 5);
    EXPECT_EQ(CountOf(message::timer, 43), 1);
}

TEST_F(Window, AnUnhandledCloseDestroysTheWindow) {
    const Owned<AppWindow> window = Make(true);
    onMessage = [](const Received& one) {
        if (one.message == message::destroy) {
            PostQuit(3);
        }
    };
    PostMessageW(Native(), message::close, 0, 0);
    EXPECT_EQ(Loop(*window), 3);
    EXPECT_EQ(Native(), nullptr);
}

TEST_F(Window, AnotherProgramsKeyPressReachesTheGlobalKeyOfAHiddenWindow) {
    const Owned<AppWindow> window = Make();
    ASSERT_TRUE(RegisterGlobalKey(*window, 2, keyModifier::alt | keyModifier::noRepeat, VK_F10));
    onMessage = [](const Received& one) {
        if (one.message == message::hotKey) {
            PostQuit(static_cast<int>(one.wParam));
        }
    };
    Press(u"18 121");
    EXPECT_EQ(Loop(*window), 2);
    EXPECT_EQ(CountOf(message::hotKey), 1);
    UnregisterGlobalKey(*window, 2);
}

TEST_F(Window, AReleasedGlobalKeySendsNothing) {
    const Owned<AppWindow> window = Make();
    ASSERT_TRUE(RegisterGlobalKey(*window, 1, keyModifier::alt | keyModifier::noRepeat, 'X'));
    ASSERT_TRUE(RegisterGlobalKey(*window, 3, keyModifier::control | keyModifier::alt, 'R'));
    UnregisterGlobalKey(*window, 1);
    onMessage = [](const Received& one) {
        if (one.message == message::hotKey) {
            PostQuit(static_cast<int>(one.wParam));
        }
    };
    Press(u"18 88");
    ASSERT_TRUE(WaitForExit(*presser_.process, watchdogMs));
    presser_ = {};
    Press(u"17 18 82");
    EXPECT_EQ(Loop(*window), 3);
    EXPECT_EQ(CountOf(message::hotKey, 1), 0);
    UnregisterGlobalKey(*window, 3);
}

TEST_F(Window, AGlobalKeyInUseIsRefusedUntilItIsReleased) {
    const Owned<AppWindow> window = Make();
    const std::uint32_t modifiers = keyModifier::control | keyModifier::shift | keyModifier::noRepeat;
    ASSERT_TRUE(RegisterGlobalKey(*window, 4, modifiers, VK_F9));
    EXPECT_FALSE(RegisterGlobalKey(*window, 90, modifiers, VK_F9));
    UnregisterGlobalKey(*window, 4);
    EXPECT_TRUE(RegisterGlobalKey(*window, 90, modifiers, VK_F9));
    UnregisterGlobalKey(*window, 90);
}

class OverlayWindow : public Window {
protected:
    static Owned<AppWindow> MakeOverlay(bool clickThrough = false) {
        WindowOptions options;
        options.className = u"ZVWindowTestOverlay";
        options.title = u"Overlay";
        options.procedure = Record;
        options.left = 100;
        options.top = 80;
        options.width = 200;
        options.height = 120;
        options.frame = WindowFrame::Bare;
        options.topmost = options.toolWindow = options.noActivate = options.layered = true;
        options.clickThrough = clickThrough;
        return MakeWindow(options);
    }
    /// Shows a window with a colour key over another of the same bounds. Both are painted.
    Owned<AppWindow> ShowKeyed() {
        beneath_ = Make();
        ShowTopmostAt(*beneath_, {100, 80, 300, 200});
        Owned<AppWindow> window = MakeOverlay();
        SetColorKey(*window, 0x030201);
        ShowTopmostAt(*window, {100, 80, 300, 200});
        return window;
    }
    /// Paints the columns of the window that `painted` accepts, and leaves the others to the colour key.
    static void PaintColumns(AppWindow& window, const std::function<bool(int)>& painted) {
        onPaint = [painted](AppWindow& target) {
            const Rectangle client = ClientBounds(target);
            std::vector<std::uint32_t> pixels;
            for (int i = 0; i < client.Width() * client.Height(); ++i) {
                pixels.push_back(painted(i % client.Width()) ? 0xC03020 : 0x010203);
            }
            PutPixels(target, pixels.data(), client.Width(), client.Height());
        };
        InvalidateWindow(window);
        PaintNow(window);
    }
    /// The columns of the row in which a click belongs to the overlay; all others belong to the window beneath.
    static std::vector<int> ClickableColumns(const Rectangle& bounds) {
        std::vector<int> columns;
        for (int x = bounds.left; x < bounds.right; ++x) {
            const HWND hit = WindowFromPoint({x, bounds.bottom - 1});
            EXPECT_TRUE(hit == NativeOverlay() || hit == Native()) << x;
            if (hit == NativeOverlay()) {
                columns.push_back(x - bounds.left);
            }
        }
        return columns;
    }
    static HWND NativeOverlay() { return FindWindowW(L"ZVWindowTestOverlay", nullptr); }
    static DWORD ExtendedStyle() { return static_cast<DWORD>(GetWindowLongPtrW(NativeOverlay(), GWL_EXSTYLE)); }

    Owned<AppWindow> beneath_;
};

TEST_F(OverlayWindow, HasTheStylesOfAnOverlay) {
    const Owned<AppWindow> window = MakeOverlay();
    EXPECT_EQ(ExtendedStyle(), DWORD{WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_LAYERED | WS_EX_NOACTIVATE});
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(NativeOverlay(), GWL_STYLE));
    EXPECT_NE(style & WS_POPUP, 0U);
    EXPECT_EQ(style & (WS_CAPTION | WS_VISIBLE), 0U);
    EXPECT_EQ(WindowBounds(*window), (Rectangle{100, 80, 300, 200}));
    EXPECT_EQ(ClientBounds(*window), WindowBounds(*window));
    EXPECT_EQ(GetWindow(NativeOverlay(), GW_OWNER), nullptr);
}

TEST_F(OverlayWindow, IsClickThroughOnRequest) {
    const Owned<AppWindow> window = MakeOverlay(true);
    EXPECT_NE(ExtendedStyle() & WS_EX_TRANSPARENT, 0U);
}

TEST_F(OverlayWindow, AcceptsColourKeysAndAnAlpha) {
    const Owned<AppWindow> window = MakeOverlay();
    COLORREF color = 0;
    BYTE alpha = 0;
    DWORD flags = 0;
    SetColorKey(*window, 0x030201);
    ASSERT_NE(GetLayeredWindowAttributes(NativeOverlay(), &color, &alpha, &flags), FALSE);
    EXPECT_EQ(color, COLORREF{RGB(1, 2, 3)});
    EXPECT_EQ(flags, DWORD{LWA_COLORKEY});
    SetColorKey(*window, 0x302010);
    ASSERT_NE(GetLayeredWindowAttributes(NativeOverlay(), &color, &alpha, &flags), FALSE);
    EXPECT_EQ(color, COLORREF{RGB(0x10, 0x20, 0x30)}) << "the second key replaces the first";
    EXPECT_EQ(flags, DWORD{LWA_COLORKEY});
    SetConstantAlpha(*window, 225);
    ASSERT_NE(GetLayeredWindowAttributes(NativeOverlay(), &color, &alpha, &flags), FALSE);
    EXPECT_EQ(alpha, 225);
    EXPECT_EQ(flags, DWORD{LWA_ALPHA});
}

// A pixel of the key colour may receive clicks, although it is transparent, as long as it belongs to the window.

TEST_F(OverlayWindow, OnlyItsPaintedPixelsReceiveClicks) {
    const Owned<AppWindow> window = ShowKeyed();
    PaintColumns(*window, [](int x) { return x == 20 || x == 21 || x == 150; });
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)), (std::vector<int>{20, 21, 150}));
    // Nothing of the next picture was painted before.
    PaintColumns(*window, [](int x) { return x == 0 || x == 199; });
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)), (std::vector<int>{0, 199}));
    // Of another size.
    ShowTopmostAt(*beneath_, {100, 80, 400, 240});
    ShowTopmostAt(*window, {100, 80, 400, 240});
    PaintColumns(*window, [](int x) { return x == 0 || x == 299; });
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)), (std::vector<int>{0, 299}));
}

TEST_F(OverlayWindow, APictureOfTheKeyColourAloneIsFollowedByOthers) {
    const Owned<AppWindow> window = ShowKeyed();
    PaintColumns(*window, [](int) { return false; });
    PaintColumns(*window, [](int x) { return x == 30; });
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)), (std::vector<int>{30}));
    PaintColumns(*window, [](int) { return false; });
    PaintColumns(*window, [](int x) { return x == 60; });
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)), (std::vector<int>{60}));
}

TEST_F(OverlayWindow, AnotherColourKeyIsAppliedByTheNextPaint) {
    const Owned<AppWindow> window = ShowKeyed();
    PaintColumns(*window, [](int x) { return x == 30; });
    SetColorKey(*window, 0x030201);
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)), (std::vector<int>{30})) << "the same key";
    SetColorKey(*window, 0x2030C0);
    PaintNow(*window);
    EXPECT_EQ(ClickableColumns(WindowBounds(*window)).size(), 199U);
}

TEST_F(OverlayWindow, IsShownOnTopWithoutActivation) {
    const Owned<AppWindow> front = Make();
    ShowInFront(*front);
    EXPECT_EQ(GetForegroundWindow(), Native());
    const Owned<AppWindow> window = MakeOverlay();
    SetColorKey(*window, 0x030201);
    ShowTopmostAt(*window, {20, 30, 320, 230});
    EXPECT_TRUE(IsWindowShown(*window));
    EXPECT_EQ(WindowBounds(*window), (Rectangle{20, 30, 320, 230}));
    EXPECT_EQ(GetForegroundWindow(), Native());
    EXPECT_NE(ExtendedStyle() & WS_EX_TOPMOST, 0U);
    HideWindow(*window);
    ShowWithoutActivating(*window);
    EXPECT_TRUE(IsWindowShown(*window));
    EXPECT_EQ(GetForegroundWindow(), Native());
    PlaceWindow(*window, {40, 30, 140, 90});
    EXPECT_EQ(WindowBounds(*window), (Rectangle{40, 30, 140, 90}));
    const FrontWindow inFront = LookUpFrontWindow();
    EXPECT_EQ(inFront.kind, FrontKind::Own);
    EXPECT_EQ(inFront.imagePath, u"");
    EXPECT_EQ(inFront.processId, GetCurrentProcessId());
    EXPECT_EQ(inFront.className, className);
    EXPECT_EQ(inFront.bounds, WindowBounds(*front));
}

class CaptionedWindow : public Window {
protected:
    static Owned<AppWindow> MakeCaptioned(AppWindow& owner) {
        WindowOptions options;
        options.className = u"ZVWindowTestCaptioned";
        options.title = u"Captioned";
        options.procedure = Record;
        options.left = 60;
        options.top = 50;
        options.width = 590;
        options.height = 190;
        options.frame = WindowFrame::Caption;
        options.topmost = options.toolWindow = true;
        options.owner = &owner;
        return MakeWindow(options);
    }
    static HWND NativeCaptioned() { return FindWindowW(L"ZVWindowTestCaptioned", nullptr); }
};

TEST_F(CaptionedWindow, HasACaptionAndAnOwnerAndIsTopmost) {
    const Owned<AppWindow> owner = Make();
    const Owned<AppWindow> window = MakeCaptioned(*owner);
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(NativeCaptioned(), GWL_STYLE));
    EXPECT_EQ(style & ~DWORD{WS_CLIPSIBLINGS}, 0x80C80000U);
    const auto extended = static_cast<DWORD>(GetWindowLongPtrW(NativeCaptioned(), GWL_EXSTYLE));
    EXPECT_EQ(extended & ~DWORD{WS_EX_WINDOWEDGE}, 0x88U);
    EXPECT_EQ(WindowBounds(*window), (Rectangle{60, 50, 650, 240}));
    EXPECT_EQ(GetWindow(NativeCaptioned(), GW_OWNER), Native());
    wchar_t title[16] = {};
    GetWindowTextW(NativeCaptioned(), title, 16);
    EXPECT_STREQ(title, L"Captioned");
}

TEST_F(CaptionedWindow, HasTheKeyboardAndKnowsTheHeldModifiers) {
    const Owned<AppWindow> owner = Make();
    const Owned<AppWindow> window = MakeCaptioned(*owner);
    ShowInFront(*window);
    EXPECT_EQ(GetForegroundWindow(), NativeCaptioned());
    EXPECT_EQ(GetFocus(), NativeCaptioned());
    std::uint32_t held = 0;
    onMessage = [&](const Received& one) {
        if (one.message == message::keyDown && one.wParam == 'K') {
            held = HeldModifiers();
            PostQuit(0);
        }
    };
    Press(u"17 16 75");
    EXPECT_EQ(Loop(*window), 0);
    EXPECT_EQ(held, keyModifier::control | keyModifier::shift);
}

TEST_F(CaptionedWindow, MayBeDestroyedWhileItHandlesAMessage) {
    const Owned<AppWindow> owner = Make();
    Owned<AppWindow> window = MakeCaptioned(*owner);
    ShowInFront(*window);
    onMessage = [&](const Received& one) {
        if (one.message == message::keyDown && one.wParam == VK_ESCAPE) {
            PostQuit(0);
            closing = std::move(window);
        }
    };
    Press(u"27");
    EXPECT_EQ(Loop(*owner), 0);
    EXPECT_EQ(NativeCaptioned(), nullptr);
}

AppWindow* painted = nullptr;

std::intptr_t PaintGradient(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code != message::paint) {
        return DefaultProcedure(window, code, wParam, lParam);
    }
    painted = &window;
    std::vector<std::uint32_t> pixels;
    for (std::uint32_t y = 0; y < 60; ++y) {
        for (std::uint32_t x = 0; x < 100; ++x) {
            pixels.push_back(0x400000 | x << 8 | y);
        }
    }
    PutPixels(window, pixels.data(), 100, 60);
    return 0;
}

TEST_F(OverlayWindow, ShowsItsPixels) {
    WindowOptions options;
    options.className = u"ZVWindowTestPainted";
    options.procedure = PaintGradient;
    options.left = options.top = 10;
    options.width = 100;
    options.height = 60;
    options.frame = WindowFrame::Bare;
    options.topmost = true;
    const Owned<AppWindow> window = MakeWindow(options);
    ShowTopmostAt(*window, {10, 10, 110, 70});
    PaintNow(*window);
    ASSERT_EQ(painted, window.get());
    const HWND handle = FindWindowW(L"ZVWindowTestPainted", nullptr);
    EXPECT_EQ(GetUpdateRect(handle, nullptr, FALSE), FALSE) << "the answer makes the window valid";
    const HDC surface = GetDC(handle);
    EXPECT_EQ(GetPixel(surface, 0, 0), COLORREF{RGB(0x40, 0, 0)});
    EXPECT_EQ(GetPixel(surface, 99, 59), COLORREF{RGB(0x40, 99, 59)});
    EXPECT_EQ(GetPixel(surface, 17, 42), COLORREF{RGB(0x40, 17, 42)});
    ReleaseDC(handle, surface);
    InvalidateWindow(*window);
    EXPECT_NE(GetUpdateRect(handle, nullptr, FALSE), FALSE);
}

TEST_F(OverlayWindow, CapturesTheMouseAndIsNotifiedOfTheEnd) {
    const Owned<AppWindow> window = Make(true);
    EXPECT_FALSE(HasMouseCapture(*window));
    CaptureMouse(*window);
    EXPECT_TRUE(HasMouseCapture(*window));
    ReleaseMouse(*window);
    EXPECT_FALSE(HasMouseCapture(*window));
    EXPECT_EQ(CountOf(message::captureChanged), 1);
}

TEST_F(OverlayWindow, KnowsMonitorsKeysAndDpi) {
    const Owned<AppWindow> window = Make();
    EXPECT_EQ(DpiOfWindow(*window), 96);
    RECT work{};
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0));
    EXPECT_EQ(WorkAreaAt({5, 5}), (Rectangle{work.left, work.top, work.right, work.bottom}));
    EXPECT_EQ(WorkAreaAt({-9000, -9000}), WorkAreaAt({5, 5}));
    EXPECT_EQ(KeyName('X'), u"X");
    EXPECT_EQ(KeyName(VK_F10), u"F10");
    EXPECT_EQ(KeyName(0), u"");
    // An earlier test's keys are up once this thread has read so.
    EXPECT_TRUE(support::Eventually([] {
        MSG code{};
        while (PeekMessageW(&code, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            DispatchMessageW(&code);
        }
        return HeldModifiers() == 0;
    }));
}

TEST_F(OverlayWindow, ShowsItsIcons) {
    const std::vector<std::uint32_t> pixels(32 * 32, 0x8553E7);
    const Owned<AppIcon> big = MakeIcon(32, pixels.data());
    const Owned<AppIcon> little = MakeIcon(16, pixels.data());
    ASSERT_TRUE(big && little);
    const Owned<AppWindow> window = Make();
    SetWindowIcons(*window, big.get(), little.get());
    const auto icon = reinterpret_cast<HICON>(SendMessageW(Native(), WM_GETICON, ICON_BIG, 0));
    ASSERT_NE(icon, nullptr);
    ICONINFO info{};
    ASSERT_NE(GetIconInfo(icon, &info), FALSE);
    BITMAP bitmap{};
    GetObjectW(info.hbmColor, sizeof(bitmap), &bitmap);
    EXPECT_EQ(bitmap.bmWidth, 32);
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    EXPECT_NE(SendMessageW(Native(), WM_GETICON, ICON_SMALL, 0), SendMessageW(Native(), WM_GETICON, ICON_BIG, 0));
}

TEST_F(OverlayWindow, AMenuReturnsTheChosenItemAndPostsAMessage) {
    const Owned<AppWindow> window = Make(true);
    const std::vector<MenuItem> items = {{7, u"First"}, {0, u""}, {9, u"Second"}};
    onMessage = [](const Received& one) {
        if (one.message == WM_ENTERIDLE) {
            // The menu waits for the user: down, down, Enter.
            const HWND menu = FindWindowW(L"#32768", nullptr);
            for (const WPARAM key : {WPARAM{VK_DOWN}, WPARAM{VK_DOWN}, WPARAM{VK_RETURN}}) {
                PostMessageW(menu != nullptr ? menu : Native(), WM_KEYDOWN, key, 0);
            }
            onMessage = nullptr;
        }
    };
    EXPECT_EQ(ChooseFromMenu(*window, items), 9);
    MSG waiting{};
    EXPECT_NE(PeekMessageW(&waiting, Native(), message::null, message::null, PM_REMOVE), FALSE);
}

TEST_F(OverlayWindow, AMenuReturnsZeroIfItIsClosedWithoutAChoice) {
    const Owned<AppWindow> window = Make(true);
    onMessage = [](const Received& one) {
        if (one.message == WM_ENTERIDLE) {
            const HWND menu = FindWindowW(L"#32768", nullptr);
            PostMessageW(menu != nullptr ? menu : Native(), WM_KEYDOWN, VK_DOWN, 0);
            PostMessageW(menu != nullptr ? menu : Native(), WM_KEYDOWN, VK_ESCAPE, 0);
            onMessage = nullptr;
        }
    };
    EXPECT_EQ(ChooseFromMenu(*window, std::vector<MenuItem>{{7, u"First"}, {9, u"Second"}}), 0);
    EXPECT_EQ(FindWindowW(L"#32768", nullptr), nullptr);
    MSG waiting{};
    EXPECT_NE(PeekMessageW(&waiting, Native(), message::null, message::null, PM_REMOVE), FALSE);
}

TEST_F(OverlayWindow, TheTrayIconStaysUntilItIsReleased) {
    const Owned<AppWindow> window = Make();
    TrayIconOptions options;
    options.window = window.get();
    options.message = 0x8016;
    options.tip = Text(300, u'x');
    Owned<TrayIcon> icon = AddTrayIcon(options);
    ASSERT_TRUE(icon);
    EXPECT_FALSE(AddTrayIcon(options)) << "the shell has it already";
    icon.reset();
    icon = AddTrayIcon(options);
    EXPECT_TRUE(icon);
    EXPECT_GE(TaskbarCreatedMessage(), 0xC000U);
    EXPECT_EQ(TaskbarCreatedMessage(), RegisterWindowMessageW(L"TaskbarCreated"));
}

int endRequests = 0;

TEST_F(Window, TheEndOfTheSessionRequestsTheEndOfTheProgram) {
    const Owned<AppWindow> window = Make();
    endRequests = 0;
    SetEndRequest([] { ++endRequests; });
    EXPECT_NE(SendMessageW(Native(), WM_QUERYENDSESSION, 0, 0), 0);
    SendMessageW(Native(), WM_ENDSESSION, FALSE, 0);
    EXPECT_EQ(endRequests, 0);
    SendMessageW(Native(), WM_ENDSESSION, TRUE, 0);
    EXPECT_EQ(endRequests, 1);
    SetEndRequest(nullptr);
}

TEST_F(Window, OnlyOneCopyHoldsTheClaim) {
    constexpr char16_t name[] = u"Local\\ZVWindowTest_SingleInstance";
    Owned<InstanceClaim> first = ClaimSingleInstance(name);
    ASSERT_TRUE(first);
    EXPECT_FALSE(ClaimSingleInstance(name));
    first.reset();
    EXPECT_TRUE(ClaimSingleInstance(name));
}

TEST_F(Window, ASecondCopyBringsTheFirstOnesHiddenWindowForward) {
    EXPECT_FALSE(BringOtherCopyForward(className));
    const Owned<AppWindow> window = Make();
    EXPECT_TRUE(BringOtherCopyForward(className));
    EXPECT_TRUE(IsWindowShown(*window));
    EXPECT_EQ(GetForegroundWindow(), Native());
}

}  // namespace
}  // namespace zv
