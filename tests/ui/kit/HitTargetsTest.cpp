// The mouse and the keyboard's focus, as sequences of messages to a window that shows three buttons.
#include "ui/kit/HitTargets.h"

#include "ui/Pages.h"
#include "ui/kit/Controls.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HitTargets : public Pages {
protected:
    HitTargets() {
        Show([this](Canvas& canvas) {
            Add(canvas, 1, {10, 10, 20, 30});
            Add(canvas, 2, {20, 10, 40, 30});
            Add(canvas, 3, {100, 10, 140, 30});
        });
        SizeClient(*mainWindow_, 1060, 680);
        PaintMain();
        MainRecord().invalidations = 0;
        OverlayRecord().invalidations = 0;
    }

    void Add(Canvas& canvas, std::int32_t id, const Rectangle& box) {
        DrawButton(canvas,
                   {.id = id, .box = box, .action = [this, id] { done_.push_back(id); }, .enabled = id != disabled_});
    }
    static std::intptr_t At(std::int32_t x, std::int32_t y) {
        return static_cast<std::intptr_t>(static_cast<std::uint32_t>(y & 0xFFFF) << 16U |
                                          static_cast<std::uint32_t>(x & 0xFFFF));
    }
    bool Send(std::uint32_t code, std::intptr_t lParam = 0) {
        return HandleMouseMessage(*mainWindow_, State(), code, lParam);
    }
    void Click(std::int32_t x, std::int32_t y) {
        EXPECT_TRUE(Send(message::leftButtonDown, At(x, y)));
        EXPECT_TRUE(Send(message::leftButtonUp, At(x, y)));
    }
    static UiState& State() { return Ui().mainState; }

    std::int32_t disabled_ = noTarget;
    std::vector<std::int32_t> done_;
};

// The bounds of a target.

TEST_F(HitTargets, LeftAndTopAreInclusiveRightAndBottomExclusive) {
    struct Row {
        Point point;
        std::int32_t id;
    };
    for (const Row& row : {Row{{10, 10}, 1}, Row{{9, 10}, -1}, Row{{10, 9}, -1}, Row{{19, 29}, 1}, Row{{20, 29}, 2},
                           Row{{19, 30}, -1}, Row{{39, 10}, 2}, Row{{40, 10}, -1}}) {
        EXPECT_EQ(HitTest(State(), row.point), row.id) << row.point.x << " " << row.point.y;
    }
}

TEST_F(HitTargets, TheFirstRegisteredOfTwoThatOverlapIsHit) {
    Show([this](Canvas& canvas) {
        Add(canvas, 8, {0, 0, 50, 50});
        Add(canvas, 9, {0, 0, 50, 50});
    });
    PaintMain();
    EXPECT_EQ(HitTest(State(), {5, 5}), 8);
}

TEST_F(HitTargets, ThePointIsInDesignPixels) {
    State().scale = 1.5;
    Send(message::mouseMove, At(30, 44));  // 20, 29 and a third
    EXPECT_EQ(State().hoverId, 2);
    Send(message::mouseMove, At(29, 44));  // 19 and a third
    EXPECT_EQ(State().hoverId, 1);
    Send(message::mouseMove, At(29, 45));
    EXPECT_EQ(State().hoverId, -1);
}

TEST_F(HitTargets, APointLeftOfTheWindowIsNegative) {
    State().targets.push_back({{-20, -20, 0, 0}, nullptr, 77});
    Send(message::mouseMove, At(-5, -5));
    EXPECT_EQ(State().hoverId, 77);
}

// Hover.

TEST_F(HitTargets, AMoveUpdatesTheHoverAndRepaintsOnAChange) {
    EXPECT_TRUE(Send(message::mouseMove, At(12, 12)));
    EXPECT_EQ(State().hoverId, 1);
    EXPECT_EQ(MainRecord().invalidations, 1);
    Send(message::mouseMove, At(13, 12));
    EXPECT_EQ(MainRecord().invalidations, 1);
    EXPECT_EQ(MainRecord().leaveTracks, 2) << "leaving is asked for by every move";
    Send(message::mouseMove, At(30, 12));
    EXPECT_EQ(State().hoverId, 2);
    Send(message::mouseMove, At(60, 12));
    EXPECT_EQ(State().hoverId, -1);
    EXPECT_EQ(MainRecord().invalidations, 3);
}

TEST_F(HitTargets, LeavingTheWindowEndsTheHover) {
    Send(message::mouseMove, At(12, 12));
    EXPECT_TRUE(Send(message::mouseLeave));
    EXPECT_EQ(State().hoverId, -1);
    EXPECT_EQ(MainRecord().invalidations, 2);
}

