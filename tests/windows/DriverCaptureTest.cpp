// The capture thread over doubles of the graphics driver: repeated starts and stops, failures, timeouts and adapters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Monitors.h"
#include "support/PipeReader.h"
#include "video/Capabilities.h"
#include "video/VideoCapture.h"
#include "windows/DriverScene.h"
#include "windows/Processes.h"

namespace zv::windows {
namespace {

using support::PipeReader;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr VideoFormat format = {1920, 1080, 240, 20};
constexpr char16_t monitor[] = u"\\\\.\\DISPLAY1";

class DriverCapture : public testing::Test {
protected:
    void SetUp() override {
        SetEnvironmentValue(u"ZV_TEST_REPORT", FromPath(Report()));
        SetEnvironmentValue(u"ZV_TEST_SCRIPT", FromPath(folder_.Path() / "script"));
        // Loads the doubles, which replace the imports of this program, before a capture uses these.
        std::vector<AdapterRecord> records;
        ASSERT_TRUE(ListAdapterRecords(records));
        // The system and the doubles create now what they create once and keep.
        Script("fail D3D11CreateDevice 1 80004001");
        EXPECT_FALSE(VideoCapture().Start(monitor, format));
        Script("set images always");
        RunOnce();
        std::filesystem::remove(Report());
    }

    std::filesystem::path Report() const { return folder_.Path() / "report"; }
    void Script(const std::string& text) { std::ofstream(folder_.Path() / "script") << text << "\n"; }

    static void RunOnce() {
        VideoCapture capture;
        ASSERT_TRUE(capture.Start(monitor, format)) << Narrow(capture.Error());
        const PipeReader reader(capture.PipeName());
        EXPECT_TRUE(
            Eventually([&] { return (capture.encodedFrames >= 3 && reader.Bytes() > 188) || !capture.running; }));
        capture.Stop();
        EXPECT_EQ(capture.Error(), u"");
    }

    void ExpectNoLeak(int rounds) {
        // The system allocates most of what it keeps in the first rounds; a leak would grow with every round.
        int before = 0;
        for (int i = 0; i < rounds && !HasFailure(); ++i) {
            before = i == 10 ? OpenHandles() : before;
            RunOnce();
        }
        EXPECT_LE(OpenHandles(), before + 3);
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
        // Each capture was the last user of the encoder's library.
        const std::vector<std::string> notes = ReportLines(Report(), "note: ");
        EXPECT_EQ(std::count(notes.begin(), notes.end(), "nvenc: unloaded"), rounds);
    }

    /// Runs one capture for each driver call, in which that call fails.
    void FailAtEveryCall() {
        for (const char* entry :
             {"D3D11CreateDevice", "QueryInterface:output", "DuplicateOutput", "QueryInterface:context",
              "CreateVideoProcessorEnumerator", "CreateVideoProcessor", "CreateTexture2D:bgra", "CreateTexture2D:nv12",
              "CreateVideoProcessorInputView", "CreateVideoProcessorOutputView", "NvEncodeAPICreateInstance",
              "nvEncOpenEncodeSessionEx", "nvEncGetEncodePresetConfigEx", "nvEncInitializeEncoder",
              "nvEncRegisterResource", "nvEncCreateBitstreamBuffer"}) {
            Script(std::string("fail ") + entry + " 1 80004001");
            VideoCapture capture;
            EXPECT_FALSE(capture.Start(monitor, format)) << entry;
            EXPECT_NE(capture.Error(), u"") << entry;
        }
        Script("fail QueryInterface:device 2 80004001");
        EXPECT_FALSE(VideoCapture().Start(monitor, format));
        for (const char* entry :
             {"AcquireNextFrame", "QueryInterface:desktop-image", "VideoProcessorBlt", "nvEncMapInputResource",
              "nvEncEncodePicture", "nvEncLockBitstream", "nvEncUnlockBitstream", "nvEncUnmapInputResource"}) {
            Script(std::string("set images always\nfail ") + entry + " 5 80004001");
            VideoCapture capture;
            EXPECT_TRUE(capture.Start(monitor, format)) << entry;
            const PipeReader reader(capture.PipeName());
            EXPECT_TRUE(Eventually([&] { return !capture.running; })) << entry;
            EXPECT_NE(capture.Error(), u"") << entry;
            capture.Stop();
        }
    }

