// The overlay's window: where it opens, how it closes, and that it leaves the game alone.
#include "ui/MainWindow.h"
#include "ui/QuickOverlay.h"

namespace zv {
namespace {

using stand_in::CallNames;
using stand_in::CountOf;
using stand_in::TheMonitors;
using stand_in::TheWindows;
using testing::Contains;
using testing::Not;

class OverlayWindow : public QuickOverlay {};

// Where it opens.

TEST_F(OverlayWindow, FillsTheWorkAreaInHeightOrWidthAtTheTopInTheMiddle) {
    struct Row {
        Rectangle work;
        Rectangle place;
    };
    for (const Row& row : {
             Row{{0, 0, 1010, 568}, {0, 0, 1010, 568}},
             Row{{0, 0, 2020, 1136}, {0, 0, 2020, 1136}},
             // 1040 / 568 = 1.83098...; times 1010 is 1849.29...; (1920 - 1849) / 2 = 35.
             Row{{0, 0, 1920, 1040}, {35, 0, 1884, 1040}},
             // The same beside it, below a bar at the top: 1050 / 568 times 1010 is 1867.07...
             Row{{1920, 30, 3840, 1080}, {1946, 30, 3813, 1080}},
             // As wide as the area: 1280 / 1010 times 568 is 719.84...
             Row{{0, 0, 1280, 984}, {0, 0, 1280, 719}},
             // A monitor on its side: 1200 / 1010 times 568 is 674.85...
             Row{{-1200, -200, 0, 1720}, {-1200, -200, 0, 474}},
             // An ultra-wide one: 1400 / 568 times 1010 is 2489.43...; (3440 - 2489) / 2 = 475.
             Row{{0, 0, 3440, 1400}, {475, 0, 2964, 1400}},
         }) {
        EXPECT_EQ(OverlayPlace(row.work), row.place) << row.work.left << " " << row.work.Width();
    }
}

TEST_F(OverlayWindow, OpensOnTheMonitorThatIsCapturedAndNotWhereTheCursorIs) {
    TheWindows().monitors = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}, u"Left"},
                             {{1920, 0, 3840, 1080}, {1920, 30, 3840, 1080}, u"Right"}};
    TheMonitors().monitors = {{u"Left", 0, 0, 1920, 1080, true}, {u"Right", 1920, 0, 3840, 1080, false}};
    TheWindows().cursor = {5, 5};
    CurrentSettings().monitorDevice = u"Right";
    ToggleQuickOverlay();
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Record().bounds, (Rectangle{1946, 30, 3813, 1080}));
    EXPECT_TRUE(Record().topmost);
}

TEST_F(OverlayWindow, OpensUnderTheCursorWhenTheCapturedMonitorIsUnplugged) {
    TheWindows().monitors = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}, u"Left"},
                             {{1920, 0, 3840, 1080}, {1920, 30, 3840, 1080}, u"Right"}};
    TheMonitors().monitors = {{u"Left", 0, 0, 1920, 1080, true}, {u"Right", 1920, 0, 3840, 1080, false}};
    CurrentSettings().monitorDevice = u"Gone";
    TheWindows().cursor = {3000, 900};
    ToggleQuickOverlay();
    EXPECT_EQ(Record().bounds, (Rectangle{1946, 30, 3813, 1080}));
    ToggleQuickOverlay();
    TheWindows().cursor = {10, 900};
    ToggleQuickOverlay();
    EXPECT_EQ(Record().bounds, (Rectangle{35, 0, 1884, 1040}));
    ToggleQuickOverlay();
    TheWindows().cursor = {-9000, -9000};
    ToggleQuickOverlay();
    EXPECT_EQ(Record().bounds, (Rectangle{35, 0, 1884, 1040})) << "the primary one, where there is none";
}

TEST_F(OverlayWindow, OpensAndClosesInTurnWithoutTakingTheFocus) {
    EXPECT_FALSE(IsOverlayShown());
    stand_in::TheClock().nowNs = 4711'000'000;
    ToggleQuickOverlay();
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Ui().lastOverlayActivity, 4711U);
    EXPECT_GE(Record().invalidations, 1);
    ToggleQuickOverlay();
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(TheWindows().inFront, nullptr);
    EXPECT_THAT(CallNames(), Not(Contains(std::string("ShowInFront"))));
    EXPECT_THAT(CallNames(), Not(Contains(std::string("ShowWindowPlain"))));
}

TEST_F(OverlayWindow, LooksAtTheGameInFrontBeforeItOpensAndBeforeItCloses) {
    stand_in::TheForeground().process = {ForegroundKind::Known, 99, u"/games/Alpha.exe"};
    ToggleQuickOverlay();
    EXPECT_EQ(Ui().gameName, u"Alpha");
    stand_in::TheForeground().process = {ForegroundKind::Known, 100, u"/games/Beta.exe"};
    ToggleQuickOverlay();
    EXPECT_EQ(Ui().gameName, u"Beta");
}

TEST_F(OverlayWindow, WithoutAWindowNothingOpensOrCloses) {
    overlay_.reset();
    EXPECT_EQ(Ui().overlayWindow, nullptr);
    ToggleQuickOverlay();
    HideOverlay();
    RefreshOverlay();
    EXPECT_FALSE(IsOverlayShown());
}

}  // namespace
}  // namespace zv
