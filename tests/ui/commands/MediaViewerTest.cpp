// The media viewer: its session, its video window and its page as text, over a fake player.
#include "ui/commands/MediaViewer.h"

#include <thread>

#include "ui/QuickOverlay.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/OverlayViewer.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::ThePlayer;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::int64_t seconds = 10'000'000;

class Viewer : public QuickOverlay {
protected:
    Viewer() {
        fake::TheMonitors().workAreas = {{{0, 0, 1010, 568}, {0, 0, 1010, 568}}};
        fake::TheMonitors().monitors = {{u"Main", 0, 0, 1010, 568, -1, true}};
        CurrentSettings().monitorDevice = u"Main";
        ToggleQuickOverlay();
    }

    static ViewerSession& Session() { return Ui().viewer; }
    static MediaFile Clip(TextView path = u"/captures/Game/clip.mp4", std::uint32_t kind = mediaKind::clip) {
        return {Text(path), kind, 1000, 5, u"Game"};
    }
    static MediaFile Image(TextView path = u"/captures/Game/shot.png") { return Clip(path, mediaKind::screenshot); }
    void OpenClip(std::int64_t duration = 60 * seconds) {
        ThePlayer().duration = duration;
        OpenMediaViewer(Clip());
    }
    void OpenImage(std::int32_t width, std::int32_t height) {
        fake::ThePictures()[Image().path] = {{0x112233}, width, height};
        OpenMediaViewer(Image());
    }
    void FinishImage() {
        Session().viewerImageSlot.Wait();
        Tick();
    }
    AppWindow* Video() { return fake::FindWindowOf(u"ZVInternalVideo317"); }
    fake::WindowRecord& VideoRecord() { return fake::RecordOf(*Video()); }
    void Click(std::int32_t id) {
        Render();
        ActivateTarget(State(), id);
    }
    std::vector<std::int32_t> Targets() {
        std::vector<std::int32_t> ids;
        for (const HitTarget& target : State().targets) {
            ids.push_back(target.id);
        }
        return ids;
    }
    /// The positions of all seeks so far.
    static std::vector<std::string> Seeks() {
        std::vector<std::string> positions;
        for (const std::string& call : fake::CallLog()) {
            if (call.starts_with("SeekMedia ")) {
                positions.push_back(call.substr(10));
            }
        }
        return positions;
    }
};

// The session.

TEST_F(Viewer, PlaysAClipInAWindowOfItsOwn) {
    OpenClip();
    EXPECT_EQ(Ui().overlayPage, 4);
    EXPECT_EQ(Session().viewerFile.path, Clip().path);
    EXPECT_EQ(ThePlayer().path, Clip().path);
    EXPECT_EQ(ThePlayer().video, Video());
    EXPECT_FLOAT_EQ(ThePlayer().volume, 0.6F);
    ASSERT_NE(Video(), nullptr);
    const WindowOptions& made = VideoRecord().options;
    EXPECT_EQ(made.title, u"ZV internal player");
    EXPECT_EQ(made.owner, overlay_.get());
    EXPECT_EQ(made.cursor, CursorShape::Hand);
    EXPECT_TRUE(made.frame == WindowFrame::Bare && made.topmost && made.toolWindow && made.noActivate);
    EXPECT_FALSE(made.layered || made.clickThrough || made.visible);
    EXPECT_EQ((Rectangle{made.left, made.top, made.width, made.height}), (Rectangle{0, 0, 1, 1}));
    EXPECT_TRUE(VideoRecord().excluded);
    EXPECT_TRUE(VideoRecord().shown);
    EXPECT_EQ(VideoRecord().bounds, (Rectangle{150, 126, 860, 446}));
}

TEST_F(Viewer, PlaysARecordingButLoadsAScreenshot) {
    OpenMediaViewer(Clip(u"/r.mp4", mediaKind::recording));
    EXPECT_EQ(ThePlayer().live, 1);
    OpenImage(2, 1);
    EXPECT_EQ(ThePlayer().live, 0);
    EXPECT_EQ(Video(), nullptr);
    FinishImage();
    EXPECT_EQ(Session().viewerImage->bitmap.width, 2);
}

