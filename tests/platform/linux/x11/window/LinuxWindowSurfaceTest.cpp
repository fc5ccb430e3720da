// The windows over a game: painting, shape, focus, mouse and key messages. On a private X server, with a window manager
// and a notification area if the test needs them.
#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <xcb/xfixes.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/AppIcon.h"
#include "platform/FrontWindow.h"
#include "platform/Keyboard.h"
#include "platform/Monitors.h"
#include "platform/PopupMenu.h"
#include "platform/Session.h"
#include "platform/TrayIcon.h"
#include "platform/Window.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/MessageLoop.h"
#include "support/Openbox.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ServerWatch.h"
#include "support/TemporaryFolder.h"
#include "support/XClient.h"

namespace zv {
namespace {

using support::Eventually;
using support::OtherClient;
using support::RunUntil;

constexpr std::uint32_t trayMessage = 0x8016;
constexpr std::uint32_t red = 0xC03020;
constexpr std::uint32_t green = 0x20A040;
constexpr std::uint32_t blue = 0x2040C0;
constexpr std::uint32_t key = 0x010203;
constexpr std::uint32_t keyColor = 0x030201;  // the same as 0x00BBGGRR

struct Received {
    AppWindow* window;
    std::uint32_t code;
    std::uintptr_t wParam;
    std::intptr_t lParam;
};
std::vector<Received> received;
std::map<std::uintptr_t, std::uint32_t> keyModifiers;  ///< held at the last press of each key
std::function<std::uint32_t(int, int)> picture;

void Paint(AppWindow& window) {
    const Rectangle client = ClientBounds(window);
    std::vector<std::uint32_t> pixels;
    for (int y = 0; y < client.Height(); ++y) {
        for (int x = 0; x < client.Width(); ++x) {
            pixels.push_back(picture(x, y));
        }
    }
    PutPixels(window, pixels.data(), client.Width(), client.Height());
}

bool tracksEachMove = false;  ///< as a page with buttons does

std::intptr_t Record(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (support::HandlesCheckTimer(code, wParam)) {
        return 0;
    }
    received.push_back({&window, code, wParam, lParam});
    if (code == message::keyDown) {
        keyModifiers[wParam] = HeldModifiers();
    }
    if (code == message::mouseMove && tracksEachMove) {
        TrackMouseLeave(window);
    }
    if (code == message::paint && picture) {
        Paint(window);
    } else if (code == message::getMinMaxInfo) {
        reinterpret_cast<MinMaxInfo*>(lParam)->minTrackSize = {300, 200};
    }
    return DefaultProcedure(window, code, wParam, lParam);
}

const Received* Last(std::uint32_t code) {
    for (auto at = received.rbegin(); at != received.rend(); ++at) {
        if (at->code == code) {
            return &*at;
        }
    }
    return nullptr;
}

long CountOf(std::uint32_t code) {
    return std::count_if(received.begin(), received.end(), [&](const Received& one) { return one.code == code; });
}

int LowWord(std::intptr_t value) { return static_cast<std::int16_t>(value & 0xFFFF); }
int HighWord(std::intptr_t value) { return static_cast<std::int16_t>(value >> 16 & 0xFFFF); }

class LinuxWindowSurface : public testing::Test {
protected:
    LinuxWindowSurface() {
        setenv("DISPLAY", display_.Name().c_str(), 1);
        received.clear();
        keyModifiers.clear();
        tracksEachMove = false;
        picture = [](int, int) { return red; };
        SetEndRequest(nullptr);
        EXPECT_TRUE(OpenSession());
        other_ = std::make_unique<OtherClient>(display_.Name());
    }
    static WindowOptions Overlay() {
        WindowOptions options;
        options.className = u"ZVTestOverlay";
        options.title = u"overlay";
        options.procedure = Record;
        options.left = options.top = 100;
        options.width = 200;
        options.height = 120;
        options.frame = WindowFrame::Bare;
        options.topmost = options.toolWindow = options.noActivate = true;
        return options;
    }
    static WindowOptions Plain() {
        WindowOptions options;
        options.className = u"ZVTestMain";
        options.title = u"main";
        options.procedure = Record;
        options.width = 400;
        options.height = 300;
        return options;
    }
    bool RunUntilPixel(AppWindow& window, int x, int y, std::uint32_t color) {
        return RunUntil(window, [=, this] { return other_->PixelAt(x, y) == color; });
    }
    bool RunUntilReceived(AppWindow& window, std::uint32_t code) {
        return RunUntil(window, [=] { return CountOf(code) > 0; });
    }
    void StartWindowManager() { manager_ = support::StartOpenbox(display_.Name(), folder_.Path()); }

    support::TemporaryFolder folder_;
    support::PrivateDisplay display_{"800x600"};
    support::Spawned manager_;
    std::unique_ptr<OtherClient> other_;
};

TEST_F(LinuxWindowSurface, ShowsThePixelsThatItsProcedurePaints) {
    picture = [](int x, int y) { return static_cast<std::uint32_t>(x << 8 | y); };
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {40, 30, 340, 230});
    ASSERT_TRUE(RunUntilPixel(*window, 40 + 299, 30 + 199, 299 << 8 | 199));
    EXPECT_EQ(other_->PixelAt(40, 30), 0U);
    EXPECT_EQ(other_->PixelAt(40 + 17, 30 + 5), 17U << 8U | 5U);
    EXPECT_EQ(other_->PixelAt(39, 30), 0U);
    // Repainted only on request, with one message for many requests.
    received.clear();
    picture = [](int, int) { return green; };
    InvalidateWindow(*window);
    InvalidateWindow(*window);
    ASSERT_TRUE(RunUntilPixel(*window, 45, 35, green));
    EXPECT_EQ(CountOf(message::paint), 1);
}

TEST_F(LinuxWindowSurface, AWindowOfEverySizeShowsItsWholePicture) {
    picture = [](int x, int y) { return static_cast<std::uint32_t>(x << 12 | y); };
    const Owned<AppWindow> window = MakeWindow(Overlay());
    for (const Point size : {Point{10, 10}, Point{800, 600}, Point{333, 7}}) {
        ShowTopmostAt(*window, {0, 0, size.x, size.y});
        const auto last = static_cast<std::uint32_t>((size.x - 1) << 12 | (size.y - 1));
        EXPECT_TRUE(RunUntilPixel(*window, size.x - 1, size.y - 1, last)) << size.x;
        EXPECT_EQ(LowWord(Last(message::size)->lParam), size.x);
        EXPECT_EQ(HighWord(Last(message::size)->lParam), size.y);
    }
}

TEST_F(LinuxWindowSurface, PaintNowPaintsBeforeItReturns) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    InvalidateWindow(*window);
    PaintNow(*window);
    EXPECT_EQ(CountOf(message::paint), 0) << "a hidden window is not painted";
    ShowWithoutActivating(*window);
    PaintNow(*window);
    EXPECT_EQ(CountOf(message::paint), 1);
    PaintNow(*window);
    EXPECT_EQ(CountOf(message::paint), 1);
}

