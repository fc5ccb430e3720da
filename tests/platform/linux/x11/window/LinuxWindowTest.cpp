// The window service on a private X server: properties, key presses, timers, signals, a second copy and the server's
// death. A second connection simulates the user and other programs.
#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "fake/Allocations.h"
#include "platform/InformationBox.h"
#include "platform/Keyboard.h"
#include "platform/Session.h"
#include "platform/SingleInstance.h"
#include "platform/Window.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/MessageLoop.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"
#include "support/XClient.h"
#include "support/XServer.h"

namespace zv {
namespace {

using support::noKey;
using support::OtherClient;
using support::Reply;

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t virtualX = 88;
constexpr std::uint32_t virtualF10 = 121;
constexpr std::uint32_t alt = keyModifier::alt;
constexpr std::uint32_t once = keyModifier::noRepeat;

struct Received {
    std::uint32_t code;
    std::uintptr_t wParam;
    bool operator==(const Received&) const = default;
};

std::vector<Received> received;
bool handleClose = false;
int endRequests = 0;
std::vector<std::intptr_t> reservations;                                ///< of message::globalKeyChanged
std::function<void(AppWindow& window, std::uint32_t code)> beforehand;  ///< may throw

std::intptr_t Record(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (support::HandlesCheckTimer(code, wParam)) {
        return 0;
    }
    received.push_back({code, wParam});
    if (code == message::globalKeyChanged) {
        reservations.push_back(lParam);
    }
    if (beforehand) {
        beforehand(window, code);
    }
    return code == message::close && handleClose ? 0 : DefaultProcedure(window, code, wParam, lParam);
}

long CountOf(std::uint32_t code, std::uintptr_t wParam = 0) {
    return std::count(received.begin(), received.end(), Received{code, wParam});
}

class LinuxWindow : public testing::Test {
protected:
    LinuxWindow() {
        setenv("DISPLAY", display_.Name().c_str(), 1);
        received.clear();
        reservations.clear();
        handleClose = false;
        endRequests = 0;
        beforehand = nullptr;
        SetEndRequest(nullptr);
    }
    void Open() {
        ASSERT_TRUE(OpenSession());
        other_ = std::make_unique<OtherClient>(display_.Name());
        WindowOptions options;
        options.className = u"ZVTestWindow";
        options.title = u"Zorvel test";
        options.procedure = Record;
        options.width = 320;
        options.height = 200;
        options.visible = true;
        window_ = MakeWindow(options);
        ASSERT_NE(window_, nullptr);
        ASSERT_TRUE(RunUntil([] { return CountOf(message::paint) > 0; }));
    }
    /// Runs the loop until the condition holds. Returns false on timeout.
    bool RunUntil(std::function<bool()> condition) { return support::RunUntil(*window_, std::move(condition)); }
    bool RunUntilHotKeys(long count, std::uintptr_t id) {
        return RunUntil([=] { return CountOf(message::hotKey, id) >= count; });
    }
    /// Checks the count after the message of a later key press.
    void ExpectNoMoreHotKeys(std::uintptr_t id, long count) {
        ASSERT_TRUE(RegisterGlobalKey(*window_, 77, alt | once, virtualF10));
        other_->TapWith(XK_Alt_L, other_->CodeOf(XK_F10));
        EXPECT_TRUE(RunUntilHotKeys(1, 77));
        EXPECT_EQ(CountOf(message::hotKey, id), count);
        UnregisterGlobalKey(*window_, 77);
    }

