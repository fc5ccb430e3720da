#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <string>

#include "core/Utf8.h"
#include "platform/Foreground.h"
#include "platform/linux/x11/WindowOwner.h"
#include "platform/linux/x11/XDisplay.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace zv {
namespace {

using support::ContentOf;
using support::Eventually;
using support::XServer;

class LinuxForeground : public testing::Test {
protected:
    struct Other {
        Child child;
        xcb_window_t window = 0;
        std::uint32_t process = 0;
    };

    /// Another program with a focused window; `name` is its executable.
    Other StartOther(const Text& name, const Text& arguments) {
        Other other;
        const std::filesystem::path log = folder_.Path() / ("log" + std::to_string(++count_));
        const Text program = JoinPath(ExecutableFolder(), u"x_window_child");
        EXPECT_TRUE(SpawnChild({program, u"\"" + name + u"\" " + arguments, FromPath(log)}, other.child));
        EXPECT_TRUE(Eventually([&] { return std::count(std::begin(Log(log)), std::end(Log(log)), '\n') == 2; }));
        const std::string content = Log(log);
        other.window = static_cast<xcb_window_t>(std::stoul(content));
        other.process = static_cast<std::uint32_t>(std::stoul(content.substr(content.find('\n') + 1)));
        return other;
    }

    const std::string& Log(const std::filesystem::path& path) {
        log_ = ContentOf(path);
        return log_;
    }

    /// Sets the active window as a window manager does.
    static void SetActive(xcb_window_t window) {
        const std::optional<XDisplay> display = ThreadDisplay();
        const std::string name = "_NET_ACTIVE_WINDOW";
        const auto cookie =
            xcb_intern_atom(display->connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
        const auto atom = Adopt(xcb_intern_atom_reply(display->connection, cookie, nullptr));
        xcb_change_property(display->connection, XCB_PROP_MODE_REPLACE, display->root, atom->atom, XCB_ATOM_WINDOW, 32,
                            1, &window);
        xcb_flush(display->connection);
    }

    static xcb_window_t MakeOwnWindow() {
        const std::optional<XDisplay> display = ThreadDisplay();
        const xcb_window_t window = xcb_generate_id(display->connection);
        xcb_create_window(display->connection, XCB_COPY_FROM_PARENT, window, display->root, 0, 0, 10, 10, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_flush(display->connection);
        return window;
    }

    support::TemporaryFolder folder_;
    std::string log_;
    int count_ = 0;
    XServer server_{"640x480x24"};
};

TEST_F(LinuxForeground, NothingIsInFrontOnAnEmptyDesktop) {
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::NoWindow);
    SetActive(0);
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::NoWindow);
}

TEST_F(LinuxForeground, IsTheFocusedWindowWithoutAWindowManager) {
    const Other other = StartOther(u"x_window_child", u"");
    const ForegroundProcess front = LookUpForeground();
    EXPECT_EQ(front.kind, ForegroundKind::Known);
    EXPECT_EQ(front.processId, other.process);
    EXPECT_EQ(front.imagePath, JoinPath(ExecutableFolder(), u"x_window_child"));
}

TEST_F(LinuxForeground, IsTheActiveWindowWhateverHasTheFocus) {
    const Other first = StartOther(u"first", u"");
    const Other second = StartOther(u"second", u"");
    SetActive(first.window);
    EXPECT_EQ(LookUpForeground().processId, first.process);
    SetActive(second.window);
    EXPECT_EQ(LookUpForeground().processId, second.process);
    SetActive(0);
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::NoWindow);
}

TEST_F(LinuxForeground, RecognizesThisProgramsWindows) {
    SetActive(MakeOwnWindow());
    const ForegroundProcess front = LookUpForeground();
    EXPECT_EQ(front.kind, ForegroundKind::Own);
    EXPECT_EQ(front.processId, OwnProcessId());
}

TEST_F(LinuxForeground, IsTheExeOfAWindowsGameUnderACompatibilityLayer) {
    const std::pair<Text, Text> rows[] = {
        {u"Z:\\home\\zoe\\Games\\My Game\\Game-Win64-Shipping.exe",
         u"Z:/home/zoe/Games/My Game/Game-Win64-Shipping.exe"},
        {u"C:\\GAME.EXE", u"C:/GAME.EXE"},
        {u"/home/zoe/Games/cs2.exe", u"/home/zoe/Games/cs2.exe"},
    };
    for (const auto& [name, image] : rows) {
        const Other other = StartOther(name, u"");
        SetActive(other.window);
        const ForegroundProcess front = LookUpForeground();
        EXPECT_EQ(front.kind, ForegroundKind::Known);
        EXPECT_EQ(front.imagePath, image);
    }
}

TEST_F(LinuxForeground, IgnoresAProgramsOwnNameUnlessItEndsInExe) {
    for (const Text& name : {Text(u"game.exe.sh"), Text(u"exe"), Text(u"gameexe")}) {
        const Other other = StartOther(name, u"");
        SetActive(other.window);
        EXPECT_EQ(LookUpForeground().imagePath, JoinPath(ExecutableFolder(), u"x_window_child"));
    }
}

TEST_F(LinuxForeground, PrefersTheServersProcessIdToTheWindowsProperty) {
    const Other other = StartOther(u"x_window_child", u"claim 1");
    EXPECT_EQ(LookUpForeground().processId, other.process);
}

TEST_F(LinuxForeground, UsesTheWindowsPropertyIfTheServerHasNoProcessId) {
    const XServer plain("640x480x24 -extension X-Resource");
    const Other claiming = StartOther(u"x_window_child", u"claim " + FromUtf8(std::to_string(OwnProcessId())));
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::Own);
    const Other silent = StartOther(u"x_window_child", u"");
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::Unknown);
    EXPECT_EQ(LookUpForeground().processId, 0U);
}

TEST_F(LinuxForeground, ADestroyedWindowIsUnknown) {
    Other other = StartOther(u"x_window_child", u"");
    SetActive(other.window);
    other.child.job.reset();
    ASSERT_TRUE(WaitForExit(*other.child.process, 60000));
    EXPECT_TRUE(Eventually([] { return LookUpForeground().kind == ForegroundKind::Unknown; }));
}

TEST_F(LinuxForeground, ReconnectsAfterTheServersDeathOnLookUp) {
    SetActive(MakeOwnWindow());
    ASSERT_EQ(LookUpForeground().kind, ForegroundKind::Own);
    server_.Kill();
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::NoWindow);
    EXPECT_EQ(LookUpForeground().kind, ForegroundKind::NoWindow);
}

}  // namespace
}  // namespace zv
