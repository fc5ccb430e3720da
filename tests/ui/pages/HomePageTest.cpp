// The main window's first page: labels, states and actions.
#include "ui/pages/HomePage.h"

#include "ui/DesktopPages.h"

namespace zv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

using HomePage = DesktopPages;

TEST_F(HomePage, ShowsHeroAndCards) {
    const Lines texts = Texts(Paint());
    for (const char* text : {"YOUR GAME. YOUR MOMENTS.", "Capture is one shortcut away.",
                             "Alt + X opens replay, recording, screenshots and your gallery.", "Replay status",
                             "Replay is off", "DP-1  /  2560 x 1440  (primary)", "Your library",
                             "Clips, videos and photos together.", "Explore Recommended for updates from ZV."}) {
        EXPECT_THAT(texts, Contains(text));
    }
}

TEST_F(HomePage, HasItsButtonsAfterThoseOfTheFrame) {
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

TEST_F(HomePage, ShowsThatTheReplayRuns) {
    Engine().replayRunning = true;
    const Lines lines = Paint();
    EXPECT_THAT(lines, Contains("text 244,419,661,450 17/400 151,119,255 \"Automatic replay is on\""));
    EXPECT_THAT(lines, Not(Contains(testing::HasSubstr("Replay is off"))));
}

TEST_F(HomePage, ShowsThatTheMonitorIsDisconnected) {
    CurrentSettings().monitorDevice = u"DP-7";
    EXPECT_THAT(Paint(), Contains("text 244,468,661,503 15/400 158,164,187 \"Monitor disconnected\""));
}

TEST_F(HomePage, OpensTheOverlayAtItsTilesAndClosesItToo) {
    Ui().overlayPage = overlayPage::settings;
    Click(370, 304);
    EXPECT_TRUE(IsOverlayShown());
    EXPECT_EQ(Ui().overlayPage, overlayPage::tiles);
    Ui().overlayPage = overlayPage::settings;
    Click(370, 304);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(Ui().overlayPage, overlayPage::tiles);
}

TEST_F(HomePage, OpensTheGalleryAndLeavesAnOverlayOpen) {
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

TEST_F(HomePage, OpensRecommended) {
    Click(300, 620);
    EXPECT_EQ(Ui().desktopPage, 1);
}

}  // namespace
}  // namespace zv