    support::PrivateDisplay display_{"800x600"};
    std::unique_ptr<OtherClient> other_;
    Owned<AppWindow> window_;
};

TEST(LinuxSession, FailsWithASentenceOnAScreenWithoutEightBitsAChannel) {
    for (const char* screen : {"100x100x16", "100x100x30"}) {
        const support::XServer server(screen);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(OpenSession());
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Zorvel needs a screen with 8 bits for each of red, green and blue in pixels of 32 bits.\n");
    }
}

TEST(LinuxSession, WithoutADisplayThereIsNoSession) {
    setenv("DISPLAY", ":4242", 1);
    EXPECT_FALSE(OpenSession());
    unsetenv("DISPLAY");
    EXPECT_FALSE(OpenSession());
}

TEST_F(LinuxWindow, TheServerKnowsTitleClassAndProcess) {
    Open();
    const xcb_window_t id = other_->Find("Zorvel test");
    ASSERT_NE(id, xcb_window_t{XCB_WINDOW_NONE});
    EXPECT_EQ(other_->Property(id, "WM_NAME"), "Zorvel test");
    EXPECT_EQ(other_->Property(id, "WM_CLASS"), std::string("zorvel\0Zorvel\0", 14));
    std::uint32_t processId = 0;
    ASSERT_EQ(other_->Property(id, "_NET_WM_PID").copy(reinterpret_cast<char*>(&processId), 4), 4U);
    EXPECT_EQ(processId, static_cast<std::uint32_t>(getpid()));
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(other_->Get(), xcb_get_geometry(other_->Get(), id), nullptr));
    EXPECT_EQ(geometry->width, 320);
    EXPECT_EQ(geometry->height, 200);
}

TEST_F(LinuxWindow, IsShownAndHiddenOnTheServer) {
    Open();
    const xcb_window_t id = other_->Find("Zorvel test");
    EXPECT_TRUE(other_->IsMapped(id));
    EXPECT_TRUE(IsWindowShown(*window_));
    HideWindow(*window_);
    EXPECT_FALSE(IsWindowShown(*window_));
    EXPECT_TRUE(RunUntil([&] { return !other_->IsMapped(id); }));
    ShowWindowPlain(*window_);
    EXPECT_TRUE(IsWindowShown(*window_));
    EXPECT_TRUE(RunUntil([&] { return other_->IsMapped(id); }));
}

TEST_F(LinuxWindow, IsHiddenInsteadOfMinimizedWithoutAWindowManager) {
    Open();
    MinimizeWindow(*window_);
    EXPECT_FALSE(IsWindowShown(*window_));
    EXPECT_TRUE(RunUntil([&] { return !other_->IsMapped(other_->Find("Zorvel test")); }));
}

TEST_F(LinuxWindow, FlushWaitsForTheServer) {
    Open();
    const xcb_window_t id = other_->Find("Zorvel test");
    ASSERT_TRUE(RunUntil([&] { return other_->IsMapped(id); }));
    // While another client has grabbed the server, no other client's requests are executed.
    xcb_grab_server(other_->Get());
    other_->Sync();
    HideWindow(*window_);
    std::atomic<bool> released = false;
    std::thread holder([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_TRUE(other_->IsMapped(id));
        released = true;
        xcb_ungrab_server(other_->Get());
        other_->Sync();
    });
    FlushScreen();
    EXPECT_TRUE(released);
    holder.join();
    EXPECT_FALSE(other_->IsMapped(id));
}

TEST_F(LinuxWindow, FlushReturnsIfTheServerIsDead) {
    Open();
    display_.Server().Send(SIGKILL);
    display_.Server().WaitExit();
    FlushScreen();
}

TEST_F(LinuxWindow, ReceivesCreateAndOneDestroy) {
    Open();
    std::erase(received, Received{message::paint, 0});
    const std::vector<Received> made = {{message::getMinMaxInfo, 0}, {message::create, 0}, {message::showWindow, 1}};
    EXPECT_EQ(received, made);
    received.clear();
    DefaultProcedure(*window_, message::close, 0, 0);
    DefaultProcedure(*window_, message::close, 0, 0);
    window_.reset();
    EXPECT_EQ(received, (std::vector<Received>{{message::destroy, 0}}));
    EXPECT_TRUE(support::Eventually([&] { return other_->Find("Zorvel test") == XCB_WINDOW_NONE; }));
}

TEST_F(LinuxWindow, AnExceptionOfAProcedureLeavesTheLoopRunning) {
    beforehand = [](AppWindow&, std::uint32_t) { throw std::bad_alloc(); };
    Open();
    const xcb_window_t id = other_->Find("Zorvel test");
    EXPECT_TRUE(RunUntil([&] { return other_->IsMapped(id) && CountOf(message::paint) > 0; }));
    other_->CloseByBox(id);
    EXPECT_TRUE(RunUntil([] { return CountOf(message::close) == 1; }));
    EXPECT_EQ(CountOf(message::destroy), 0) << "no window closes for want of an answer";
    EXPECT_NE(other_->Find("Zorvel test"), xcb_window_t{XCB_WINDOW_NONE});
    window_.reset();
    EXPECT_EQ(CountOf(message::destroy), 1);
    EXPECT_TRUE(support::Eventually([&] { return other_->Find("Zorvel test") == XCB_WINDOW_NONE; }));
}

TEST_F(LinuxWindow, AProcedureMayThrowAfterItHasDestroyedItsWindow) {
    Open();
    const auto other = MakeWindow([] {
        WindowOptions options;
        options.className = u"ZVOther";
        options.procedure = Record;
        options.width = 10;
        options.height = 10;
        return options;
    }());
    beforehand = [this](AppWindow& window, std::uint32_t code) {
        if (code == message::close && &window == window_.get()) {
            window_.reset();
            throw std::runtime_error("of another kind");
        }
    };
    other_->CloseByBox(other_->Find("Zorvel test"));
    EXPECT_TRUE(support::RunUntil(*other, [this] { return window_ == nullptr; }));
}

TEST_F(LinuxWindow, LosesEventsButNotTheLoopWithoutMemory) {
    Open();
    const xcb_window_t id = other_->Find("Zorvel test");
    ASSERT_TRUE(RunUntil([&] { return other_->IsMapped(id); }));
    handleClose = true;
    received.clear();
    received.reserve(1000);
    constexpr int sent = 40;  // more than the queue has preallocated
    bool refused = false;
    EXPECT_TRUE(RunUntil([&] {
        if (std::exchange(refused, true)) {
            fake::RefuseAllocationsHereFrom(0);
            return true;
        }
        for (int i = 0; i < sent; ++i) {
            other_->CloseByBox(id);
        }
        fake::RefuseAllocationsHereFrom(1);
        return false;
    }));
    const long heard = CountOf(message::close);
    EXPECT_LT(heard, sent);
    other_->CloseByBox(id);
    EXPECT_TRUE(RunUntil([&] { return CountOf(message::close) > heard; }));
}

TEST_F(LinuxWindow, TheCloseBoxSendsAMessage) {
    Open();
    handleClose = true;
    other_->CloseByBox(other_->Find("Zorvel test"));
    EXPECT_TRUE(RunUntil([] { return CountOf(message::close) == 1; }));
    EXPECT_EQ(CountOf(message::destroy), 0);
    EXPECT_NE(other_->Find("Zorvel test"), xcb_window_t{XCB_WINDOW_NONE});
}

TEST_F(LinuxWindow, ReceivesDestroyWhenAnotherClientDestroysIt) {
    Open();
    const xcb_window_t id = other_->Find("Zorvel test");
    WindowOptions options;
    options.title = u"second";
    options.procedure = Record;
    options.width = options.height = 10;
    const Owned<AppWindow> second = MakeWindow(options);
    xcb_destroy_window(other_->Get(), other_->Find("second"));
    other_->Sync();
    EXPECT_TRUE(RunUntil([] { return CountOf(message::destroy) == 1; }));
    EXPECT_NE(id, xcb_window_t{XCB_WINDOW_NONE});
}

TEST_F(LinuxWindow, AGlobalKeyArrivesWithAnyLocks) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    long presses = 0;
    const xcb_keycode_t lockKeys[] = {noKey, other_->CodeOf(XK_Caps_Lock), other_->CodeOf(XK_Num_Lock),
                                      other_->CodeOf(XK_Caps_Lock)};  // none, Caps, both, Num
    for (const xcb_keycode_t lock : lockKeys) {
        if (lock != noKey) {
            other_->Tap(lock);
        }
        other_->TapWith(XK_Alt_L, other_->CodeOf(XK_x));
        EXPECT_TRUE(RunUntilHotKeys(++presses, 1)) << "after toggling key " << int{lock};
        EXPECT_EQ(CountOf(message::hotKey, 1), presses);
    }
}