TEST_F(LinuxWindowSurface, TheKeyColourIsTransparentAndClickThrough) {
    // A frame of 20 pixels around a hole with an island.
    picture = [](int x, int y) {
        const bool hole = x >= 20 && x < 180 && y >= 20 && y < 100;
        const bool island = x >= 90 && x < 110 && y >= 50 && y < 70;
        return hole && !island ? key : red;
    };
    other_->Cover({0, 0, 800, 600}, green);
    const Owned<AppWindow> window = MakeWindow(Overlay());
    SetColorKey(*window, keyColor);
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 200, 160, red));
    EXPECT_EQ(other_->PixelAt(119, 119), red);
    EXPECT_EQ(other_->PixelAt(120, 120), green);
    EXPECT_EQ(other_->PixelAt(279, 199), green);
    EXPECT_EQ(other_->PixelAt(280, 200), red);
    EXPECT_EQ(other_->PixelAt(189, 160), green);
    EXPECT_EQ(other_->Events(XCB_BUTTON_PRESS), 0);
    other_->ClickAt(150, 150);
    EXPECT_EQ(other_->Events(XCB_BUTTON_PRESS), 1);
    EXPECT_EQ(CountOf(message::leftButtonDown), 0);
    other_->ClickAt(200, 160);
    other_->ClickAt(105, 105);
    EXPECT_TRUE(RunUntil(*window, [] { return CountOf(message::leftButtonUp) == 2; }));
    EXPECT_EQ(other_->Events(XCB_BUTTON_PRESS), 0);
    // The shape changes with the next painting.
    picture = [](int x, int) { return x < 100 ? key : red; };
    InvalidateWindow(*window);
    ASSERT_TRUE(RunUntilPixel(*window, 270, 150, red));
    EXPECT_EQ(other_->PixelAt(105, 105), green);
}

TEST_F(LinuxWindowSurface, ALaterColourKeyReplacesTheFirst) {
    picture = [](int x, int) { return x < 100 ? key : red; };
    other_->Cover({0, 0, 800, 600}, green);
    const Owned<AppWindow> window = MakeWindow(Overlay());
    constexpr std::uint32_t redKey = 0x2030C0;  // 0x00BBGGRR
    SetColorKey(*window, redKey);
    SetColorKey(*window, keyColor);
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 250, 150, red));
    EXPECT_EQ(other_->PixelAt(150, 150), green);
    // Also on a window that has been painted.
    SetColorKey(*window, redKey);
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, key));
    EXPECT_EQ(other_->PixelAt(250, 150), green);
}

TEST_F(LinuxWindowSurface, AKeyedWindowIsInvisibleBeforeItsFirstPaint) {
    other_->Cover({0, 0, 800, 600}, green);
    const Owned<AppWindow> window = MakeWindow(Overlay());
    SetColorKey(*window, keyColor);
    ShowTopmostAt(*window, {100, 100, 300, 220});
    FlushScreen();
    EXPECT_EQ(other_->PixelAt(200, 160), green);
}

TEST_F(LinuxWindowSurface, ANotificationShowsNoEmptyBoxBeforeItsFirstPaint) {
    other_->Cover({0, 0, 800, 600}, green);
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    FlushScreen();
    EXPECT_EQ(other_->PixelAt(200, 160), green);
    EXPECT_TRUE(RunUntilPixel(*window, 200, 160, red));
}

TEST_F(LinuxWindowSurface, ClicksGoThroughANotification) {
    other_->Cover({0, 0, 800, 600}, green);
    WindowOptions options = Overlay();
    options.clickThrough = true;
    const Owned<AppWindow> window = MakeWindow(options);
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    EXPECT_EQ(other_->Events(XCB_BUTTON_PRESS), 0);
    other_->ClickAt(150, 150);
    EXPECT_EQ(other_->Events(XCB_BUTTON_PRESS), 1);
}

TEST_F(LinuxWindowSurface, TheGameKeepsTheKeyboardWithAndWithoutAWindowManager) {
    for (const bool managed : {false, true}) {
        if (managed) {
            StartWindowManager();
        }
        const xcb_window_t game = other_->Cover({0, 0, 800, 600}, green);
        other_->SetFocus(game);
        const Owned<AppWindow> window = MakeWindow(Overlay());
        ShowTopmostAt(*window, {100, 100, 300, 220});
        ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
        other_->ClickAt(150, 150);
        ASSERT_TRUE(RunUntilReceived(*window, message::leftButtonUp));
        EXPECT_EQ(other_->Focus(), game);
        other_->Events(XCB_KEY_PRESS);
        other_->Tap(other_->CodeOf(XK_w));
        EXPECT_EQ(other_->Events(XCB_KEY_PRESS), 1);
        EXPECT_EQ(CountOf(message::keyDown) + CountOf(message::setFocus), 0);
        received.clear();
    }
}

