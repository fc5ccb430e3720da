// A popup menu without a window: its bounds, its painting, and its input.
#include "platform/software/PopupMenuModel.h"

#include <gmock/gmock.h>

#include "fake/Canvas.h"

namespace zv {
namespace {

using testing::ElementsAre;

constexpr Rectangle monitor{0, 0, 800, 600};
constexpr std::uint32_t enterKey = 13;
constexpr std::uint32_t escapeKey = 27;
constexpr std::uint32_t spaceKey = 32;
constexpr std::uint32_t upKey = 38;
constexpr std::uint32_t downKey = 40;

const MenuItem items[] = {{7, u"Open"}, {0, u""}, {9, u"Exit"}};

/// 100 design pixels for labels: 132 wide; rows at 4 to 32, 32 to 41 and 41 to 69; 73 high.
PopupMenuModel Make(double scale = 1) { return MakePopupMenuModel(items, 100, scale); }

TEST(PopupMenuModel, OpensBesideThePointerInsideItsMonitor) {
    const PopupMenuModel menu = Make();
    EXPECT_EQ(MenuBoundsAt(menu, {10, 20}, monitor), (Rectangle{10, 20, 142, 93}));
    EXPECT_EQ(MenuBoundsAt(menu, {668, 527}, monitor), (Rectangle{668, 527, 800, 600}));
    EXPECT_EQ(MenuBoundsAt(menu, {669, 528}, monitor), (Rectangle{537, 455, 669, 528}));
    EXPECT_EQ(MenuBoundsAt(menu, {50, 50}, {0, 0, 100, 60}), (Rectangle{0, 0, 132, 73})) << "larger than the monitor";
    EXPECT_EQ(MenuBoundsAt(Make(1.5), {10, 20}, monitor), (Rectangle{10, 20, 208, 129}));
}

TEST(PopupMenuModel, PaintsLabelsASeparatorAndTheHighlight) {
    PopupMenuModel menu = Make(1.25);
    menu.highlighted = 2;
    const Owned<Font> font = MakeFont(menuFontHeight, 400);
    const Owned<Canvas> canvas = MakeCanvas(165, 91);
    PaintMenu(menu, *canvas, *font);
    EXPECT_THAT(
        fake::Drawn(*canvas),
        ElementsAre("push 0,0 scale 1.25", "fill 0,0,132,73 26,28,38", "frame 0,0,132,73 depth 1 69,72,92",
                    "text 16,4,128,32 17/400 241,242,250 \"Open\"", "fill 8,36,124,37 69,72,92",
                    "round 4,41,128,69 corner 8 57,47,84", "text 16,41,128,69 17/400 241,242,250 \"Exit\"", "pop"));
}

TEST(PopupMenuModel, MarksACheckedItemInAColumnOfItsOwn) {
    const MenuItem monitors[] = {{100, u"DP-1"}, {101, u"DP-2", true}};
    const PopupMenuModel menu = MakePopupMenuModel(monitors, 100, 1);
    EXPECT_EQ(menu.width, 152);
    const Owned<Font> font = MakeFont(menuFontHeight, 400);
    const Owned<Canvas> canvas = MakeCanvas(152, 64);
    PaintMenu(menu, *canvas, *font);
    EXPECT_THAT(fake::Drawn(*canvas),
                ElementsAre("push 0,0 scale 1", "fill 0,0,152,64 26,28,38", "frame 0,0,152,64 depth 1 69,72,92",
                            "text 36,4,148,32 17/400 241,242,250 \"DP-1\"", "lines 14,46 18,50 26,41 pen 2 241,242,250",
                            "text 36,32,148,60 17/400 241,242,250 \"DP-2\"", "pop"));
}

TEST(PopupMenuModel, HighlightsTheItemUnderThePointer) {
    PopupMenuModel menu = Make();
    EXPECT_TRUE(MovePointerOverMenu(menu, {4, 4}));
    EXPECT_EQ(menu.highlighted, 0);
    EXPECT_FALSE(MovePointerOverMenu(menu, {127, 31})) << "the same item";
    EXPECT_TRUE(MovePointerOverMenu(menu, {50, 35})) << "a separator";
    EXPECT_EQ(menu.highlighted, -1);
    EXPECT_TRUE(MovePointerOverMenu(menu, {50, 68}));
    EXPECT_EQ(menu.highlighted, 2);
    EXPECT_TRUE(MovePointerOverMenu(menu, {128, 68})) << "right of the row";
    EXPECT_EQ(menu.highlighted, -1);
}

TEST(PopupMenuModel, ChoosesByTheReleaseOfAButton) {
    PopupMenuModel menu = Make(2);
    ReleaseButtonOnMenu(menu, {100, 70});  // separator
    PressButtonOnMenu(menu, {100, 100});
    EXPECT_FALSE(menu.closed);
    ReleaseButtonOnMenu(menu, {100, 100});
    EXPECT_TRUE(menu.closed);
    EXPECT_EQ(menu.chosenId, 9);
}

TEST(PopupMenuModel, ClosesWithoutAChoiceByAPressOutside) {
    for (const Point outside : {Point{-1, 10}, Point{10, -1}, Point{132, 10}, Point{10, 73}}) {
        PopupMenuModel menu = Make();
        PressButtonOnMenu(menu, {131, 72});
        EXPECT_FALSE(menu.closed);
        PressButtonOnMenu(menu, outside);
        EXPECT_TRUE(menu.closed) << outside.x << " " << outside.y;
        EXPECT_EQ(menu.chosenId, 0);
    }
}

TEST(PopupMenuModel, MovesTheHighlightByKeysAroundTheEndsAndOverSeparators) {
    PopupMenuModel menu = Make();
    EXPECT_TRUE(PressKeyOnMenu(menu, downKey));
    EXPECT_EQ(menu.highlighted, 0);
    EXPECT_TRUE(PressKeyOnMenu(menu, downKey));
    EXPECT_EQ(menu.highlighted, 2);
    EXPECT_TRUE(PressKeyOnMenu(menu, downKey));
    EXPECT_EQ(menu.highlighted, 0);
    EXPECT_TRUE(PressKeyOnMenu(menu, upKey));
    EXPECT_EQ(menu.highlighted, 2);
    PopupMenuModel other = Make();
    EXPECT_TRUE(PressKeyOnMenu(other, upKey));
    EXPECT_EQ(other.highlighted, 2);
    EXPECT_FALSE(PressKeyOnMenu(other, 65)) << "any other key";
    EXPECT_FALSE(other.closed);
}

TEST(PopupMenuModel, ChoosesByEnterAndSpaceAndClosesByEscape) {
    for (const std::uint32_t key : {enterKey, spaceKey}) {
        PopupMenuModel menu = Make();
        PressKeyOnMenu(menu, key);
        EXPECT_FALSE(menu.closed) << "nothing is highlighted";
        PressKeyOnMenu(menu, downKey);
        PressKeyOnMenu(menu, key);
        EXPECT_TRUE(menu.closed);
        EXPECT_EQ(menu.chosenId, 7);
    }
    PopupMenuModel menu = Make();
    PressKeyOnMenu(menu, downKey);
    PressKeyOnMenu(menu, escapeKey);
    EXPECT_TRUE(menu.closed);
    EXPECT_EQ(menu.chosenId, 0);
}

}  // namespace
}  // namespace zv
