// The main window, the notification icon and a second copy of the real program. Real keys and clicks, a real window
// manager and a real notification area.
#include <cmath>

#include "support/FileBytes.h"
#include "support/NotifierHost.h"
#include "support/Openbox.h"
#include "support/TrayUser.h"

namespace zv {
namespace {

using namespace support;

constexpr char resizeBinding[] = R"(<mouse><context name="Frame">
<mousebind button="A-Right" action="Drag"><action name="Resize"/></mousebind>
</context></mouse>)";

// Coordinates in the main window, in design pixels.
constexpr int sidebarX = 95;
constexpr int PageY(int page) { return 145 + 57 * page; }

const Text headings[] = {u"Welcome to Zorvel.", u"Recommended for you.", u"Make it yours.", u"Keep Zorvel current.",
                         u"Here to help."};

constexpr char alreadyRunning[] =
    "Zorvel is already running. Open it from the notification area or exit the older copy first.";

class DesktopEndToEnd : public testing::Test {
protected:
    void StartWindowManager() { manager_ = StartOpenbox(display_.Name(), folder_.Path(), resizeBinding); }
    ProgramOptions Options(bool background) const {
        return {.display = display_.Name(), .settings = {{"instantReplay", "0"}}, .background = background};
    }
    /// In the background, with a script that records the desktop's message boxes.
    ProgramOptions BoxedOptions() const {
        const std::filesystem::path box = folder_.Path() / "zenity";
        WriteBytes(box, "#!/bin/sh\nprintf '%s\\n' \"$@\" >\"$0.said\"\n");
        std::filesystem::permissions(box, std::filesystem::perms::owner_all);
        ProgramOptions options = Options(true);
        options.variables["PATH"] = folder_.Path().string();
        return options;
    }
    std::string BoxText() const { return ReadBytes(folder_.Path() / "zenity.said"); }
    static void AwaitStart(const ProgramRun& run) { ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value()); }
    bool HasFocus() const {
        return Eventually([&] { return user_.Focus() == user_.WindowOf(mainWindowName); });
    }
    /// The state that the window manager gives the main window. A withdrawn window has state 0 or none.
    bool WaitState(std::uint8_t state) const {
        return Eventually([&] {
            const std::string number = user_.Property(user_.WindowOf(mainWindowName), "WM_STATE");
            return (number.empty() ? withdrawn : static_cast<std::uint8_t>(number[0])) == state;
        });
    }
    static constexpr std::uint8_t withdrawn = 0;
    static constexpr std::uint8_t iconic = 3;
    /// As a taskbar does.
    void Activate(xcb_window_t window) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = user_.Atom("_NET_ACTIVE_WINDOW");
        constexpr std::uint32_t sourceTaskbar = 2;
        event.data.data32[0] = sourceTaskbar;
        xcb_send_event(user_.Get(), 0, user_.Root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
        user_.Sync();
    }
    int LogicalWidth() const {
        return static_cast<int>(user_.Client(mainWindowName).Width() / user_.Scale(mainWindowName));
    }
    bool ShowsPage(int page) const {
        return user_.WaitSays(mainWindowName, {{222, 24, LogicalWidth() - 215, 66},
                                               headings[page],
                                               color::primaryText,
                                               color::windowBackground,
                                               FontRole::Heading});
    }
    void ClickMain(int x, int y) const { user_.Click(mainWindowName, x, y); }
    /// The mark of the keyboard's focus on a button of the sidebar.
    bool WaitMarked(int page) const {
        const double y = 122 + 57 * page + 3.5;
        const Point at{95, static_cast<int>(y)};
        return user_.WaitColor(mainWindowName, at.x, at.y, color::purple);
    }

    /// Tries again if a slow machine delivers the two clicks too late for a double click.
    bool ShowByDoubleClick(int betweenMs) const {
        for (int tries = 0; tries < 10; ++tries) {
            tray_.ClickIcon();
            std::this_thread::sleep_for(std::chrono::milliseconds(betweenMs));
            user_.PressButton(1);
            std::this_thread::sleep_for(std::chrono::milliseconds(betweenMs / 2));
            user_.ReleaseButton(1);
            if (Eventually([&] { return user_.Shows(mainWindowName); }, 3000)) {
                return true;
            }
            user_.TapKey(XK_Escape);
            std::this_thread::sleep_for(std::chrono::milliseconds(450));
        }
        return false;
    }
    TemporaryFolder folder_{"zorvel-desktop"};
    PrivateDisplay display_{"1400x1000"};
    InterfaceUser user_{display_.Name()};
    TrayUser tray_{display_.Name(), user_};
    Spawned manager_;
};