TEST_F(Viewer, ReportsAPlayerThatOpensNothing) {
    fake::FailCall("OpenMediaPlayer", 1, -1);
    OpenClip();
    EXPECT_EQ(Session().viewerError, u"The Windows media player component could not open this file.");
    EXPECT_EQ(Session().player, nullptr);
    // Nothing that needs a player may fail.
    for (const std::int32_t id : {1101, 1102, 1103, 1104, 1106, 1105}) {
        Click(id);
    }
    VideoProc(*Video(), message::leftButtonUp, 0, 0);
    VideoProc(*Video(), message::size, 0, 0);
    EXPECT_FLOAT_EQ(Session().viewerVolume, 0.1F) << "0.5, 0, 0.1";
}

TEST_F(Viewer, ReportsAWindowThatCannotBeMade) {
    fake::FailCall("MakeWindow", CountOf("MakeWindow") + 1, -1);
    OpenClip();
    EXPECT_EQ(Session().viewerError, u"The Windows media player component could not open this file.");
    EXPECT_EQ(CountOf("OpenMediaPlayer"), 0);
    Tick();
}

TEST_F(Viewer, ReportsAFailureOfThePlayer) {
    OpenClip();
    ThePlayer().events.back()(resultOk);
    EXPECT_THAT(Render(), Not(Contains(HasSubstr("cannot play"))));
    Record().invalidations = 0;
    ThePlayer().events.back()(ResultOf(0xC00D36C4U));
    EXPECT_EQ(Record().invalidations, 1);
    EXPECT_THAT(Render(),
                Contains("text 34,461,977,485 15/400 151,119,255 \"Windows cannot play this file (0xC00D36C4)."
                         " Check that the file is complete and its codec is installed.\""));
}

TEST_F(Viewer, IgnoresEventsOfASessionThatHasEnded) {
    OpenClip();
    const PlayerEvent late = ThePlayer().events.back();
    OpenClip();
    Record().invalidations = 0;
    late(ResultOf(0x80004005U));
    EXPECT_EQ(Record().invalidations, 0);
    Tick();
    EXPECT_EQ(Session().viewerError, u"");
    ThePlayer().events.back()(ResultOf(0x80004005U));
    Tick();
    EXPECT_TRUE(zv::Contains(Session().viewerError, u"(0x80004005)"));
}

TEST_F(Viewer, AcceptsEventsOfAnotherThread) {
    OpenClip();
    std::thread player([event = ThePlayer().events.back()] {
        for (int i = 0; i < 100; ++i) {
            event(ResultOf(0x80004005U));
        }
    });
    while (Session().viewerError.empty()) {
        CollectPlayerFailure();
    }
    CloseMediaViewer();
    player.join();
}

TEST_F(Viewer, ClosesInTheOrderPlayerThenWindow) {
    OpenClip();
    Session().viewerFullscreen = true;
    Session().viewerError = u"old";
    Session().viewerVolume = 0.25F;
    const std::uint32_t generation = Session().viewerGeneration;
    fake::ResetCalls();
    CloseMediaViewer();
    EXPECT_THAT(fake::CallLog(), ElementsAre("ShutdownPlayer", "destroy ZVInternalVideo317", "DefaultProcedure"));
    EXPECT_EQ(Session().viewerGeneration, generation + 1);
    EXPECT_FALSE(Session().viewerFullscreen);
    EXPECT_EQ(Session().viewerError, u"");
    EXPECT_FLOAT_EQ(Session().viewerVolume, 0.25F);
    OpenClip();
    EXPECT_FLOAT_EQ(ThePlayer().volume, 0.25F) << "the volume outlives the file";
}

TEST_F(Viewer, MayReopenItsOwnFile) {
    OpenClip();
    OpenMediaViewer(Session().viewerFile);
    EXPECT_EQ(ThePlayer().path, Clip().path);
    EXPECT_EQ(ThePlayer().live, 1);
}

// Images.

