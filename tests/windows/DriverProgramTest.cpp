// The program as it ships, over doubles of the graphics driver: what it captures, and how it treats the driver.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <sstream>

#include "capture/CaptureEngine.h"
#include "platform/BytePipe.h"
#include "platform/Environment.h"
#include "support/FrameNumber.h"
#include "windows/DriverScene.h"
#include "windows/Processes.h"
#include "windows/ScreenPattern.h"

namespace zv::windows {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr char16_t saveKeys[] = u"18 121";          // Alt + F10
constexpr char16_t recordKeys[] = u"17 18 82";      // Ctrl + Alt + R
constexpr char16_t screenshotKeys[] = u"17 18 83";  // Ctrl + Alt + S
constexpr char buffering[] = "Replay is buffering video and selected audio. Allow 2 seconds before saving.";
constexpr char recordingStarted[] = "Recording started. Stop Recording to finalize video and selected audio.";

std::vector<std::uint8_t> BytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DriverProgram : public DriverScene {
protected:
    /// Lets the program buffer, saves a clip, ends it, and answers the clip.
    std::filesystem::path MakeClip(std::size_t segments) {
        EXPECT_TRUE(StartProgram());
        EXPECT_TRUE(Eventually([&] { return ListedSegments() >= segments || Activity().size() > 1; }))
            << testing::PrintToString(Activity());
        Press(saveKeys);
        const std::filesystem::path clip = SavedClip();
        EXPECT_TRUE(EndProgram());
        ExpectNothingLeft();
        return clip;
    }

    /// No complaint, every module watched to its end, and no process of the program's.
    void ExpectNothingLeft() {
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
        const std::vector<std::string> notes = ReportLines(Report(), "note: ");
        EXPECT_THAT(notes, Contains(StartsWith("dxgi: ends with")));
        EXPECT_THAT(notes, Contains(StartsWith("d3d11: ends with")));
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    }

    /// The numbers of a clip's pictures, in order, read from their upper left corners.
    std::vector<std::optional<std::uint32_t>> NumbersOf(const std::filesystem::path& clip) {
        const std::filesystem::path raw = folder_.Path() / "corners";
        std::ofstream(raw).close();
        RunShell(folder_.Path(), "ffmpeg -v error -y -i \"$1\" -vf crop=480:360:0:0,format=gray -f rawvideo \"$2\"",
                 {clip, raw});
        const std::vector<std::uint8_t> bytes = BytesOf(raw);
        std::vector<std::optional<std::uint32_t>> numbers;
        for (std::size_t at = 0; at + 480 * 360 <= bytes.size(); at += 480 * 360) {
            numbers.push_back(
                support::ReadFrameNumber(std::span(bytes).subspan(at, 480 * 360), 480, support::Box{0, 0, 1920, 1080}));
        }
        return numbers;
    }

    /// Images that follow one another without a gap, in a video without a gap, with a key frame each second.
    void ExpectEveryImageIn(const std::filesystem::path& file, std::size_t atLeast) {
        const auto numbers = NumbersOf(file);
        ASSERT_GE(numbers.size(), atLeast) << file;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            ASSERT_TRUE(numbers[i]) << file << " at frame " << i;
            ASSERT_EQ(*numbers[i], *numbers[0] + i) << file;
        }
        std::istringstream packets(
            RunShell(folder_.Path(),
                     "ffprobe -v error -select_streams v -show_entries packet=pts,flags -of csv=p=0 \"$1\"", {file}));
        std::vector<std::int64_t> stamps;
        for (std::string line; std::getline(packets, line);) {
            EXPECT_EQ(line.find('K') != std::string::npos, stamps.size() % 30 == 0) << line;
            stamps.push_back(std::stoll(line));
        }
        ASSERT_EQ(stamps.size(), numbers.size());
        for (std::size_t i = 1; i < stamps.size(); ++i) {
            ASSERT_EQ(stamps[i] - stamps[i - 1], stamps[1] - stamps[0]) << file << " at frame " << i;
        }
    }

    /// How often the capture has asked for memory, where the script has it counted.
    std::vector<std::string> Counts() const { return ReportLines(Report(), "note: dxgi: asked for "); }

