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

std::intptr_t Record(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    received.push_back({code, wParam});
    if (code == message::timer && wParam == watchdogId) {
        PostQuit(-1);
    } else if (onMessage) {
        onMessage(received.back());
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

    /// Runs the loop until somebody quits; a test that waits in vain ends with the code -1.
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

TEST_F(Window, TheProcedureSeesItsWindowMadeAndDestroyed) {
    Owned<AppWindow> window = Make();
    ASSERT_TRUE(window);
    EXPECT_EQ(CountOf(message::create), 1);
    EXPECT_EQ(CountOf(message::destroy), 0);
    window.reset();
    EXPECT_EQ(CountOf(message::destroy), 1);
    EXPECT_EQ(Native(), nullptr);
}

TEST_F(Window, CarriesItsTitleAndSizeAndIsShownAsAsked) {
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

TEST_F(Window, IsMadeHiddenWhenAskedSo) {
    const Owned<AppWindow> window = Make();
    EXPECT_FALSE(IsWindowShown(*window));
}

TEST_F(Window, TheLoopAnswersTheCodeThatWasPostedAfterWhatWasQueuedBefore) {
    const Owned<AppWindow> window = Make();
    PostMessageW(Native(), message::null, 7, 0);
    PostQuit(5);
    EXPECT_EQ(RunMessageLoop(), 5);
    EXPECT_EQ(CountOf(message::null, 7), 1);
}

TEST_F(Window, ATimerFiresAgainAndAgainUntilItIsStopped) {
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

TEST_F(Window, ACloseThatNobodyHandlesDestroysTheWindow) {
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

TEST_F(Window, AGlobalKeyThatIsGivenBackIsSilent) {
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

TEST_F(Window, AKeyThatIsTakenIsRefusedUntilItIsGivenBack) {
    const Owned<AppWindow> window = Make();
    const std::uint32_t modifiers = keyModifier::control | keyModifier::shift | keyModifier::noRepeat;
    ASSERT_TRUE(RegisterGlobalKey(*window, 4, modifiers, VK_F9));
    EXPECT_FALSE(RegisterGlobalKey(*window, 90, modifiers, VK_F9));
    UnregisterGlobalKey(*window, 4);
    EXPECT_TRUE(RegisterGlobalKey(*window, 90, modifiers, VK_F9));
    UnregisterGlobalKey(*window, 90);
}

int endRequests = 0;

TEST_F(Window, TheEndOfTheSessionAsksTheProgramToEnd) {
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
