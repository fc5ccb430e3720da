// The main window's frame: sidebar, heading, status strip, and the page between them.
#include "ui/windows/MainFrame.h"

#include "ui/DesktopPages.h"

namespace zv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

struct PageTexts {
    const char* name;
    const char* heading;
    const char* subtitle;
};
constexpr PageTexts pageTexts[] = {
    {"Home", "Welcome to Zorvel.", "Your capture companion. Everything is a shortcut away."},
    {"Recommended", "Recommended for you.", "Recommendations from ZV."},
    {"Settings", "Make it yours.", "Choose how ZV fits your game."},
    {"Updates", "Keep Zorvel current.", "New versions and release notes."},
    {"Help", "Here to help.", "Shortcuts, compatibility and troubleshooting."},
};

// The frame.

TEST_F(DesktopPages, AreFramedBySidebarHeadingAndStatus) {
    Ui().statusText = u"All is well";
    const Lines texts = Texts(Paint());
    for (const char* text :
         {"ZORVEL", "CAPTURE \\u00C2\\u00B7 EDIT \\u00C2\\u00B7 SHARE", "SAVE A MOMENT", "Alt + F10",
          "Welcome to Zorvel.", "Your capture companion. Everything is a shortcut away.", "All is well"}) {
        EXPECT_THAT(texts, Contains(text));
    }
}

TEST_F(DesktopPages, FitTheSizeOfTheWindow) {
    Record().dpi = 192;
    Size(2120, 1360);  // twice 1060 by 680
    fake::ResetCanvas();
    Send(message::paint);
    const Lines lines = fake::Drawings();
    EXPECT_THAT(lines, Contains("push 0,0 scale 2"));
    EXPECT_THAT(lines, Contains("fill 0,0,190,680 21,23,32"));
    EXPECT_THAT(lines, Contains("text 24,562,174,589 15/400 158,164,187 \"SAVE A MOMENT\""));
    EXPECT_THAT(lines, Contains("round 871,31,1030,74 corner 12 37,40,54"));
    EXPECT_THAT(lines, Contains("fill 190,640,1060,680 22,24,32"));
    // Home between 222 and 1030, its middle at 626.
    EXPECT_THAT(lines, Contains("round 222,362,618,526 corner 14 26,28,38"));
    EXPECT_THAT(lines, Contains("round 634,362,1030,526 corner 14 26,28,38"));
}

TEST_F(DesktopPages, EachHasItsHeadingSubtitleAndSelectedButton) {
    for (std::int32_t page = 0; page < 5; ++page) {
        SCOPED_TRACE(page);
        Click(95, 145 + 57 * page);
        EXPECT_EQ(Ui().desktopPage, page);
        Send(message::mouseLeave);
        const Lines lines = Paint();
        const PageTexts& texts = pageTexts[page];
        const std::string box = "16," + std::to_string(122 + 57 * page) + ",174," + std::to_string(168 + 57 * page);
        EXPECT_THAT(lines, Contains("round " + box + " corner 12 57,47,84"));
        EXPECT_THAT(lines, Contains("text " + box + " 17/600 centred 241,242,250 \"" + texts.name + "\""));
        EXPECT_THAT(lines, Contains(std::string("text 222,24,965,66 30/700 241,242,250 \"") + texts.heading + "\""));
        EXPECT_THAT(lines, Contains(std::string("text 222,69,965,94 17/400 158,164,187 \"") + texts.subtitle + "\""));
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "round " + box + " corner 12 57,47,84"), 1);
    }
}

TEST_F(DesktopPages, ChoosingOneEndsThePress) {
    Send(message::paint);
    Ui().mainState.pressedId = 77;
    ActivateTarget(Ui().mainState, 12);
    EXPECT_EQ(Ui().desktopPage, 2);
    EXPECT_EQ(Ui().mainState.pressedId, noTarget);
    EXPECT_TRUE(Record().mustPaint);
}

