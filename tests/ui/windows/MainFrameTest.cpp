// The main window's frame and its Home page: labels, states and actions.
#include "ui/windows/MainFrame.h"

#include "fake/Canvas.h"
#include "ui/Interface.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/HitTargets.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/windows/Overlay.h"

namespace zv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using Lines = std::vector<std::string>;

class DesktopPages : public Interface {
protected:
    DesktopPages() {
        fake::ResetCanvas();
        fake::TheWindows().keyNames = {{88, u"X"}, {121, u"F10"}, {65, u"A"}};
        fake::TheMonitors().monitors = {{u"DP-1", 0, 0, 2560, 1440, true}};
        CreateFonts();
        OpenMainWindow();
        WindowOptions options;
        options.procedure = OverlayProc;
        options.frame = WindowFrame::Bare;
        overlay_ = MakeWindow(options);
        Size(1180, 740);
    }
    ~DesktopPages() override {
        gate_.Open();
        Ui().capture.captureJobSlot.Wait();
        overlay_.reset();
        window_.reset();
        Ui().mainState = {};
        Ui().overlayState = {};
        DeleteFonts();
        EXPECT_EQ(fake::LivingCanvases(), 0);
        EXPECT_EQ(fake::LivingFonts(), 0);
    }

    void Size(std::int32_t width, std::int32_t height) { Record().bounds = {0, 0, width, height}; }
    fake::WindowRecord& Record() { return fake::RecordOf(*window_); }
    /// What one paint of the window draws, between the background and the end.
    Lines Paint() {
        fake::ResetCanvas();
        Send(message::paint);
        Lines lines = fake::Drawings();
        // The back buffer's background, the scale, the page's own background.
        EXPECT_THAT(Lines(lines.begin(), lines.begin() + 2),
                    ElementsAre("fill 0,0,1180,740 17,18,25", "push 0,0 scale 1"));
        EXPECT_EQ(lines.back(), "pop");
        return {lines.begin() + 3, lines.end() - 1};
    }
    void Click(std::int32_t x, std::int32_t y) {
        const std::intptr_t at = static_cast<std::intptr_t>(y) << 16 | x;
        Send(message::paint);
        Send(message::leftButtonDown, 0, at);
        Send(message::leftButtonUp, 0, at);
    }
    /// The words of each line of text.
    static Lines Texts(const Lines& lines) {
        Lines texts;
        for (const std::string& line : lines) {
            if (line.starts_with("text ")) {
                const std::size_t quote = line.find('"');
                texts.push_back(line.substr(quote + 1, line.size() - quote - 2));
            }
        }
        return texts;
    }
    /// The words that are drawn into exactly this box.
    static std::string LabelIn(const Lines& lines, const Rectangle& box) {
        const std::string start = "text " + std::to_string(box.left) + "," + std::to_string(box.top) + "," +
                                  std::to_string(box.right) + "," + std::to_string(box.bottom) + " ";
        const auto found =
            std::find_if(lines.begin(), lines.end(), [&](const std::string& line) { return line.starts_with(start); });
        return found == lines.end() ? "" : Texts({*found}).front();
    }
    static std::vector<std::int32_t> Ids() {
        std::vector<std::int32_t> ids;
        for (const HitTarget& target : Ui().mainState.targets) {
            ids.push_back(target.id);
        }
        return ids;
    }

    Owned<AppWindow> overlay_;
};

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

TEST_F(DesktopPages, ShowANoticeIfTheyHaveNoContent) {
    const char* notices[] = {
        "There are no recommendations.", "Shortcuts are changed in the settings of the capture overlay.",
        "Installed version: 3.23.0", "Every capture command is in the menu of the notification icon."};
    for (std::int32_t page = 1; page < 5; ++page) {
        Ui().desktopPage = page;
        EXPECT_THAT(Paint(),
                    Contains(std::string("text 222,119,1150,150 17/400 158,164,187 \"") + notices[page - 1] + "\""));
        EXPECT_THAT(Ids(), ElementsAre(10, 11, 12, 13, 14, 14));
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

// Home.

TEST_F(DesktopPages, HomeShowsHeroAndCards) {
    const Lines texts = Texts(Paint());
    for (const char* text : {"YOUR GAME. YOUR MOMENTS.", "Capture is one shortcut away.",
                             "Alt + X opens replay, recording, screenshots and your gallery.", "Replay status",
                             "Replay is off", "DP-1  /  2560 x 1440  (primary)", "Your library",
                             "Clips, videos and photos together.", "Explore Recommended for updates from ZV."}) {
        EXPECT_THAT(texts, Contains(text));
    }
}

TEST_F(DesktopPages, EveryButtonOfHomeHasItsIdAndItsLabel) {
    const Lines lines = Paint();
    std::vector<std::pair<std::int32_t, std::string>> buttons;
    for (const HitTarget& target : Ui().mainState.targets) {
        buttons.emplace_back(target.id, LabelIn(lines, target.box));
    }
    EXPECT_THAT(buttons, ElementsAre(std::pair(10, "Home"), std::pair(11, "Recommended"), std::pair(12, "Settings"),
                                     std::pair(13, "Updates"), std::pair(14, "Help"), std::pair(14, "Quick overlay"),
                                     std::pair(1200, "Open capture overlay"), std::pair(1201, "Open gallery"),
                                     std::pair(1202, "Recommended")));
}

TEST_F(DesktopPages, HomeShowsThatTheReplayRuns) {
    Engine().replayRunning = true;
    const Lines lines = Paint();
    EXPECT_THAT(lines, Contains("text 244,419,661,450 17/400 151,119,255 \"Automatic replay is on\""));
    EXPECT_THAT(lines, Not(Contains(testing::HasSubstr("Replay is off"))));
}

TEST_F(DesktopPages, HomeShowsThatTheMonitorIsDisconnected) {
    CurrentSettings().monitorDevice = u"DP-7";
    EXPECT_THAT(Paint(), Contains("text 244,468,661,503 15/400 158,164,187 \"Monitor disconnected\""));
}

TEST_F(DesktopPages, HomeOpensTheOverlayAtItsTilesAndClosesItToo) {
    Ui().overlayPage = overlayPage::settings;
    Click(370, 304);
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Ui().overlayPage, overlayPage::tiles);
    Ui().overlayPage = overlayPage::settings;
    Click(370, 304);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(Ui().overlayPage, overlayPage::tiles);
}

TEST_F(DesktopPages, HomeOpensTheGalleryAndLeavesAnOverlayOpen) {
    Ui().gallery.galleryFirstIndex = 6;
    Ui().gallery.galleryFilter = 2;
    Ui().gallery.galleryGame = u"Foo";
    for (int i = 0; i < 2; ++i) {
        Click(900, 487);
        EXPECT_TRUE(IsOverlayShown());
        EXPECT_EQ(Ui().overlayPage, overlayPage::gallery);
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, 0);
        EXPECT_EQ(Ui().gallery.galleryFilter, 0);
        EXPECT_EQ(Ui().gallery.galleryGame, u"");
    }
}

TEST_F(DesktopPages, HomeOpensRecommended) {
    Click(300, 620);
    EXPECT_EQ(Ui().desktopPage, 1);
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