TEST_F(LinuxWindow, OtherModifiersMakeAnotherGlobalKey) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    ASSERT_TRUE(RegisterGlobalKey(*window_, 2, keyModifier::control | alt | once, virtualX));
    ASSERT_TRUE(RegisterGlobalKey(*window_, 3, keyModifier::shift | once, virtualX));
    const xcb_keycode_t x = other_->CodeOf(XK_x);
    other_->Tap(x);
    other_->TapWith(XK_Control_L, x);
    other_->TapWith(XK_Shift_L, x);
    other_->Press(other_->CodeOf(XK_Control_L));
    other_->TapWith(XK_Alt_L, x);
    other_->Release(other_->CodeOf(XK_Control_L));
    EXPECT_TRUE(RunUntilHotKeys(1, 2));
    EXPECT_EQ(CountOf(message::hotKey, 1), 0);
    EXPECT_EQ(CountOf(message::hotKey, 2), 1);
    EXPECT_EQ(CountOf(message::hotKey, 3), 1);
}

TEST_F(LinuxWindow, EveryLetterDigitAndFunctionKeyCanBeRegistered) {
    Open();
    std::vector<std::uint32_t> keys;
    for (std::uint32_t key = 48; key <= 57; ++key) {
        keys.push_back(key);
    }
    for (std::uint32_t key = 65; key <= 90; ++key) {
        keys.push_back(key);
    }
    for (std::uint32_t key = 112; key <= 123; ++key) {  // a keyboard of this layout has F1 to F12 plain
        keys.push_back(key);
    }
    int id = 100;
    for (const std::uint32_t key : keys) {
        EXPECT_TRUE(RegisterGlobalKey(*window_, id++, alt | once, key)) << key;
    }
    const struct {
        xcb_keysym_t symbol;
        std::uintptr_t id;
    } rows[] = {{XK_0, 100}, {XK_9, 109}, {XK_a, 110}, {XK_z, 135}, {XK_F1, 136}, {XK_F12, 147}};
    for (const auto& row : rows) {
        other_->TapWith(XK_Alt_L, other_->CodeOf(row.symbol));
        EXPECT_TRUE(RunUntilHotKeys(1, row.id)) << row.id;
    }
    EXPECT_FALSE(RegisterGlobalKey(*window_, 999, alt | once, 47));  // no such key
}