TEST_F(LinuxWindowSurface, StaysOnTopOfWindowsThatAreMappedLater) {
    for (const bool managed : {false, true}) {
        if (managed) {
            StartWindowManager();
        }
        const Owned<AppWindow> window = MakeWindow(Overlay());
        ShowTopmostAt(*window, {100, 100, 300, 220});
        ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
        const xcb_window_t cover = other_->Cover({0, 0, 800, 600}, green);
        EXPECT_TRUE(RunUntilPixel(*window, 150, 150, red)) << managed;
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(other_->Get(), cover, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        other_->Sync();
        EXPECT_TRUE(RunUntilPixel(*window, 150, 150, red)) << managed;
        EXPECT_EQ(other_->PixelAt(50, 50), green);
    }
}

/// Whether `upper` is above `lower` in the server's stacking order.
bool IsAbove(const OtherClient& client, xcb_window_t upper, xcb_window_t lower) {
    const std::vector<xcb_window_t> stack = client.TopLevels();
    return std::find(stack.begin(), stack.end(), upper) > std::find(stack.begin(), stack.end(), lower);
}

TEST_F(LinuxWindowSurface, StaysBelowAScreenLocker) {
    for (const bool managed : {false, true}) {
        if (managed) {
            StartWindowManager();
        }
        // The game is the window of a client, or without a window manager the one with the focus.
        Owned<AppWindow> client;
        xcb_window_t game = XCB_WINDOW_NONE;
        if (managed) {
            client = MakeWindow(Plain());
            ShowInFront(*client);
            ASSERT_TRUE(RunUntil(
                *client, [&] { return other_->Property(other_->Root(), "_NET_CLIENT_LIST_STACKING").size() >= 4; }));
        } else {
            game = other_->Cover({0, 0, 800, 600}, green);
            other_->SetFocus(game);
        }
        const Owned<AppWindow> window = MakeWindow(Overlay());
        ShowTopmostAt(*window, {100, 100, 300, 220});
        ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
        const xcb_window_t ours = other_->Find("overlay");
        const xcb_window_t locker = other_->Cover({0, 0, 800, 600}, blue);
        const auto settle = [&] {
            int iterations = 0;
            RunUntil(*window, [&] { return ++iterations > 20; });
        };
        settle();
        EXPECT_TRUE(IsAbove(*other_, locker, ours)) << managed;
        // As the badge twice a second, and the notification of a failure.
        ShowTopmostAt(*window, {100, 100, 320, 220});
        settle();
        EXPECT_TRUE(IsAbove(*other_, locker, ours)) << managed;
        // A window that covers only a part is covered by ours, also below the locker.
        const xcb_window_t part = other_->Cover({50, 50, 400, 400}, green);
        const std::uint32_t below[] = {locker, XCB_STACK_MODE_BELOW};
        xcb_configure_window(other_->Get(), part, XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, below);
        other_->Sync();
        EXPECT_TRUE(RunUntil(*window, [&] { return IsAbove(*other_, ours, part); })) << managed;
        EXPECT_TRUE(IsAbove(*other_, locker, ours)) << managed;
        xcb_destroy_window(other_->Get(), locker);
        other_->Sync();
        EXPECT_TRUE(RunUntilPixel(*window, 150, 150, red)) << managed;
        ShowTopmostAt(*window, {100, 100, 300, 220});
        FlushScreen();
        EXPECT_TRUE(IsAbove(*other_, ours, part)) << managed;
        xcb_destroy_window(other_->Get(), part);
        xcb_destroy_window(other_->Get(), game);
        other_->Sync();
    }
}

TEST_F(LinuxWindowSurface, ReturnsAboveWhatWasRaisedWhileItWasHidden) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    HideWindow(*window);
    const xcb_window_t cover = other_->Cover({50, 50, 400, 400}, green);
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, green));
    ShowWithoutActivating(*window);
    FlushScreen();
    EXPECT_TRUE(IsAbove(*other_, other_->Find("overlay"), cover));
    EXPECT_TRUE(RunUntilPixel(*window, 150, 150, red));
}

TEST_F(LinuxWindowSurface, AnOwnedWindowStaysAboveItsOwner) {
    Owned<AppWindow> owner = MakeWindow(Overlay());
    WindowOptions options = Overlay();
    options.title = u"video";
    options.owner = owner.get();
    const Owned<AppWindow> video = MakeWindow(options);
    const xcb_window_t owned = other_->Find("video");
    ShowTopmostAt(*owner, {100, 100, 300, 220});
    ShowTopmostAt(*video, {120, 120, 200, 200});
    ShowTopmostAt(*owner, {100, 100, 320, 220});
    FlushScreen();
    EXPECT_TRUE(IsAbove(*other_, owned, other_->Find("overlay")));
    // Also after both were covered.
    const xcb_window_t cover = other_->Cover({50, 50, 400, 400}, green);
    EXPECT_TRUE(RunUntil(*owner, [&] {
        return IsAbove(*other_, other_->Find("overlay"), cover) && IsAbove(*other_, owned, other_->Find("overlay"));
    }));
    ShowInFront(*owner);
    FlushScreen();
    EXPECT_TRUE(IsAbove(*other_, owned, other_->Find("overlay")));
    owner.reset();
    EXPECT_TRUE(IsWindowShown(*video));
}

TEST_F(LinuxWindowSurface, TheSameColourKeyAgainChangesNothing) {
    picture = [](int x, int) { return x < 100 ? key : red; };
    other_->Cover({0, 0, 800, 600}, green);
    const Owned<AppWindow> window = MakeWindow(Overlay());
    SetColorKey(*window, keyColor);
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 250, 150, red));
    SetColorKey(*window, keyColor);
    FlushScreen();
    EXPECT_EQ(other_->PixelAt(250, 150), red) << "the window is invisible before it is painted again";
    EXPECT_EQ(other_->PixelAt(150, 150), green);
}