TEST_F(HitTargets, HoverStaysOnATargetThatVanishedUntilTheNextMoveAndPaintsNothing) {
    Send(message::mouseMove, At(12, 12));
    disabled_ = 1;
    PaintMain();
    EXPECT_EQ(State().hoverId, 1);
    Show({});
    EXPECT_THAT(Render(), IsEmpty());
    Send(message::mouseMove, At(12, 12));
    EXPECT_EQ(State().hoverId, -1);
}

// Clicks.

TEST_F(HitTargets, APressAndAReleaseOnTheSameTargetRunItsAction) {
    EXPECT_TRUE(Send(message::leftButtonDown, At(12, 12)));
    EXPECT_EQ(State().pressedId, 1);
    EXPECT_EQ(State().focusId, 1);
    EXPECT_TRUE(MainRecord().hasMouse);
    EXPECT_EQ(MainRecord().invalidations, 1);
    EXPECT_THAT(done_, IsEmpty());
    EXPECT_TRUE(Send(message::leftButtonUp, At(18, 28)));
    EXPECT_EQ(State().pressedId, -1);
    EXPECT_FALSE(MainRecord().hasMouse);
    EXPECT_THAT(done_, ElementsAre(1));
}

TEST_F(HitTargets, AReleaseOnAnotherTargetDoesNothing) {
    Send(message::leftButtonDown, At(12, 12));
    Send(message::leftButtonUp, At(30, 12));
    EXPECT_THAT(done_, IsEmpty());
    EXPECT_EQ(State().pressedId, -1);
    EXPECT_FALSE(MainRecord().hasMouse);
}

