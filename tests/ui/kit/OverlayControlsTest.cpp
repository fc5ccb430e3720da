// The overlay's own buttons and tiles, and the line icons on them.
#include "ui/kit/OverlayControls.h"

#include "ui/Pages.h"
#include "ui/kit/Colors.h"
#include "ui/kit/OverlayIcons.h"

namespace zv {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class OverlayControls : public Pages {
protected:
    std::vector<std::string> Drawn(const OverlayButton& button) {
        Show([button](Canvas& canvas) { DrawOverlayButton(canvas, button); });
        return Render();
    }
    std::vector<std::string> Drawn(const OverlayTile& tile) {
        Show([tile](Canvas& canvas) { DrawOverlayTile(canvas, tile); });
        return Render();
    }
    static UiState& State() { return Ui().mainState; }

    std::vector<std::string> Icon(OverlayIcon icon, OverlayIconState state = {}) {
        const Owned<Canvas> canvas = MakeCanvas(10, 10);
        DrawOverlayIcon(*canvas, icon, state);
        return fake::Drawn(*canvas);
    }
};

// Icons.

TEST_F(OverlayControls, TheWindowHasATitleBar) {
    EXPECT_THAT(Icon(OverlayIcon::Window), ElementsAre("outline -11,-8 11,-8 11,8 -11,8 pen 2 241,242,250",
                                                       "lines -11,-3 11,-3 pen 2 241,242,250"));
}

TEST_F(OverlayControls, ThePictureHasMountainsAndASun) {
    EXPECT_THAT(Icon(OverlayIcon::Picture), ElementsAre("outline -11,-9 11,-9 11,9 -11,9 pen 2 241,242,250",
                                                        "lines -11,6 -4,-1 2,5 5,2 11,7 pen 2 241,242,250",
                                                        "arc 5,-4 radius 2 from 0 by 360 pen 2 241,242,250"));
}

TEST_F(OverlayControls, TheMicrophoneIsACapsuleInAnArcOnAStemWithAFoot) {
    EXPECT_THAT(Icon(OverlayIcon::Microphone),
                ElementsAre("arc 0,-6 radius 4 from 180 by 180 pen 2 241,242,250", "lines -4,-6 -4,1 pen 2 241,242,250",
                            "lines 4,-6 4,1 pen 2 241,242,250", "arc 0,1 radius 4 from 0 by 180 pen 2 241,242,250",
                            "arc 0,1 radius 7 from 0 by 180 pen 2 241,242,250", "lines 0,8 0,11 pen 2 241,242,250",
                            "lines -4,11 4,11 pen 2 241,242,250"));
}

TEST_F(OverlayControls, TheSpeakerIsABoxWithAnArc) {
    EXPECT_THAT(Icon(OverlayIcon::Speaker), ElementsAre("outline -10,-3 -6,-3 0,-8 0,8 -6,3 -10,3 pen 2 241,242,250",
                                                        "arc 0,0 radius 8 from -50 by 100 pen 2 241,242,250"));
}

TEST_F(OverlayControls, TheGearIsTheCachedOneScaledDown) {
    EXPECT_THAT(Icon(OverlayIcon::Gear), ElementsAre("push 0,0 scale 0.4", "pixels -40,-40,40,40 of 320x320", "pop"));
}

TEST_F(OverlayControls, AnActiveIconIsPurpleAndTheGearIsWhenTheMouseIsOverIt) {
    for (const OverlayIcon icon :
         {OverlayIcon::Window, OverlayIcon::Picture, OverlayIcon::Microphone, OverlayIcon::Speaker}) {
        EXPECT_THAT(Icon(icon, {.active = true}), Each(EndsWith(" pen 2 151,119,255")));
        EXPECT_THAT(Icon(icon, {.hovered = true}), Each(EndsWith(" pen 2 241,242,250")));
    }
    const auto gearColor = [&](OverlayIconState state) {
        ClearIconCache();
        fake::ResetCanvas();
        Icon(OverlayIcon::Gear, state);
        return fake::Drawings("outline").front();
    };
    EXPECT_THAT(gearColor({.hovered = true}), EndsWith(" 151,119,255"));
    EXPECT_THAT(gearColor({.active = true}), EndsWith(" 241,242,250"));
    EXPECT_THAT(gearColor({}), EndsWith(" 241,242,250"));
}

// Buttons.

TEST_F(OverlayControls, TheLabelIsBesideOrBelowTheIcon) {
    const Rectangle box{100, 200, 200, 260};
    EXPECT_THAT(Drawn(OverlayButton{.id = 1, .box = box, .label = u"Go"}),
                ElementsAre("fill 100,200,200,260 0,0,0", "text 100,200,200,260 15/400 centred 241,242,250 \"Go\""));
    const auto beside = Drawn(OverlayButton{.id = 1, .box = box, .label = u"Go", .icon = OverlayIcon::Window});
    EXPECT_EQ(beside[1], "push 124,230 scale 1");
    EXPECT_EQ(beside.back(), "text 140,200,200,260 15/400 centred 241,242,250 \"Go\"");
    const auto below = Drawn(OverlayButton{.id = 1, .box = box, .label = u"Go", .icon = OverlayIcon::Speaker});
    EXPECT_EQ(below[1], "push 150,217 scale 1");
    EXPECT_EQ(below.back(), "text 100,231,200,260 15/400 centred 241,242,250 \"Go\"");
}

TEST_F(OverlayControls, AButtonsLabelColourShowsItsState) {
    struct Row {
        bool active, enabled;
        const char* color;
    };
    for (const Row& row : {Row{false, true, "241,242,250"}, Row{true, true, "151,119,255"},
                           Row{false, false, "158,164,187"}, Row{true, false, "158,164,187"}}) {
        const auto lines = Drawn(
            OverlayButton{.id = 1, .box = {0, 0, 9, 9}, .label = u"Go", .active = row.active, .enabled = row.enabled});
        EXPECT_EQ(lines.back(), std::string("text 0,0,9,9 15/400 centred ") + row.color + " \"Go\"");
        EXPECT_EQ(State().targets.size(), row.enabled ? 1U : 0U);
    }
}

TEST_F(OverlayControls, AButtonRunsItsActionAndADisabledOneHasNone) {
    int done = 0;
    Drawn(OverlayButton{.id = 7, .box = {1, 2, 3, 4}, .action = [&] { ++done; }});
    ASSERT_EQ(State().targets.size(), 1U);
    EXPECT_EQ(State().targets[0].id, 7);
    EXPECT_EQ(State().targets[0].box, (Rectangle{1, 2, 3, 4}));
    ActivateTarget(State(), 7);
    EXPECT_EQ(done, 1);
    Drawn(OverlayButton{.id = 7, .box = {1, 2, 3, 4}, .action = [&] { ++done; }, .enabled = false});
    ActivateTarget(State(), 7);
    EXPECT_EQ(done, 1);
}

// Tiles.

TEST_F(OverlayControls, ATileHasItsTitleItsIconAndItsStatus) {
    const OverlayTile tile{
        .id = 7, .box = {100, 200, 230, 330}, .title = u"Title", .status = u"Status", .icon = IconKind::Camera};
    EXPECT_THAT(Drawn(tile),
                ElementsAre("fill 100,200,230,330 0,0,0", "text 104,207,226,227 15/400 centred 241,242,250 \"Title\"",
                            "push 165,264 scale 0.78", "pixels -40,-40,40,40 of 320x320", "pop",
                            "text 104,305,226,325 15/400 centred 158,164,187 \"Status\""));
    EXPECT_EQ(State().targets.size(), 1U);
    EXPECT_EQ(State().targets[0].box, tile.box);
}

TEST_F(OverlayControls, AnActiveTilesIconAndStatusArePurpleAndItsTitleIsNot) {
    ClearIconCache();
    const auto lines = Drawn(OverlayTile{.id = 7,
                                         .box = {100, 200, 230, 330},
                                         .title = u"Title",
                                         .status = u"Status",
                                         .icon = IconKind::Broadcast,
                                         .active = true});
    EXPECT_THAT(lines, Contains("frame 100,200,230,330 depth 2 151,119,255"));
    EXPECT_THAT(lines, Contains("text 104,207,226,227 15/400 centred 241,242,250 \"Title\""));
    EXPECT_EQ(lines.back(), "text 104,305,226,325 15/400 centred 151,119,255 \"Status\"");
    EXPECT_THAT(fake::Drawings("arc"), Each(EndsWith(" 151,119,255")));
}

TEST_F(OverlayControls, APressedControlsIconIsDrawnWithoutTheCache) {
    State().pressedId = 7;
    const auto tile = Drawn(OverlayTile{.id = 7, .box = {100, 200, 230, 330}, .icon = IconKind::Camera});
    EXPECT_THAT(tile, Not(Contains(StartsWith("pixels"))));
    EXPECT_THAT(tile, Contains("push 165,264 scale 0.78"));
    EXPECT_THAT(tile, Contains("arc 0,4 radius 12 from 0 by 360 pen 4 241,242,250"));
    State().pressedId = 8;
    const auto gear = Drawn(OverlayButton{.id = 8, .box = {0, 0, 44, 52}, .icon = OverlayIcon::Gear});
    EXPECT_THAT(gear, Not(Contains(StartsWith("pixels"))));
    EXPECT_THAT(gear, Contains("push 0,0 scale 0.4"));
    EXPECT_THAT(gear, Contains("arc 0,0 radius 9 from 0 by 360 pen 3.5 241,242,250"));
}

TEST_F(OverlayControls, ADisabledTileIsFramedAndNotRegistered) {
    const auto lines = Drawn(OverlayTile{.id = 7, .box = {0, 0, 90, 90}, .action = [] {}, .enabled = false});
    EXPECT_EQ(lines[1], "frame 0,0,90,90 depth 2 151,119,255");
    EXPECT_THAT(State().targets, IsEmpty());
}

TEST_F(OverlayControls, TheFocusIsNotShown) {
    State().focusId = 7;
    EXPECT_THAT(Drawn(OverlayButton{.id = 7, .box = {0, 0, 90, 90}}), Not(Contains(StartsWith("frame"))));
    EXPECT_THAT(Drawn(OverlayTile{.id = 7, .box = {0, 0, 90, 90}}), Not(Contains(StartsWith("frame"))));
}

}  // namespace
}  // namespace zv