/// A key of a PC keyboard, and what Windows calls it in a layout.
struct LayoutKey {
    xcb_keycode_t code;
    std::uint32_t virtualKey;
};

struct Layout {
    const char* name;
    std::vector<LayoutKey> keys;
};

class KeyboardLayouts : public LinuxWindow, public testing::WithParamInterface<Layout> {};

TEST_P(KeyboardLayouts, KeysHaveTheirCodesInEveryGroup) {
    // Caps Lock selects the next group.
    support::OutputOf(
        {"setxkbmap", "-display", display_.Name(), "-layout", GetParam().name, "-option", "grp:caps_toggle"});
    Open();
    int id = 100;
    for (std::uint32_t key = 48; key <= 90; key = key == 57 ? 65 : key + 1) {
        EXPECT_TRUE(RegisterGlobalKey(*window_, id++, alt | once, key)) << "virtual key " << key;
    }
    other_->SetFocus(other_->Find("Zorvel test"));
    long presses = 0;
    for (int group = 0; group < 2; ++group) {
        ++presses;
        for (const LayoutKey& key : GetParam().keys) {
            other_->Tap(key.code);
            EXPECT_TRUE(RunUntil([&] { return CountOf(message::keyDown, key.virtualKey) == presses; }))
                << "key " << int{key.code} << " in group " << group;
            other_->TapWith(XK_Alt_L, key.code);
            const std::uintptr_t hotKey = key.virtualKey <= 57 ? key.virtualKey + 52 : key.virtualKey + 45;
            EXPECT_TRUE(RunUntilHotKeys(presses, hotKey)) << "key " << int{key.code} << " in group " << group;
        }
        other_->Tap(other_->CodeOf(XK_ISO_Next_Group));
    }
}

const Layout layouts[] = {
    {"us,ru", {{38, 'A'}, {53, 'X'}, {29, 'Y'}, {10, '1'}}},
    {"ru,us", {{38, 'A'}, {39, 'S'}, {53, 'X'}, {27, 'R'}, {19, '0'}}},
    {"ru", {{24, 'Q'}, {39, 'S'}, {53, 'X'}, {58, 'M'}, {10, '1'}}},
    {"ru,fr", {{24, 'A'}, {38, 'Q'}, {47, 'M'}, {10, '1'}}},
    {"gr", {{24, 'Q'}, {38, 'A'}, {53, 'X'}}},
    {"il", {{24, 'Q'}, {39, 'S'}, {53, 'X'}}},
    {"de", {{29, 'Z'}, {52, 'Y'}, {39, 'S'}, {53, 'X'}}},
    {"fr", {{24, 'A'}, {38, 'Q'}, {25, 'Z'}, {47, 'M'}, {10, '1'}, {19, '0'}}},
};
INSTANTIATE_TEST_SUITE_P(Layouts, KeyboardLayouts, testing::ValuesIn(layouts), [](const auto& layout) {
    std::string name = layout.param.name;
    std::replace(name.begin(), name.end(), ',', '_');
    return name;
});

