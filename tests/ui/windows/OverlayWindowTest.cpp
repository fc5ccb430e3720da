// The overlay's window: where it opens, how it closes, and that it leaves the game alone.
#include "ui/QuickOverlay.h"
#include "ui/navigation/Navigation.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

using fake::CallNames;
using fake::CountOf;
using fake::TheMonitors;
using fake::TheWindows;
using testing::Contains;
using testing::Not;

class OverlayWindow : public QuickOverlay {};

// Where it opens.

TEST_F(OverlayWindow, FillsTheWorkAreaInHeightOrWidthCentredAtTheTop) {
    struct Row {
        Rectangle work;
        Rectangle bounds;
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
        EXPECT_EQ(OverlayBounds(row.work), row.bounds) << row.work.left << " " << row.work.Width();
    }
}

TEST_F(OverlayWindow, OpensOnTheCapturedMonitor) {
    fake::TheMonitors().workAreas = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}},
                                     {{1920, 0, 3840, 1080}, {1920, 30, 3840, 1080}}};
    TheMonitors().monitors = {{u"Left", 0, 0, 1920, 1080, -1, true}, {u"Right", 1920, 0, 1920, 1080, -1, false}};
    TheWindows().cursor = {5, 5};
    CurrentSettings().monitorDevice = u"Right";
    ToggleQuickOverlay();
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Record().bounds, (Rectangle{1946, 30, 3813, 1080}));
    EXPECT_TRUE(Record().topmost);
}

TEST_F(OverlayWindow, OpensUnderTheCursorWhenTheCapturedMonitorIsUnplugged) {
    fake::TheMonitors().workAreas = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}},
                                     {{1920, 0, 3840, 1080}, {1920, 30, 3840, 1080}}};
    TheMonitors().monitors = {{u"Left", 0, 0, 1920, 1080, -1, true}, {u"Right", 1920, 0, 1920, 1080, -1, false}};
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

TEST_F(OverlayWindow, OpensAndClosesWithoutActivation) {
    EXPECT_FALSE(IsOverlayShown());
    fake::TheClock().nowNs = 4711'000'000;
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

TEST_F(OverlayWindow, RefreshesTheGameNameWhenItOpensAndCloses) {
    fake::TheFront() = {FrontKind::Known, 99, u"/games/Alpha.exe"};
    ToggleQuickOverlay();
    EXPECT_EQ(Ui().gameName, u"Alpha");
    fake::TheFront() = {FrontKind::Known, 100, u"/games/Beta.exe"};
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

TEST_F(OverlayWindow, KeepsItsPageWhileItIsHidden) {
    ToggleQuickOverlay();
    Ui().overlayPage = 3;
    Ui().replayPopoverOpen = true;
    Ui().settingsSection = 2;
    ToggleQuickOverlay();
    ToggleQuickOverlay();
    EXPECT_EQ(Ui().overlayPage, 3);
    EXPECT_EQ(Ui().settingsSection, 2);
    EXPECT_TRUE(Ui().replayPopoverOpen);
}

// Messages.

TEST_F(OverlayWindow, TheOverlayIsKnownFromItsCreationToItsDestruction) {
    EXPECT_EQ(Ui().overlayWindow, overlay_.get());
    EXPECT_NE(State().pages, nullptr);
    overlay_.reset();
    EXPECT_EQ(Ui().overlayWindow, nullptr);
}

TEST_F(OverlayWindow, ARightClickOrACloseMessageHidesItAndDestroysNothing) {
    for (const std::uint32_t code : {message::rightButtonUp, message::close}) {
        ToggleQuickOverlay();
        EXPECT_EQ(SendToOverlay(code, 0, At(500, 500)), 0);
        EXPECT_FALSE(IsOverlayShown());
        EXPECT_EQ(Ui().overlayWindow, overlay_.get());
    }
    ToggleQuickOverlay();
    SendToOverlay(message::rightButtonDown, 0, At(500, 500));
    EXPECT_TRUE(IsOverlayShown()) << "the press alone";
}

TEST_F(OverlayWindow, AClickNeverActivatesItAndNothingIsErased) {
    EXPECT_EQ(SendToOverlay(message::mouseActivate), 3);
    EXPECT_EQ(SendToOverlay(message::eraseBackground), 1);
}

TEST_F(OverlayWindow, PaintsItsPagesAtItsOwnScale) {
    fake::TheMonitors().workAreas = {{{0, 0, 1515, 852}, {0, 0, 1515, 852}}};
    ToggleQuickOverlay();
    fake::PaintIfNeeded(*overlay_);
    EXPECT_DOUBLE_EQ(State().scale, 1.5);
    EXPECT_EQ(Record().pixelWidth, 1515);
    EXPECT_EQ(Record().pixelHeight, 852);
    EXPECT_EQ(HitTest(State(), {995, 20}), 901);
    SendToOverlay(message::mouseMove, 0, At(1492, 30));  // 994 and two thirds, 20
    EXPECT_EQ(State().hoverId, 901);
}

TEST_F(OverlayWindow, MouseMovesAreHandledAndTimed) {
    ToggleQuickOverlay();
    fake::PaintIfNeeded(*overlay_);
    fake::TheClock().nowNs = 99'000'000;
    EXPECT_EQ(SendToOverlay(message::mouseMove, 0, At(0, 0)), 0);
    EXPECT_EQ(Ui().lastOverlayActivity, 99U);
    EXPECT_EQ(Record().leaveTracks, 1);
    fake::TheClock().nowNs = 100'000'000;
    SendToOverlay(message::mouseLeave);
    EXPECT_EQ(Ui().lastOverlayActivity, 99U) << "only a move is a use";
}

TEST_F(OverlayWindow, TheCursorIsAHandOverTargetsAndLeftToTheSystemOutside) {
    ToggleQuickOverlay();
    State().hoverId = 901;
    EXPECT_EQ(SendToOverlay(message::setCursor, 0, hitCode::client), 1);
    EXPECT_EQ(Record().cursor, CursorShape::Hand);
    State().hoverId = noTarget;
    EXPECT_EQ(SendToOverlay(message::setCursor, 0, hitCode::client), 1);
    EXPECT_EQ(Record().cursor, CursorShape::Arrow);
    const int before = CountOf("DefaultProcedure");
    SendToOverlay(message::setCursor, 0, 2);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 1);
}

TEST_F(OverlayWindow, APressThatIsDraggedOffDoesNothing) {
    fake::TheMonitors().workAreas = {{{0, 0, 1010, 568}, {0, 0, 1010, 568}}};
    ToggleQuickOverlay();
    SendToOverlay(message::leftButtonDown, 0, At(995, 20));  // the first click ever: its targets are painted for it
    EXPECT_EQ(State().pressedId, 901);
    SendToOverlay(message::mouseMove, mouseState::leftButton, At(230, 110));
    EXPECT_EQ(State().pressedId, 901);
    SendToOverlay(message::leftButtonUp, 0, At(230, 110));
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Ui().statusText, u"Ready") << "and the button under the release was not clicked either";
    SendToOverlay(message::leftButtonDown, 0, At(995, 20));
    SendToOverlay(message::leftButtonUp, 0, At(300, 300));
    EXPECT_TRUE(IsOverlayShown());
    SendToOverlay(message::leftButtonDown, 0, At(995, 20));
    SendToOverlay(message::leftButtonUp, 0, At(990, 30));
    EXPECT_FALSE(IsOverlayShown());
}