    std::vector<std::filesystem::path> Screenshots() const {
        std::vector<std::filesystem::path> found;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path() / "captures", ignored)) {
            if (entry.path().extension() == ".png") {
                found.push_back(entry.path());
            }
        }
        return found;
    }

    /// A frame as planes of luma, Cb and Cr without any conversion.
    std::vector<std::uint8_t> FirstFrameOf(const std::filesystem::path& clip) {
        const std::filesystem::path raw = folder_.Path() / "frame";
        std::ofstream(raw).close();
        RunShell(folder_.Path(), "ffmpeg -v error -y -i \"$1\" -frames:v 1 -f rawvideo \"$2\"", {clip, raw});
        return BytesOf(raw);
    }
};

struct Sample {
    int y = 0;
    int cb = 0;
    int cr = 0;
    bool operator==(const Sample&) const = default;
};
void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.y << "/" << sample.cb << "/" << sample.cr; }

Sample At(const std::vector<std::uint8_t>& frame, std::size_t x, std::size_t y) {
    const std::size_t luma = 1920 * 1080;
    const std::size_t chroma = y / 2 * 960 + x / 2;
    return {frame.at(y * 1920 + x), frame.at(luma + chroma), frame.at(luma + luma / 4 + chroma)};
}

TEST_F(DriverProgram, AClipHoldsEveryImageOfTheDesktopOnceAndInOrder) {
    Script("set images always");
    const std::filesystem::path clip = MakeClip(4);
    ExpectEveryImageIn(clip, 90);
    EXPECT_EQ(*NumbersOf(clip).at(0) % 30, 0U);
}

TEST_F(DriverProgram, ClipsRecordingsAndScreenshotsAreMadeAtTheSameTime) {
    Script("set images always");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 2; })) << testing::PrintToString(Activity());
    Press(recordKeys);
    ASSERT_TRUE(EventuallySays(recordingStarted)) << testing::PrintToString(Activity());
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

TEST_F(DriverProgram, ARecordingWithACaptureOfItsOwnBeginsWithTheFirstImage) {
    Setting("instantReplay=0");
    Script("set images always");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return Activity().size() == 1; }));
    Press(recordKeys);
    ASSERT_TRUE(EventuallySays(recordingStarted)) << testing::PrintToString(Activity());
    SleepMs(2000);
    Press(recordKeys);
    const std::filesystem::path record = SavedRecording();
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
    ExpectEveryImageIn(record, 30);
    EXPECT_EQ(NumbersOf(record).at(0), 0U);
}

TEST_F(DriverProgram, AMonitorThatChangesItsSizeIsCapturedAnew) {
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 1; })) << testing::PrintToString(Activity());
    const std::vector<DWORD> before = ProcessesNamed(L"ffmpeg.exe");
    EXPECT_EQ(SaysUnder(R"(set output 0 \\.\DISPLAY1 0 0 1280 1024 1 1)"), buffering);
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("d3d11: scaler 1280x1024 to 1920x1080 at 30"));
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("d3d11: rectangle 285 0 1635 1080"));
    for (const DWORD process : ProcessesNamed(L"ffmpeg.exe")) {
        EXPECT_THAT(before, Not(Contains(process)));
    }
    // And what was captured before is no part of what is saved now.
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

TEST_F(DriverProgram, AChangedFormatIsCapturedFromThenOn) {
    Script("set images 30");
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

TEST_F(DriverProgram, AClipHasItsColoursItsSizeAndAKeyFrameEachSecond) {
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
    // Packets: stamps in steps of one frame, a key frame at each full second.
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
    // BT.709 in limited range, worked out from the standard's coefficients: the bars and the grey above them.
    const std::vector<std::uint8_t> frame = FirstFrameOf(clip);
    ASSERT_EQ(frame.size(), 1920U * 1080U * 3 / 2);
    const Sample bars[] = {{235, 128, 128}, {219, 16, 138}, {188, 154, 16}, {173, 42, 26},
                           {78, 214, 230},  {63, 102, 240}, {32, 240, 118}, {16, 128, 128}};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(At(frame, 120 + 240 * i, 800), bars[i]) << "bar " << i;
    }
    EXPECT_EQ(At(frame, 1800, 40), (Sample{71, 128, 128}));
}

