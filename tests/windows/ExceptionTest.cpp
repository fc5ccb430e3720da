// Exceptions of window procedures and callbacks are caught before they reach the system's frames: the system handles
// the message by default, and the program goes on.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <vector>

#include "fake/Allocations.h"
#include "platform/Monitors.h"
#include "platform/Session.h"
#include "platform/Window.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv {
namespace {

constexpr int side = 40;
constexpr POINT middle{120, 120};

/// Runs before the rest of the window's procedure, and may throw.
std::function<void(std::uint32_t code)> beforeProcedure;
std::uint32_t picture = 0;  ///< the color that a paint fills the window with
int paints = 0;

std::intptr_t Procedure(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    paints += code == message::paint ? 1 : 0;
    if (beforeProcedure) {
        beforeProcedure(code);
    }
    if (code == message::paint) {
        const std::vector<std::uint32_t> pixels(side * side, picture);
        PutPixels(window, pixels.data(), side, side);
        return 0;
    }
    return code == message::eraseBackground ? 1 : DefaultProcedure(window, code, wParam, lParam);
}

void ThrowAt(std::uint32_t wanted) {
    beforeProcedure = [wanted](std::uint32_t code) {
        if (code == wanted) {
            throw std::bad_alloc();
        }
    };
}

class Exceptions : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(OpenSession());
        beforeProcedure = nullptr;
        picture = 0x204060;
        paints = 0;
        Make();
    }
    void TearDown() override { beforeProcedure = nullptr; }

    void Make() {
        WindowOptions options;
        options.className = u"exceptions";
        options.procedure = Procedure;
        options.frame = WindowFrame::Bare;
        options.left = 100;
        options.top = 100;
        options.width = side;
        options.height = side;
        options.topmost = true;
        window_ = MakeWindow(options);
        ASSERT_NE(window_, nullptr);
        handle_ = FindWindowW(L"exceptions", nullptr);
    }

    static void HandleMessages() {
        MSG code{};
        while (PeekMessageW(&code, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            DispatchMessageW(&code);
        }
    }

    static COLORREF Shown() {
        const HDC screen = GetDC(nullptr);
        const COLORREF color = GetPixel(screen, middle.x, middle.y);
        ReleaseDC(nullptr, screen);
        return color;
    }

    static bool EventuallyShows(COLORREF color) {
        for (int i = 0; i < 3000 && Shown() != color; ++i) {
            HandleMessages();
            Sleep(10);
        }
        return Shown() == color;
    }

    Owned<AppWindow> window_;
    HWND handle_ = nullptr;
};

TEST_F(Exceptions, TheSystemHandlesAMessageWhoseProcedureThrows) {
    for (const UINT code :
         {UINT{WM_MOUSEMOVE}, UINT{WM_KEYDOWN}, UINT{WM_HOTKEY}, UINT{WM_TIMER}, UINT{WM_SIZE}, UINT{WM_NCHITTEST},
          UINT{WM_MOUSEACTIVATE}, UINT{WM_ERASEBKGND}, UINT{WM_DISPLAYCHANGE}, UINT{WM_CAPTURECHANGED}, UINT{WM_APP}}) {
        ThrowAt(code);
        EXPECT_EQ(SendMessageW(handle_, code, 0, 0), DefWindowProcW(handle_, code, 0, 0)) << code;
    }
    beforeProcedure = [](std::uint32_t code) {
        if (code == WM_APP) {
            throw std::runtime_error("of another kind");
        }
        if (code == WM_APP + 1) {
            throw 5;
        }
    };
    EXPECT_EQ(SendMessageW(handle_, WM_APP, 0, 0), 0);
    EXPECT_EQ(SendMessageW(handle_, WM_APP + 1, 0, 0), 0);
    beforeProcedure = nullptr;
    EXPECT_EQ(SendMessageW(handle_, WM_ERASEBKGND, 0, 0), 1) << "the next message is the procedure's again";
}

TEST_F(Exceptions, AWindowWhoseCloseHandlerThrowsStays) {
    ThrowAt(WM_CLOSE);
    EXPECT_EQ(SendMessageW(handle_, WM_CLOSE, 0, 0), 0);
    EXPECT_NE(IsWindow(handle_), FALSE);
    beforeProcedure = nullptr;
    SendMessageW(handle_, WM_CLOSE, 0, 0);
    EXPECT_EQ(IsWindow(handle_), FALSE);
}

TEST_F(Exceptions, AWindowIsCreatedAndDestroyedEvenIfItsProcedureThrows) {
    window_.reset();
    ThrowAt(WM_CREATE);
    Make();
    EXPECT_NE(IsWindow(handle_), FALSE);
    ThrowAt(WM_DESTROY);
    window_.reset();
    EXPECT_EQ(IsWindow(handle_), FALSE);
}

TEST_F(Exceptions, AWindowDestroyedByAThrowingProcedureIsLeftAlone) {
    beforeProcedure = [this](std::uint32_t code) {
        if (code == WM_APP) {
            window_.reset();
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(SendMessageW(handle_, WM_APP, 0, 0), 0);
    EXPECT_EQ(IsWindow(handle_), FALSE);
}

TEST_F(Exceptions, AnAbortedPaintLeavesTheOldPicture) {
    ShowWindowPlain(*window_);
    ASSERT_TRUE(EventuallyShows(RGB(0x20, 0x40, 0x60)));
    ThrowAt(WM_PAINT);
    picture = 0x80A0C0;
    const int before = paints;
    for (int i = 0; i < 5; ++i) {
        InvalidateWindow(*window_);
        HandleMessages();
        EXPECT_EQ(GetUpdateRect(handle_, nullptr, FALSE), FALSE) << "nothing is left to be painted";
    }
    EXPECT_EQ(paints, before + 5) << "one paint for each request";
    EXPECT_EQ(Shown(), RGB(0x20, 0x40, 0x60));
    beforeProcedure = nullptr;
    InvalidateWindow(*window_);
    EXPECT_TRUE(EventuallyShows(RGB(0x80, 0xA0, 0xC0)));
}

TEST_F(Exceptions, TheMessageLoopGoesOn) {
    int ticks = 0;
    beforeProcedure = [&](std::uint32_t code) {
        if (code == WM_TIMER && ++ticks < 4) {
            throw std::bad_alloc();
        }
        if (ticks == 4) {
            PostQuit(7);
        }
    };
    StartTimer(*window_, 1, 10);
    EXPECT_EQ(RunMessageLoop(), 7);
    EXPECT_EQ(ticks, 4);
}

TEST_F(Exceptions, AThrowingEndRequestIsCaught) {
    SetEndRequest([] { throw std::bad_alloc(); });
    EXPECT_EQ(SendMessageW(handle_, WM_ENDSESSION, TRUE, 0), 0);
    SetEndRequest(nullptr);
}

TEST_F(Exceptions, AnExceptionInACallbackReachesTheCallerOfTheSystem) {
    ASSERT_GE(EnumerateMonitors().size(), 1U);
    fake::RefuseAllocationsHere(1);
    EXPECT_THROW(EnumerateMonitors(), std::bad_alloc);
    fake::RefuseAllocationsHere(0);
}

}  // namespace
}  // namespace zv
