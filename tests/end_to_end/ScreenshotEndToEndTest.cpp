// Screenshots by key: the real program on a real X display with a still picture. The tests check the files, because the
// sentences appear only in the windows.
#include <gtest/gtest.h>

#include <regex>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/ScreenPainting.h"
#include "support/SmallDisk.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr char screenshotKey[] = "ctrl+alt+s";

std::vector<fs::path> PicturesBelow(const fs::path& folder) {
    std::vector<fs::path> pictures = FilesBelow(folder);
    std::erase_if(pictures, [](const fs::path& path) { return path.extension() != ".png"; });
    return pictures;
}

struct Area {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

/// The picture as 3 bytes for each pixel, read by an independent decoder.
std::string Decode(const fs::path& picture) {
    return OutputOf({"ffmpeg", "-v", "error", "-i", picture.string(), "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
}

/// Expects exactly the painted pixels of that part of the screen.
void ExpectPainted(const fs::path& picture, const Area& area) {
    const std::string rgb = Decode(picture);
    ASSERT_EQ(rgb.size(), static_cast<std::size_t>(area.width * area.height) * 3);
    EXPECT_EQ(OutputOf({"ffprobe", "-v", "error", "-show_entries", "stream=codec_name,width,height", "-of", "csv=p=0",
                        picture.string()}),
              "png," + std::to_string(area.width) + "," + std::to_string(area.height) + "\n");
    int different = 0;
    std::size_t at = 0;
    for (int y = area.top; y < area.top + area.height; ++y) {
        for (int x = area.left; x < area.left + area.width; ++x, at += 3) {
            const std::uint32_t color = std::uint32_t{static_cast<std::uint8_t>(rgb[at])} << 16U |
                                        std::uint32_t{static_cast<std::uint8_t>(rgb[at + 1])} << 8U |
                                        static_cast<std::uint8_t>(rgb[at + 2]);
            different += color == ColorAt(x, y) ? 0 : 1;
        }
    }
    EXPECT_EQ(different, 0) << "pixels differ from the screen";
}

class ScreenshotEndToEnd : public testing::Test {
protected:
    ScreenshotEndToEnd() { painting_.Fill<std::uint32_t>(ColorAt); }

    ProgramOptions Options() const { return {.display = display_.Name(), .settings = {{"instantReplay", "0"}}}; }
    /// Waits until the program has registered its keys.
    static void AwaitStart(const ProgramRun& run) { ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value()); }
    /// Presses the key until a picture exists, because a press during a failing screenshot is refused.
    static bool PressUntilPicture(const ProgramRun& run, const fs::path& folder) {
        for (int i = 0; i < 60; ++i) {
            run.Press(screenshotKey);
            if (Eventually([&] { return !PicturesBelow(folder).empty(); }, 1000)) {
                return true;
            }
        }
        return false;
    }
    static bool AwaitPicture(const fs::path& folder) {
        return Eventually([&] { return !PicturesBelow(folder).empty(); });
    }

    PrivateDisplay display_;
    ScreenPainting painting_{display_.Name().c_str(), 0, 0, 1920, 1080};
};

TEST_F(ScreenshotEndToEnd, AKeyPressSavesTheScreenPixelForPixel) {
    painting_.MovePointer(960, 540);
    ProgramRun run(Options());
    AwaitStart(run);
    run.Press(screenshotKey);
    ASSERT_TRUE(AwaitPicture(run.CaptureRoot()));
    const fs::path picture = PicturesBelow(run.CaptureRoot())[0];
    EXPECT_EQ(picture.parent_path(), run.CaptureRoot() / "Desktop");
    EXPECT_TRUE(std::regex_match(picture.filename().string(),
                                 std::regex(R"(ZV_Screenshot_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d-\d{3}\.png)")))
        << picture;
    ExpectPainted(picture, {0, 0, 1920, 1080});
    EXPECT_EQ(run.Activity().size(), 1U) << "the screenshot has a row in the log";
    EXPECT_EQ(run.End(), 0);
    EXPECT_EQ(FilesBelow(run.CaptureRoot()).size(), 1U);
}

TEST_F(ScreenshotEndToEnd, ASecondMonitorIsSavedWithItsOwnBounds) {
    display_.Change({"--setmonitor", "SECOND", "641/160x403/100+1003+207", "none"});
    ProgramOptions options = Options();
    options.settings["monitorDevice"] = "SECOND";
    ProgramRun run(options);
    AwaitStart(run);
    run.Press(screenshotKey);
    ASSERT_TRUE(AwaitPicture(run.CaptureRoot()));
    ExpectPainted(PicturesBelow(run.CaptureRoot())[0], {1003, 207, 641, 403});
    EXPECT_EQ(run.End(), 0);
}

TEST_F(ScreenshotEndToEnd, ADisconnectedMonitorSavesNoFileUntilItIsConnectedAgain) {
    display_.Change({"--setmonitor", "SECOND", "640/160x400/100+1000+200", "none"});
    ProgramOptions options = Options();
    options.settings["monitorDevice"] = "SECOND";
    ProgramRun run(options);
    AwaitStart(run);
    display_.Change({"--delmonitor", "SECOND"});
    run.Press(screenshotKey);
    // A screenshot creates its folder first and its file last.
    ASSERT_TRUE(Eventually([&] { return fs::exists(run.CaptureRoot() / "Desktop"); }));
    EXPECT_FALSE(Eventually([&] { return !FilesBelow(run.CaptureRoot()).empty(); }, 1000));
    display_.Change({"--setmonitor", "SECOND", "640/160x400/100+1000+200", "none"});
    ASSERT_TRUE(PressUntilPicture(run, run.CaptureRoot()));
    ExpectPainted(PicturesBelow(run.CaptureRoot())[0], {1000, 200, 640, 400});
    EXPECT_EQ(run.End(), 0);
}

TEST_F(ScreenshotEndToEnd, AFileInPlaceOfTheFolderIsKept) {
    ProgramRun run(Options());
    AwaitStart(run);
    const fs::path place = run.CaptureRoot() / "Desktop";
    fs::create_directories(run.CaptureRoot());
    WriteBytes(place, "in the way");
    run.Press(screenshotKey);
    EXPECT_FALSE(Eventually([&] { return FilesBelow(run.CaptureRoot()).size() != 1; }, 1000));
    EXPECT_EQ(ReadBytes(place), "in the way");
    fs::remove(place);
    ASSERT_TRUE(PressUntilPicture(run, place));
    ExpectPainted(PicturesBelow(place)[0], {0, 0, 1920, 1080});
    EXPECT_EQ(run.End(), 0);
}

TEST_F(ScreenshotEndToEnd, ClipAndScreenshotOfTheSameMomentAreBothSaved) {
    ProgramOptions options = Options();
    options.settings["instantReplay"] = "1";
    ProgramRun run(options);
    ASSERT_TRUE(run.WaitForBuffer(2));
    OutputOf({"env", "DISPLAY=" + display_.Name(), "xdotool", "key", "alt+F10", "key", screenshotKey});
    ASSERT_TRUE(run.WaitForActivity("Replay saved: ").has_value());
    ASSERT_TRUE(AwaitPicture(run.CaptureRoot()));
    ExpectPainted(PicturesBelow(run.CaptureRoot())[0], {0, 0, 1920, 1080});
    EXPECT_EQ(run.End(), 0);
    EXPECT_EQ(FilesBelow(run.CaptureRoot()).size(), 2U);
}

TEST_F(ScreenshotEndToEnd, APressRightBeforeTheExitSavesAWholePicture) {
    ProgramRun run(Options());
    AwaitStart(run);
    run.Press(screenshotKey);
    ASSERT_TRUE(Eventually([&] { return fs::exists(run.CaptureRoot() / "Desktop"); }));
    EXPECT_EQ(run.End(), 0);
    ASSERT_EQ(FilesBelow(run.CaptureRoot()).size(), 1U);
    ExpectPainted(FilesBelow(run.CaptureRoot())[0], {0, 0, 1920, 1080});
}

TEST_F(ScreenshotEndToEnd, AFullDiskLeavesNoFileAndALargerOneWorksAgain) {
    ProgramRun run(Options());
    AwaitStart(run);
    const SmallDisk disk(run.CaptureRoot(), "64k");
    ASSERT_TRUE(disk.Mounted());
    run.Press(screenshotKey);
    ASSERT_TRUE(Eventually([&] { return fs::exists(run.CaptureRoot() / "Desktop"); }));
    EXPECT_FALSE(Eventually([&] { return !PicturesBelow(run.CaptureRoot()).empty(); }, 1000));
    EXPECT_TRUE(Eventually([&] { return FilesBelow(run.CaptureRoot()).empty(); }));
    ASSERT_TRUE(disk.Resize("64m"));
    ASSERT_TRUE(PressUntilPicture(run, run.CaptureRoot()));
    ExpectPainted(PicturesBelow(run.CaptureRoot())[0], {0, 0, 1920, 1080});
    EXPECT_EQ(run.End(), 0);
    EXPECT_EQ(FilesBelow(run.CaptureRoot()).size(), 1U);
}

}  // namespace
}  // namespace zv