TEST_F(Viewer, RefusesAnotherFileWhileAnImageLoads) {
    gate_.Hold("LoadPicture");
    OpenImage(2, 2);
    const std::uint32_t generation = Session().viewerGeneration;
    OpenMediaViewer(Clip());
    EXPECT_EQ(Ui().statusText, u"Image is still opening. Try again shortly.");
    EXPECT_EQ(Session().viewerFile.path, Image().path);
    EXPECT_EQ(Session().viewerGeneration, generation);
    Tick();
    EXPECT_EQ(Session().viewerImage, nullptr);
    gate_.Open();
    FinishImage();
    EXPECT_TRUE(Session().viewerImage->HasPicture());
}

TEST_F(Viewer, DropsTheImageOfASessionThatHasEnded) {
    OpenImage(2, 2);
    Session().viewerImageSlot.Wait();
    CloseMediaViewer();
    Tick();
    EXPECT_EQ(Session().viewerImage, nullptr);
    EXPECT_FALSE(Session().viewerImageSlot.IsBusy());
    // Also one that nothing has collected when the next file opens.
    OpenImage(2, 2);
    Session().viewerImageSlot.Wait();
    OpenClip();
    Tick();
    EXPECT_EQ(Session().viewerImage, nullptr);
}

TEST_F(Viewer, ReportsAnImageThatCannotBeRead) {
    OpenMediaViewer(Image(u"/no.png"));
    FinishImage();
    EXPECT_EQ(Session().viewerError, u"This image is unsupported, incomplete, or larger than 64 megapixels.");
    EXPECT_THAT(Render(), Contains(HasSubstr("megapixels")));
    CloseMediaViewer();
    fake::ThrowInCall("LoadPicture", CountOf("LoadPicture") + 1);
    OpenImage(2, 2);
    FinishImage();
    EXPECT_EQ(Session().viewerError, u"This image is unsupported, incomplete, or larger than 64 megapixels.");
}

TEST_F(Viewer, AcceptsSixtyFourMegapixelsAndNoMore) {
    struct Row {
        std::int32_t width, height;
        bool accepted;
    };
    for (const Row& row : {Row{8000, 8000, true}, Row{9000, 8000, false}}) {
        OpenImage(row.width, row.height);
        FinishImage();
        EXPECT_EQ(Session().viewerImage->HasPicture(), row.accepted) << row.width;
        EXPECT_EQ(Session().viewerError.empty(), row.accepted);
    }
    fake::ThePictures().clear();
}

TEST_F(Viewer, KeepsALargeImageInTheSizeOfALargeScreen) {
    OpenImage(8000, 1000);
    FinishImage();
    EXPECT_EQ(Session().viewerImage->bitmap.width, 3840);
    EXPECT_EQ(Session().viewerImage->bitmap.height, 480);
    EXPECT_EQ(Session().viewerImage->bitmap.pixels.size(), 3840U * 480U);
}

TEST_F(Viewer, PaintsAnImageLikeTheThumbnailOfItsFile) {
    OpenImage(40, 20);
    EXPECT_THAT(Render(), Contains("text 150,126,860,446 15/400 centred 158,164,187 \"Opening image...\""));
    FinishImage();
    const auto small = std::make_shared<MediaThumbnail>();
    auto& cache = Ui().library.thumbnailCache;
    cache[ThumbnailKey(Image())] = small;
    // 16 times 40 by 20 is 640 by 320, centred.
    EXPECT_THAT(Render(), Contains(HasSubstr("pixels 185,126,825,446")));
    EXPECT_EQ(cache[ThumbnailKey(Image())], small) << "the thumbnail is back";
    cache.clear();
    Render();
    EXPECT_THAT(cache, IsEmpty());
    EXPECT_THAT(Targets(), ElementsAre(901, 1100, 1107)) << "no transport buttons";
}

// The video window.