TEST_F(LinuxWindowSurface, TwoTopmostWindowsDoNotRaiseEachOther) {
    const Owned<AppWindow> first = MakeWindow(Overlay());
    const Owned<AppWindow> second = MakeWindow(Overlay());
    ShowTopmostAt(*first, {100, 100, 300, 220});
    ShowTopmostAt(*second, {120, 120, 320, 240});
    const std::vector<xcb_window_t> stack = other_->TopLevels();
    bool changed = false;
    RunUntil(
        *first, [&] { return changed = changed || other_->TopLevels() != stack; }, std::chrono::milliseconds(300));
    EXPECT_FALSE(changed);
}

TEST_F(LinuxWindowSurface, ATopmostFramedWindowStaysAboveTheOverlayWithTheKeyboard) {
    StartWindowManager();
    const Owned<AppWindow> overlay = MakeWindow(Overlay());
    ShowTopmostAt(*overlay, {0, 0, 700, 500});
    ASSERT_TRUE(RunUntilPixel(*overlay, 300, 300, red));
    WindowOptions options = Plain();
    options.title = u"editor";
    options.frame = WindowFrame::Caption;
    options.left = options.top = 220;
    options.topmost = options.toolWindow = true;
    const Owned<AppWindow> editor = MakeWindow(options);
    picture = [](int, int) { return green; };
    ShowInFront(*editor);
    ASSERT_TRUE(RunUntilPixel(*editor, 400, 400, green));
    ASSERT_TRUE(RunUntilReceived(*editor, message::setFocus));
    EXPECT_EQ(Last(message::setFocus)->window, editor.get());
    bool covered = false;
    RunUntil(
        *editor, [&] { return covered = covered || other_->PixelAt(400, 400) != green; },
        std::chrono::milliseconds(500));
    EXPECT_FALSE(covered);
    other_->Tap(other_->CodeOf(XK_k));
    ASSERT_TRUE(RunUntilReceived(*editor, message::keyDown));
    EXPECT_EQ(Last(message::keyDown)->window, editor.get());
}

TEST_F(LinuxWindowSurface, ShowingAShownWindowDoesNotRepaintIt) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    ClientBounds(*window);  // its reply arrives after all events of the first showing
    int turns = 0;
    RunUntil(*window, [&] { return ++turns > 3; });
    const long paints = CountOf(message::paint);
    ShowTopmostAt(*window, {120, 100, 320, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 310, 150, red));
    EXPECT_EQ(CountOf(message::paint), paints);
    HideWindow(*window);
    ShowTopmostAt(*window, {120, 100, 320, 220});
    EXPECT_TRUE(RunUntil(*window, [&] { return CountOf(message::paint) > paints; }));
}

TEST_F(LinuxWindowSurface, AWindowThatKeepsRaisingItselfStaysInFront) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    const xcb_window_t cover = other_->Cover({0, 0, 800, 600}, green);
    int raises = 0;
    RunUntil(
        *window,
        [&] {
            if (other_->TopLevels().back() != cover) {
                ++raises;
                const std::uint32_t above = XCB_STACK_MODE_ABOVE;
                xcb_configure_window(other_->Get(), cover, XCB_CONFIG_WINDOW_STACK_MODE, &above);
                other_->Sync();
            }
            return false;
        },
        std::chrono::milliseconds(700));
    EXPECT_GE(raises, 1);
    EXPECT_LE(raises, 30) << "some eight a second; a hundred without a bound";
}

TEST_F(LinuxWindowSurface, HasTheRequestedBounds) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    EXPECT_EQ(WindowBounds(*window), (Rectangle{100, 100, 300, 220}));
    const Rectangle place{17, 23, 427, 323};
    ShowTopmostAt(*window, place);
    EXPECT_EQ(WindowBounds(*window), place);
    EXPECT_EQ(other_->BoundsOf(other_->Find("overlay")), place);
    EXPECT_EQ(HighWord(Last(message::showWindow)->lParam), 0);
    EXPECT_EQ(Last(message::showWindow)->wParam, 1U);
    const Rectangle moved{40, 23, 140, 123};
    PlaceWindow(*window, moved);
    EXPECT_EQ(ClientBounds(*window), moved);
    HideWindow(*window);
    EXPECT_EQ(Last(message::showWindow)->wParam, 0U);
    const long told = CountOf(message::showWindow);
    HideWindow(*window);
    EXPECT_EQ(CountOf(message::showWindow), told);
    EXPECT_EQ(WindowBounds(*window), moved);
}

TEST_F(LinuxWindowSurface, MouseMessagesHaveClientCoordinates) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    other_->MovePointer(50, 50);
    received.clear();
    other_->MovePointer(130, 145);
    ASSERT_TRUE(RunUntilReceived(*window, message::mouseMove));
    EXPECT_EQ(LowWord(Last(message::mouseMove)->lParam), 30);
    EXPECT_EQ(HighWord(Last(message::mouseMove)->lParam), 45);
    ASSERT_NE(Last(message::setCursor), nullptr);
    EXPECT_EQ(LowWord(Last(message::setCursor)->lParam), hitCode::client);
    EXPECT_LT(Last(message::setCursor), Last(message::mouseMove)) << "the cursor is asked for first";
    EXPECT_EQ(Last(message::mouseMove)->wParam, 0U);
    other_->PressButton(1);
    ASSERT_TRUE(RunUntilReceived(*window, message::leftButtonDown));
    EXPECT_EQ(LowWord(Last(message::leftButtonDown)->lParam), 30);
    // While a button is held, messages also come from outside the window, with negative coordinates on its left.
    CaptureMouse(*window);
    EXPECT_TRUE(HasMouseCapture(*window));
    other_->MovePointer(90, 60);
    ASSERT_TRUE(RunUntil(*window, [] { return LowWord(Last(message::mouseMove)->lParam) == -10; }));
    EXPECT_EQ(Last(message::mouseMove)->wParam, mouseState::leftButton);
    other_->ReleaseButton(1);
    ASSERT_TRUE(RunUntilReceived(*window, message::leftButtonUp));
    EXPECT_EQ(LowWord(Last(message::leftButtonUp)->lParam), -10);
    EXPECT_EQ(HighWord(Last(message::leftButtonUp)->lParam), -40);
    EXPECT_EQ(CountOf(message::captureChanged), 0);
    ReleaseMouse(*window);
    EXPECT_EQ(CountOf(message::captureChanged), 1);
    EXPECT_FALSE(HasMouseCapture(*window));
    ReleaseMouse(*window);
    EXPECT_EQ(CountOf(message::captureChanged), 1);
    other_->ClickAt(130, 145, 3);
    ASSERT_TRUE(RunUntilReceived(*window, message::rightButtonUp));
    other_->PressButton(4);
    ASSERT_TRUE(RunUntilReceived(*window, message::mouseWheel));
    EXPECT_EQ(HighWord(static_cast<std::intptr_t>(Last(message::mouseWheel)->wParam)), 120);
    EXPECT_EQ(LowWord(Last(message::mouseWheel)->lParam), 130);
}