TEST(WaylandEndToEnd, TheStartSaysThatAWaylandSessionCannotBeCaptured) {
    // An output with this name is what distinguishes XWayland.
    const PrivateDisplay display("1280x720");
    display.Change({"--setmonitor", "XWAYLAND0", "auto", "screen"});
    const InterfaceUser user(display.Name());
    ProgramRun run({.display = display.Name(), .background = false});
    const Text obstacle =
        u"Zorvel cannot capture the screen of a Wayland session. Choose an X11 (Xorg) session when you log in.";
    EXPECT_TRUE(run.WaitForActivity(std::string(obstacle.begin(), obstacle.end())).has_value());
    EXPECT_TRUE(user.WaitSays(
        toastName,
        {.box = {68, 8, 314, 68}, .text = u"Capture needs attention - check Status", .background = color::toast}));
    ASSERT_TRUE(user.WaitShown(mainWindowName));
    EXPECT_TRUE(run.FfmpegChildren().empty());
    EXPECT_EQ(run.End(), 0);
}

TEST_F(DesktopEndToEnd, MouseAndKeyboardOpenEveryPage) {
    StartWindowManager();
    const ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(HasFocus());
    EXPECT_EQ(user_.Client(mainWindowName).Width(), 1220);
    EXPECT_EQ(user_.Client(mainWindowName).Height(), 800);
    EXPECT_TRUE(ShowsPage(0));
    for (const int page : {1, 2, 3, 4, 0}) {
        ClickMain(sidebarX, PageY(page));
        EXPECT_TRUE(ShowsPage(page)) << page;
    }
    // A press that is released elsewhere has no effect.
    const Point home = user_.ScreenPointOf(mainWindowName, sidebarX, PageY(0));
    const Point help = user_.ScreenPointOf(mainWindowName, sidebarX, PageY(4));
    user_.MovePointer(help.x, help.y);
    user_.PressButton(1);
    user_.MovePointer(home.x, home.y);
    user_.ReleaseButton(1);
    EXPECT_TRUE(ShowsPage(0));
    // The button that shares its number with "Help" opens that page.
    ClickMain(LogicalWidth() - 100, 50);
    EXPECT_TRUE(ShowsPage(4));
    EXPECT_FALSE(user_.Shows(overlayName));

    ClickMain(210, 780);  // no button: removes the focus
    user_.MovePointer(1390, 990);
    user_.TapKey(XK_Tab);
    EXPECT_TRUE(WaitMarked(0));
    user_.TapKey(XK_Tab);
    EXPECT_TRUE(WaitMarked(1));
    user_.TapKey(XK_Return);
    EXPECT_TRUE(ShowsPage(1));
    user_.TapKey(XK_Tab);
    EXPECT_TRUE(WaitMarked(2));
    user_.TapKey(XK_space);
    EXPECT_TRUE(ShowsPage(2));
    user_.TapKey({XK_Shift_L}, XK_Tab);
    EXPECT_TRUE(WaitMarked(1));
    ASSERT_TRUE(user_.OpenOverlay());
    user_.TapKey(XK_Escape);
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    EXPECT_TRUE(user_.Shows(mainWindowName));
}

TEST_F(DesktopEndToEnd, TheHomePageOpensOverlayGalleryAndRecommendations) {
    StartWindowManager();
    const ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(ShowsPage(0));
    const int left = 222;
    const int right = LogicalWidth() - 30;
    const int middle = (left + right) / 2;
    // The overlay covers the button, so its shortcut closes it.
    ClickMain(left + 40, 304);
    ASSERT_TRUE(user_.WaitShown(overlayName));
    EXPECT_TRUE(user_.WaitColor(overlayName, 450, 95, color::black)) << "the tiles";
    EXPECT_TRUE(user_.CloseOverlay());
    ClickMain(middle + 100, 487);
    const Words galleryTitle{{126, 75, 233, 108}, u"Gallery", color::primaryText, Rgb(29, 28, 32), FontRole::Bold};
    EXPECT_TRUE(user_.WaitSays(overlayName, galleryTitle));
    EXPECT_TRUE(user_.CloseOverlay());
    ClickMain(left + 100, 626);
    EXPECT_TRUE(ShowsPage(1));
    // The button on Home always opens the tiles.
    ClickMain(sidebarX, PageY(0));
    ASSERT_TRUE(ShowsPage(0));
    ClickMain(left + 40, 304);
    ASSERT_TRUE(user_.WaitShown(overlayName));
    const Words record{{453, 97, 573, 117}, u"Record",       color::primaryText,
                       color::black,        FontRole::Small, TextLayout::CentredLine};
    EXPECT_TRUE(user_.WaitSays(overlayName, record));
}