TEST_F(DesktopPages, HaveTheirButtons) {
    const std::vector<std::int32_t> buttons[] = {
        {1200, 1201, 1202}, {1210}, {1240, 1241, 1242, 1243, 1244, 1245, 1246}, {1260}, {1250, 1251}};
    for (std::int32_t page = 0; page < 5; ++page) {
        Ui().desktopPage = page;
        Paint();
        std::vector<std::int32_t> expected{10, 11, 12, 13, 14, 14};
        const auto& own = buttons[page];
        expected.insert(expected.end(), own.begin(), own.end());
        EXPECT_EQ(Ids(), expected);
    }
}

TEST_F(DesktopPages, NameTheConfiguredShortcuts) {
    CurrentSettings().bindMods = {1, 6, 3, 3};
    CurrentSettings().bindKeys = {65, 88, 82, 83};
    const Lines lines = Paint();
    EXPECT_THAT(lines, Contains("text 24,655,174,683 17/600 151,119,255 \"Ctrl + Shift + X\""));
    EXPECT_THAT(lines, Contains("text 248,237,1124,268 17/400 158,164,187 \"Alt + A opens replay, recording, "
                                "screenshots and your gallery.\""));
}

TEST_F(DesktopPages, UseTheColourOfTheTheme) {
    Drawing().accentColor = Rgb(255, 97, 192);
    const Lines lines = Paint();
    EXPECT_THAT(lines, Contains("text 24,24,170,60 30/700 255,97,192 \"ZORVEL\""));
    EXPECT_THAT(lines, Contains("text 24,655,174,683 17/600 255,97,192 \"Alt + F10\""));
    EXPECT_THAT(lines, Contains("text 248,141,1124,172 17/600 255,97,192 \"YOUR GAME. YOUR MOMENTS.\""));
    EXPECT_THAT(lines, Contains("round 248,284,492,324 corner 12 255,97,192"));
}

// The button that shares its id with the sidebar's last one.

TEST_F(DesktopPages, AClickOnQuickOverlayGoesToHelp) {
    Click(1070, 50);
    EXPECT_EQ(Ui().desktopPage, 4);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(Ui().mainState.focusId, 14);
}

TEST_F(DesktopPages, HoveringHelpOrQuickOverlayHighlightsBoth) {
    for (const Point at : {Point{1070, 50}, Point{95, 370}}) {
        Send(message::mouseMove, 0, 0);
        Send(message::paint);
        Send(message::mouseMove, 0, static_cast<std::intptr_t>(at.y) << 16 | at.x);
        const Lines lines = Paint();
        EXPECT_THAT(lines, Contains("round 991,31,1150,74 corner 12 53,56,75"));
        EXPECT_THAT(lines, Contains("round 16,350,174,396 corner 12 53,56,75"));
        EXPECT_THAT(lines, Not(Contains("round 16,293,174,339 corner 12 53,56,75")));
    }
}

TEST_F(DesktopPages, TheFocusMovesPastButtonsThatShareAnId) {
    Send(message::paint);
    constexpr std::uintptr_t tab = 9;
    std::vector<std::int32_t> focused;
    for (int i = 0; i < 9; ++i) {
        Send(message::keyDown, tab);
        focused.push_back(Ui().mainState.focusId);
    }
    EXPECT_THAT(focused, ElementsAre(10, 11, 12, 13, 14, 1200, 1201, 1202, 10));
    fake::TheWindows().heldModifiers = keyModifier::shift;
    focused.clear();
    for (int i = 0; i < 6; ++i) {
        Send(message::keyDown, tab);
        focused.push_back(Ui().mainState.focusId);
    }
    EXPECT_THAT(focused, ElementsAre(1202, 1201, 1200, 14, 13, 12));
}

TEST_F(DesktopPages, FitAtTheMinimumSize) {
    Size(900, 600);
    fake::ResetCanvas();
    Send(message::paint);
    EXPECT_THAT(fake::Drawings(), Contains("push 0,0 scale 0.85"));
    const UiState& state = Ui().mainState;
    EXPECT_GE(state.logicalWidth, 1059);
    EXPECT_GE(state.logicalHeight, 706);
    for (const HitTarget& target : state.targets) {
        EXPECT_LE(target.box.right, state.logicalWidth) << target.id;
        EXPECT_LE(target.box.bottom, state.logicalHeight - 40) << target.id;
    }
}

}  // namespace
}  // namespace zv