    support::TemporaryFolder folder_;
};

TEST_F(DriverCapture, LeavesNoHandleAndNoObjectAfterThirtyStartsAndStops) { ExpectNoLeak(30); }
TEST_F(DriverCapture, LeavesNoHandleAndNoObjectAfterTwoHundredStartsAndStops) { ExpectNoLeak(200); }

TEST_F(DriverCapture, LeavesNoHandleAndNoObjectAfterAFailureOfAnyCall) {
    // The system may allocate something to keep at any time; a leak would grow with every pass.
    bool clean = false;
    for (int pass = 0; pass < 5 && !clean; ++pass) {
        const int before = OpenHandles();
        FailAtEveryCall();
        clean = OpenHandles() <= before;
    }
    EXPECT_TRUE(clean);
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

TEST_F(DriverCapture, EndsAfterTenSecondsIfTheReaderStopsReading) {
    Script("set images always\nset filled 200000\nset wait 10000 500");
    VideoCapture capture;
    ASSERT_TRUE(capture.Start(monitor, format)) << Narrow(capture.Error());
    const std::wstring name(capture.PipeName().begin(), capture.PipeName().end());
    const HANDLE pipe = CreateFileW(name.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(Eventually([&] { return !capture.running; }));
    EXPECT_EQ(capture.Error(), u"Video muxer disconnected (0x80004005)");
    EXPECT_THAT(ReportLines(Report(), "note: dxgi: a wait"), ElementsAre(" of 10000 ms timed out"));
    // The pipe holds a mebibyte; writes still in flight do not count.
    EXPECT_GE(capture.encodedFrames, 4U);
    EXPECT_LE(capture.encodedFrames, 6U);
    capture.Stop();
    CloseHandle(pipe);
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

TEST_F(DriverCapture, EncodesTheDesktopWithTheRequestedSizeAndRates) {
    for (const VideoFormat& asked : {VideoFormat{2560, 1440, 60, 5}, VideoFormat{3840, 2160, 30, 200}}) {
        VideoCapture capture;
        ASSERT_TRUE(capture.Start(monitor, asked)) << Narrow(capture.Error());
        const PipeReader reader(capture.PipeName());
        EXPECT_TRUE(Eventually([&] { return capture.encodedFrames >= 2 || !capture.running; }));
        capture.Stop();
        EXPECT_EQ(capture.Error(), u"");
    }
    const std::vector<std::string> notes = ReportLines(Report(), "note: ");
    EXPECT_THAT(notes, testing::Contains("nvenc: encodes 2560x1440 at 60 with 5000000 bit/s"));
    EXPECT_THAT(notes, testing::Contains("nvenc: encodes 3840x2160 at 30 with 200000000 bit/s"));
    EXPECT_THAT(notes, testing::Contains("d3d11: scaler 1920x1080 to 3840x2160 at 30"));
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

TEST_F(DriverCapture, RequestsTimelySchedulingWhileItRuns) {
    RunOnce();
    const std::vector<std::string> notes = ReportLines(Report(), "note: ");
    for (const char* request :
         {"d3d11: GPU thread priority 7", "avrt: thread registered as Capture", "avrt: thread unregistered",
          "dxgi: timer of 1 ms begun", "dxgi: timer of 1 ms ended"}) {
        EXPECT_EQ(std::count(notes.begin(), notes.end(), request), 1) << request;
    }
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

TEST_F(DriverCapture, RunsIfTimelySchedulingIsRefused) {
    Script(
        "set images always\nfail AvSetMmThreadCharacteristicsW 1+ 5\nfail timeBeginPeriod 1+ 61\n"
        "fail SetProcessInformation 1+ 57\nfail SetGPUThreadPriority 1+ 80070005");
    RunOnce();  // reads the script too late for its first requests
    std::filesystem::remove(Report());
    RunOnce();
    const std::vector<std::string> notes = ReportLines(Report(), "note: ");
    EXPECT_THAT(notes, testing::Not(testing::Contains(testing::StartsWith("avrt: thread"))));
    EXPECT_THAT(notes, testing::Not(testing::Contains(testing::StartsWith("dxgi: timer"))));
    Script("set images always\nfail QueryInterface:device 1 80004002");
    RunOnce();
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

TEST_F(DriverCapture, ListsEveryAdapterButNoSoftwareAdapterAmongTheCapabilities) {
    Script(
        "set adapter 8086 0 134217728 First card\nset adapter 1414 2 0 Software renderer\n"
        "set adapter 10DE 0 8589934592 Second card");
    std::vector<AdapterRecord> records;
    ASSERT_TRUE(ListAdapterRecords(records));
    ASSERT_EQ(records.size(), 3U);
    EXPECT_FALSE(records[0].software);
    EXPECT_TRUE(records[1].software);
    EXPECT_FALSE(records[2].software);
    CapabilityReport report;
    DetectCapabilities(report);
    ASSERT_EQ(report.adapters.size(), 2U);
    EXPECT_EQ(report.adapters[0].name, u"First card");
    EXPECT_EQ(report.adapters[0].dedicatedVideoMemory, 134217728U);
    EXPECT_TRUE(report.adapters[0].isIntel);
    EXPECT_EQ(report.adapters[1].name, u"Second card");
    EXPECT_EQ(report.adapters[1].vendorId, 0x10DEU);
    EXPECT_EQ(report.adapters[1].dedicatedVideoMemory, 8589934592U);
    EXPECT_TRUE(report.adapters[1].isNvidia);
    EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
}

}  // namespace
}  // namespace zv::windows
