// The clips of the program as it ships, over the doubles of the graphics driver: every picture, its colours and bounds.
#include "windows/DriverPictures.h"

namespace zv::windows {
namespace {

using testing::Contains;
using testing::HasSubstr;

using DriverClip = DriverPictures;

TEST_F(DriverClip, AClipHoldsEveryImageOfTheDesktopOnceAndInOrder) {
    Script("set images always");
    const std::filesystem::path clip = MakeClip(4);
    ExpectEveryImageIn(clip, 90);
    EXPECT_EQ(*NumbersOf(clip).at(0) % 30, 0U);
}

TEST_F(DriverClip, AClipHasExactColoursAndAKeyFrameEachSecond) {
    Script("set images 30");
    const std::filesystem::path clip = MakeClip(3);
    const std::string probed = RunShell(
        folder_.Path(),
        "ffprobe -v error -select_streams v -show_entries stream=codec_name,profile,width,height,pix_fmt,color_range,"
        "color_space,color_transfer,color_primaries,has_b_frames,r_frame_rate -of default=nw=1 \"$1\"",
        {clip});
    for (const char* line : {"codec_name=h264\n", "profile=High\n", "width=1920\n", "height=1080\n",
                             "pix_fmt=yuv420p\n", "color_range=tv\n", "color_space=bt709\n", "color_transfer=bt709\n",
                             "color_primaries=bt709\n", "has_b_frames=0\n", "r_frame_rate=30/1\n"}) {
        EXPECT_THAT(probed, HasSubstr(line));
    }
    // Packets: timestamps one frame apart, a key frame at each full second.
    std::istringstream packets(RunShell(
        folder_.Path(), "ffprobe -v error -select_streams v -show_entries packet=pts,duration,flags -of csv=p=0 \"$1\"",
        {clip}));
    std::vector<std::int64_t> stamps;
    std::vector<bool> keys;
    for (std::string line; std::getline(packets, line);) {
        stamps.push_back(std::stoll(line));
        keys.push_back(line.find('K') != std::string::npos);
    }
    ASSERT_GE(stamps.size(), 60U);
    ASSERT_EQ(stamps.size() % 30, 0U);
    for (std::size_t i = 0; i < stamps.size(); ++i) {
        ASSERT_EQ(keys[i], i % 30 == 0) << "at frame " << i;
        ASSERT_EQ(stamps[i] - stamps[0], static_cast<std::int64_t>(i) * (stamps[1] - stamps[0])) << "at frame " << i;
    }
    // BT.709 in limited range, computed from the standard's coefficients: the bars and the grey above them.
    const std::vector<std::uint8_t> frame = FirstFrameOf(clip);
    ASSERT_EQ(frame.size(), 1920U * 1080U * 3 / 2);
    const Sample bars[] = {{235, 128, 128}, {219, 16, 138}, {188, 154, 16}, {173, 42, 26},
                           {78, 214, 230},  {63, 102, 240}, {32, 240, 118}, {16, 128, 128}};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(At(frame, 120 + 240 * i, 800), bars[i]) << "bar " << i;
    }
    EXPECT_EQ(At(frame, 1800, 40), (Sample{71, 128, 128}));
}

TEST_F(DriverClip, RepeatsAnImageUntilTheNextOneArrives) {
    Script("set images 10");
    const auto numbers = NumbersOf(MakeClip(4));
    ASSERT_GE(numbers.size(), 90U);
    EXPECT_GT(RepetitionsIn(numbers), numbers.size() / 3);
}

TEST_F(DriverClip, AWideMonitorHasBarsOfVideoBlackAboveAndBelow) {
    Script(R"(set output 0 \\.\DISPLAY1 0 0 3440 1440 1 1)");
    const std::vector<std::uint8_t> frame = FirstFrameOf(MakeClip(2));
    ASSERT_EQ(frame.size(), 1920U * 1080U * 3 / 2);
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("d3d11: rectangle 0 139 1920 941"));
    for (const std::size_t x : {0U, 900U, 1919U}) {
        EXPECT_EQ(At(frame, x, 0), (Sample{16, 128, 128}));
        EXPECT_EQ(At(frame, x, 137), (Sample{16, 128, 128}));
        EXPECT_EQ(At(frame, x, 942), (Sample{16, 128, 128}));
        EXPECT_EQ(At(frame, x, 1079), (Sample{16, 128, 128}));
    }
    EXPECT_EQ(At(frame, 1800, 139).y, 71);
    EXPECT_EQ(At(frame, 1800, 150), (Sample{71, 128, 128}));
    EXPECT_EQ(At(frame, 120, 940).y, 235);
}

TEST_F(DriverClip, AMonitorOfTheSecondAdapterIsCapturedOnThatAdapter) {
    Script(R"(set adapter 8086 0 0 First)");
    Script(R"(set adapter 10DE 0 8589934592 Second)");
    Script(R"(set output 0 \\.\DISPLAY2 1920 0 3840 1080 1 1)");
    Script(R"(set output 1 \\.\DISPLAY1 0 0 1920 1080 1 1)");
    EXPECT_FALSE(MakeClip(2).empty());
}

}  // namespace
}  // namespace zv::windows
