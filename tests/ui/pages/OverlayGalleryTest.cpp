// The gallery as text: every control in every state, and what a click on it does.
#include "ui/pages/OverlayGallery.h"

#include <algorithm>

#include "fake/FolderReader.h"
#include "fake/Pictures.h"
#include "ui/QuickOverlay.h"
#include "ui/commands/Library.h"
#include "ui/commands/Thumbnails.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

using fake::CountOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class OverlayGallery : public QuickOverlay {
protected:
    inline static const std::string primary = "241,242,250";
    inline static const std::string muted = "158,164,187";
    inline static const std::string well = "37,34,45";
    inline static const std::string emptyText = "No captures here yet. Save a clip, recording or screenshot.";

    static std::string Fill(const std::string& box, const std::string& color) { return "fill " + box + " " + color; }
    static std::string Small(const std::string& box, const std::string& color, const std::string& text) {
        return "text " + box + " 15/400 " + color + " \"" + text + "\"";
    }
    static std::string Centred(const std::string& box, const std::string& text) {
        return "text " + box + " 15/400 centred " + muted + " \"" + text + "\"";
    }
    static std::string Label(const std::string& box, const std::string& color, const std::string& text) {
        return "text " + box + " 17/600 centred " + color + " \"" + text + "\"";
    }

    /// 14 March 2020, 22:00 UTC, in a zone where that is the 15th.
    static constexpr std::int64_t march14 = 132'286'968'000'000'000;

    OverlayGallery() { Ui().overlayPage = overlayPage::gallery; }

    static std::vector<MediaFile>& Files() { return Ui().library.found.files; }
    static MediaFile& Add(std::uint32_t kind, TextView game = u"Arena") {
        const Text path = u"/captures/" + Decimal(std::ssize(Files())) + u".mp4";
        Files().push_back({path, kind, 1536, march14, Text(game)});
        return Files().back();
    }
    static void AddClips(int count, TextView game = u"Arena") {
        for (int i = 0; i < count; ++i) {
            Add(mediaKind::clip, game);
        }
    }
    /// Gives the file a thumbnail, or none if the width is 0.
    static MediaThumbnail& SetThumbnail(const MediaFile& file, std::int32_t width, std::int32_t height) {
        auto thumbnail = std::make_shared<MediaThumbnail>();
        thumbnail->bitmap = width > 0 ? fake::PictureOf(0x123456, width, height) : PixelBitmap{};
        Ui().library.thumbnailCache[ThumbnailKey(file)] = thumbnail;
        return *thumbnail;
    }
    static const HitTarget* Target(std::int32_t id) {
        const auto found = std::find_if(State().targets.begin(), State().targets.end(),
                                        [id](const HitTarget& target) { return target.id == id; });
        return found == State().targets.end() ? nullptr : &*found;
    }
    void Click(std::int32_t id) {
        Render();
        ASSERT_NE(Target(id), nullptr) << id;
        ActivateTarget(State(), id);
    }
    std::vector<std::int32_t> Ids() {
        Render();
        std::vector<std::int32_t> ids;
        for (const HitTarget& target : State().targets) {
            ids.push_back(target.id);
        }
        return ids;
    }
    /// The names of the captures that a click would open.
    std::vector<Text> Shown() {
        std::vector<Text> shown;
        const std::vector<std::string> lines = Render();
        const auto first = static_cast<std::size_t>(Ui().gallery.galleryFirstIndex);
        for (std::size_t i = first; i < Files().size() && Target(930 + static_cast<std::int32_t>(i - first)); ++i) {
            shown.push_back(Files()[i].path);
        }
        return shown;
    }
    void OccupyRefresh() {
        CurrentSettings().clipsFolder.clear();
        CurrentSettings().recordingsFolder.clear();
        CurrentSettings().screenshotsFolder.clear();
        std::filesystem::create_directories(ToPath(Folder(u"captures")));
        fake::TheFolderEntries()[Folder(u"captures")] = {{u"new.mp4", false, FileFacts{5, 6}}};
        gate_.Hold("OpenFolder");
        QueueMediaRefresh();
        RunTo("OpenFolder");
    }
};

TEST_F(OverlayGallery, HasPanelsATitleAndTheWaysOut) {
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains(Fill("18,63,992,550", "24,23,28")));
    EXPECT_THAT(lines, Contains(Fill("18,63,246,550", "29,28,32")));
    EXPECT_THAT(lines, Contains("text 126,75,233,108 17/600 " + primary + " \"Gallery\""));
    EXPECT_THAT(lines, Contains("text 29,74,110,108 15/400 centred " + primary + " \"< Back\""));
    EXPECT_THAT(lines, Contains("text 789,74,978,108 15/400 centred " + primary + " \"Library settings\""));
    EXPECT_EQ(Target(920)->box, (Rectangle{29, 74, 110, 108}));
    EXPECT_EQ(Target(921)->box, (Rectangle{789, 74, 978, 108}));
    EXPECT_THAT(Ids(), ElementsAre(901, 920, 921, 929, 922, 923, 924, 925, 926));
}

