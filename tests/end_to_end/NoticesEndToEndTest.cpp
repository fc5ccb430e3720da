// Notification and badge of the real program over a full-screen game. Clips and screenshots show none of the program's
// windows.
#include "support/Eventually.h"
#include "support/InterfaceUser.h"
#include "support/MediaProbe.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr std::uint32_t gameColor = 0x2878B0;

class NoticesEndToEnd : public testing::Test {
protected:
    void StartCompositor() {
        compositor_ = StartOnDisplay(display_.Name(), {"xcompmgr", "-n"}, folder_.Path());
        ASSERT_TRUE(Eventually([&] {
            const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
                user_.Get(), xcb_get_selection_owner(user_.Get(), user_.Atom("_NET_WM_CM_S0")), nullptr));
            return reply && reply->owner != XCB_WINDOW_NONE;
        }));
    }
    /// A full-screen game with the keyboard focus.
    void StartGame() {
        game_ = other_.CoverAsGame({0, 0, width, height}, gameColor);
        other_.SetFocus(game_);
        ASSERT_TRUE(Eventually([&] { return user_.PixelAt(960, 540) == gameColor; }));
    }
    bool GameIsClickedAt(const Point& place) const {
        other_.Events(XCB_BUTTON_PRESS);
        user_.ClickAt(place.x, place.y);
        return Eventually([&] { return other_.Events(XCB_BUTTON_PRESS) == 1; });
    }
    static Point MiddleOf(const Rectangle& place) {
        return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
    }
    void ExpectCapturesOfTheGameAlone();

    TemporaryFolder folder_{"zorvel-notices"};
    PrivateDisplay display_;
    InterfaceUser user_{display_.Name()};
    OtherClient other_{display_.Name()};
    Spawned compositor_;
    xcb_window_t game_ = XCB_WINDOW_NONE;
};

void NoticesEndToEnd::ExpectCapturesOfTheGameAlone() {
    StartGame();
    ProgramRun run({.display = display_.Name()});
    ASSERT_TRUE(run.WaitForBuffer(1));
    ASSERT_TRUE(user_.WaitShown(badgeName));
    // The badge for some seconds, then the overlay and a notification.
    ASSERT_TRUE(run.WaitForBuffer(2));
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(user_.WaitHidden(badgeName)) << "the overlay does not hide the badge";
    user_.Click(overlayName, 250, 100);
    ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"This feature is not available")));
    const double before = run.BufferedSeconds();
    ASSERT_TRUE(run.WaitForBuffer(before + 2));
    EXPECT_TRUE(user_.Shows(overlayName));

    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"Screenshot saved")));
    ASSERT_EQ(CapturesOf(run, ".png").size(), 1U);
    EXPECT_EQ(PixelsUnlike(CapturesOf(run, ".png")[0], {width, height}, gameColor), 0U);
    EXPECT_TRUE(user_.WaitShown(overlayName)) << "the screenshot did not show the overlay again";

    user_.TapKey({XK_Alt_L}, XK_F10);
    const auto row = run.WaitForActivity("Replay saved: ");
    ASSERT_TRUE(row.has_value());
    const int luma = LumaOf(gameColor);
    std::size_t pictures = 0;
    std::size_t spoiled = 0;
    DecodeLuma(row->substr(std::string("Replay saved: ").size()), width, height,
               [&](std::span<const std::uint8_t> picture) {
                   ++pictures;
                   const auto isGame = [luma](std::uint8_t pixel) { return std::abs(pixel - luma) <= 4; };
                   spoiled += std::all_of(picture.begin(), picture.end(), isGame) ? 0 : 1;
               });
    EXPECT_GT(pictures, 90U);
    EXPECT_EQ(spoiled, 0U) << "pictures of the clip show more than the game";
    EXPECT_EQ(run.End(), 0);
}

TEST_F(NoticesEndToEnd, ClipAndScreenshotShowTheGameBelowTheProgramsWindows) { ExpectCapturesOfTheGameAlone(); }

TEST_F(NoticesEndToEnd, ClipAndScreenshotShowTheGameBelowUnderACompositor) {
    StartCompositor();
    ExpectCapturesOfTheGameAlone();
}

TEST_F(NoticesEndToEnd, BadgeAndNotificationCoverAGameAndAreClickThrough) {
    StartGame();
    ProgramRun run({.display = display_.Name()});
    ASSERT_TRUE(user_.WaitShown(badgeName));
    const Rectangle badge = user_.Client(badgeName);
    EXPECT_EQ(badge, (Rectangle{width - 90 - 18, 80, width - 18, 112}));
    EXPECT_TRUE(Eventually([&] { return user_.PixelAt(badge.left, badge.top) == ScreenColor(color::badge); }));
    EXPECT_EQ(user_.Grab(badgeName).CountOf(gameColor), 0U);
    EXPECT_TRUE(GameIsClickedAt(MiddleOf(badge)));
    EXPECT_EQ(user_.Focus(), game_);

    ASSERT_TRUE(run.WaitForBuffer(1));
    user_.TapKey({XK_Alt_L}, XK_F10);
    ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"Clip saved")));
    const Rectangle toast = user_.Client(toastName);
    EXPECT_EQ(toast, (Rectangle{width - 330 - 16, 80, width - 16, 156}));
    EXPECT_EQ(user_.PixelAt(toast.left + 1, toast.top + 60), ScreenColor(color::purple)) << "the stripe";
    EXPECT_TRUE(GameIsClickedAt(MiddleOf(toast)));
    EXPECT_EQ(user_.Focus(), game_);
    EXPECT_TRUE(user_.WaitHidden(toastName));

    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"Recording has started")));
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    ASSERT_TRUE(user_.WaitSays(toastName, ToastWords(u"Recording saved")));

    // A window that is smaller than the screen is not a game.
    const std::uint32_t size[] = {800, 600};
    xcb_configure_window(other_.Get(), game_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    other_.Sync();
    EXPECT_TRUE(user_.WaitHidden(badgeName));
    EXPECT_EQ(run.End(), 0);
}

TEST(NoticesOffEndToEnd, NothingAppearsIfNotificationsAreOff) {
    const PrivateDisplay display("1280x720");
    const InterfaceUser user(display.Name());
    ProgramRun run({.display = display.Name(), .settings = {{"instantReplay", "0"}, {"notifications", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    const std::uint32_t comings = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(user.Get(), user.WindowOf(toastName), XCB_CW_EVENT_MASK, &comings);
    EXPECT_FALSE(user.Shows(toastName)) << "a notification at the start";
    user.TapKey({XK_Alt_L}, XK_F10);  // requests "Replay is paused"
    user.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    ASSERT_TRUE(run.WaitForActivity("Recording started").has_value());
    user.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    ASSERT_TRUE(run.WaitForActivity("Recording saved: ").has_value());
    EXPECT_EQ(run.End(), 0);
    EXPECT_EQ(user.Events(XCB_MAP_NOTIFY), 0);
}

}  // namespace
}  // namespace zv