TEST_F(LinuxWindowSurface, AHiddenWindowLosesTheMouse) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    CaptureMouse(*window);
    HideWindow(*window);
    EXPECT_TRUE(RunUntilReceived(*window, message::captureChanged));
    EXPECT_FALSE(HasMouseCapture(*window));
}

TEST_F(LinuxWindowSurface, EachTrackingReportsOneLeave) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    other_->MovePointer(150, 150);
    ASSERT_TRUE(RunUntilReceived(*window, message::mouseMove));
    TrackMouseLeave(*window);
    other_->MovePointer(50, 50);
    ASSERT_TRUE(RunUntilReceived(*window, message::mouseLeave));
    other_->MovePointer(151, 150);
    other_->MovePointer(50, 50);
    other_->MovePointer(152, 150);
    ASSERT_TRUE(RunUntil(*window, [] { return LowWord(Last(message::mouseMove)->lParam) == 52; }));
    EXPECT_EQ(CountOf(message::mouseLeave), 1);
}

TEST_F(LinuxWindowSurface, AMoveAndALeaveThatAreReadTogetherAreBothSent) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    ShowTopmostAt(*window, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*window, 150, 150, red));
    tracksEachMove = true;
    other_->MovePointer(150, 150);
    other_->MovePointer(50, 50);
    EXPECT_TRUE(RunUntilReceived(*window, message::mouseLeave));
}

TEST_F(LinuxWindowSurface, TheFocusedWindowReceivesKeysWithTheirModifiers) {
    const Owned<AppWindow> window = MakeWindow(Plain());
    ShowInFront(*window);
    ASSERT_TRUE(RunUntilReceived(*window, message::setFocus));
    const struct {
        xcb_keysym_t symbol;
        std::uintptr_t virtualKey;
    } rows[] = {{XK_Escape, 27}, {XK_Tab, 9}, {XK_Return, 13}, {XK_space, 32}, {XK_a, 65},    {XK_z, 90},
                {XK_0, 48},      {XK_9, 57},  {XK_F1, 112},    {XK_F12, 123},  {XK_Left, 37}, {XK_Right, 39}};
    for (const auto& row : rows) {
        received.clear();
        other_->Tap(other_->CodeOf(row.symbol));
        ASSERT_TRUE(RunUntilReceived(*window, message::keyUp)) << row.virtualKey;
        EXPECT_EQ(Last(message::keyDown)->wParam, row.virtualKey);
        EXPECT_EQ(HeldModifiers(), 0U);
    }
    received.clear();
    std::uint32_t held = 0;
    other_->TapWith(XK_Shift_L, other_->CodeOf(XK_Tab));
    ASSERT_TRUE(RunUntil(*window, [&] {
        const Received* down = Last(message::keyDown);
        held = down != nullptr && down->wParam == 9 ? HeldModifiers() : held;
        return CountOf(message::keyUp) == 2;
    }));
    received.clear();
    other_->TapWith(XK_Alt_L, other_->CodeOf(XK_x));
    ASSERT_TRUE(RunUntil(*window, [] { return CountOf(message::systemKeyDown) == 2; }));
    EXPECT_EQ(Last(message::systemKeyDown)->wParam, 88U);
    received.clear();
    other_->Tap(other_->CodeOf(XK_F10));
    ASSERT_TRUE(RunUntilReceived(*window, message::systemKeyDown));
    EXPECT_EQ(Last(message::systemKeyDown)->wParam, 121U);
    const xcb_window_t elsewhere = other_->Cover({0, 0, 50, 50}, green);
    other_->SetFocus(elsewhere);
    EXPECT_TRUE(RunUntilReceived(*window, message::killFocus));
}

TEST_F(LinuxWindowSurface, EachMessageHasTheModifiersOfItsEvent) {
    const Owned<AppWindow> window = MakeWindow(Plain());
    ShowInFront(*window);
    ASSERT_TRUE(RunUntilReceived(*window, message::setFocus));
    // All events are read at once, as after a busy moment of the program.
    other_->Press(other_->CodeOf(XK_Control_L));
    other_->Press(other_->CodeOf(XK_Shift_L));
    other_->Tap(other_->CodeOf(XK_k));
    other_->Release(other_->CodeOf(XK_Shift_L));
    other_->Release(other_->CodeOf(XK_Control_L));
    other_->Tap(other_->CodeOf(XK_j));
    ASSERT_TRUE(RunUntil(*window, [] { return keyModifiers.contains('J'); }));
    EXPECT_EQ(keyModifiers['K'], keyModifier::control | keyModifier::shift);
    EXPECT_EQ(keyModifiers['J'], 0U);
}

