// The main window, the notification icon and a second copy of the real program, driven by real keys and clicks under a
// real window manager and a real notification area.
#include <cmath>

#include "support/InterfaceUser.h"

namespace zv {
namespace {

using namespace support;

constexpr char windowManagerSettings[] = R"(<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc"><mouse><context name="Frame">
<mousebind button="A-Right" action="Drag"><action name="Resize"/></mousebind>
</context></mouse></openbox_config>)";

// Places of the main window, in design pixels.
constexpr int sidebarX = 95;
constexpr int PageY(int page) { return 145 + 57 * page; }

const Text headings[] = {u"Welcome to Zorvel.", u"Recommended for you.", u"Make it yours.", u"Keep Zorvel current.",
                         u"Here to help."};

class DesktopRoad : public testing::Test {
protected:
    void StartWindowManager() {
        WriteAll(folder_.Path() / "rc.xml", windowManagerSettings);
        manager_ =
            StartOnDisplay(display_.Name(), {"openbox", "--config-file", folder_.Path() / "rc.xml"}, folder_.Path());
        ASSERT_TRUE(WaitUntil([&] { return !user_.Property(user_.Root(), "_NET_SUPPORTING_WM_CHECK").empty(); }));
    }
    void StartTray(const std::string& edge = "bottom") {
        tray_ = StartOnDisplay(display_.Name(),
                               {"trayer", "--edge", edge, "--align", "left", "--widthtype", "request", "--height", "24",
                                "--SetDockType", "false"},
                               folder_.Path());
    }
    ProgramOptions Options(bool background) const {
        return {.display = display_.Name(), .settings = {{"instantReplay", "0"}}, .background = background};
    }
    static void AwaitStart(const ProgramRun& run) { ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value()); }
    bool HasFocus() const {
        return WaitUntil([&] { return user_.Focus() == user_.WindowOf(mainWindowName); });
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

    /// The icon in the notification area, by its tip.
    std::optional<Rectangle> Icon() const {
        const xcb_window_t icon = user_.FindBelow(user_.Root(), "_NET_WM_NAME", "ZV Reels Max");
        return icon != XCB_WINDOW_NONE && user_.IsViewable(icon) ? std::optional(user_.OnScreen(icon)) : std::nullopt;
    }
    bool WaitIcon() {
        return WaitUntil([&] { return (icon_ = Icon()).has_value() && icon_->Width() > 8; });
    }
    void ClickIcon(std::uint8_t button = 1) const {
        user_.ClickAt((icon_->left + icon_->right) / 2, (icon_->top + icon_->bottom) / 2, button);
    }
    /// On a machine that stands still for a moment two clicks may be no double click, so there are more tries.
    bool ShowByDoubleClick(int betweenMs) const {
        for (int tries = 0; tries < 10; ++tries) {
            ClickIcon();
            std::this_thread::sleep_for(std::chrono::milliseconds(betweenMs));
            user_.PressButton(1);
            std::this_thread::sleep_for(std::chrono::milliseconds(betweenMs / 2));
            user_.ReleaseButton(1);
            if (WaitUntil([&] { return user_.Shows(mainWindowName); }, 3)) {
                return true;
            }
            user_.TapKey(XK_Escape);
            std::this_thread::sleep_for(std::chrono::milliseconds(450));
        }
        return false;
    }
    /// The open menu: a window that was not there before.
    bool WaitMenu(const std::vector<xcb_window_t>& before) {
        return WaitUntil([&] {
            for (const xcb_window_t top : user_.TopLevels()) {
                if (std::find(before.begin(), before.end(), top) == before.end() && user_.IsViewable(top)) {
                    menu_ = top;
                    const Rectangle place = user_.PlaceOf(menu_);
                    return user_.PixelAt(place.right - 3, place.top + 3) == ScreenColor(Rgb(26, 28, 38));
                }
            }
            return false;
        });
    }
    bool OpenMenu(std::uint8_t button) {
        const std::vector<xcb_window_t> before = user_.TopLevels();
        ClickIcon(button);
        return WaitMenu(before);
    }
    /// No window of a menu's colour among those that were not there before.
    bool IsWithoutMenu(const std::vector<xcb_window_t>& before) const {
        const std::vector<xcb_window_t> tops = user_.TopLevels();
        return std::none_of(tops.begin(), tops.end(), [&](xcb_window_t top) {
            const Rectangle place = user_.PlaceOf(top);
            return std::find(before.begin(), before.end(), top) == before.end() && user_.IsViewable(top) &&
                   user_.PixelAt(place.right - 3, place.top + 3) == ScreenColor(Rgb(26, 28, 38));
        });
    }
    bool WaitNoMenu() const {
        return WaitUntil([&] { return !user_.IsViewable(menu_); });
    }
    void ClickMenuRow(int row) const {
        const Rectangle place = user_.PlaceOf(menu_);
        user_.ClickAt(place.left + 30, place.top + 4 + 28 * row + 14 - (row > 5 ? 19 : 0));
    }
    bool MenuSays(int row, const Text& text, Color background = Rgb(26, 28, 38)) const {
        const Rectangle place = user_.PlaceOf(menu_);
        return user_.SaysAt(place, 1,
                            {{16, 4 + 28 * row, place.Width() - 4, 32 + 28 * row},
                             text,
                             color::primaryText,
                             background,
                             FontRole::Body});
    }

    TemporaryFolder folder_{"zorvel-desktop"};
    PrivateDisplay display_{"1400x1000"};
    InterfaceUser user_{display_.Name()};
    Spawned manager_;
    Spawned tray_;
    std::optional<Rectangle> icon_;
    xcb_window_t menu_ = XCB_WINDOW_NONE;
};

TEST_F(DesktopRoad, TheMainWindowIsWalkedThroughByMouseAndByKeyboard) {
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
    // A press that is let go elsewhere is none.
    const Point home = user_.Spot(mainWindowName, sidebarX, PageY(0));
    const Point help = user_.Spot(mainWindowName, sidebarX, PageY(4));
    user_.MovePointer(help.x, help.y);
    user_.PressButton(1);
    user_.MovePointer(home.x, home.y);
    user_.ReleaseButton(1);
    EXPECT_TRUE(ShowsPage(0));
    // The button that shares its number with "Help" opens that page.
    ClickMain(LogicalWidth() - 100, 50);
    EXPECT_TRUE(ShowsPage(4));
    EXPECT_FALSE(user_.Shows(overlayName));

    ClickMain(210, 780);  // nothing there: the focus is nowhere
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

TEST_F(DesktopRoad, TheHomePageOpensOverlayGalleryAndRecommendations) {
    StartWindowManager();
    const ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(ShowsPage(0));
    const int left = 222;
    const int right = LogicalWidth() - 30;
    const int middle = (left + right) / 2;
    // The overlay lies over the button, so what closes it again is its own key.
    ClickMain(left + 40, 304);
    ASSERT_TRUE(user_.WaitShown(overlayName));
    EXPECT_TRUE(user_.WaitColor(overlayName, 450, 95, color::black)) << "the tiles";
    EXPECT_TRUE(user_.CloseOverlay());
    ClickMain(middle + 100, 487);
    ASSERT_TRUE(user_.WaitShown(overlayName));
    EXPECT_TRUE(user_.CloseOverlay());
    ClickMain(left + 100, 626);
    EXPECT_TRUE(ShowsPage(1));
    // Home's button brings the tiles back, whatever page the overlay had.
    ClickMain(sidebarX, PageY(0));
    ASSERT_TRUE(ShowsPage(0));
    ClickMain(left + 40, 304);
    ASSERT_TRUE(user_.WaitShown(overlayName));
    const Words record{{453, 97, 573, 117}, u"Record",       color::primaryText,
                       color::black,        FontRole::Small, TextLayout::CentredLine};
    EXPECT_TRUE(user_.WaitSays(overlayName, record));
}

TEST_F(DesktopRoad, TheMainWindowGetsNoSmallerThanItsContentsAndGrowsWithTheScreen) {
    StartWindowManager();
    const ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    const Rectangle before = user_.Client(mainWindowName);
    user_.Press(user_.CodeOf(XK_Alt_L));
    user_.MovePointer(before.right - 20, before.bottom - 20);
    user_.PressButton(3);
    int pull = 0;
    EXPECT_TRUE(WaitUntil([&] {
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
}

TEST_F(DesktopRoad, TheCloseBoxHidesOrEndsAsTheSettingSays) {
    StartWindowManager();
    {
        ProgramRun run(Options(false));
        AwaitStart(run);
        ASSERT_TRUE(user_.WaitShown(mainWindowName));
        ASSERT_TRUE(user_.OpenOverlay());
        user_.CloseByBox(user_.WindowOf(mainWindowName));
        EXPECT_TRUE(user_.WaitHidden(mainWindowName));
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

TEST_F(DesktopRoad, TheIconsMenuIsUsedByMouseAndByKeyboard) {
    StartTray();
    ProgramRun run(Options(true));
    AwaitStart(run);
    ASSERT_TRUE(WaitIcon());
    const std::vector<xcb_window_t> tops = user_.TopLevels();
    ASSERT_TRUE(OpenMenu(3));
    const Text rows[] = {u"Open Zorvel", u"Save Clip (Alt + F10)", u"Start recording", u"Screenshot selected monitor",
                         u"Quick capture (Alt + X)"};
    for (int row = 0; row < 5; ++row) {
        EXPECT_TRUE(WaitUntil([&] { return MenuSays(row, rows[row]); })) << row;
    }
    ClickMenuRow(4);
    EXPECT_TRUE(user_.WaitShown(overlayName));
    EXPECT_TRUE(WaitNoMenu());
    ASSERT_TRUE(user_.CloseOverlay());
    // The keyboard chooses the same, and Escape nothing.
    ASSERT_TRUE(OpenMenu(1));
    user_.TapKey(XK_Escape);
    EXPECT_TRUE(WaitNoMenu());
    EXPECT_FALSE(user_.Shows(mainWindowName));
    ASSERT_TRUE(OpenMenu(3));
    for (int i = 0; i < 3; ++i) {
        user_.TapKey(XK_Down);
    }
    user_.TapKey(XK_Return);
    ASSERT_TRUE(run.WaitForActivity("Recording started").has_value());
    ASSERT_TRUE(OpenMenu(3));
    EXPECT_TRUE(WaitUntil([&] { return MenuSays(2, u"Stop and save recording"); }));
    std::this_thread::sleep_for(std::chrono::seconds(1));
    ClickMenuRow(2);
    ASSERT_TRUE(run.WaitForActivity("Recording saved: ").has_value());
    ASSERT_TRUE(OpenMenu(3));
    for (int i = 0; i < 6; ++i) {
        user_.TapKey(XK_Down);
    }
    user_.TapKey(XK_Return);
    EXPECT_EQ(run.Process().WaitExit(), 0);
    EXPECT_TRUE(WaitUntil([&] { return run.Children().empty(); }, 10));
    EXPECT_TRUE(WaitUntil([&] { return !Icon(); }, 10));
    EXPECT_FALSE(std::filesystem::exists(run.DataFolder() / "running.lock"));
}

// A single click opens the menu, which is on the screen or not yet when the second one comes.
TEST_F(DesktopRoad, AClosedWindowComesBackByADoubleClickOnTheIcon) {
    StartWindowManager();
    ProgramRun run(Options(false));
    AwaitStart(run);
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    for (const char* edge : {"bottom", "top"}) {
        StartTray(edge);
        ASSERT_TRUE(WaitIcon());
        for (const int betweenMs : {0, 150}) {
            user_.CloseByBox(user_.WindowOf(mainWindowName));
            ASSERT_TRUE(user_.WaitHidden(mainWindowName));
            const std::vector<xcb_window_t> before = user_.TopLevels();
            EXPECT_TRUE(ShowByDoubleClick(betweenMs)) << edge << " " << betweenMs;
            EXPECT_TRUE(HasFocus());
            EXPECT_TRUE(WaitUntil([&] { return IsWithoutMenu(before); })) << "the menu has gone";
            // Another click is a first one again.
            std::this_thread::sleep_for(std::chrono::milliseconds(450));
            EXPECT_TRUE(OpenMenu(1)) << edge << " " << betweenMs;
            user_.TapKey(XK_Escape);
            EXPECT_TRUE(WaitNoMenu());
            std::this_thread::sleep_for(std::chrono::milliseconds(450));
        }
        tray_ = Spawned();
        ASSERT_TRUE(WaitUntil([&] { return !Icon(); }));
    }
}

TEST_F(DesktopRoad, ANotificationAreaThatIsStartedAnewGetsTheIconAgain) {
    StartTray();
    const ProgramRun run(Options(true));
    AwaitStart(run);
    ASSERT_TRUE(WaitIcon());
    for (int round = 0; round < 2; ++round) {
        tray_.Send(SIGKILL);
        tray_.WaitExit();
        EXPECT_TRUE(WaitUntil([&] { return !Icon(); }));
        EXPECT_TRUE(WaitUntil([&] { return user_.Find("ZV Reels Max") == XCB_WINDOW_NONE; }))
            << "it is no window of the desktop";
        StartTray();
        ASSERT_TRUE(WaitIcon());
    }
    EXPECT_TRUE(OpenMenu(3)) << "the new icon is alive";
    user_.TapKey(XK_Escape);
}

TEST_F(DesktopRoad, ASecondCopyBringsTheFirstForwardAndOfTwoStartedAtOnceOneStays) {
    StartWindowManager();
    // A copy that comes before the first one has its window says so in a box of the desktop.
    const std::filesystem::path box = folder_.Path() / "zenity";
    WriteAll(box, "#!/bin/sh\nprintf '%s\\n' \"$@\" >\"$0.said\"\n");
    std::filesystem::permissions(box, std::filesystem::perms::owner_all);
    ProgramOptions options = Options(true);
    options.variables["PATH"] = folder_.Path().string();
    ProgramRun first(options);
    ProgramRun rival(options);
    ASSERT_TRUE(WaitUntil([&] { return !first.Process().Alive() || !rival.Process().Alive(); }));
    ProgramRun& winner = first.Process().Alive() ? first : rival;
    ProgramRun& loser = first.Process().Alive() ? rival : first;
    EXPECT_EQ(loser.Process().WaitExit(), 0);
    AwaitStart(winner);
    EXPECT_FALSE(std::filesystem::exists(loser.DataFolder() / "Logs"));
    const std::string said = ReadAll(folder_.Path() / "zenity.said");
    EXPECT_TRUE(said.empty() || said.find("Zorvel is already running. Open it from the notification area or exit the "
                                          "older copy first.") != std::string::npos)
        << said;
    if (user_.Shows(mainWindowName)) {
        user_.CloseByBox(user_.WindowOf(mainWindowName));
        ASSERT_TRUE(user_.WaitHidden(mainWindowName));
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