TEST_F(OverlayWindow, APressThatIsReleasedOverTheGameEndsAtTheNextMove) {
    fake::TheMonitors().workAreas = {{{0, 0, 1010, 568}, {0, 0, 1010, 568}}};
    ToggleQuickOverlay();
    SendToOverlay(message::leftButtonDown, mouseState::leftButton, At(995, 20));
    EXPECT_TRUE(Record().hasMouse);
    Record().invalidations = 0;
    // The game receives the release.
    SendToOverlay(message::mouseMove, mouseState::shift | mouseState::control, At(995, 20));
    EXPECT_EQ(State().pressedId, noTarget);
    EXPECT_FALSE(Record().hasMouse);
    EXPECT_GE(Record().invalidations, 1);
    // A press in the game that is dragged here and released does nothing.
    SendToOverlay(message::mouseMove, mouseState::leftButton, At(995, 20));
    SendToOverlay(message::leftButtonUp, 0, At(995, 20));
    EXPECT_TRUE(IsOverlayShown());
}

TEST_F(OverlayWindow, ASizeChangeRepaintsIt) {
    Record().invalidations = 0;
    EXPECT_EQ(SendToOverlay(message::size), 0);
    EXPECT_EQ(Record().invalidations, 1);
}

TEST_F(OverlayWindow, OtherMessagesAreLeftToTheSystem) {
    SendToOverlay(message::keyDown, 0x1B);
    EXPECT_EQ(CountOf("DefaultProcedure"), 1);
}

// When it is repainted without an event.

TEST_F(OverlayWindow, TheSignatureHasABitForEachStateOfTheTiles) {
    CurrentSettings().micEnabled = false;
    CurrentSettings().gameAudioEnabled = false;
    EXPECT_EQ(OverlaySignature(), 0U);
    Engine().state = EngineState::Recording;
    EXPECT_EQ(OverlaySignature(), 2U);
    Engine().state = EngineState::Ready;
    Engine().replayRunning = true;
    EXPECT_EQ(OverlaySignature(), 4U);
    Engine().replayRunning = false;
    CurrentSettings().micEnabled = true;
    EXPECT_EQ(OverlaySignature(), 8U);
    CurrentSettings().micEnabled = false;
    CurrentSettings().gameAudioEnabled = true;
    EXPECT_EQ(OverlaySignature(), 16U);
    CurrentSettings().gameAudioEnabled = false;
    Ui().capture.secondsReady = 1;
    EXPECT_EQ(OverlaySignature(), 32U);
    Ui().capture.secondsReady = 300;
    EXPECT_EQ(OverlaySignature(), 32U);
    Ui().capture.secondsReady = 0;
    OccupyJob();
    EXPECT_EQ(OverlaySignature(), 1U);
}

TEST_F(OverlayWindow, EverythingAtOnceIsAllSixBits) {
    CurrentSettings().micEnabled = true;
    CurrentSettings().gameAudioEnabled = true;
    Engine().state = EngineState::Recording;
    Engine().replayRunning = true;
    Ui().capture.secondsReady = 7;
    OccupyJob();
    EXPECT_EQ(OverlaySignature(), 63U);
}

TEST_F(OverlayWindow, IsRepaintedOnlyIfItIsShownAndItsSignatureHasChanged) {
    Record().invalidations = 0;
    RefreshOverlay();
    EXPECT_EQ(Record().invalidations, 0);
    EXPECT_EQ(Ui().overlaySignature, 0xFFFFFFFFU) << "what was never shown is not remembered";
    ToggleQuickOverlay();
    Record().invalidations = 0;
    RefreshOverlay();
    EXPECT_EQ(Record().invalidations, 1) << "the first one differs from all";
    RefreshOverlay();
    EXPECT_EQ(Record().invalidations, 1);
    Ui().capture.secondsReady = 1;
    RefreshOverlay();
    EXPECT_EQ(Record().invalidations, 2);
    Ui().capture.secondsReady = 2;
    RefreshOverlay();
    EXPECT_EQ(Record().invalidations, 2);
}

}  // namespace
}  // namespace zv