TEST_F(LinuxWindow, RegisteringAKeyThatAnotherClientHasGrabbedFails) {
    Open();
    const xcb_keycode_t x = other_->CodeOf(XK_x);
    const std::uint16_t masks[] = {XCB_MOD_MASK_1, XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK, XCB_MOD_MASK_1 | XCB_MOD_MASK_2,
                                   XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
    for (const std::uint16_t mask : masks) {
        ASSERT_TRUE(other_->GrabKey(x, mask));
        EXPECT_FALSE(RegisterGlobalKey(*window_, 1, alt | once, virtualX)) << mask;
        other_->UngrabKey(x, mask);
        // The failed attempt leaves no grab.
        for (const std::uint16_t each : masks) {
            EXPECT_TRUE(support::Eventually([&] { return other_->GrabKey(x, each); })) << mask << " " << each;
            other_->UngrabKey(x, each);
        }
    }
    EXPECT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
}

TEST_F(LinuxWindow, ARegisteredKeyIsGrabbedUntilItIsUnregistered) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    EXPECT_FALSE(RegisterGlobalKey(*window_, 2, alt | once, virtualX));
    EXPECT_FALSE(other_->GrabKey(other_->CodeOf(XK_x), XCB_MOD_MASK_1));
    UnregisterGlobalKey(*window_, 1);
    EXPECT_TRUE(RunUntil([&] { return other_->GrabKey(other_->CodeOf(XK_x), XCB_MOD_MASK_1); }));
}

TEST_F(LinuxWindow, AHeldKeySendsOneMessageUntilItIsPressedAgain) {
    Open();
    const xcb_keycode_t f10 = other_->CodeOf(XK_F10);
    const xcb_keycode_t x = other_->CodeOf(XK_x);
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    ASSERT_TRUE(RegisterGlobalKey(*window_, 2, alt, virtualF10));
    other_->Press(other_->CodeOf(XK_Alt_L));
    other_->Press(f10);  // shows that the server repeats keys
    EXPECT_TRUE(RunUntilHotKeys(4, 2));
    other_->Release(f10);
    other_->Press(x);
    const Clock::time_point held = Clock::now() + std::chrono::milliseconds(1500);
    EXPECT_TRUE(RunUntil([&] { return Clock::now() > held; }));
    EXPECT_EQ(CountOf(message::hotKey, 1), 1);
    other_->Release(x);
    other_->Tap(x);
    EXPECT_TRUE(RunUntilHotKeys(2, 1));
    other_->Release(other_->CodeOf(XK_Alt_L));
    ASSERT_EQ(CountOf(message::hotKey, 1), 2);
}

TEST_F(LinuxWindow, KeysAreGrabbedAgainAfterAChangeOfTheMapping) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    const xcb_keycode_t oldCode = other_->CodeOf(XK_x);
    const xcb_keycode_t newCode = other_->CodeOf(XK_q);
    const xcb_keysym_t x[] = {XK_x, XK_X};
    const xcb_keysym_t q[] = {XK_q, XK_Q};
    xcb_change_keyboard_mapping(other_->Get(), 1, newCode, 2, x);
    xcb_change_keyboard_mapping(other_->Get(), 1, oldCode, 2, q);
    other_->Sync();
    // The old key is released once the change is applied.
    EXPECT_TRUE(RunUntil([&] {
        const bool isFree = other_->GrabKey(oldCode, XCB_MOD_MASK_1);
        other_->UngrabKey(oldCode, XCB_MOD_MASK_1);
        return isFree;
    }));
    other_->TapWith(XK_Alt_L, oldCode);
    other_->TapWith(XK_Alt_L, newCode);
    EXPECT_TRUE(RunUntilHotKeys(1, 1));
    ExpectNoMoreHotKeys(1, 1);
}

