// What a window's procedure, or a callback, raises ends before the system's own frames: the message is answered as if
// nobody had handled it, and the program lives on.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <vector>

#include "fake/Allocations.h"
#include "platform/Monitors.h"
#include "platform/Session.h"
#include "platform/Window.h"
// The system's header comes last: its macros rename much.
#include <windows.h>

namespace zv {
namespace {

constexpr int side = 40;
constexpr POINT middle{120, 120};

/// Runs before the window's usual procedure, and may raise something instead.
std::function<void(std::uint32_t code)> beforehand;
std::uint32_t picture = 0;  ///< the colour that a paint fills the window with
int paints = 0;

std::intptr_t Procedure(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    paints += code == message::paint ? 1 : 0;
    if (beforehand) {
        beforehand(code);
    }
    if (code == message::paint) {
        const std::vector<std::uint32_t> pixels(side * side, picture);
        PutPixels(window, pixels.data(), side, side);
        return 0;
    }
    return code == message::eraseBackground ? 1 : DefaultProcedure(window, code, wParam, lParam);
}

void RaiseAt(std::uint32_t wanted) {
    beforehand = [wanted](std::uint32_t code) {
        if (code == wanted) {
            throw std::bad_alloc();
        }
    };
}

class Exceptions : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(OpenSession());
        beforehand = nullptr;
        picture = 0x204060;
        paints = 0;
        Make();
    }
    void TearDown() override { beforehand = nullptr; }

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

TEST_F(Exceptions, AMessageWhoseProcedureRaisesSomethingIsAnsweredByTheSystem) {
    for (const UINT code :
         {UINT{WM_MOUSEMOVE}, UINT{WM_KEYDOWN}, UINT{WM_HOTKEY}, UINT{WM_TIMER}, UINT{WM_SIZE}, UINT{WM_NCHITTEST},
          UINT{WM_MOUSEACTIVATE}, UINT{WM_ERASEBKGND}, UINT{WM_DISPLAYCHANGE}, UINT{WM_CAPTURECHANGED}, UINT{WM_APP}}) {
        RaiseAt(code);
        EXPECT_EQ(SendMessageW(handle_, code, 0, 0), DefWindowProcW(handle_, code, 0, 0)) << code;
    }
    beforehand = [](std::uint32_t code) {
        if (code == WM_APP) {
            throw std::runtime_error("of another kind");
        }
        if (code == WM_APP + 1) {
            throw 5;
        }
    };
    EXPECT_EQ(SendMessageW(handle_, WM_APP, 0, 0), 0);
    EXPECT_EQ(SendMessageW(handle_, WM_APP + 1, 0, 0), 0);
    beforehand = nullptr;
    EXPECT_EQ(SendMessageW(handle_, WM_ERASEBKGND, 0, 0), 1) << "the next message is the procedure's again";
}

TEST_F(Exceptions, AWindowThatCannotBeClosedStays) {
    RaiseAt(WM_CLOSE);
    EXPECT_EQ(SendMessageW(handle_, WM_CLOSE, 0, 0), 0);
    EXPECT_NE(IsWindow(handle_), FALSE);
    beforehand = nullptr;
    SendMessageW(handle_, WM_CLOSE, 0, 0);
    EXPECT_EQ(IsWindow(handle_), FALSE);
}

TEST_F(Exceptions, AWindowIsMadeAndEndsWhateverItsProcedureRaisesAtThat) {
    window_.reset();
    RaiseAt(WM_CREATE);
    Make();
    EXPECT_NE(IsWindow(handle_), FALSE);
    RaiseAt(WM_DESTROY);
    window_.reset();
    EXPECT_EQ(IsWindow(handle_), FALSE);
}

TEST_F(Exceptions, AWindowThatIsGoneWhenItsProcedureRaisesSomethingIsLeftAlone) {
    beforehand = [this](std::uint32_t code) {
        if (code == WM_APP) {
            window_.reset();
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(SendMessageW(handle_, WM_APP, 0, 0), 0);
    EXPECT_EQ(IsWindow(handle_), FALSE);
}

TEST_F(Exceptions, APaintThatBreaksOffLeavesTheOldPicture) {
    ShowWindowPlain(*window_);
    ASSERT_TRUE(EventuallyShows(RGB(0x20, 0x40, 0x60)));
    RaiseAt(WM_PAINT);
    picture = 0x80A0C0;
    const int before = paints;
    for (int i = 0; i < 5; ++i) {
        InvalidateWindow(*window_);
        HandleMessages();
        EXPECT_EQ(GetUpdateRect(handle_, nullptr, FALSE), FALSE) << "nothing is left to be painted";
    }
    EXPECT_EQ(paints, before + 5) << "once for each time that it was asked for";
    EXPECT_EQ(Shown(), RGB(0x20, 0x40, 0x60));
    beforehand = nullptr;
    InvalidateWindow(*window_);
    EXPECT_TRUE(EventuallyShows(RGB(0x80, 0xA0, 0xC0)));
}

TEST_F(Exceptions, TheMessageLoopGoesOn) {
    int ticks = 0;
    beforehand = [&](std::uint32_t code) {
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

TEST_F(Exceptions, TheEndOfTheSessionIsAnswered) {
    SetEndRequest([] { throw std::bad_alloc(); });
    EXPECT_EQ(SendMessageW(handle_, WM_ENDSESSION, TRUE, 0), 0);
    SetEndRequest(nullptr);
}

TEST_F(Exceptions, AListOfMonitorsForWhichThereIsNoMemoryFailsWhereItWasAskedFor) {
    const std::size_t count = ListMonitorRecords().size();
    ASSERT_GE(count, 1U);
    std::uint64_t nth = 1;
    for (bool listed = false; !listed && nth < 100; nth += listed ? 0 : 1) {
        fake::RefuseAllocationsHereFrom(nth);
        try {
            listed = ListMonitorRecords().size() == count;
            fake::RefuseAllocationsHereFrom(0);
            EXPECT_TRUE(listed);
        } catch (const std::bad_alloc&) {
            fake::RefuseAllocationsHereFrom(0);
        }
    }
    EXPECT_GT(nth, 1U);
    EXPECT_LT(nth, 100U);
}

}  // namespace
}  // namespace zv