TEST_F(OverlayGallery, LeavingKeepsWhatIsShown) {
    AddClips(9);
    for (const auto& [id, page] : {std::pair{920, overlayPage::tiles}, std::pair{921, overlayPage::settings}}) {
        Ui().overlayPage = overlayPage::gallery;
        Ui().gallery = {1, 6, u"Arena"};
        Click(id);
        EXPECT_EQ(Ui().overlayPage, page);
        EXPECT_EQ(Ui().gallery.galleryFilter, 1);
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, 6);
        EXPECT_EQ(Ui().gallery.galleryGame, u"Arena");
    }
}

TEST_F(OverlayGallery, EachFilterHasItsButtonItsCountAndItsKinds) {
    Add(mediaKind::clip);
    Add(mediaKind::recording);
    Add(mediaKind::recording);
    Add(mediaKind::recording);
    Add(mediaKind::screenshot, u"Chess");
    Add(mediaKind::screenshot);
    Add(mediaKind::screenshot);
    struct Row {
        std::int32_t id;
        std::string box;
        std::string label;
        int shown;
    };
    const Row rows[] = {{922, "29,183,233,222", "Show all (6)", 6},
                        {923, "29,232,233,271", "Instant replay (1)", 1},
                        {924, "29,281,233,320", "Screenshots (2)", 2},
                        {925, "29,330,233,369", "Recordings (3)", 3}};
    Ui().gallery.galleryGame = u"Arena";
    for (const Row& clicked : rows) {
        Ui().gallery.galleryFirstIndex = 1;
        Click(clicked.id);
        EXPECT_EQ(Ui().gallery.galleryFilter, clicked.id - 922);
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, 0);
        const std::vector<std::string> lines = Render();
        for (const Row& row : rows) {
            const bool active = row.id == clicked.id;
            EXPECT_THAT(lines, Contains("round " + row.box + " corner 12 " + (active ? "57,47,84" : "37,40,54")));
            EXPECT_THAT(lines, Contains(Label(row.box, primary, row.label)))
                << "the counts do not depend on the filter";
        }
        EXPECT_THAT(lines, Contains(Small("29,472,233,505", muted, std::to_string(clicked.shown) + " saved captures")));
        EXPECT_EQ(std::count_if(State().targets.begin(), State().targets.end(),
                                [](const HitTarget& target) { return target.id >= 930 && target.id < 936; }),
                  clicked.shown);
    }
}

TEST_F(OverlayGallery, TheGameButtonWalksTheGamesInTheOrderOfTheirNewestCaptureAndWraps) {
    for (const TextView game : {u"Chess", u"Arena", u"Chess", u"Desktop", u"Arena"}) {
        Add(mediaKind::clip, game);
    }
    EXPECT_THAT(Render(), Contains(Label("29,124,233,161", primary, "All games  >")));
    for (const auto& [game, count] :
         {std::pair{"Chess", 2}, std::pair{"Arena", 2}, std::pair{"Desktop", 1}, std::pair{"All games", 5}}) {
        Ui().gallery.galleryFirstIndex = 1;
        Click(929);
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, 0);
        const std::vector<std::string> lines = Render();
        EXPECT_THAT(lines, Contains(Label("29,124,233,161", primary, std::string(game) + "  >")));
        EXPECT_THAT(lines, Contains(Label("29,183,233,222", primary, "Show all (" + std::to_string(count) + ")")));
    }
    EXPECT_EQ(Ui().gallery.galleryGame, u"");
}

TEST_F(OverlayGallery, AGameWithoutCapturesGivesWayToAllGames) {
    AddClips(2, u"Chess");
    Ui().gallery.galleryGame = u"Arena";
    EXPECT_THAT(Render(), Contains(Label("29,124,233,161", primary, "All games  >")));
    EXPECT_EQ(Shown().size(), 2U);
    Ui().gallery.galleryGame = u"Chess";
    Files().clear();
    Render();
    EXPECT_EQ(Ui().gallery.galleryGame, u"");
}