TEST_F(LinuxWindow, AKeyThatAChangeOfTheMappingLosesIsReportedUntilItIsReservedAgain) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    ASSERT_TRUE(RegisterGlobalKey(*window_, 2, alt | once, virtualF10));
    const xcb_keycode_t oldCode = other_->CodeOf(XK_x);
    const xcb_keycode_t newCode = other_->CodeOf(XK_q);
    ASSERT_TRUE(other_->GrabKey(newCode, XCB_MOD_MASK_1));
    const xcb_keysym_t x[] = {XK_x, XK_X};
    const xcb_keysym_t q[] = {XK_q, XK_Q};
    const auto map = [&](xcb_keycode_t code, const xcb_keysym_t* symbols) {
        xcb_change_keyboard_mapping(other_->Get(), 1, code, 2, symbols);
        other_->Sync();
    };
    map(newCode, x);
    map(oldCode, q);
    ASSERT_TRUE(RunUntil([] { return CountOf(message::globalKeyChanged, 1) == 1; }));
    EXPECT_EQ(reservations.back(), 0);
    // A second change that leaves it lost is not reported.
    const xcb_keycode_t far = other_->CodeOf(XK_F9);
    const xcb_keysym_t f8[] = {XK_F8, XK_F8};
    map(far, f8);
    int ticks = 0;
    EXPECT_TRUE(RunUntil([&] { return ++ticks == 3; }));
    EXPECT_EQ(reservations.size(), 1U);
    other_->UngrabKey(newCode, XCB_MOD_MASK_1);
    const xcb_keysym_t f9[] = {XK_F9, XK_F9};
    map(far, f9);
    EXPECT_TRUE(RunUntil([] { return reservations == std::vector<std::intptr_t>{0, 1}; }));
    other_->TapWith(XK_Alt_L, newCode);
    EXPECT_TRUE(RunUntilHotKeys(1, 1));
    EXPECT_EQ(CountOf(message::globalKeyChanged, 2), 0);
}

// A server reports a new mapping whenever another keyboard is used.
TEST_F(LinuxWindow, AnUnchangedKeyStaysGrabbedDuringAChangeOfTheMapping) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    std::atomic<int> gaps = 0;
    std::atomic<bool> done = false;
    std::thread rival([&] {
        const OtherClient other(display_.Name());
        const xcb_keycode_t x = other.CodeOf(XK_x);
        const xcb_keycode_t far = other.CodeOf(XK_F9);
        for (int i = 0; i < 300; ++i) {
            const xcb_keysym_t symbol = i % 2 == 0 ? XK_F9 : XK_F8;
            xcb_change_keyboard_mapping(other.Get(), 1, far, 1, &symbol);
            for (int tries = 0; tries < 5; ++tries) {
                gaps += other.GrabKey(x, XCB_MOD_MASK_1) ? 1 : 0;
                other.UngrabKey(x, XCB_MOD_MASK_1);
            }
        }
        done = true;
    });
    EXPECT_TRUE(RunUntil([&] { return done.load(); }));
    rival.join();
    EXPECT_EQ(gaps, 0) << "the key was free for another program";
    other_->TapWith(XK_Alt_L, other_->CodeOf(XK_x));
    EXPECT_TRUE(RunUntilHotKeys(1, 1));
}

TEST_F(LinuxWindow, TimersTickAtTheirPeriods) {
    Open();
    const Clock::time_point start = Clock::now();
    StartTimer(*window_, 43, 16);
    StartTimer(*window_, 42, 500);
    EXPECT_TRUE(RunUntil([] { return CountOf(message::timer, 42) == 2; }));
    const double elapsedMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    EXPECT_GE(elapsedMs, 1000);
    const long fast = CountOf(message::timer, 43);
    EXPECT_GE(fast, 5);  // 62 on an idle machine
    EXPECT_LE(static_cast<double>(fast), elapsedMs / 16 + 1);
}

TEST_F(LinuxWindow, AStoppedTimerDoesNotTickAndARestartedOneStartsANewPeriod) {
    Open();
    StartTimer(*window_, 1, 10);
    StartTimer(*window_, 2, 10);
    EXPECT_TRUE(RunUntil([] { return CountOf(message::timer, 1) >= 3; }));
    StopTimer(*window_, 1);
    StartTimer(*window_, 2, 60'000);
    received.clear();
    StartTimer(*window_, 3, 50);
    EXPECT_TRUE(RunUntil([] { return CountOf(message::timer, 3) == 4; }));
    EXPECT_EQ(CountOf(message::timer, 1), 0);
    EXPECT_EQ(CountOf(message::timer, 2), 0);
}

std::intptr_t QuitOnTimer(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == message::timer) {
        PostQuit(5);
        return 0;
    }
    return DefaultProcedure(window, code, wParam, lParam);
}

TEST_F(LinuxWindow, TheLoopSleepsWhileNothingIsDue) {
    ASSERT_TRUE(OpenSession());
    WindowOptions options;
    options.procedure = QuitOnTimer;
    options.width = options.height = 10;
    const Owned<AppWindow> window = MakeWindow(options);
    StartTimer(*window, 1, 1000);
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    EXPECT_EQ(RunMessageLoop(), 5);
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 10);
    const auto busyUs = [](const rusage& usage) { return usage.ru_utime.tv_sec * 1'000'000 + usage.ru_utime.tv_usec; };
    EXPECT_LE(busyUs(after) - busyUs(before), 200'000);
}