TEST_F(DriverProgram, ImagesAreSentAgainUntilThereIsANewOne) {
    Script("set images 10");
    const auto numbers = NumbersOf(MakeClip(4));
    ASSERT_GE(numbers.size(), 90U);
    std::size_t repeated = 0;
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        ASSERT_TRUE(numbers[i] && numbers[i - 1]) << "at frame " << i;
        ASSERT_LE(*numbers[i] - *numbers[i - 1], 1U) << "at frame " << i;
        repeated += *numbers[i] == *numbers[i - 1] ? 1 : 0;
    }
    EXPECT_GT(repeated, numbers.size() / 3);
}

TEST_F(DriverProgram, AWideMonitorHasBarsOfVideoBlackAboveAndBelow) {
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

TEST_F(DriverProgram, WithoutTheEncodersLibraryItSaysWhatToInstall) {
    const std::filesystem::path library = "C:\\windows\\system32\\nvEncodeAPI64.dll";
    const std::filesystem::path aside = "C:\\windows\\system32\\aside.dll";
    std::filesystem::rename(library, aside);
    const bool started = StartProgram();
    const bool said =
        EventuallySays("NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver. (0x80004005)");
    std::filesystem::rename(aside, library);
    EXPECT_TRUE(started && said) << testing::PrintToString(Activity());
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverProgram, ALibraryWithoutTheEntryIsNamedAsSuch) {
    const std::filesystem::path library = "C:\\windows\\system32\\nvEncodeAPI64.dll";
    const std::filesystem::path aside = "C:\\windows\\system32\\aside.dll";
    std::filesystem::rename(library, aside);
    std::filesystem::copy_file("C:\\windows\\system32\\winmm.dll", library);
    const bool started = StartProgram();
    const bool said = EventuallySays("NVIDIA encoder entry point is unavailable. (0x80004005)");
    std::filesystem::rename(aside, library);
    EXPECT_TRUE(started && said) << testing::PrintToString(Activity());
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverProgram, AMonitorOfTheSecondAdapterIsCapturedOnThatAdapter) {
    Script(R"(set adapter 8086 0 0 First)");
    Script(R"(set adapter 10DE 0 8589934592 Second)");
    Script(R"(set output 0 \\.\DISPLAY2 1920 0 3840 1080 1 1)");
    Script(R"(set output 1 \\.\DISPLAY1 0 0 1920 1080 1 1)");
    EXPECT_FALSE(MakeClip(2).empty());
}

/// A failure of the system, the driver or FFmpeg, and what the program makes of it.
struct Failure {
    const char* name;
    const char* script;
    const char* sentence;
    const char* calls = "";  ///< how the encoder's library was let go of: its last calls
};

constexpr Failure failures[] = {
    {"Factory", "fail CreateDXGIFactory1 1+ 887A0005", "Cannot enumerate graphics adapters (0x887A0005)"},
    {"NoOutput", R"(set output 0 \\.\DISPLAY2 0 0 1920 1080 1 1)", "Selected monitor is not connected (0x887A0002)"},
    {"OutputNotDescribed", "fail GetDesc 1+ 887A0005", "Selected monitor is not connected (0x887A0002)"},
    {"OutputDetached", R"(set output 0 \\.\DISPLAY1 0 0 1920 1080 1 0)",
     "Selected monitor is not connected (0x887A0002)"},
    {"OtherCase", R"(set output 0 \\.\display1 0 0 1920 1080 1 1)", "Selected monitor is not connected (0x887A0002)"},
    {"TurnedBy90", R"(set output 0 \\.\DISPLAY1 0 0 1080 1920 2 1)",
     "Rotate this monitor to landscape before capturing (0x80004001)"},
    {"TurnedBy180", R"(set output 0 \\.\DISPLAY1 0 0 1920 1080 3 1)",
     "Rotate this monitor to landscape before capturing (0x80004001)"},
    {"TurnedBy270", R"(set output 0 \\.\DISPLAY1 0 0 1080 1920 4 1)",
     "Rotate this monitor to landscape before capturing (0x80004001)"},
    {"Device", "fail D3D11CreateDevice 1 887A0004", "Cannot initialize GPU desktop capture (0x887A0004)"},
    {"NoOutput1", "fail QueryInterface:output 1 80004002",
     "GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80004002)"},
    {"Duplication", "fail DuplicateOutput 1 80070005",
     "GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80070005)"},
    {"VideoDevice", "fail QueryInterface:device 1 80004002", "GPU video processing is unavailable (0x80004002)"},
    {"VideoContext", "fail QueryInterface:context 1 80004002", "GPU video processing is unavailable (0x80004002)"},
    {"Enumerator", "fail CreateVideoProcessorEnumerator 1 80070057", "Cannot create the GPU video scaler (0x80070057)"},
    {"Processor", "fail CreateVideoProcessor 1 8007000E", "Cannot create the GPU video scaler (0x8007000E)"},
    {"CaptureSurface", "fail CreateTexture2D:bgra 1 8007000E", "Cannot create capture surface (0x8007000E)"},
    {"Nv12Surface", "fail CreateTexture2D:nv12 1 887A0005", "Cannot create NV12 video surface (0x887A0005)"},
    {"InputView", "fail CreateVideoProcessorInputView 1 80070057", "Cannot create video processor views (0x80070057)"},
    {"OutputView", "fail CreateVideoProcessorOutputView 1 80070057",
     "Cannot create video processor views (0x80070057)"},
    {"CreateInstance", "fail NvEncodeAPICreateInstance 1 F",
     "Load NVIDIA encoder API failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)"},
    {"OpenSession", "fail nvEncOpenEncodeSessionEx 1 F",
     "Open NVIDIA encoding session failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     " OpenEncodeSessionEx"},
    {"OpenSessionNegative", "fail nvEncOpenEncodeSessionEx 1 FFFFFFFE",
     "Open NVIDIA encoding session failed (NVENC -2). (0x80004005)"},
    {"PresetConfig", "fail nvEncGetEncodePresetConfigEx 1 F",
     "Read low latency preset failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     " OpenEncodeSessionEx GetEncodePresetConfigEx GetLastErrorString DestroyEncoder"},
    {"Initialize", "fail nvEncInitializeEncoder 1 8", "Initialize NVIDIA encoder failed (NVENC 8). (0x80004005)",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder GetLastErrorString DestroyEncoder"},
    {"InitializeWithDetail", "fail nvEncInitializeEncoder 1 F\nset errortext too many sessions",
     "Initialize NVIDIA encoder failed (NVENC 15). Update the NVIDIA graphics driver.too many sessions (0x80004005)"},
    {"Register", "fail nvEncRegisterResource 1 F",
     "Register GPU capture texture failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "InitializeEncoder RegisterResource GetLastErrorString EncodePicture (end) DestroyEncoder"},
    {"Buffer", "fail nvEncCreateBitstreamBuffer 1 F",
     "Create compressed video buffer failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "CreateBitstreamBuffer GetLastErrorString EncodePicture (end) UnregisterResource DestroyEncoder"},
    {"Acquire", "fail AcquireNextFrame 3 887A0026",
     "Desktop capture was interrupted. Unlock the desktop, then restart replay (0x887A0026)"},
    {"FrameTexture", "fail QueryInterface:desktop-image 3 80004002", "Cannot read desktop texture (0x80004002)"},
    {"Conversion", "fail VideoProcessorBlt 3 887A0005", "GPU video conversion failed (0x887A0005)"},
    {"Map", "fail nvEncMapInputResource 3 F",
     "Map GPU frame for encoding failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "MapInputResource GetLastErrorString EncodePicture (end) UnregisterResource DestroyBitstreamBuffer "
     "DestroyEncoder"},
    {"EncodeTooOld", "fail nvEncEncodePicture 3 F",
     "Encode GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "EncodePicture GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Encode", "fail nvEncEncodePicture 3 11", "Encode GPU frame failed (NVENC 17). (0x80004005)",
     "EncodePicture GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"LockNegative", "fail nvEncLockBitstream 3 FFFFFFF3", "Read compressed GPU frame failed (NVENC -13). (0x80004005)",
     "LockBitstream GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Lock", "fail nvEncLockBitstream 3 F",
     "Read compressed GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "LockBitstream GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Unlock", "fail nvEncUnlockBitstream 3 F",
     "Unlock compressed frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "UnlockBitstream UnmapInputResource GetLastErrorString EncodePicture (end) UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    // The texture stays mapped, and is unmapped at the end.
    {"UnlockAndUnmap", "fail nvEncUnlockBitstream 3 14\nfail nvEncUnmapInputResource 3 19",
     "Unlock compressed frame failed (NVENC 20). (0x80004005)",
     "UnlockBitstream UnmapInputResource GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Unmap", "fail nvEncUnmapInputResource 3 F",
     "Release encoded GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "UnlockBitstream UnmapInputResource GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"EmptyPicture", "fail empty-picture 3 0", " (0x80004005)",
     "UnlockBitstream UnmapInputResource EncodePicture (end) UnregisterResource DestroyBitstreamBuffer DestroyEncoder"},
    {"PipesEvent", "fail CreateEventW 1 8", "Cannot create video pipe (0x80070008)"},
    {"ReaderCannotConnect", "fail ConnectNamedPipe:ZVVideo 1 E8", "Video consumer did not connect (0x80004005)"},
    {"ReaderDoesNotConnect", "set reader idle", "Video consumer did not connect (0x80004005)"},
    {"ReaderLeaves", "set reader leave 100000\nset filled 20000",
     "Video encoder stopped accepting frames (0x80004005)"},
    {"ReaderLeavesAWriteInFlight", "set reader leave full\nset filled 100000", "Video muxer disconnected (0x80004005)"},
    {"WriteHasNoEvent", "fail CreateEventW 2 8", "Desktop capture could not allocate resources (0x80004005)"},
    {"NothingHasMemory", "set starve 1 1", "Desktop capture could not allocate resources (0x80004005)"},
    {"PictureHasNoMemory", "set starve 1 4096\nset filled 20000",
     "Desktop capture could not allocate resources (0x80004005)",
     "LockBitstream UnlockBitstream EncodePicture (end) UnmapInputResource UnregisterResource DestroyBitstreamBuffer "
     "DestroyEncoder"},
};

/// A structure of the encoder's interface, which a library of another time takes only with another version, and how
/// the library was let go of then.
struct Version {
    const char* structure;
    const char* ours;
    const char* theirs;
    const char* stage;
    const char* calls;
};

constexpr Version versions[] = {
    {"NV_ENCODE_API_FUNCTION_LIST", "0x7202000C", "7202000B", "Load NVIDIA encoder API", ""},
    {"NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS", "0x7201000C", "7201010B", "Open NVIDIA encoding session",
     " OpenEncodeSessionEx"},
    {"NV_ENC_PRESET_CONFIG", "0xF205000C", "F204000B", "Read low latency preset",
     " OpenEncodeSessionEx GetEncodePresetConfigEx GetLastErrorString DestroyEncoder"},
    {"presetCfg", "0xF209000C", "F208000B", "Read low latency preset",
     " OpenEncodeSessionEx GetEncodePresetConfigEx GetLastErrorString DestroyEncoder"},
    {"NV_ENC_INITIALIZE_PARAMS", "0xF207000C", "F206000B", "Initialize NVIDIA encoder",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder GetLastErrorString DestroyEncoder"},
    {"NV_ENC_CONFIG", "0xF209000C", "F208000B", "Initialize NVIDIA encoder",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder GetLastErrorString DestroyEncoder"},
    {"NV_ENC_REGISTER_RESOURCE", "0x7205000C", "7204000B", "Register GPU capture texture",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource GetLastErrorString "
     "EncodePicture (end) DestroyEncoder"},
    {"NV_ENC_CREATE_BITSTREAM_BUFFER", "0x7201000C", "7201000B", "Create compressed video buffer",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer "
     "GetLastErrorString EncodePicture (end) UnregisterResource DestroyEncoder"},
    {"NV_ENC_MAP_INPUT_RESOURCE", "0x7204000C", "7204000B", "Map GPU frame for encoding",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer "
     "MapInputResource GetLastErrorString EncodePicture (end) UnregisterResource DestroyBitstreamBuffer "
     "DestroyEncoder"},
    {"NV_ENC_PIC_PARAMS", "0xF207000C", "F206000B", "Encode GPU frame",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer "
     "MapInputResource EncodePicture GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"NV_ENC_LOCK_BITSTREAM", "0xF202000C", "F201000B", "Read compressed GPU frame",
     " GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer MapInputResource "
     "EncodePicture LockBitstream GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
};

/// What the encoder's library was last asked before it was freed.
std::string LastCalls(const std::filesystem::path& report) {
    std::string last;
    for (const std::string& note : ReportLines(report, "note: nvenc: calls")) {
        last = note;
    }
    return last;
}

TEST_F(DriverProgram, AnEncoderThatTakesAStructureOnlyWithAnotherVersionIsLetGoOfWithAdvice) {
    SetEnvironmentValue(u"ZV_TEST_LINGER_MS", u"1500");
    NewScript("fail D3D11CreateDevice 1 80004001");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(EventuallySays("Cannot initialize GPU desktop capture (0x80004001)"));
    for (const Version& version : versions) {
        const std::string structure = version.structure;
        EXPECT_EQ(SaysUnder("set images always\nset version " + structure + " " + version.theirs),
                  std::string(version.stage) + " failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)");
        EXPECT_EQ(LastCalls(Report()), version.calls) << structure;
        const std::vector<std::string> complaints = ReportLines(Report(), "complaint: ");
        EXPECT_THAT(complaints, Not(IsEmpty())) << structure;
        EXPECT_THAT(complaints, Each("nvenc: " + structure + " has version " + version.ours));
        std::filesystem::remove(Report());
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); })) << structure;
    }
    EXPECT_EQ(SaysUnder("set images always"), buffering);
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverProgram, EveryFailureIsToldInTheHistoryAndLeavesNothingBehind) {
    // Else FFmpeg might be gone before the program looks at why its input has ended.
    SetEnvironmentValue(u"ZV_TEST_LINGER_MS", u"1500");
    NewScript("fail D3D11CreateDevice 1 80004001");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(EventuallySays("Cannot initialize GPU desktop capture (0x80004001)"));
    for (const Failure& failure : failures) {
        EXPECT_EQ(SaysUnder(failure.script + std::string("\nset images always")), failure.sentence) << failure.name;
        EXPECT_THAT(LastCalls(Report()), EndsWith(failure.calls)) << failure.name;
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty()) << failure.name;
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); })) << failure.name;
    }
    // A name that is taken: pipes are numbered by the attempts.
    Owned<BytePipe> taken;
    const DWORD process = ProcessesNamed(L"zorvel.exe").at(0);
    const Text name = u"\\\\.\\pipe\\ZVVideo-" + DecimalUnsigned(process) + u"-" +
                      DecimalUnsigned(static_cast<std::uint32_t>(std::size(failures) + 2));
    ASSERT_EQ(MakeBytePipe(name, {}, taken), resultOk);
    EXPECT_EQ(SaysUnder(""), "Cannot create video pipe (0x800700E7)");
    // A timer is the one thing that the capture goes on without.
    EXPECT_EQ(SaysUnder("set images always\nfail CreateWaitableTimerExW 1 8\nfail CreateWaitableTimerW 1 8"),
              buffering);
    EXPECT_EQ(SaysUnder("set images always\nfail CreateWaitableTimerExW 1 8"), buffering);
    // Whatever has failed, the next attempt finds everything free. From then on the capture asks for no memory.
    EXPECT_EQ(SaysUnder("set images 10\nset filled 400000\nset count 20 110"), buffering);
    EXPECT_TRUE(Eventually([&] { return !Counts().empty(); }));
    EXPECT_THAT(Counts(), ElementsAre("memory 0 times in 90 rounds"));
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

}  // namespace
}  // namespace zv::windows
