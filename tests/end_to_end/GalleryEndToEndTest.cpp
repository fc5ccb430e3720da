// The gallery of the real program: real captures by key, real thumbnails, real clicks.
#include <iterator>

#include "support/Eventually.h"
#include "support/InterfaceUser.h"
#include "support/PrivateDisplay.h"
#include "support/ProgramRun.h"
#include "support/ServerWatch.h"

namespace zv {
namespace {

using namespace support;

constexpr std::uint32_t clipColor = 0xB03020;
constexpr std::uint32_t screenshotColor = 0x2050B0;
constexpr Color panel = Rgb(24, 23, 28);
constexpr Color well = color::thumbnailWell;

// Design points of the gallery and of the button that opens it.
constexpr Point galleryTile{790, 140};
constexpr Point filters[] = {{131, 202}, {131, 251}, {131, 300}, {131, 349}};
constexpr Point refresh{131, 435};
constexpr Point previous{338, 514};
constexpr Point next{898, 514};
constexpr Point thumbnails[] = {{374, 204}, {611, 204}, {848, 204}};

class GalleryEndToEnd : public testing::Test {
protected:
    static bool IsNear(std::uint32_t a, std::uint32_t b) {
        const auto distance = [&](unsigned shift) {
            return std::abs(static_cast<int>(a >> shift & 0xFFU) - static_cast<int>(b >> shift & 0xFFU));
        };
        return distance(0) < 16 && distance(8) < 16 && distance(16) < 16;
    }
    /// Waits until the middle and a corner of a thumbnail have that colour.
    bool WaitThumbnail(std::size_t index, std::uint32_t color) const {
        const Point& middle = thumbnails[index];
        return Eventually([&] {
            return IsNear(user_.ColorOf(overlayName, middle.x, middle.y), color) &&
                   IsNear(user_.ColorOf(overlayName, middle.x - 80, middle.y - 45), color);
        });
    }
    bool WaitLabel(std::size_t filter, const Text& label, bool active) const {
        const Point& middle = filters[filter];
        return user_.WaitSays(overlayName, {{29, middle.y - 19, 233, middle.y + 20},
                                            label,
                                            color::primaryText,
                                            active ? color::buttonSelected : color::button,
                                            FontRole::Bold,
                                            TextLayout::CentredLine,
                                            {60, middle.y - 15, 200, middle.y + 15}});
    }
    void Click(const Point& at) const {
        user_.Click(overlayName, at.x, at.y);
        user_.MovePointer(1, 1);
    }

    /// Goes to the second page and back that often.
    void ChangePages(int times);