TEST_F(Viewer, CoversTheBlackRectangleAtEveryScale) {
    struct Row {
        Rectangle overlay;
        Rectangle normal, fullscreen;
    };
    for (const Row& row : {
             Row{{0, 0, 1010, 568}, {150, 126, 860, 446}, {22, 65, 988, 459}},
             Row{{1920, 30, 3940, 1166}, {2220, 282, 3640, 922}, {1964, 160, 3896, 948}},
             // Scale 0.7, truncated: 707 by 397.6 is too high for 397, so 397 / 568 = 0.69894...
             Row{{0, 0, 707, 397}, {104, 88, 601, 311}, {15, 45, 690, 320}},
             // 1920 / 1010 = 1.90099...
             Row{{0, 0, 1920, 1080}, {285, 239, 1634, 847}, {41, 123, 1878, 872}},
         }) {
        Record().bounds = row.overlay;
        OpenClip();
        EXPECT_EQ(VideoRecord().bounds, row.normal);
        Click(1107);
        EXPECT_EQ(VideoRecord().bounds, row.fullscreen);
        // The page fills the same pixels.
        FitOverlay(State(), row.overlay.Width(), row.overlay.Height());
        const Rectangle box = MediaBounds(true, State().scale);
        EXPECT_EQ(box.left + row.overlay.left, row.fullscreen.left);
        EXPECT_THAT(Render(), Contains("fill " + std::to_string(box.left) + "," + std::to_string(box.top) + "," +
                                       std::to_string(box.right) + "," + std::to_string(box.bottom) + " 0,0,0"));
    }
}

TEST_F(Viewer, FillsTheBlackRectangleInDevicePixels) {
    OpenClip();
    FitOverlay(State(), 2020, 1136);
    const std::vector<std::string> lines = Render();
    const auto push = std::find(lines.begin(), lines.end(), "push 0,0 scale 0.5");
    ASSERT_LT(push - lines.begin() + 2, static_cast<std::ptrdiff_t>(lines.size()));
    EXPECT_EQ(push[1], "fill 300,252,1720,892 0,0,0");
    EXPECT_EQ(push[2], "pop");
}

TEST_F(Viewer, MovesOnlyIfItMust) {
    OpenClip();
    fake::ResetCalls();
    Tick();
    EXPECT_EQ(CountOf("ShowTopmostAt"), 0);
    SendToOverlay(message::size);
    EXPECT_EQ(CountOf("ShowTopmostAt"), 0);
    Record().bounds = {100, 0, 1110, 568};
    Tick();
    EXPECT_EQ(VideoRecord().bounds, (Rectangle{250, 126, 960, 446}));
    Record().bounds = {0, 0, 2020, 1136};
    SendToOverlay(message::size);
    EXPECT_EQ(VideoRecord().bounds, (Rectangle{300, 252, 1720, 892}));
    HideWindow(*Video());
    Tick();
    EXPECT_TRUE(VideoRecord().shown);
}

TEST_F(Viewer, HidingTheOverlayPausesAndShowingItDoesNotResume) {
    OpenClip();
    ToggleQuickOverlay();
    EXPECT_EQ(ThePlayer().state, PlayerState::Paused);
    EXPECT_FALSE(VideoRecord().shown);
    Tick();
    EXPECT_FALSE(VideoRecord().shown);
    ToggleQuickOverlay();
    Tick();
    EXPECT_TRUE(VideoRecord().shown);
    EXPECT_EQ(ThePlayer().state, PlayerState::Paused);
}

TEST_F(Viewer, AnotherPageStopsTheSound) {
    OpenClip();
    SelectOverlayPage(overlayPage::tiles);
    Tick();
    EXPECT_EQ(ThePlayer().state, PlayerState::Paused);
    EXPECT_FALSE(VideoRecord().shown);
    const int hidden = CountOf("HideWindow");
    Tick();
    EXPECT_EQ(CountOf("HideWindow"), hidden) << "once";
}

TEST_F(Viewer, RepaintsItsPageTwiceASecond) {
    OpenClip();
    Ui().overlaySignature = OverlaySignature();
    Record().invalidations = 0;
    Tick();
    EXPECT_EQ(Record().invalidations, 1);
    SelectOverlayPage(overlayPage::tiles);
    Tick();
    EXPECT_EQ(Record().invalidations, 1);
}