TEST_F(LinuxWindowSurface, KeysHaveNames) {
    const struct {
        std::uint32_t virtualKey;
        const char16_t* name;
    } rows[] = {{88, u"X"},   {121, u"F10"}, {112, u"F1"},   {135, u"F24"}, {48, u"0"},
                {27, u"Esc"}, {9, u"Tab"},   {32, u"Space"}, {7, u""},      {136, u""}};
    for (const auto& row : rows) {
        EXPECT_EQ(KeyName(row.virtualKey), row.name) << row.virtualKey;
    }
}

TEST_F(LinuxWindowSurface, ADpiChangeSuggestsABoundsChange) {
    const Owned<AppWindow> window = MakeWindow(Overlay());
    EXPECT_EQ(DpiOfWindow(*window), 96);
    const std::string resources = "*customization: -color\nXft.dpi:\t144\nXft.hinting: 1\n";
    xcb_change_property(other_->Get(), XCB_PROP_MODE_REPLACE, other_->Root(), XCB_ATOM_RESOURCE_MANAGER,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(resources.size()), resources.data());
    other_->Sync();
    ASSERT_TRUE(RunUntilReceived(*window, message::dpiChanged));
    EXPECT_EQ(DpiOfWindow(*window), 144);
    EXPECT_EQ(LowWord(static_cast<std::intptr_t>(Last(message::dpiChanged)->wParam)), 144);
    const auto* suggested = reinterpret_cast<const Rectangle*>(Last(message::dpiChanged)->lParam);
    EXPECT_EQ(*suggested, (Rectangle{100, 100, 400, 280}));
}

TEST_F(LinuxWindowSurface, ANewWindowThatIsHiddenBeforeTheLoopRunsIsNeverMapped) {
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(other_->Get(), other_->Root(), XCB_CW_EVENT_MASK, &events);
    other_->Sync();
    WindowOptions options = Plain();
    options.visible = true;
    const Owned<AppWindow> window = MakeWindow(options);
    EXPECT_TRUE(IsWindowShown(*window));
    HideWindow(*window);
    EXPECT_FALSE(IsWindowShown(*window));
    const Owned<AppWindow> later = MakeWindow(Overlay());
    ShowTopmostAt(*later, {100, 100, 300, 220});
    ASSERT_TRUE(RunUntilPixel(*later, 150, 150, red));
    EXPECT_EQ(other_->Events(XCB_MAP_NOTIFY), 1);
}

TEST_F(LinuxWindowSurface, ANewWindowThatIsHiddenAndMinimizedBeforeTheLoopRunsStartsMinimized) {
    StartWindowManager();
    WindowOptions options = Plain();
    options.visible = true;
    const Owned<AppWindow> window = MakeWindow(options);
    HideWindow(*window);
    MinimizeWindow(*window);
    EXPECT_TRUE(RunUntil(*window, [&] { return IsWindowMinimized(*window); }));
    ShowInFront(*window);
    EXPECT_TRUE(RunUntil(*window, [&] { return other_->PixelAt(200, 200) == red && !IsWindowMinimized(*window); }));
}

TEST_F(LinuxWindowSurface, AWindowManagerEnforcesTheMinimumSizeAndRaisesTheWindow) {
    StartWindowManager();
    const Owned<AppWindow> window = MakeWindow(Plain());
    std::string hints;
    ASSERT_TRUE(RunUntil(*window, [&] {
        hints = other_->Property(other_->Find("main"), "WM_NORMAL_HINTS");
        return hints.size() == 72;
    }));
    std::uint32_t numbers[18];
    std::memcpy(numbers, hints.data(), sizeof numbers);
    EXPECT_EQ(numbers[0], 16U);
    EXPECT_EQ(numbers[5], 300U);
    EXPECT_EQ(numbers[6], 200U);
    ShowInFront(*window);
    EXPECT_TRUE(RunUntilReceived(*window, message::setFocus));
    ASSERT_TRUE(RunUntil(*window, [] { return LookUpFrontWindow().kind == FrontKind::Own; }));
    const FrontWindow front = LookUpFrontWindow();
    EXPECT_EQ(front.className, u"Zorvel");
    EXPECT_GT(front.bounds.Height(), 300) << "with its frame";
    EXPECT_EQ(front.monitor, (MonitorEntry{u"screen", 0, 0, 800, 600, -1, true}));
    EXPECT_FALSE(IsWindowMinimized(*window));
}

TEST_F(LinuxWindowSurface, EveryPointBelongsToAMonitorOrToThePrimaryOne) {
    for (const Point point : {Point{0, 0}, Point{799, 599}, Point{-50, 20}, Point{5000, 5000}}) {
        EXPECT_EQ(WorkAreaAt(point), (Rectangle{0, 0, 800, 600}));
    }
    const std::int32_t work[] = {0, 24, 800, 540};
    xcb_change_property(other_->Get(), XCB_PROP_MODE_REPLACE, other_->Root(), other_->Atom("_NET_WORKAREA"),
                        XCB_ATOM_CARDINAL, 32, 4, work);
    other_->Sync();
    EXPECT_EQ(WorkAreaAt({1, 1}), (Rectangle{0, 24, 800, 564}));
}

TEST_F(LinuxWindowSurface, CursorPositionIsThePointersPosition) {
    other_->MovePointer(123, 456);
    EXPECT_EQ(CursorPosition(), (Point{123, 456}));
}

/// A cursor file of one opaque picture.
std::string CursorFile(std::uint32_t size, std::uint32_t color) {
    constexpr std::uint32_t magic = 0x72756358;  // "Xcur"
    constexpr std::uint32_t imageType = 0xFFFD0002;
    constexpr std::uint32_t headerBytes = 16;
    constexpr std::uint32_t imageAt = headerBytes + 12;
    std::vector<std::uint32_t> words{magic, headerBytes, 0x10000, 1, imageType, size, imageAt};
    words.insert(words.end(), {36, imageType, size, 1, size, size, 0, 0, 0});
    words.insert(words.end(), std::size_t{size} * size, 0xFF000000U | color);
    return {reinterpret_cast<const char*>(words.data()), words.size() * sizeof words[0]};
}