TEST_F(DesktopEndToEnd, TheMainWindowHasAMinimumSizeAndDoesNotScaleWhenItGrows) {
    StartWindowManager();
    const ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    const Rectangle before = user_.Client(mainWindowName);
    user_.Press(user_.CodeOf(XK_Alt_L));
    user_.MovePointer(before.right - 20, before.bottom - 20);
    user_.PressButton(3);
    int pull = 0;
    EXPECT_TRUE(Eventually([&] {
        pull = std::min(pull + 50, 1000);
        user_.MovePointer(before.right - 20 - pull, before.bottom - 20 - pull * 7 / 10);
        const Rectangle now = user_.Client(mainWindowName);
        return pull == 1000 && now.Width() == 900 && now.Height() == 600;
    })) << user_.Client(mainWindowName).Width()
        << " x " << user_.Client(mainWindowName).Height();
    user_.ReleaseButton(3);
    user_.Release(user_.CodeOf(XK_Alt_L));
    EXPECT_NEAR(user_.Scale(mainWindowName), 0.849, 0.001);
    EXPECT_TRUE(ShowsPage(0));
    ClickMain(sidebarX, PageY(4));
    EXPECT_TRUE(ShowsPage(4));
    // A larger window has more space; its contents keep their size.
    const std::uint32_t large[] = {1380, 940};
    xcb_configure_window(user_.Get(), user_.WindowOf(mainWindowName),
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, large);
    EXPECT_TRUE(Eventually([&] { return user_.Client(mainWindowName).Width() == 1380; }));
    EXPECT_EQ(user_.Scale(mainWindowName), 1);
    EXPECT_TRUE(ShowsPage(4));
    const Words quickOverlay{
        {1380 - 189, 31, 1380 - 30, 74}, u"Quick overlay",    color::primaryText, color::button, FontRole::Bold,
        TextLayout::CentredLine,         {1200, 40, 1340, 65}};
    user_.MovePointer(1, 999);
    EXPECT_TRUE(user_.WaitSays(mainWindowName, quickOverlay));
}

TEST_F(DesktopEndToEnd, TheMainWindowIsMinimizedWhileThereIsNoIcon) {
    StartWindowManager();
    for (const bool background : {false, true}) {
        const ProgramRun run(Options(background));
        AwaitStart(run);
        if (!background) {
            ASSERT_TRUE(user_.WaitShown(mainWindowName));
            user_.CloseByBox(user_.WindowOf(mainWindowName));
        }
        EXPECT_TRUE(WaitState(iconic)) << background;
        EXPECT_FALSE(user_.Shows(mainWindowName));
        // The icon comes and goes.
        tray_.StartTray();
        ASSERT_TRUE(tray_.WaitIcon());
        EXPECT_TRUE(WaitState(withdrawn)) << background;
        tray_.KillTray();
        EXPECT_TRUE(WaitState(iconic)) << background;
        // The taskbar restores it.
        Activate(user_.WindowOf(mainWindowName));
        EXPECT_TRUE(user_.WaitShown(mainWindowName)) << background;
        EXPECT_TRUE(HasFocus());
    }
}

TEST_F(DesktopEndToEnd, TheCloseBoxHidesOrExitsAsTheSettingSays) {
    StartWindowManager();
    {
        tray_.StartTray();
        ProgramRun run(Options(false));
        AwaitStart(run);
        ASSERT_TRUE(tray_.WaitIcon());
        ASSERT_TRUE(user_.WaitShown(mainWindowName));
        ASSERT_TRUE(user_.OpenOverlay());
        user_.CloseByBox(user_.WindowOf(mainWindowName));
        EXPECT_TRUE(WaitState(withdrawn));
        EXPECT_TRUE(user_.WaitHidden(overlayName));
        EXPECT_TRUE(run.Process().Alive());
        EXPECT_EQ(run.End(), 0);
    }
    ProgramOptions options = Options(false);
    options.settings["minimizeToTray"] = "0";
    ProgramRun run(options);
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    user_.CloseByBox(user_.WindowOf(mainWindowName));
    EXPECT_EQ(run.Process().WaitExit(), 0);
    EXPECT_TRUE(run.Children().empty());
    EXPECT_FALSE(std::filesystem::exists(run.DataFolder() / "running.lock"));
}