TEST_F(Viewer, TheVideoWindowHandlesItsMessages) {
    OpenClip();
    ThePlayer().state = PlayerState::Playing;
    EXPECT_EQ(VideoProc(*Video(), message::mouseActivate, 0, 0), 3);
    EXPECT_EQ(VideoProc(*Video(), message::eraseBackground, 0, 0), 1);
    Record().invalidations = 0;
    EXPECT_EQ(VideoProc(*Video(), message::leftButtonUp, 0, 0), 0);
    EXPECT_EQ(ThePlayer().state, PlayerState::Paused);
    EXPECT_EQ(Record().invalidations, 1);
    const int updates = CountOf("UpdateVideo");
    VideoProc(*Video(), message::size, 0, 0);
    EXPECT_EQ(CountOf("UpdateVideo"), updates + 1);
    VideoProc(*Video(), message::paint, 0, 0);
    EXPECT_EQ(CountOf("UpdateVideo"), updates + 2);
    EXPECT_FALSE(VideoRecord().mustPaint) << "or the system would send the message again";
    const int defaults = CountOf("DefaultProcedure");
    VideoProc(*Video(), message::keyDown, 65, 0);
    EXPECT_EQ(CountOf("DefaultProcedure"), defaults + 1);
}

TEST_F(Viewer, WithoutAPlayerTheVideoWindowIsBlack) {
    fake::FailCall("OpenMediaPlayer", 1, -1);
    OpenClip();
    fake::ResetCanvas();
    VideoProc(*Video(), message::paint, 0, 0);
    EXPECT_THAT(fake::Drawings(), ElementsAre("fill 0,0,710,320 0,0,0"));
    EXPECT_EQ(VideoRecord().pixelWidth, 710);
    EXPECT_EQ(CountOf("UpdateVideo"), 0);
}

// Playback.

TEST_F(Viewer, TogglesBetweenPlayingAndPaused) {
    struct Row {
        PlayerState state;
        std::int64_t position, duration;
        PlayerState after;
        bool fromStart;
    };
    for (const Row& row : {
             Row{PlayerState::Playing, 5 * seconds, 60 * seconds, PlayerState::Paused, false},
             Row{PlayerState::Playing, 60 * seconds, 60 * seconds, PlayerState::Paused, false},
             Row{PlayerState::Paused, 5 * seconds, 60 * seconds, PlayerState::Playing, false},
             Row{PlayerState::Stopped, 0, 60 * seconds, PlayerState::Playing, false},
             Row{PlayerState::Empty, 0, 0, PlayerState::Playing, false},
             Row{PlayerState::Paused, 60 * seconds - 1'000'001, 60 * seconds, PlayerState::Playing, false},
             Row{PlayerState::Paused, 60 * seconds - 1'000'000, 60 * seconds, PlayerState::Playing, true},
             Row{PlayerState::Stopped, 60 * seconds, 60 * seconds, PlayerState::Playing, true},
         }) {
        OpenClip(row.duration);
        ThePlayer().state = row.state;
        ThePlayer().position = row.position;
        fake::ResetCalls();
        TogglePlayback();
        EXPECT_EQ(ThePlayer().state, row.after);
        EXPECT_EQ(ThePlayer().position, row.fromStart ? 0 : row.position);
        EXPECT_EQ(CountOf("SeekMedia"), row.fromStart ? 1 : 0);
    }
}

TEST_F(Viewer, ClampsSeeksToTheVideo) {
    OpenClip(60 * seconds);
    SeekVideo(-1);
    SeekVideo(0);
    SeekVideo(59 * seconds);
    SeekVideo(60 * seconds);
    SeekVideo(60 * seconds + 1);
    EXPECT_THAT(Seeks(), ElementsAre("0", "0", "590000000", "600000000", "600000000"));
    ThePlayer().duration = 0;
    SeekVideo(5);
    EXPECT_EQ(Seeks().back(), "0");
    EXPECT_EQ(Session().viewerError, u"");
    fake::FailCall("SeekMedia", CountOf("SeekMedia") + 1, -1);
    SeekVideo(5);
    EXPECT_EQ(Session().viewerError, u"This video cannot seek to that position.");
}