TEST_F(LinuxWindowSurface, UsesTheUsersCursorTheme) {
    const std::filesystem::path cursors = folder_.Path() / "default" / "cursors";
    std::filesystem::create_directories(cursors);
    support::WriteBytes(cursors / "left_ptr", CursorFile(24, green));
    support::WriteBytes(cursors / "hand2", CursorFile(24, red));
    setenv("XCURSOR_PATH", folder_.Path().c_str(), 1);
    WindowOptions options = Overlay();
    options.cursor = CursorShape::Arrow;
    const Owned<AppWindow> window = MakeWindow(options);
    unsetenv("XCURSOR_PATH");
    ShowTopmostAt(*window, {100, 100, 300, 220});
    other_->MovePointer(150, 150);
    std::free(xcb_xfixes_query_version_reply(other_->Get(), xcb_xfixes_query_version(other_->Get(), 2, 0), nullptr));
    const auto shows = [&](std::uint32_t color) {
        const support::Reply<xcb_xfixes_get_cursor_image_reply_t> image(
            xcb_xfixes_get_cursor_image_reply(other_->Get(), xcb_xfixes_get_cursor_image(other_->Get()), nullptr));
        return image && image->width == 24 &&
               xcb_xfixes_get_cursor_image_cursor_image(image.get())[0] == (0xFF000000U | color);
    };
    EXPECT_TRUE(RunUntil(*window, [&] { return shows(green); }));
    SetCursorShape(*window, CursorShape::Hand);
    EXPECT_TRUE(RunUntil(*window, [&] { return shows(red); }));
}

TEST_F(LinuxWindowSurface, OpacityAndIconsAreProperties) {
    const std::vector<std::uint32_t> pixels(4, 0x102030);
    const Owned<AppIcon> icon = MakeIcon(2, pixels.data());
    EXPECT_EQ(LoadProgramIcon(32), nullptr);
    const Owned<AppWindow> window = MakeWindow(Overlay());
    SetConstantAlpha(*window, 225);
    SetWindowIcons(*window, icon.get(), nullptr);
    other_->Sync();
    FlushScreen();
    const xcb_window_t id = other_->Find("overlay");
    EXPECT_EQ(other_->Property(id, "_NET_WM_WINDOW_OPACITY"), "\xE1\xE1\xE1\xE1");
    EXPECT_EQ(other_->Property(id, "_NET_WM_ICON"),
              std::string("\2\0\0\0\2\0\0\0", 8) + "\x30\x20\x10\xFF\x30\x20\x10\xFF\x30\x20\x10\xFF\x30\x20\x10\xFF");
}

class LinuxTrayIcon : public LinuxWindowSurface {
protected:
    void StartHost() {
        host_ = support::Spawned({"trayer", "--edge", "top", "--align", "left", "--widthtype", "request", "--height",
                                  "24", "--SetDockType", "false"},
                                 {{"DISPLAY", display_.Name()}}, folder_.Path() / "tray.log");
    }
    Owned<TrayIcon> Add() {
        TrayIconOptions options;
        options.window = window_.get();
        options.message = trayMessage;
        options.icon = icon_.get();
        options.tip = u"ZV Reels Max";
        return AddTrayIcon(options);
    }
    /// The first position of the icon's colour on the screen's upper edge.
    std::optional<Point> FindIcon() const {
        for (int y = 2; y < 24; y += 4) {
            for (int x = 0; x < 800; x += 4) {
                if (other_->PixelAt(x, y) == red) {
                    return Point{x, y};
                }
            }
        }
        return std::nullopt;
    }
    bool RunUntilIconShows() {
        return RunUntil(*window_, [&] { return (place_ = FindIcon()).has_value(); });
    }

    support::Spawned host_;
    std::vector<std::uint32_t> pixels_ = std::vector<std::uint32_t>(16 * 16, red);
    Owned<AppIcon> icon_ = MakeIcon(16, pixels_.data());
    Owned<AppWindow> window_ = MakeWindow(Plain());
    std::optional<Point> place_;
};

TEST_F(LinuxTrayIcon, FailsWithoutANotificationArea) { EXPECT_EQ(Add(), nullptr); }

TEST_F(LinuxTrayIcon, IsShownInTheAreaAndReportsClicks) {
    StartHost();
    ASSERT_TRUE(RunUntilReceived(*window_, TaskbarCreatedMessage()));
    Owned<TrayIcon> icon = Add();
    ASSERT_NE(icon, nullptr);
    ASSERT_TRUE(RunUntilIconShows());
    received.clear();
    other_->ClickAt(place_->x + 4, place_->y + 4);
    ASSERT_TRUE(RunUntilReceived(*window_, trayMessage));
    EXPECT_EQ(LowWord(Last(trayMessage)->lParam), static_cast<int>(trayEvent::select));
    other_->ClickAt(place_->x + 4, place_->y + 4);
    ASSERT_TRUE(RunUntil(*window_, [] { return CountOf(trayMessage) == 2; }));
    EXPECT_EQ(LowWord(Last(trayMessage)->lParam), static_cast<int>(message::leftButtonDoubleClick));
    other_->ClickAt(place_->x + 4, place_->y + 4, 3);
    ASSERT_TRUE(RunUntil(*window_, [] { return CountOf(trayMessage) == 3; }));
    EXPECT_EQ(LowWord(Last(trayMessage)->lParam), static_cast<int>(message::rightButtonUp));
    icon.reset();
    EXPECT_TRUE(RunUntil(*window_, [&] { return !FindIcon(); }));
}