TEST_F(DesktopEndToEnd, TheIconsMenuWorksByMouseAndByKeyboard) {
    tray_.StartTray();
    ProgramRun run(Options(true));
    AwaitStart(run);
    ASSERT_TRUE(tray_.WaitIcon());
    ASSERT_TRUE(tray_.OpenMenu(3));
    const Text rows[] = {u"Open Zorvel", u"Save Clip (Alt + F10)", u"Start recording", u"Screenshot selected monitor",
                         u"Quick capture (Alt + X)"};
    for (int row = 0; row < 5; ++row) {
        EXPECT_TRUE(Eventually([&] { return tray_.MenuSays(row, rows[row]); })) << row;
    }
    tray_.ClickMenuRow(4);
    EXPECT_TRUE(user_.WaitShown(overlayName));
    EXPECT_TRUE(tray_.WaitNoMenu());
    ASSERT_TRUE(user_.CloseOverlay());
    // The keyboard selects the same items. Escape selects none.
    ASSERT_TRUE(tray_.OpenMenu(1));
    user_.TapKey(XK_Escape);
    EXPECT_TRUE(tray_.WaitNoMenu());
    EXPECT_FALSE(user_.Shows(mainWindowName));
    ASSERT_TRUE(tray_.OpenMenu(3));
    for (int i = 0; i < 3; ++i) {
        user_.TapKey(XK_Down);
    }
    user_.TapKey(XK_Return);
    ASSERT_TRUE(run.WaitForActivity("Recording started").has_value());
    ASSERT_TRUE(tray_.OpenMenu(3));
    EXPECT_TRUE(Eventually([&] { return tray_.MenuSays(2, u"Stop and save recording"); }));
    EXPECT_TRUE(WaitRecorded(run));
    tray_.ClickMenuRow(2);
    ASSERT_TRUE(run.WaitForActivity("Recording saved: ").has_value());
    ASSERT_TRUE(tray_.OpenMenu(3));
    for (int i = 0; i < 6; ++i) {
        user_.TapKey(XK_Down);
    }
    user_.TapKey(XK_Return);
    EXPECT_EQ(run.Process().WaitExit(), 0);
    EXPECT_TRUE(Eventually([&] { return run.Children().empty(); }, 10000));
    EXPECT_TRUE(tray_.WaitNoIcon());
    EXPECT_FALSE(std::filesystem::exists(run.DataFolder() / "running.lock"));
}

// The first click opens the menu, which may or may not be visible at the second one.
TEST_F(DesktopEndToEnd, ADoubleClickOnTheIconShowsAHiddenWindow) {
    StartWindowManager();
    ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    for (const char* edge : {"bottom", "top"}) {
        tray_.StartTray(edge);
        ASSERT_TRUE(tray_.WaitIcon());
        for (const int betweenMs : {0, 150}) {
            user_.CloseByBox(user_.WindowOf(mainWindowName));
            ASSERT_TRUE(user_.WaitHidden(mainWindowName));
            const std::vector<xcb_window_t> before = user_.TopLevels();
            EXPECT_TRUE(ShowByDoubleClick(betweenMs)) << edge << " " << betweenMs;
            EXPECT_TRUE(HasFocus());
            EXPECT_TRUE(Eventually([&] { return tray_.MenuBeside(before) == XCB_WINDOW_NONE; }))
                << "the menu is still open";
            // Wait longer than a double click takes, so that the next click is a single one.
            std::this_thread::sleep_for(std::chrono::milliseconds(450));
            EXPECT_TRUE(tray_.OpenMenu(1)) << edge << " " << betweenMs;
            user_.TapKey(XK_Escape);
            EXPECT_TRUE(tray_.WaitNoMenu());
            std::this_thread::sleep_for(std::chrono::milliseconds(450));
        }
        tray_.KillTray();
        ASSERT_TRUE(tray_.WaitNoIcon());
    }
}