// The page.

TEST_F(Viewer, DrawsThePageOfAVideo) {
    OpenClip(125 * seconds);
    ThePlayer().position = 61 * seconds + 9'999'999;
    EXPECT_THAT(Render(), testing::IsSupersetOf({
                              "fill 18,54,992,554 18,18,24",
                              "round 32,69,171,108 corner 12 37,40,54",
                              "text 32,69,171,108 17/600 centred 241,242,250 \"< Gallery\"",
                              "text 194,69,972,108 15/400 241,242,250 \"clip.mp4\"",
                              "fill 150,126,860,446 0,0,0",
                              "fill 204,469,972,478 44,47,62",
                              // 61.9999999 / 125 * 768 = 380.92...
                              "fill 204,469,584,478 151,119,255",
                              "text 33,455,192,487 15/400 158,164,187 \"1:01 / 2:05\"",
                              "round 800,502,975,538 corner 12 37,40,54",
                              "text 800,502,975,538 17/600 centred 241,242,250 \"Fullscreen\"",
                              "text 181,502,305,538 17/600 centred 241,242,250 \"Pause\"",
                              "text 317,502,404,538 17/600 centred 241,242,250 \"-10 sec\"",
                              "text 416,502,503,538 17/600 centred 241,242,250 \"+10 sec\"",
                              "text 515,502,562,538 17/600 centred 241,242,250 \"-\"",
                              "text 574,502,712,538 17/600 centred 241,242,250 \"Volume 60%\"",
                              "text 724,502,771,538 17/600 centred 241,242,250 \"+\"",
                          }));
    std::vector<std::int32_t> expected{901, 1100};
    for (int i = 0; i < 32; ++i) {
        expected.push_back(1150 + i);
    }
    expected.insert(expected.end(), {1107, 1101, 1102, 1103, 1104, 1106, 1105});
    EXPECT_EQ(Targets(), expected);
    ThePlayer().state = PlayerState::Paused;
    EXPECT_THAT(Render(), Contains("text 181,502,305,538 17/600 centred 241,242,250 \"Play\""));
    Drawing().accentColor = Rgb(1, 2, 250);
    EXPECT_THAT(Render(), Contains("fill 204,469,584,478 1,2,250"));
}

TEST_F(Viewer, DrawsNoProgressBeforeTheDurationIsKnown) {
    OpenClip(0);
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains("fill 204,469,972,478 44,47,62"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("fill 204,469,204,478"))));
    EXPECT_THAT(lines, Contains("text 33,455,192,487 15/400 158,164,187 \"0:00 / 0:00\""));
}

TEST_F(Viewer, DrawsTheErrorInPlaceOfTheBar) {
    OpenClip();
    Session().viewerError = u"Oh";
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains("text 34,461,977,485 15/400 151,119,255 \"Oh\""));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("204,469"))));
    EXPECT_THAT(Targets(), ElementsAre(901, 1100, 1107, 1101, 1102, 1103, 1104, 1106, 1105));
}

TEST_F(Viewer, FullscreenEnlargesTheRectangleAlone) {
    OpenClip();
    Click(1107);
    EXPECT_TRUE(Session().viewerFullscreen);
    EXPECT_EQ(VideoRecord().bounds, (Rectangle{22, 65, 988, 459}));
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains("fill 22,65,988,459 0,0,0"));
    EXPECT_THAT(lines, Contains("text 800,502,975,538 17/600 centred 241,242,250 \"Exit fullscreen\""));
    EXPECT_THAT(lines, Contains("text 32,502,165,538 17/600 centred 241,242,250 \"< Gallery\""));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("clip.mp4"))));
    EXPECT_THAT(lines, Contains("fill 204,469,972,478 44,47,62"));
    Click(1107);
    EXPECT_FALSE(Session().viewerFullscreen);
    EXPECT_EQ(VideoRecord().bounds, (Rectangle{150, 126, 860, 446}));
}

