// Recordings of the program as it ships, over the doubles of the graphics driver, and captures that start again because
// the monitor or the format changes.
#include "capture/CaptureEngine.h"
#include "platform/Monitors.h"
#include "windows/DriverPictures.h"
#include "windows/ScreenPattern.h"

namespace zv::windows {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

constexpr char16_t screenshotKeys[] = u"17 18 83";  // Ctrl + Alt + S

using DriverRecording = DriverPictures;

TEST_F(DriverRecording, ClipsRecordingsAndScreenshotsAreMadeAtTheSameTime) {
    Script("set images always");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 2; })) << testing::PrintToString(Activity());
    Press(recordKeys);
    ASSERT_TRUE(EventuallyLogs(recordingStarted)) << testing::PrintToString(Activity());
    {
        const Painting painting;
        Press(screenshotKeys);
        ASSERT_TRUE(Eventually([&] { return !Screenshots().empty(); }));
    }
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 6; }));
    Press(saveKeys);
    const std::filesystem::path clip = SavedClip();
    Press(recordKeys);
    const std::filesystem::path record = SavedRecording();
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
    const Picture picture = ReadPng(Screenshots().at(0));
    EXPECT_EQ(picture.width, 1920);
    EXPECT_EQ(picture.height, 1080);
    EXPECT_EQ(Differences(picture, {0, 0, 1920, 1080}), 0);
    ExpectEveryImageIn(clip, 150);
    ExpectEveryImageIn(record, 60);
}

TEST_F(DriverRecording, ARecordingWithoutAReplayBeginsWithTheFirstImage) {
    Setting("instantReplay=0");
    Script("set images always");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return Activity().size() == 1; }));
    Press(recordKeys);
    ASSERT_TRUE(EventuallyLogs(recordingStarted)) << testing::PrintToString(Activity());
    ASSERT_TRUE(Eventually([] { return HasRecorded(45); }));
    Press(recordKeys);
    const std::filesystem::path record = SavedRecording();
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
    ExpectEveryImageIn(record, 30);
    EXPECT_EQ(NumbersOf(record).at(0), 0U);
}

TEST_F(DriverRecording, IsBlackUntilTheFirstPresentedImageAndRepeatsAnImageWhileThePointerMoves) {
    Setting("instantReplay=0");
    Script("set images 10\nset first unpresented\nset pointer moves");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return Activity().size() == 1; }));
    Press(recordKeys);
    ASSERT_TRUE(EventuallyLogs(recordingStarted)) << testing::PrintToString(Activity());
    ASSERT_TRUE(Eventually([] { return HasRecorded(45); }));
    Press(recordKeys);
    const std::filesystem::path record = SavedRecording();
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
    const std::vector<std::uint8_t> frame = FirstFrameOf(record);
    ASSERT_EQ(frame.size(), 1920U * 1080U * 3 / 2);
    EXPECT_EQ(At(frame, 1800, 40), (Sample{16, 128, 128}));
    EXPECT_EQ(At(frame, 120, 800), (Sample{16, 128, 128}));
    const auto numbers = NumbersOf(record);
    const auto presented = std::find_if(numbers.begin(), numbers.end(), [](const auto& number) { return number; });
    ASSERT_NE(presented, numbers.end());
    EXPECT_NE(presented, numbers.begin());
    EXPECT_EQ(*presented, 0U);
    EXPECT_GT(RepetitionsIn({presented, numbers.end()}), 0U);
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains(testing::EndsWith(" pointer updates")));
}

TEST_F(DriverRecording, RestartsTheCaptureWhenTheMonitorChangesItsSize) {
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 1; })) << testing::PrintToString(Activity());
    const std::vector<DWORD> before = ProcessesNamed(L"ffmpeg.exe");
    EXPECT_EQ(NextLogUnder(R"(set output 0 \\.\DISPLAY1 0 0 1280 1024 1 1)"), buffering);
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("d3d11: scaler 1280x1024 to 1920x1080 at 30"));
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("d3d11: rectangle 285 0 1635 1080"));
    for (const DWORD process : ProcessesNamed(L"ffmpeg.exe")) {
        EXPECT_THAT(before, Not(Contains(process)));
    }
    // The saved clip holds nothing from before the change.
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 2; }));
    Press(saveKeys);
    const std::vector<std::uint8_t> frame = FirstFrameOf(SavedClip());
    ASSERT_EQ(frame.size(), 1920U * 1080U * 3 / 2);
    EXPECT_EQ(At(frame, 283, 540), (Sample{16, 128, 128}));
    EXPECT_EQ(At(frame, 1560, 40), (Sample{71, 128, 128}));
    EXPECT_EQ(At(frame, 1636, 540), (Sample{16, 128, 128}));
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverRecording, RestartsTheCaptureWithAChangedFormat) {
    Script("set images 30");
    // As the program does at its start. The doubles watch the calls of a process from here on.
    std::vector<AdapterRecord> adapters;
    ASSERT_TRUE(ListAdapterRecords(adapters));
    CaptureConfig config;
    config.width = 1920;
    config.height = 1080;
    config.fps = 30;
    config.bitrateMbps = 20;
    config.gameAudioEnabled = false;
    config.monitorDevice = u"\\\\.\\DISPLAY1";
    CaptureEngine engine;
    ASSERT_TRUE(engine.Configure(config));
    ASSERT_TRUE(engine.StartReplay(true, 15)) << Narrow(engine.statusText);
    config.width = 2560;
    config.height = 1440;
    config.bitrateMbps = 30;
    ASSERT_TRUE(engine.Configure(config));
    EXPECT_FALSE(engine.replayRunning);
    EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    ASSERT_TRUE(engine.StartReplay(true, 15)) << Narrow(engine.statusText);
    EXPECT_TRUE(Eventually([&] { return engine.BufferedSeconds() >= 2; }));
    engine.StopAll();
    const std::vector<std::string> notes = ReportLines(Report(), "note: ");
    EXPECT_THAT(notes, Contains("nvenc: encodes 1920x1080 at 30 with 20000000 bit/s"));
    EXPECT_THAT(notes, Contains("nvenc: encodes 2560x1440 at 30 with 30000000 bit/s"));
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

}  // namespace
}  // namespace zv::windows
