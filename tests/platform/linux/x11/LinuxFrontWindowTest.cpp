#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <string>

#include "core/Utf8.h"
#include "platform/FrontWindow.h"
#include "platform/linux/x11/XDisplay.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace zv {
namespace {

using support::ContentOf;
using support::Eventually;
using support::XServer;

class LinuxFrontWindow : public testing::Test {
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

    static xcb_atom_t Atom(const std::string& name) {
        xcb_connection_t* connection = ThreadDisplay()->connection;
        const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
        return Adopt(xcb_intern_atom_reply(connection, cookie, nullptr))->atom;
    }

    /// Sets the active window as a window manager does.
    static void SetActive(xcb_window_t window) {
        const std::optional<XDisplay> display = ThreadDisplay();
        xcb_change_property(display->connection, XCB_PROP_MODE_REPLACE, display->root, Atom("_NET_ACTIVE_WINDOW"),
                            XCB_ATOM_WINDOW, 32, 1, &window);
        xcb_flush(display->connection);
    }

    static void SetType(xcb_window_t window, const std::string& type) {
        const std::optional<XDisplay> display = ThreadDisplay();
        const xcb_atom_t value = Atom(type);
        xcb_change_property(display->connection, XCB_PROP_MODE_REPLACE, window, Atom("_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, 1, &value);
        xcb_flush(display->connection);
    }

    static void SetClass(xcb_window_t window, const std::string& names) {
        const std::optional<XDisplay> display = ThreadDisplay();
        xcb_change_property(display->connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                            static_cast<std::uint32_t>(names.size()), names.data());
        xcb_flush(display->connection);
    }

    /// The number of requests of this thread's connection, including those of this call.
    static unsigned RequestsSent() {
        xcb_connection_t* connection = ThreadDisplay()->connection;
        const auto cookie = xcb_get_input_focus(connection);
        Adopt(xcb_get_input_focus_reply(connection, cookie, nullptr));
        return cookie.sequence;
    }

    static xcb_window_t MakeOwnWindow() { return MakeOwnWindowIn(ThreadDisplay()->root, {0, 0, 10, 10}); }

    static xcb_window_t MakeOwnWindowIn(xcb_window_t parent, const Rectangle& bounds) {
        const std::optional<XDisplay> display = ThreadDisplay();
        const xcb_window_t window = xcb_generate_id(display->connection);
        xcb_create_window(display->connection, XCB_COPY_FROM_PARENT, window, parent,
                          static_cast<std::int16_t>(bounds.left), static_cast<std::int16_t>(bounds.top),
                          static_cast<std::uint16_t>(bounds.Width()), static_cast<std::uint16_t>(bounds.Height()), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_flush(display->connection);
        return window;
    }

    support::TemporaryFolder folder_;
    std::string log_;
    int count_ = 0;
    XServer server_{"640x480x24"};
};

TEST_F(LinuxFrontWindow, IsNoneOnAnEmptyDesktop) {
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::None);
    SetActive(0);
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::None);
}

TEST_F(LinuxFrontWindow, IsTheFocusedWindowWithoutAWindowManager) {
    const Other other = StartOther(u"x_window_child", u"");
    const FrontWindow front = LookUpFrontWindow();
    EXPECT_EQ(front.kind, FrontKind::Known);
    EXPECT_EQ(front.processId, other.process);
    EXPECT_EQ(front.imagePath, JoinPath(ExecutableFolder(), u"x_window_child"));
}

TEST_F(LinuxFrontWindow, IsTheActiveWindowAlsoWithoutTheFocus) {
    const Other first = StartOther(u"first", u"");
    const Other second = StartOther(u"second", u"");
    SetActive(first.window);
    EXPECT_EQ(LookUpFrontWindow().processId, first.process);
    SetActive(second.window);
    EXPECT_EQ(LookUpFrontWindow().processId, second.process);
    SetActive(0);
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::None);
}

TEST_F(LinuxFrontWindow, RecognizesThisProgramsWindows) {
    SetActive(MakeOwnWindow());
    const FrontWindow front = LookUpFrontWindow();
    EXPECT_EQ(front.kind, FrontKind::Own);
    EXPECT_EQ(front.processId, OwnProcessId());
}

TEST_F(LinuxFrontWindow, IsTheExeOfAWindowsGameUnderACompatibilityLayer) {
    const std::pair<Text, Text> rows[] = {
        {u"Z:\\home\\zoe\\Games\\My Game\\Game-Win64-Shipping.exe",
         u"Z:/home/zoe/Games/My Game/Game-Win64-Shipping.exe"},
        {u"C:\\GAME.EXE", u"C:/GAME.EXE"},
        {u"/home/zoe/Games/cs2.exe", u"/home/zoe/Games/cs2.exe"},
    };
    for (const auto& [name, image] : rows) {
        const Other other = StartOther(name, u"");
        SetActive(other.window);
        const FrontWindow front = LookUpFrontWindow();
        EXPECT_EQ(front.kind, FrontKind::Known);
        EXPECT_EQ(front.imagePath, image);
    }
}

TEST_F(LinuxFrontWindow, IgnoresAProgramsOwnNameUnlessItEndsInExe) {
    for (const Text& name : {Text(u"game.exe.sh"), Text(u"exe"), Text(u"gameexe")}) {
        const Other other = StartOther(name, u"");
        SetActive(other.window);
        EXPECT_EQ(LookUpFrontWindow().imagePath, JoinPath(ExecutableFolder(), u"x_window_child"));
    }
}

TEST_F(LinuxFrontWindow, PrefersTheServersProcessIdToTheWindowsProperty) {
    const Other other = StartOther(u"x_window_child", u"claim 1");
    EXPECT_EQ(LookUpFrontWindow().processId, other.process);
}

TEST_F(LinuxFrontWindow, UsesTheWindowsPropertyIfTheServerHasNoProcessId) {
    const XServer plain("640x480x24 -extension X-Resource");
    const Other claiming = StartOther(u"x_window_child", u"claim " + FromUtf8(std::to_string(OwnProcessId())));
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::Own);
    const Other silent = StartOther(u"x_window_child", u"");
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::Unknown);
    EXPECT_EQ(LookUpFrontWindow().processId, 0U);
}