TEST_F(HitTargets, AReleaseOutsideAllTargetsDoesNothing) {
    Send(message::leftButtonDown, At(12, 12));
    Send(message::leftButtonUp, At(60, 60));
    EXPECT_THAT(done_, IsEmpty());
    Send(message::leftButtonDown, At(60, 60));
    Send(message::leftButtonUp, At(60, 60));
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(HitTargets, AReleaseWithoutAPressDoesNothing) {
    Send(message::leftButtonUp, At(12, 12));
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(HitTargets, APressOutsideAllTargetsClearsTheFocusAndCapturesNothing) {
    State().focusId = 2;
    Send(message::leftButtonDown, At(60, 60));
    EXPECT_EQ(State().focusId, -1);
    EXPECT_EQ(State().pressedId, -1);
    EXPECT_FALSE(MainRecord().hasMouse);
    EXPECT_EQ(MainRecord().invalidations, 1);
}

TEST_F(HitTargets, AHiddenWindowDoesNotCaptureTheMouse) {
    HideWindow(*mainWindow_);
    Send(message::leftButtonDown, At(12, 12));
    EXPECT_EQ(State().pressedId, 1);
    EXPECT_FALSE(MainRecord().hasMouse);
}

TEST_F(HitTargets, ADisabledButtonCanNeitherBeClickedNorGetTheFocus) {
    disabled_ = 2;
    PaintMain();
    Click(30, 12);
    EXPECT_THAT(done_, IsEmpty());
    EXPECT_EQ(State().focusId, -1);
    for (int i = 0; i < 5; ++i) {
        MoveFocus(State(), false);
        EXPECT_NE(State().focusId, 2);
    }
}

TEST_F(HitTargets, AClickOnAWindowThatWasNeverPaintedFindsItsTargets) {
    State().targets.clear();
    MainRecord().mustPaint = true;
    Click(12, 12);
    EXPECT_THAT(done_, ElementsAre(1));
}

TEST_F(HitTargets, AButtonThatIsDisabledBetweenPressAndReleaseDoesNothing) {
    Send(message::leftButtonDown, At(12, 12));
    disabled_ = 1;
    PaintMain();
    Send(message::leftButtonUp, At(12, 12));
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(HitTargets, LosingTheMouseEndsThePress) {
    Send(message::leftButtonDown, At(12, 12));
    EXPECT_TRUE(Send(message::captureChanged));
    EXPECT_EQ(State().pressedId, -1);
    EXPECT_EQ(MainRecord().invalidations, 2);
    Send(message::leftButtonUp, At(12, 12));
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(HitTargets, CancelModeEndsThePressAndReleasesTheMouse) {
    Send(message::leftButtonDown, At(12, 12));
    EXPECT_TRUE(Send(message::cancelMode));
    EXPECT_EQ(State().pressedId, -1);
    EXPECT_FALSE(MainRecord().hasMouse);
    EXPECT_GE(MainRecord().invalidations, 2);
    Send(message::leftButtonUp, At(12, 12));
    EXPECT_THAT(done_, IsEmpty());
}

// The pointer's shape and other messages.

TEST_F(HitTargets, TheCursorIsAHandOverATargetAndAnArrowElsewhere) {
    Send(message::mouseMove, At(12, 12));
    EXPECT_TRUE(Send(message::setCursor, hitCode::client));
    EXPECT_EQ(MainRecord().cursor, CursorShape::Hand);
    Send(message::mouseMove, At(60, 60));
    EXPECT_TRUE(Send(message::setCursor, 0x02000000 | hitCode::client));
    EXPECT_EQ(MainRecord().cursor, CursorShape::Arrow);
}

TEST_F(HitTargets, TheCursorOutsideTheClientAreaIsLeftToTheSystem) {
    for (const std::intptr_t code : {-1, 0, 2, 10, 17}) {
        EXPECT_FALSE(Send(message::setCursor, code & 0xFFFF));
    }
    EXPECT_FALSE(MainRecord().cursor.has_value());
}

TEST_F(HitTargets, OtherMessagesAreNotHandled) {
    for (const std::uint32_t code :
         {message::null, message::paint, message::close, message::timer, message::hotKey, message::mouseWheel,
          message::rightButtonUp, message::leftButtonDoubleClick, message::keyDown, message::mouseActivate}) {
        EXPECT_FALSE(Send(code, At(12, 12))) << code;
    }
    EXPECT_EQ(MainRecord().invalidations, 0);
}

// Activation.

TEST_F(HitTargets, AnActivationRepaintsBothWindowsEvenWithoutATarget) {
    ActivateTarget(State(), 2);
    EXPECT_THAT(done_, ElementsAre(2));
    EXPECT_EQ(MainRecord().invalidations, 1);
    EXPECT_EQ(OverlayRecord().invalidations, 1);
    ActivateTarget(State(), 99);
    EXPECT_THAT(done_, ElementsAre(2));
    EXPECT_EQ(MainRecord().invalidations, 2);
    EXPECT_EQ(OverlayRecord().invalidations, 2);
}

TEST_F(HitTargets, TheFirstTargetOfAnIdIsActivated) {
    std::string done;
    Show([&](Canvas& canvas) {
        DrawButton(canvas, {.id = 14, .box = {0, 0, 9, 9}, .action = [&] { done += "help "; }});
        DrawButton(canvas, {.id = 14, .box = {50, 0, 59, 9}, .action = [&] { done += "overlay "; }});
    });
    PaintMain();
    Click(55, 5);
    EXPECT_EQ(done, "help ");
}

TEST_F(HitTargets, AnActionSurvivesThePaintThatItCauses) {
    auto alive = std::make_shared<std::string>("alive");
    std::string seen;
    Show([&, alive](Canvas& canvas) {
        DrawButton(canvas, {.id = 1, .box = {0, 0, 9, 9}, .action = [this, alive, &seen] {
                                State().targets.clear();
                                PaintMain();
                                seen = *alive;
                            }});
    });
    PaintMain();
    Click(5, 5);
    EXPECT_EQ(seen, "alive");
}

TEST_F(HitTargets, AnActionMayDestroyTheWindow) {
    Show([this](Canvas& canvas) {
        DrawButton(canvas, {.id = 1, .box = {0, 0, 9, 9}, .action = [] { Ui().mainWindow = nullptr; }});
    });
    PaintMain();
    MainRecord().invalidations = 0;
    ActivateTarget(State(), 1);
    EXPECT_EQ(MainRecord().invalidations, 0);
    EXPECT_EQ(OverlayRecord().invalidations, 1);
}

TEST_F(HitTargets, ATargetWithoutAnActionIsHarmless) {
    Show([](Canvas& canvas) { DrawButton(canvas, {.id = 1, .box = {0, 0, 9, 9}}); });
    PaintMain();
    Click(5, 5);
}

// The keyboard's focus.

TEST_F(HitTargets, TheFocusCyclesInTheOrderOfThePage) {
    std::vector<std::int32_t> forwards;
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(MoveFocus(State(), false));
        forwards.push_back(State().focusId);
    }
    EXPECT_THAT(forwards, ElementsAre(1, 2, 3, 1));
    std::vector<std::int32_t> backwards;
    for (int i = 0; i < 3; ++i) {
        MoveFocus(State(), true);
        backwards.push_back(State().focusId);
    }
    EXPECT_THAT(backwards, ElementsAre(3, 2, 1));
}

TEST_F(HitTargets, MovingBackWithoutAFocusSelectsTheLastButOne) {
    MoveFocus(State(), true);
    EXPECT_EQ(State().focusId, 2);
    State().focusId = 99;
    MoveFocus(State(), true);
    EXPECT_EQ(State().focusId, 2);
    State().targets.resize(1);
    State().focusId = -1;
    MoveFocus(State(), true);
    EXPECT_EQ(State().focusId, 1);
}

TEST_F(HitTargets, WithoutTargetsTheFocusStays) {
    State().targets.clear();
    State().focusId = 5;
    EXPECT_FALSE(MoveFocus(State(), false));
    EXPECT_FALSE(MoveFocus(State(), true));
    EXPECT_EQ(State().focusId, 5);
}

}  // namespace
}  // namespace zv