TEST_F(OverlayGallery, AGameStaysSelectedWhenTheFilterAdmitsNoneOfItsCaptures) {
    AddClips(2, u"Chess");
    Ui().gallery = {2, 0, u"Chess"};
    EXPECT_THAT(Render(), Contains(Small("282,220,964,280", muted, emptyText)));
    EXPECT_EQ(Ui().gallery.galleryGame, u"Chess");
}

TEST_F(OverlayGallery, SixCapturesHaveTheirPlaces) {
    AddClips(6);
    Files()[1].kind = mediaKind::recording;
    Files()[2].kind = mediaKind::screenshot;
    Files()[5].game = u"Desktop";
    struct Row {
        std::string date, picture, game, detail;
    };
    const Row rows[] = {{"264,124,484,147", "264,151,484,257", "264,259,484,282", "264,282,484,300"},
                        {"501,124,721,147", "501,151,721,257", "501,259,721,282", "501,282,721,300"},
                        {"738,124,958,147", "738,151,958,257", "738,259,958,282", "738,282,958,300"},
                        {"264,302,484,325", "264,329,484,435", "264,437,484,460", "264,460,484,478"},
                        {"501,302,721,325", "501,329,721,435", "501,437,721,460", "501,460,721,478"},
                        {"738,302,958,325", "738,329,958,435", "738,437,958,460", "738,460,958,478"}};
    const char* kinds[] = {"Replay", "Recording", "Screenshot", "Replay", "Replay", "Replay"};
    const std::vector<std::string> lines = Render();
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_THAT(lines, Contains(Small(rows[i].date, muted, "15 March 2020"))) << "local time";
        EXPECT_THAT(lines, Contains(Fill(rows[i].picture, well)));
        EXPECT_THAT(lines, Contains(Small(rows[i].game, primary, i == 5 ? "Desktop" : "Arena")));
        EXPECT_THAT(lines, Contains(Small(rows[i].detail, muted, std::string(kinds[i]) + " / 1.5 KB")));
        const HitTarget* target = Target(930 + static_cast<std::int32_t>(i));
        ASSERT_NE(target, nullptr);
        const Rectangle& box = target->box;
        EXPECT_EQ(std::to_string(box.left) + "," + std::to_string(box.top) + "," + std::to_string(box.right) + "," +
                      std::to_string(box.bottom),
                  rows[i].picture);
    }
}

TEST_F(OverlayGallery, TheDatesAreEnglishWithTwoDigitsOfTheDay) {
    constexpr std::int64_t day = 864'000'000'000;
    struct Row {
        std::int64_t modified;
        std::string date;
    };
    // 1 January 2020, 00:00 UTC, plus days of that leap year; and two times before 1970.
    constexpr std::int64_t newYear = 132'223'104'000'000'000;
    const Row rows[] = {{newYear, "01 January 2020"},
                        {newYear + 31 * day, "01 February 2020"},
                        {newYear + 60 * day, "01 March 2020"},
                        {newYear + 91 * day, "01 April 2020"},
                        {newYear + 121 * day, "01 May 2020"},
                        {newYear + 152 * day, "01 June 2020"},
                        {newYear + 182 * day, "01 July 2020"},
                        {newYear + 213 * day, "01 August 2020"},
                        {newYear + 244 * day, "01 September 2020"},
                        {newYear + 274 * day, "01 October 2020"},
                        {newYear + 305 * day, "01 November 2020"},
                        {newYear + 365 * day, "31 December 2020"},
                        {116'444'736'000'000'000 - day, "31 December 1969"},
                        {0, "01 January 1601"}};
    MediaFile& file = Add(mediaKind::clip);
    for (const Row& row : rows) {
        file.modified = row.modified;
        EXPECT_THAT(Render(), Contains(Small("264,124,484,147", muted, row.date)));
    }
}

TEST_F(OverlayGallery, AHoveredCaptureIsFramedInTheAccent) {
    AddClips(2);
    Drawing().accentColor = Rgb(255, 97, 192);
    EXPECT_THAT(Render(), Not(Contains(StartsWith("frame 264"))));
    State().hoverId = 931;
    std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains("frame 501,151,721,257 depth 1 255,97,192"));
    EXPECT_THAT(lines, Not(Contains(StartsWith("frame 264"))));
}

TEST_F(OverlayGallery, AClickOnACaptureOpensACopyOfIt) {
    AddClips(8);
    Files()[7].kind = mediaKind::screenshot;
    Ui().gallery.galleryFirstIndex = 6;
    Render();
    const HitTarget shown = *Target(931);
    const Text path = Files()[7].path;
    Files().clear();
    shown.action();
    EXPECT_EQ(Ui().overlayPage, overlayPage::viewer);
    EXPECT_EQ(Ui().viewer.viewerFile.path, path);
    EXPECT_EQ(Ui().viewer.viewerFile.kind, mediaKind::screenshot);
    Ui().viewer.viewerImageSlot.Wait();
}