// A bridge between the two protocols passes clicks on without the time of the server.
TEST_F(DesktopEndToEnd, ForwardedClicksOnTheIconCountByTheirArrival) {
    StartWindowManager();
    tray_.StartTray();
    const ProgramRun run(Options(true));
    AwaitStart(run);
    ASSERT_TRUE(tray_.WaitIcon());
    user_.MovePointer(700, 500);
    // Two slow clicks open the menu twice, and not the window.
    for (int round = 0; round < 2; ++round) {
        const std::vector<xcb_window_t> before = user_.TopLevels();
        tray_.ForwardClick();
        EXPECT_TRUE(Eventually([&] { return tray_.MenuBeside(before) != XCB_WINDOW_NONE; })) << round;
        user_.TapKey(XK_Escape);
        EXPECT_TRUE(Eventually([&] { return tray_.MenuBeside(before) == XCB_WINDOW_NONE; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(450));
    }
    EXPECT_FALSE(user_.Shows(mainWindowName));
    EXPECT_TRUE(Eventually([&] {
        tray_.ForwardClick();
        tray_.ForwardClick();
        return Eventually([&] { return user_.Shows(mainWindowName); }, 3000);
    }));
    user_.CloseByBox(user_.WindowOf(mainWindowName));
    ASSERT_TRUE(user_.WaitHidden(mainWindowName));
    // The menu of the first click receives the second one from the server.
    std::this_thread::sleep_for(std::chrono::milliseconds(450));
    EXPECT_TRUE(Eventually([&] {
        const std::vector<xcb_window_t> before = user_.TopLevels();
        tray_.ForwardClick();
        Eventually([&] { return tray_.MenuBeside(before) != XCB_WINDOW_NONE; }, 3000);
        user_.PressButton(1);
        user_.ReleaseButton(1);
        const bool shown = Eventually([&] { return user_.Shows(mainWindowName); }, 3000);
        user_.TapKey(XK_Escape);
        std::this_thread::sleep_for(std::chrono::milliseconds(450));
        return shown;
    }));
}

class NotifierEndToEnd : public DesktopEndToEnd {
protected:
    ProgramOptions BusOptions() const {
        ProgramOptions options = Options(true);
        options.variables["DBUS_SESSION_BUS_ADDRESS"] = host_.Address();
        return options;
    }
    NotifierHost host_;
};

TEST_F(NotifierEndToEnd, TheIconIsShownOverTheBusAndItsMenuWorks) {
    StartWindowManager();
    tray_.StartTray();
    host_.StartWatcher();
    ProgramRun run(BusOptions());
    AwaitStart(run);
    ASSERT_TRUE(host_.WaitItem());
    EXPECT_FALSE(tray_.Icon()) << "there are two icons";
    EXPECT_EQ(host_.Property("Id"), "(<'zorvel'>,)");
    EXPECT_EQ(host_.Property("Title"), "(<'ZV Reels Max'>,)");
    EXPECT_EQ(host_.Property("Status"), "(<'Active'>,)");
    EXPECT_EQ(host_.Property("ItemIsMenu"), "(<false>,)");
    EXPECT_TRUE(host_.Property("IconPixmap").starts_with("(<[(16, 16, [byte 0xff,"));
    EXPECT_EQ(host_.MenuRows(),
              "1 Open Zorvel\n2 Save Clip (Alt + F10)\n4 Start recording\n5 Screenshot selected monitor\n"
              "6 Quick capture (Alt + X)\n1000 separator\n3 Exit Zorvel\n");
    host_.ClickMenu(6);
    EXPECT_TRUE(user_.WaitShown(overlayName));
    host_.ClickMenu(1);
    EXPECT_TRUE(user_.WaitShown(mainWindowName));
    user_.CloseByBox(user_.WindowOf(mainWindowName));
    EXPECT_TRUE(WaitState(withdrawn));
    // One activation opens the program's menu at the pointer, two open the window.
    user_.MovePointer(700, 500);
    const std::vector<xcb_window_t> before = user_.TopLevels();
    EXPECT_EQ(host_.CallItem("Activate", g_variant_new("(ii)", 1, 1)), "()");
    EXPECT_TRUE(Eventually([&] { return tray_.MenuBeside(before) != XCB_WINDOW_NONE; }));
    user_.TapKey(XK_Escape);
    EXPECT_TRUE(Eventually([&] { return tray_.MenuBeside(before) == XCB_WINDOW_NONE; }));
    EXPECT_TRUE(Eventually([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(450));
        host_.CallItem("Activate", g_variant_new("(ii)", 1, 1));
        host_.CallItem("Activate", g_variant_new("(ii)", 1, 1));
        return Eventually([&] { return user_.Shows(mainWindowName); }, 3000);
    }));
    EXPECT_EQ(host_.CallItem("ContextMenu", g_variant_new("(ii)", 1, 1)), "()");
    EXPECT_TRUE(Eventually([&] { return tray_.MenuBeside(before) != XCB_WINDOW_NONE; }));
    user_.TapKey(XK_Escape);
    host_.ClickMenu(3);
    EXPECT_EQ(run.Process().WaitExit(), 0);
}

TEST_F(NotifierEndToEnd, TheIconFollowsTheNotificationAreas) {
    StartWindowManager();
    host_.StartWatcher(false);
    ProgramOptions options = BusOptions();
    options.background = false;
    const ProgramRun run(options);
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    user_.CloseByBox(user_.WindowOf(mainWindowName));
    EXPECT_TRUE(WaitState(iconic)) << "no host shows the icon";
    EXPECT_TRUE(host_.Item().empty());
    host_.RegisterHost();
    ASSERT_TRUE(host_.WaitItem());
    EXPECT_TRUE(WaitState(withdrawn));
    host_.StopWatcher();
    EXPECT_TRUE(WaitState(iconic));
    tray_.StartTray();
    EXPECT_TRUE(tray_.WaitIcon());
    EXPECT_TRUE(WaitState(withdrawn));
    host_.StartWatcher();
    EXPECT_TRUE(host_.WaitItem());
    EXPECT_TRUE(tray_.WaitNoIcon());
    EXPECT_EQ(host_.Property("Id"), "(<'zorvel'>,)");
}

TEST_F(DesktopEndToEnd, ARestartedNotificationAreaGetsTheIconAgain) {
    tray_.StartTray();
    const ProgramRun run(Options(true));
    AwaitStart(run);
    ASSERT_TRUE(tray_.WaitIcon());
    for (int round = 0; round < 2; ++round) {
        tray_.KillTray();
        EXPECT_TRUE(tray_.WaitNoIcon());
        EXPECT_TRUE(Eventually([&] { return user_.Find("ZV Reels Max") == XCB_WINDOW_NONE; }))
            << "the icon is a top-level window";
        tray_.StartTray();
        ASSERT_TRUE(tray_.WaitIcon());
    }
    EXPECT_TRUE(tray_.OpenMenu(3)) << "the new icon does not respond";
    user_.TapKey(XK_Escape);
}

TEST_F(DesktopEndToEnd, ASecondCopyReportsAFirstOneWithoutAWindow) {
    const xcb_window_t holder = user_.Cover({0, 0, 10, 10}, 0);
    xcb_set_selection_owner(user_.Get(), holder, user_.Atom("Local\\ZVReelsMax_SingleInstance"), XCB_CURRENT_TIME);
    user_.Sync();
    ProgramRun copy(BoxedOptions());
    EXPECT_EQ(copy.Process().WaitExit(), 0);
    EXPECT_NE(BoxText().find(alreadyRunning), std::string::npos) << BoxText();
    EXPECT_FALSE(std::filesystem::exists(copy.DataFolder() / "Logs"));
}

TEST_F(DesktopEndToEnd, ASecondCopyShowsTheFirstAndExits) {
    StartWindowManager();
    const ProgramOptions options = BoxedOptions();
    ProgramRun first(options);
    ProgramRun rival(options);
    ASSERT_TRUE(Eventually([&] { return !first.Process().Alive() || !rival.Process().Alive(); }));
    ProgramRun& winner = first.Process().Alive() ? first : rival;
    ProgramRun& loser = first.Process().Alive() ? rival : first;
    EXPECT_EQ(loser.Process().WaitExit(), 0);
    AwaitStart(winner);
    EXPECT_FALSE(std::filesystem::exists(loser.DataFolder() / "Logs"));
    if (BoxText().empty()) {
        ASSERT_TRUE(user_.WaitShown(mainWindowName)) << "the first copy had its window and was not raised";
        user_.CloseByBox(user_.WindowOf(mainWindowName));
        ASSERT_TRUE(user_.WaitHidden(mainWindowName));
    } else {
        EXPECT_NE(BoxText().find(alreadyRunning), std::string::npos) << BoxText();
    }
    ProgramRun second(Options(false));
    EXPECT_EQ(second.Process().WaitExit(), 0);
    EXPECT_TRUE(user_.WaitShown(mainWindowName));
    EXPECT_TRUE(HasFocus());
    EXPECT_TRUE(winner.Process().Alive());
    EXPECT_EQ(winner.End(), 0);
}

}  // namespace
}  // namespace zv