TEST_F(Viewer, EverySeekTargetHasItsPosition) {
    OpenClip(310 * seconds);
    for (std::int32_t i = 0; i < 32; ++i) {
        Render();
        const auto& targets = State().targets;
        const auto target =
            std::find_if(targets.begin(), targets.end(), [&](const HitTarget& each) { return each.id == 1150 + i; });
        ASSERT_NE(target, targets.end());
        EXPECT_EQ(target->box, (Rectangle{204 + 24 * i, 459, 228 + 24 * i, 487}));
        ActivateTarget(State(), 1150 + i);
        EXPECT_EQ(Seeks().back(), std::to_string(i * 10 * seconds)) << i;
    }
}

TEST_F(Viewer, TheJumpsAreTenSeconds) {
    OpenClip(60 * seconds);
    ThePlayer().position = 25 * seconds;
    Click(1103);
    Click(1103);
    Click(1103);
    Click(1103);
    Click(1102);
    EXPECT_THAT(Seeks(), ElementsAre("350000000", "450000000", "550000000", "600000000", "500000000"));
    ThePlayer().position = 3 * seconds;
    Click(1102);
    EXPECT_EQ(Seeks().back(), "0");
}

TEST_F(Viewer, TheVolumeHasStepsALimitAndASwitch) {
    OpenClip();
    struct Row {
        std::int32_t id;
        const char* label;
        float volume;
    };
    for (const Row& row : {
             Row{1104, "Volume 50%", 0.5F},
             Row{1106, "Volume 0%", 0},
             Row{1104, "Volume 0%", 0},
             Row{1106, "Volume 60%", 0.6F},
             Row{1105, "Volume 70%", 0.7F},
             Row{1105, "Volume 80%", 0.8F},
             Row{1105, "Volume 90%", 0.9F},
             Row{1105, "Volume 100%", 1},
             Row{1105, "Volume 100%", 1},
             Row{1106, "Volume 0%", 0},
             Row{1105, "Volume 10%", 0.1F},
         }) {
        Click(row.id);
        EXPECT_THAT(Render(), Contains(HasSubstr(row.label)));
        EXPECT_NEAR(ThePlayer().volume, row.volume, 1e-6) << row.label;
    }
}

TEST_F(Viewer, PlayAndGalleryButtonsWork) {
    OpenClip();
    Click(1101);
    EXPECT_EQ(ThePlayer().state, PlayerState::Paused);
    Click(1101);
    EXPECT_EQ(ThePlayer().state, PlayerState::Playing);
    Ui().gallery.galleryFirstIndex = 6;
    Click(1100);
    EXPECT_EQ(Ui().overlayPage, 1);
    EXPECT_EQ(ThePlayer().live, 0);
    EXPECT_EQ(Ui().gallery.galleryFirstIndex, 6);
}

TEST_F(Viewer, FormatsTimes) {
    struct Row {
        std::int64_t position;
        const char16_t* text;
    };
    for (const Row& row :
         {Row{0, u"0:00"}, Row{9'999'999, u"0:00"}, Row{10'000'000, u"0:01"}, Row{599'999'999, u"0:59"},
          Row{600'000'000, u"1:00"}, Row{36'609'999'999, u"61:00"}, Row{36'610'000'000, u"61:01"}}) {
        EXPECT_EQ(FormatMediaTime(row.position), row.text);
    }
}

// The end of the program.

TEST_F(Viewer, TheShutdownClosesTheViewerFirstAndWaitsForItsImage) {
    OpenClip();
    fake::ResetCalls();
    Send(message::destroy);
    EXPECT_EQ(fake::CallNames().front(), "ShutdownPlayer");
}

TEST_F(Viewer, TheShutdownWaitsForAnImage) {
    gate_.Hold("LoadPicture");
    OpenImage(2, 2);
    RunTo("LoadPicture");
    std::thread opener = OpenGateUnless("StopTimer");
    Send(message::destroy);
    EXPECT_TRUE(Session().viewerImageSlot.IsFinished());
    opener.join();
}

}  // namespace
}  // namespace zv