TEST_F(OverlayGallery, PagesHaveSixCapturesAndTheButtonsBetweenThem) {
    struct Row {
        int captures;
        std::int32_t first;
        std::int32_t clamped;
        int shown;
        bool previous;
        bool next;
    };
    for (const Row& row : {Row{0, 0, 0, 0, false, false}, Row{0, 5, 0, 0, false, false}, Row{1, 0, 0, 1, false, false},
                           Row{6, 0, 0, 6, false, false}, Row{7, 0, 0, 6, false, true}, Row{7, 6, 6, 1, true, false},
                           Row{7, 12, 6, 1, true, false}, Row{13, 6, 6, 6, true, true}, Row{13, 12, 12, 1, true, false},
                           Row{5, 6, 4, 1, true, false}, Row{8, 1, 1, 6, true, true}, Row{8, 2, 2, 6, true, false},
                           Row{3, -4, 0, 3, false, false}, Row{10000, 9996, 9996, 4, true, false}}) {
        SCOPED_TRACE(std::to_string(row.captures) + " from " + std::to_string(row.first));
        Files().clear();
        AddClips(row.captures);
        Ui().gallery.galleryFirstIndex = row.first;
        EXPECT_EQ(Shown().size(), static_cast<std::size_t>(row.shown));
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, row.clamped);
        EXPECT_EQ(Target(927) != nullptr, row.previous);
        EXPECT_EQ(Target(928) != nullptr, row.next);
    }
}

TEST_F(OverlayGallery, PreviousAndNextMoveBySix) {
    AddClips(20);
    struct Row {
        std::int32_t first;
        std::int32_t id;
        std::int32_t then;
    };
    for (const Row& row :
         {Row{0, 928, 6}, Row{12, 928, 18}, Row{18, 927, 12}, Row{6, 927, 0}, Row{4, 927, 0}, Row{5, 928, 11}}) {
        Ui().gallery.galleryFirstIndex = row.first;
        Click(row.id);
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, row.then);
    }
    Ui().gallery.galleryFirstIndex = 6;
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains(Label("264,496,412,532", primary, "Previous")));
    EXPECT_THAT(lines, Contains(Label("823,496,973,532", primary, "Next")));
    EXPECT_EQ(Target(927)->box, (Rectangle{264, 496, 412, 532}));
    EXPECT_EQ(Target(928)->box, (Rectangle{823, 496, 973, 532}));
}

TEST_F(OverlayGallery, AnEmptyLibrarySaysSo) {
    EXPECT_THAT(Render(), Contains(Small("282,220,964,280", muted, emptyText)));
    EXPECT_THAT(fake::Drawings(), Contains(Small("29,472,233,505", muted, "0 saved captures")));
    AddClips(1);
    EXPECT_THAT(Render(), Not(Contains(HasSubstr("captures here yet"))));
}

TEST_F(OverlayGallery, ARefreshDisablesItsButtonUntilItsResultIsCollected) {
    EXPECT_THAT(Render(), Contains(Label("29,418,233,452", primary, "Refresh")));
    EXPECT_EQ(Target(926)->box, (Rectangle{29, 418, 233, 452}));
    OccupyRefresh();
    std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains(Label("29,418,233,452", muted, "Refreshing...")));
    EXPECT_THAT(lines, Contains(Small("282,220,964,280", muted, "Loading your captures...")));
    EXPECT_EQ(Target(926), nullptr);
    gate_.Open();
    FinishRefreshes();
    EXPECT_THAT(Render(), Contains(Label("29,418,233,452", primary, "Refresh")));
    EXPECT_THAT(Shown(), ElementsAre(JoinPath(Folder(u"captures"), u"new.mp4")));
    const int before = CountOf("OpenFolder");
    Click(926);
    FinishRefreshes();
    EXPECT_EQ(CountOf("OpenFolder"), before + 1);
}

TEST_F(OverlayGallery, TheFormerCapturesStayUntilARefreshEnds) {
    AddClips(7);
    OccupyRefresh();
    Click(928);
    EXPECT_THAT(Shown(), ElementsAre(u"/captures/6.mp4"));
    EXPECT_THAT(Render(), Not(Contains(HasSubstr("Loading your captures"))));
    gate_.Open();
    FinishRefreshes();
    EXPECT_EQ(Shown().size(), 1U);
    EXPECT_EQ(Ui().gallery.galleryFirstIndex, 0);
}