    PrivateDisplay display_;
    InterfaceUser user_{display_.Name()};
    OtherClient game_{display_.Name()};
};

std::size_t EntriesOf(pid_t process, const char* list) {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/" + list), {}));
}

void GalleryEndToEnd::ChangePages(int times) {
    game_.Cover({0, 0, 1920, 1080}, clipColor);
    ProgramRun run({.display = display_.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    std::filesystem::create_directories(run.CaptureRoot() / "Game");
    OutputOf({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0xC04020:size=640x360", "-frames:v", "7",
              (run.CaptureRoot() / "Game" / "%d.png").string()});
    ASSERT_TRUE(user_.OpenOverlay());
    Click(galleryTile);
    const pid_t program = run.Process().Pid();
    const xcb_window_t overlay = user_.WindowOf(overlayName);
    std::size_t files = 0;
    std::size_t threads = 0;
    std::uint32_t resources = 0;
    // Seven captures have two pages.
    for (int i = 0; i <= times; ++i) {
        ASSERT_TRUE(WaitThumbnail(0, 0xC04020));
        ASSERT_TRUE(user_.WaitColor(overlayName, next.x - 60, next.y, color::button));
        Click(next);
        ASSERT_TRUE(user_.WaitColor(overlayName, previous.x - 60, previous.y, color::button));
        ASSERT_TRUE(WaitThumbnail(0, 0xC04020));
        if (i == 0) {
            // The worker of the thumbnails has ended.
            ASSERT_TRUE(Eventually([&] { return run.Children().empty(); }));
            files = EntriesOf(program, "fd");
            threads = EntriesOf(program, "task");
            resources = ResourcesOf(user_.Get(), overlay);
        }
        Click(previous);
    }
    EXPECT_LE(EntriesOf(program, "fd"), files);
    EXPECT_LE(EntriesOf(program, "task"), threads);
    EXPECT_LE(ResourcesOf(user_.Get(), overlay), resources);
    EXPECT_EQ(run.End(), 0);
}

TEST_F(GalleryEndToEnd, ACaptureByKeyIsShownWithItsColours) {
    game_.CoverAsGame({0, 0, 1920, 1080}, clipColor);
    ProgramRun run({.display = display_.Name(), .settings = {{"replaySeconds", "15"}}});
    ASSERT_TRUE(run.WaitForBuffer(3));
    user_.TapKey({XK_Alt_L}, XK_F10);
    ASSERT_TRUE(run.WaitForActivity("Replay saved: ").has_value());
    game_.CoverAsGame({0, 0, 1920, 1080}, screenshotColor);
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    ASSERT_TRUE(Eventually([&] { return CapturesOf(run, ".png").size() == 1; }));

    // The newest is the first.
    ASSERT_TRUE(user_.OpenOverlay());
    Click(galleryTile);
    ASSERT_TRUE(user_.WaitColor(overlayName, 980, 540, panel));
    EXPECT_TRUE(WaitLabel(0, u"Show all (2)", true));
    EXPECT_TRUE(WaitLabel(1, u"Instant replay (1)", false));
    EXPECT_TRUE(WaitThumbnail(0, screenshotColor));
    EXPECT_TRUE(WaitThumbnail(1, clipColor));
    Click(filters[1]);
    EXPECT_TRUE(WaitThumbnail(0, clipColor));
    EXPECT_TRUE(WaitLabel(1, u"Instant replay (1)", true));
    Click(filters[2]);
    EXPECT_TRUE(WaitThumbnail(0, screenshotColor));
    EXPECT_TRUE(user_.WaitColor(overlayName, thumbnails[1].x, thumbnails[1].y, panel));

    // A file without a picture.
    std::filesystem::create_directories(run.CaptureRoot() / "Broken");
    WriteBytes(run.CaptureRoot() / "Broken" / "a.mp4", "no video");
    Click(filters[0]);
    Click(refresh);
    EXPECT_TRUE(WaitLabel(0, u"Show all (3)", true));
    EXPECT_TRUE(user_.WaitSays(
        overlayName,
        {{264, 151, 484, 257}, u"Open to view", color::mutedText, well, FontRole::Small, TextLayout::CentredLine}));
    EXPECT_TRUE(WaitThumbnail(1, screenshotColor));

    // The replay goes on.
    EXPECT_EQ(run.FfmpegChildren().size(), 1U);
    const double before = run.BufferedSeconds();
    EXPECT_TRUE(run.WaitForBuffer(std::min(before + 1, 15.0)));
    EXPECT_EQ(run.End(), 0);
}

TEST_F(GalleryEndToEnd, FilesAtWhichFfmpegHangsOrDiesHoldUpNeitherTheReplayNorTheEnd) {
    // FFmpeg, but for files that begin with a word.
    const TemporaryFolder folder("zorvel-gallery");
    const std::filesystem::path script = folder.Path() / "ffmpeg";
    WriteBytes(script, R"(#!/bin/sh
case "$*" in *image2pipe*) ;; *) exec ffmpeg "$@";; esac
cd "${0%/*}" && read -r word
case "$word" in
die) kill -9 $$;;
hang) echo > hanging; until [ -e ending ]; do sleep 0.1; done; sleep 10; echo > late;;
*) exec ffmpeg "$@";;
esac
)");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    game_.Cover({0, 0, 1920, 1080}, clipColor);
    ProgramRun run({.display = display_.Name(), .variables = {{"ZV_FFMPEG", script.string()}}});
    ASSERT_TRUE(run.WaitForBuffer(2));
    std::filesystem::create_directories(run.CaptureRoot() / "Game");
    WriteBytes(run.CaptureRoot() / "Game" / "a.mp4", "die\n");
    WriteBytes(run.CaptureRoot() / "Game" / "b.mp4", "hang\n");
    ASSERT_TRUE(user_.OpenOverlay());
    Click(galleryTile);
    ASSERT_TRUE(user_.WaitColor(overlayName, 980, 540, panel));
    Click(refresh);
    ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(folder.Path() / "hanging"); }));

    EXPECT_TRUE(run.WaitForBuffer(run.BufferedSeconds() + 2));
    WriteBytes(folder.Path() / "ending", "");
    EXPECT_EQ(run.End(), 0);
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "late")) << "the end of the program waited for FFmpeg";
    EXPECT_TRUE(Eventually([&] { return ProcessesWith(script.string()).empty(); }));
}

TEST_F(GalleryEndToEnd, AThousandPageChangesLeaveNothingBehind) { ChangePages(1000); }

TEST_F(GalleryEndToEnd, FiftyPageChangesLeaveNothingBehind) { ChangePages(50); }

}  // namespace
}  // namespace zv