void RequestEnd() {
    ++endRequests;
    PostQuit(3);
}

TEST_F(LinuxWindow, EverySessionEndSignalRequestsTheEnd) {
    Open();
    SetEndRequest(RequestEnd);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        kill(getpid(), signal);
        EXPECT_EQ(RunMessageLoop(), 3);
    }
    EXPECT_EQ(endRequests, 3);
    SetEndRequest(nullptr);
    kill(getpid(), SIGTERM);
    EXPECT_EQ(RunMessageLoop(), 0);
}

TEST_F(LinuxWindow, TheDeathOfTheServerRequestsTheEndOnce) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    SetEndRequest(RequestEnd);
    StartTimer(*window_, 42, 60'000);
    display_.Server().Send(SIGKILL);
    EXPECT_EQ(RunMessageLoop(), 3);
    EXPECT_EQ(endRequests, 1);
    // All functions can still be called, so that the program shuts down as usual.
    HideWindow(*window_);
    UnregisterGlobalKey(*window_, 1);
    EXPECT_FALSE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    DefaultProcedure(*window_, message::close, 0, 0);
    EXPECT_EQ(CountOf(message::destroy), 1);
}

TEST_F(LinuxWindow, TheDeathOfTheServerEndsTheLoopWithoutAnEndRequest) {
    Open();
    SetEndRequest([] { ++endRequests; });
    display_.Server().Send(SIGKILL);
    EXPECT_EQ(RunMessageLoop(), 1);
    EXPECT_EQ(endRequests, 1);
}

TEST_F(LinuxWindow, QueuedMessagesAreDispatchedBeforeTheEnd) {
    Open();
    ASSERT_TRUE(RegisterGlobalKey(*window_, 1, alt | once, virtualX));
    ASSERT_TRUE(RegisterGlobalKey(*window_, 2, alt | once, virtualF10));
    SetEndRequest(nullptr);
    PostQuit(9);
    EXPECT_EQ(RunMessageLoop(), 9);
    StartTimer(*window_, 42, 60'000);
    other_->TapWith(XK_Alt_L, other_->CodeOf(XK_x));
    EXPECT_TRUE(RunUntilHotKeys(1, 1));
}

TEST_F(LinuxWindow, OneScreenChangeSendsOneMessage) {
    Open();
    other_->ShrinkScreen();
    EXPECT_TRUE(RunUntil([] { return CountOf(message::displayChange) == 1; }));
    const Clock::time_point later = Clock::now() + std::chrono::milliseconds(600);
    EXPECT_TRUE(RunUntil([&] { return Clock::now() > later; }));
    EXPECT_EQ(CountOf(message::displayChange), 1);
}

/// A first copy in its own process. It writes a byte when it is ready, then runs its loop until it is killed.
class FirstCopy {
public:
    explicit FirstCopy(bool withWindow) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        pid_ = fork();
        if (pid_ == 0) {
            Serve(withWindow, ends[1]);
        }
        close(ends[1]);
        char ready = 0;
        EXPECT_EQ(read(ends[0], &ready, 1), 1);
        EXPECT_EQ(ready, 'y');
        close(ends[0]);
    }
    ~FirstCopy() { Kill(); }
    void Kill() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

private:
    [[noreturn]] static void Serve(bool withWindow, int ready) {
        const bool opened = OpenSession();
        const Owned<InstanceClaim> claim = opened ? ClaimSingleInstance(u"Local\\Test") : nullptr;
        WindowOptions options;
        options.className = u"ZVTestWindow";
        options.title = u"first copy";
        options.procedure = DefaultProcedure;
        options.width = options.height = 100;
        const Owned<AppWindow> window = opened && withWindow ? MakeWindow(options) : nullptr;
        const bool stands = claim && (window != nullptr) == withWindow;
        [[maybe_unused]] const ssize_t written = write(ready, stands ? "y" : "n", 1);
        RunMessageLoop();
        _exit(0);
    }
    pid_t pid_ = -1;
};