TEST_F(OverlayGallery, ShowsTheWarningOfTheScan) {
    Ui().library.found.warning = u"A folder could not be completely read.";
    EXPECT_THAT(Render(), Contains(Small("425,496,812,532", muted, "A folder could not be completely read.")));
}

TEST_F(OverlayGallery, AThumbnailHasThreeFaces) {
    AddClips(3);
    SetThumbnail(Files()[1], 0, 0);
    SetThumbnail(Files()[2], 320, 180);
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains(Centred("264,151,484,257", "Loading preview...")));
    EXPECT_THAT(lines, Contains(Centred("501,151,721,257", "Open to view")));
    EXPECT_THAT(lines, Contains("pixels 754,151,942,257 of 188x106"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("text 738,151"))));
}

TEST_F(OverlayGallery, APictureIsFittedInTheMiddleOfItsBox) {
    struct Row {
        std::int32_t width;
        std::int32_t height;
        std::string box;
    };
    MediaFile& file = Add(mediaKind::clip);
    // The box is 264,151,484,257: 220 by 106.
    for (const Row& row : {Row{320, 180, "280,151,468,257"},  // 188.4 by 106
                           Row{180, 320, "344,151,403,257"},  // 59.6 by 106
                           Row{440, 106, "264,177,484,230"},  // 220 by 53
                           Row{110, 53, "264,151,484,257"},   // enlarged
                           Row{220, 106, "264,151,484,257"},  // as it is
                           Row{1, 10000, "373,151,374,257"},  // never narrower than a pixel
                           Row{10000, 1, "264,203,484,204"}}) {
        SetThumbnail(file, row.width, row.height);
        EXPECT_THAT(Render(), Contains(StartsWith("pixels " + row.box + " of ")));
    }
}

TEST_F(OverlayGallery, APictureIsScaledOnceForASizeAndThenCopied) {
    MediaThumbnail& thumbnail = SetThumbnail(Add(mediaKind::clip), 320, 180);
    struct Row {
        double scale;
        std::string pixels;
        bool scales;
    };
    for (const Row& row : {Row{1, "188x106", true}, Row{1, "188x106", false}, Row{1.5, "282x159", true},
                           Row{1.5, "282x159", false}, Row{1.830986, "344x195", true}, Row{1, "188x106", true}}) {
        State().scale = row.scale;
        fake::ResetCanvas();
        const int before = CountOf("MakeCanvas");
        Render();
        EXPECT_EQ(CountOf("MakeCanvas") - before, row.scales ? 2 : 1) << row.scale;
        EXPECT_EQ(fake::Drawings("pixels").back(), "pixels 280,151,468,257 of " + row.pixels);
    }
    EXPECT_EQ(thumbnail.bitmap.width, 320);
}

TEST_F(OverlayGallery, APictureThatCannotBeScaledIsDrawnFromTheWholeOne) {
    SetThumbnail(Add(mediaKind::clip), 320, 180);
    fake::FailCall("MakeCanvas", CountOf("MakeCanvas") + 2, 0);
    EXPECT_THAT(Render(), Contains("pixels 280,151,468,257 of 320x180"));
}

TEST_F(OverlayGallery, RequestsTheThumbnailsOfItsPageAndRepaints) {
    AddClips(7);
    Files()[2].kind = mediaKind::screenshot;
    for (const MediaFile& file : Files()) {
        fake::ThePictures()[file.path] = fake::PictureOf(0, 32, 18);
    }
    Ui().gallery.galleryFilter = 1;
    Render();
    AwaitThumbnails();
    Record().invalidations = 0;
    Collect();
    EXPECT_GE(Record().invalidations, 1);
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Not(Contains(HasSubstr("Loading preview..."))));
    EXPECT_EQ(Ui().library.thumbnailCache.size(), 6U);
    EXPECT_EQ(FindThumbnail(Files()[2]), nullptr) << "the filter hides it";
    EXPECT_FALSE(Ui().library.thumbnailSlot.IsBusy());
}

TEST_F(OverlayGallery, AnEmptiedCacheShowsTheLoadingTextAndStartsABatch) {
    AddClips(6);
    for (const MediaFile& file : Files()) {
        SetThumbnail(file, 32, 18);
    }
    EXPECT_THAT(Render(), Not(Contains(HasSubstr("Loading preview..."))));
    Ui().library.thumbnailCache.clear();
    gate_.Hold("MakeThumbnails");
    EXPECT_THAT(Render(), Contains(Centred("264,151,484,257", "Loading preview...")));
    RunTo("MakeThumbnails");
    EXPECT_THAT(Render(), Contains(Centred("264,151,484,257", "Loading preview..."))) << "a paint does not wait";
}

}  // namespace
}  // namespace zv