TEST_F(LinuxTrayIcon, IsAddedAgainAfterARestartOfTheArea) {
    StartHost();
    ASSERT_TRUE(RunUntilReceived(*window_, TaskbarCreatedMessage()));
    Owned<TrayIcon> icon = Add();
    ASSERT_TRUE(RunUntilIconShows());
    host_.Send(SIGKILL);
    host_.WaitExit();
    received.clear();
    EXPECT_TRUE(RunUntil(*window_, [&] { return !FindIcon(); })) << "nothing stays on the desktop";
    EXPECT_TRUE(RunUntilReceived(*window_, TaskbarCreatedMessage())) << "the end of the area is not reported";
    received.clear();
    StartHost();
    ASSERT_TRUE(RunUntilReceived(*window_, TaskbarCreatedMessage()));
    icon.reset();
    icon = Add();
    EXPECT_TRUE(RunUntilIconShows());
}

TEST_F(LinuxTrayIcon, IsDestroyedWithItsResourcesWhenTheAreaReparentsItToTheRoot) {
    StartHost();
    ASSERT_TRUE(RunUntilReceived(*window_, TaskbarCreatedMessage()));
    Owned<TrayIcon> icon = Add();
    ASSERT_TRUE(RunUntilIconShows());
    xcb_window_t inArea = XCB_WINDOW_NONE;
    for (const xcb_window_t top : other_->TopLevels()) {
        for (const xcb_window_t socket : other_->ChildrenOf(top)) {
            for (const xcb_window_t child : other_->ChildrenOf(socket)) {
                inArea = other_->Property(child, "_NET_WM_NAME") == "ZV Reels Max" ? child : inArea;
            }
        }
    }
    ASSERT_NE(inArea, xcb_window_t{XCB_WINDOW_NONE});
    const std::uint32_t resources = support::ResourcesOf(other_->Get(), inArea);
    xcb_reparent_window(other_->Get(), inArea, other_->Root(), 300, 300);
    other_->Sync();
    EXPECT_TRUE(RunUntil(*window_, [&] { return other_->Find("ZV Reels Max") == XCB_WINDOW_NONE; }));
    icon.reset();
    // Its window and what it was painted with.
    EXPECT_TRUE(RunUntil(*window_, [&] { return support::ResourcesOf(other_->Get(), inArea) == resources - 2; }));
}

class LinuxPopupMenu : public LinuxWindowSurface {
protected:
    /// Opens the menu at (100, 100) and simulates the user once it is open.
    int Choose(std::function<void()> user) {
        other_->MovePointer(100, 100);
        int checks = 0;
        const auto condition = [&] {
            // The menu has been open for ten checks.
            if (checks++ == 10) {
                user();
            }
            return false;
        };
        support::loopCondition = {condition, false, std::chrono::steady_clock::now() + std::chrono::minutes(1)};
        StartTimer(*window_, support::checkTimer, 20);
        const int chosen = ChooseFromMenu(*window_, items_);
        StopTimer(*window_, support::checkTimer);
        return chosen;
    }

    std::vector<MenuItem> items_ = {{1, u"Open Zorvel"}, {2, u"Save Clip (Alt + F10)"}, {0, u""}, {3, u"Exit Zorvel"}};
    Owned<AppWindow> window_ = MakeWindow(Plain());
};

// Rows are 28 pixels high and begin 4 pixels below the upper edge; the separator is 9 high.
TEST_F(LinuxPopupMenu, ReturnsTheClickedItem) {
    EXPECT_EQ(Choose([&] { other_->ClickAt(120, 100 + 4 + 14); }), 1);
    EXPECT_EQ(Choose([&] { other_->ClickAt(120, 100 + 4 + 28 + 14); }), 2);
    EXPECT_EQ(Choose([&] { other_->ClickAt(120, 100 + 4 + 56 + 9 + 14); }), 3);
    EXPECT_EQ(Choose([&] { other_->ClickAt(120, 100 + 4 + 14, 3); }), 1);
}

TEST_F(LinuxPopupMenu, ClosesWithoutAChoiceByEscapeAndByAClickOutside) {
    EXPECT_EQ(Choose([&] { other_->Tap(other_->CodeOf(XK_Escape)); }), 0);
    EXPECT_EQ(Choose([&] { other_->ClickAt(700, 500); }), 0);
    received.clear();
    EXPECT_TRUE(RunUntilReceived(*window_, message::null));
}

TEST_F(LinuxPopupMenu, DisappearsAndReleasesTheKeyboardAfterTheChoice) {
    const std::size_t before = other_->TopLevels().size();
    EXPECT_EQ(Choose([&] { other_->Tap(other_->CodeOf(XK_Escape)); }), 0);
    EXPECT_EQ(other_->TopLevels().size(), before);
    const xcb_window_t game = other_->Cover({0, 0, 800, 600}, green);
    other_->SetFocus(game);
    other_->Events(XCB_KEY_PRESS);
    other_->Tap(other_->CodeOf(XK_w));
    EXPECT_EQ(other_->Events(XCB_KEY_PRESS), 1);
}

TEST_F(LinuxPopupMenu, KeysMoveTheHighlightAndSkipTheSeparator) {
    const xcb_keycode_t down = other_->CodeOf(XK_Down);
    const xcb_keycode_t up = other_->CodeOf(XK_Up);
    const xcb_keycode_t enter = other_->CodeOf(XK_Return);
    const auto keys = [&](std::vector<xcb_keycode_t> codes) {
        return Choose([&, codes] {
            for (const xcb_keycode_t code : codes) {
                other_->Tap(code);
            }
        });
    };
    other_->MovePointer(0, 0);
    EXPECT_EQ(keys({down, down, down, enter}), 3 - 0);
    EXPECT_EQ(keys({up, enter}), 3);
}

TEST_F(LinuxPopupMenu, TheEndOfTheProgramClosesTheMenu) {
    EXPECT_EQ(Choose([] { PostQuit(4); }), 0);
    EXPECT_EQ(RunMessageLoop(), 4);
}

}  // namespace
}  // namespace zv