TEST_F(LinuxFrontWindow, ADestroyedWindowIsUnknown) {
    Other other = StartOther(u"x_window_child", u"");
    SetActive(other.window);
    other.child.job.reset();
    ASSERT_TRUE(WaitForExit(*other.child.process, 60000));
    EXPECT_TRUE(Eventually([] { return LookUpFrontWindow().kind == FrontKind::Unknown; }));
}

TEST_F(LinuxFrontWindow, NamesTheDesktopAndPanelsAsWindowsDoes) {
    const xcb_window_t window = MakeOwnWindow();
    SetActive(window);
    EXPECT_EQ(LookUpFrontWindow().className, u"");
    SetClass(window, std::string("game\0Game\0", 10));
    EXPECT_EQ(LookUpFrontWindow().className, u"Game");
    SetType(window, "_NET_WM_WINDOW_TYPE_DESKTOP");
    EXPECT_EQ(LookUpFrontWindow().className, u"Progman");
    SetType(window, "_NET_WM_WINDOW_TYPE_DOCK");
    EXPECT_EQ(LookUpFrontWindow().className, u"Shell_TrayWnd");
    SetType(window, "_NET_WM_WINDOW_TYPE_NORMAL");
    EXPECT_EQ(LookUpFrontWindow().className, u"Game");
}

TEST_F(LinuxFrontWindow, HasTheBoundsOfItsFrame) {
    const xcb_window_t frame = MakeOwnWindowIn(ThreadDisplay()->root, {20, 30, 220, 180});
    SetActive(MakeOwnWindowIn(frame, {4, 24, 196, 146}));
    const FrontWindow front = LookUpFrontWindow();
    EXPECT_EQ(front.bounds, (Rectangle{20, 30, 220, 180}));
    EXPECT_EQ(front.monitor, (MonitorEntry{u"screen", 0, 0, 640, 480, -1, true}));
    EXPECT_EQ(front.dpi, 96);
}

TEST_F(LinuxFrontWindow, SendsFewRequests) {
    const Other other = StartOther(u"x_window_child", u"");
    ASSERT_EQ(LookUpFrontWindow().processId, other.process);
    const unsigned before = RequestsSent();
    ASSERT_EQ(LookUpFrontWindow().processId, other.process);
    // One for the check of the connection, two for the window, six for its data, five for the monitor; two for the
    // count.
    EXPECT_LE(RequestsSent() - before, 14U + 2U);
}

TEST_F(LinuxFrontWindow, ReconnectsAfterTheServersDeathOnLookUp) {
    SetActive(MakeOwnWindow());
    ASSERT_EQ(LookUpFrontWindow().kind, FrontKind::Own);
    server_.Kill();
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::None);
    EXPECT_EQ(LookUpFrontWindow().kind, FrontKind::None);
}

}  // namespace
}  // namespace zv