TEST_F(LinuxWindow, ASecondCopyShowsTheHiddenWindowOfTheFirst) {
    FirstCopy first(true);
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(ClaimSingleInstance(u"Local\\Test"), nullptr);
    EXPECT_NE(ClaimSingleInstance(u"Local\\Another"), nullptr);
    const OtherClient other(display_.Name());
    const xcb_window_t window = other.Find("first copy");
    EXPECT_FALSE(other.IsMapped(window));
    EXPECT_TRUE(BringOtherCopyForward(u"ZVTestWindow"));
    EXPECT_TRUE(support::Eventually([&] { return other.IsMapped(window); }));
    EXPECT_FALSE(BringOtherCopyForward(u"ZVTest"));
    // The claim ends with the first copy, however it ends.
    first.Kill();
    EXPECT_TRUE(support::Eventually([] { return ClaimSingleInstance(u"Local\\Test") != nullptr; }));
}

TEST_F(LinuxWindow, BringingForwardFailsIfTheFirstCopyHasNoWindow) {
    const FirstCopy first(false);
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(ClaimSingleInstance(u"Local\\Test"), nullptr);
    EXPECT_FALSE(BringOtherCopyForward(u"ZVTestWindow"));
}

TEST_F(LinuxWindow, ASecondCopyRaisesTheCoveredWindowOfTheFirst) {
    FirstCopy first(true);
    Open();
    const auto top = [&] { return other_->TopLevels().back(); };
    const auto isFirstCopy = [&](xcb_window_t window) {
        return other_->Property(window, "_NET_WM_NAME") == "first copy";
    };
    const xcb_window_t cover = xcb_generate_id(other_->Get());
    xcb_create_window(other_->Get(), XCB_COPY_FROM_PARENT, cover, other_->Root(), 0, 0, 800, 600, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(other_->Get(), cover);
    other_->Sync();
    ASSERT_FALSE(isFirstCopy(top()));
    xcb_destroy_window(other_->Get(), other_->Find("Zorvel test"));  // now only the first copy has the class
    other_->Sync();
    EXPECT_TRUE(BringOtherCopyForward(u"ZVTestWindow"));
    EXPECT_TRUE(support::Eventually([&] { return isFirstCopy(top()); }));
}

class InformationBox : public testing::Test {
protected:
    InformationBox() : path_(getenv("PATH")) { setenv("PATH", folder_.Path().c_str(), 1); }
    ~InformationBox() override {
        setenv("PATH", path_.c_str(), 1);
        Close();
    }
    /// Installs a program that writes its arguments into a file and runs until Close.
    void Install(const std::string& name) {
        const auto script = folder_.Path() / name;
        support::WriteBytes(script, "#!/bin/sh\ncd '" + folder_.Path().string() +
                                        "'\nfor a in \"$@\"; do echo \"$a\"; done >>" + name +
                                        ".seen\nwhile [ ! -e close ]; do /bin/sleep 0.01; done\n");
        chmod(script.c_str(), 0700);
    }
    bool HasSeen(const std::string& name, const std::string& arguments) const {
        return support::Eventually([&] { return support::ReadBytes(folder_.Path() / (name + ".seen")) == arguments; });
    }
    /// Ends the programs and waits until they are reaped.
    void Close() {
        support::WriteBytes(folder_.Path() / "close", "");
        EXPECT_TRUE(support::Eventually([] { return waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) < 0; }));
        std::filesystem::remove(folder_.Path() / "close");
    }

    support::TemporaryFolder folder_;
    std::string path_;
};

TEST_F(InformationBox, UsesTheDesktopsProgramOnceAtATime) {
    Install("zenity");
    Install("xmessage");
    const std::string seen = "--info\n--no-markup\n--title=Zorvel\n--text=Text with <signs> & \xC3\xA4\n";
    for (int i = 0; i < 3; ++i) {
        ShowInformation(u"Text with <signs> & \u00E4", u"Zorvel");
    }
    EXPECT_TRUE(HasSeen("zenity", seen));
    Close();
    EXPECT_EQ(support::ReadBytes(folder_.Path() / "zenity.seen"), seen);
    ShowInformation(u"Text with <signs> & \u00E4", u"Zorvel");
    EXPECT_TRUE(HasSeen("zenity", seen + seen));
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "xmessage.seen"));
}

TEST_F(InformationBox, UsesThePlainProgramIfTheDesktopHasNone) {
    Install("xmessage");
    ShowInformation(u"Text", u"Zorvel");
    EXPECT_TRUE(HasSeen("xmessage", "-center\n-title\nZorvel\nText\n"));
}

TEST_F(InformationBox, WritesALineToStandardErrorIfThereIsNoProgram) {
    testing::internal::CaptureStderr();
    ShowInformation(u"Text", u"Zorvel");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Zorvel: Text\n");
}

}  // namespace
}  // namespace zv
