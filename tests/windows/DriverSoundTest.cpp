// The program as it ships, over doubles of the graphics driver and of the sound devices: the sound of the files that it
// saves, and its sentences if the sound fails.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "windows/DriverScene.h"
#include "windows/FileSound.h"
#include "windows/Processes.h"

namespace zv::windows {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr char16_t saveKeys[] = u"18 121";      // Alt + F10
constexpr char16_t recordKeys[] = u"17 18 82";  // Ctrl + Alt + R
class DriverSound : public DriverScene {
protected:
    void SetUp() override {
        DriverScene::SetUp();
        Script("set images 30");
        InstallSound();
    }

    bool Buffers(std::size_t segments) {
        return Eventually([&] { return ListedSegments() >= segments || Activity().size() > 1; });
    }

    void ExpectNothingLeft() {
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty());
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    }

    std::vector<float> SoundOf(const std::filesystem::path& file) const {
        return windows::SoundOf(folder_.Path(), file);
    }

    double SecondsOf(const std::filesystem::path& file, const std::string& stream) {
        return std::stod(
            RunShell(folder_.Path(),
                     "ffprobe -v error -select_streams " + stream + " -show_entries stream=duration -of csv=p=0 \"$1\"",
                     {file}));
    }

    /// Expects an AAC stream as long as the video, with the speakers' tone on each side at its own level.
    void ExpectSpeakersIn(const std::filesystem::path& file) {
        const std::string probed =
            RunShell(folder_.Path(),
                     "ffprobe -v error -select_streams a -show_entries stream=codec_name,sample_rate,channels "
                     "-of default=nw=1 \"$1\"",
                     {file});
        EXPECT_THAT(probed,
                    AllOf(HasSubstr("codec_name=aac\n"), HasSubstr("sample_rate=48000\n"), HasSubstr("channels=2\n")));
        EXPECT_NEAR(SecondsOf(file, "a"), SecondsOf(file, "v"), 1.1);
        const std::vector<float> sound = SoundOf(file);
        EXPECT_NEAR(MedianLevel(sound, 0, speakersHz), 0.5, 0.02);
        EXPECT_NEAR(MedianLevel(sound, 1, speakersHz), 0.25, 0.02);
    }
};

TEST_F(DriverSound, AClipHasTheSoundOfTheSpeakers) {
    Setting("gameAudioEnabled=1");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Buffers(4)) << testing::PrintToString(Activity());
    Press(saveKeys);
    const std::filesystem::path clip = SavedClip();
    EXPECT_TRUE(EndProgram());
    ExpectSpeakersIn(clip);
    EXPECT_LT(MedianLevel(SoundOf(clip), 0, microphoneHz), 0.005);
    const std::vector<std::string> notes = ReportLines(Report(), "note: ");
    EXPECT_THAT(notes, Contains("sound: Stop.render"));
    EXPECT_THAT(notes, Contains("avrt: thread registered as Pro Audio"));
    EXPECT_THAT(notes, Contains("dxgi: timer of 1 ms begun").Times(2)) << "sound and video";
    EXPECT_THAT(notes, Contains("dxgi: timer of 1 ms ended").Times(2));
    EXPECT_THAT(notes, Contains("avrt: thread unregistered").Times(2));
    ExpectNothingLeft();
}

TEST_F(DriverSound, AClipHasTheSoundOfSpeakersAndMicrophone) {
    Setting("gameAudioEnabled=1");
    Setting("micEnabled=1");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Buffers(4)) << testing::PrintToString(Activity());
    Press(saveKeys);
    const std::filesystem::path clip = SavedClip();
    EXPECT_TRUE(EndProgram());
    ExpectSpeakersIn(clip);
    const std::vector<float> sound = SoundOf(clip);
    EXPECT_NEAR(MedianLevel(sound, 0, microphoneHz), 0.25, 0.02);
    EXPECT_NEAR(MedianLevel(sound, 1, microphoneHz), 0.25, 0.02);
    ExpectNothingLeft();
}

TEST_F(DriverSound, ARecordingFromTheReplayHasItsSound) {
    Setting("gameAudioEnabled=1");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Buffers(2)) << testing::PrintToString(Activity());
    Press(recordKeys);
    ASSERT_TRUE(EventuallyLogs("Recording started. Stop Recording to finalize video and selected audio."))
        << testing::PrintToString(Activity());
    ASSERT_TRUE(Eventually([&] { return ListedSegments() >= 7; }));
    Press(recordKeys);
    const std::filesystem::path recording = SavedRecording();
    EXPECT_TRUE(EndProgram());
    ExpectSpeakersIn(recording);
    ExpectNothingLeft();
}

TEST_F(DriverSound, ARecordingWithoutAReplayHasItsSound) {
    Setting("gameAudioEnabled=1");
    Setting("instantReplay=0");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([&] { return Activity().size() == 1; }));
    Press(recordKeys);
    ASSERT_TRUE(EventuallyLogs("Recording started. Stop Recording to finalize video and selected audio."))
        << testing::PrintToString(Activity());
    ASSERT_TRUE(Eventually([] { return HasRecorded(90); }));
    Press(recordKeys);
    const std::filesystem::path recording = SavedRecording();
    EXPECT_TRUE(EndProgram());
    ExpectSpeakersIn(recording);
    ExpectNothingLeft();
}

TEST_F(DriverSound, ADeviceThatIsUnpluggedEndsTheReplayButNotTheProgram) {
    Setting("gameAudioEnabled=1");
    Script("set render unplug 300");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(EventuallyLogs("Replay is buffering video and selected audio. Allow 2 seconds before saving."))
        << testing::PrintToString(Activity());
    // The capture ends as a whole and is not restarted.
    ASSERT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    EXPECT_THAT(ReportLines(Report(), "note: "), Contains("sound: packets.render 300"));
    // Once the program has noticed, it refuses to save with a notification.
    ASSERT_TRUE(Eventually([this] {
        Press(saveKeys);
        const HWND toast = FindWindowW(L"ZVCaptureNotification315", nullptr);
        return toast != nullptr && IsWindowVisible(toast) != FALSE;
    }));
    EXPECT_TRUE(ProcessesNamed(L"ffmpeg.exe").empty());
    EXPECT_TRUE(IsRunning(*program_.process));
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverSound, AWaitThatFailsEndsTheReplay) {
    Setting("gameAudioEnabled=1");
    Script("fail WaitForMultipleObjects:3 300 6");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Eventually([this] {
        const std::vector<std::string> notes = ReportLines(Report(), "note: ");
        return std::ranges::count(notes, "dxgi: WaitForMultipleObjects:3 has failed") == 1;
    }));
    EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    EXPECT_TRUE(IsRunning(*program_.process));
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

struct Failure {
    const char* script;
    const char* sentence;
};

constexpr Failure failures[] = {
    // The first event belongs to the video pipe.
    {"fail CreateEventW 2 5AA", "Cannot create audio synchronization events (0x800705AA)"},
    {"fail CreateEventW 3 8", "Cannot create audio synchronization events (0x80070008)"},
    {"fail CreateEventW 4 5AA", "Cannot create audio synchronization events (0x800705AA)"},
    {"delay Activate.render 1 1000\nset wait 8000 200", "Audio initialization timed out (0x80004005)"},
    {"fail CoInitializeEx 1 80010106", "Cannot initialize Windows audio (0x80010106)"},
    {"fail CreateInstance 1 0x80040154",
     "Cannot open default audio device at device enumeration. Check Windows audio devices and microphone permission "
     "(0x80040154)"},
    {"set render absent",
     "Cannot open default audio device at default device lookup. Check Windows audio devices and microphone "
     "permission (0x80070490)"},
    {"fail Activate.render 1 0x80070005",
     "Cannot open default audio device at audio client activation. Check Windows audio devices and microphone "
     "permission (0x80070005)"},
    {"fail CreateNamedPipeW:ZVReelsAudio 1 E7", "Cannot create the audio pipe (0x800700E7)"},
    {"fail CreateEventW 5 5AA", "Cannot create the audio pipe (0x800705AA)"},
    {"fail CreateEventW 6 8", "Cannot create the audio pipe (0x80070008)"},
    {"fail ConnectNamedPipe:ZVReelsAudio 1 E8", "Encoder could not connect to the audio stream (0x80004005)"},
    {"fail Start.render 1 0x88890004", "Audio capture stopped; a device or encoder disconnected (0x88890004)"},
    {"set render unplug 5", "Audio capture stopped; a device or encoder disconnected (0x88890004)"},
    {"set starve-sound 4096", "Audio capture stopped; a device or encoder disconnected (0x8007000E)"},
    {"fail ReleaseBuffer.render 7 0x88890007", "Audio capture stopped; a device or encoder disconnected (0x88890007)"},
};

TEST_F(DriverSound, ReportsEveryFailureInTheHistoryAndReleasesEverything) {
    Setting("gameAudioEnabled=1");
    SetEnvironmentValue(u"ZV_TEST_LINGER_MS", u"5000");
    NewScript("fail D3D11CreateDevice 1 80004001");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(EventuallyLogs("Cannot initialize GPU desktop capture (0x80004001)"));
    for (const Failure& failure : failures) {
        EXPECT_EQ(NextLogUnder(failure.script), failure.sentence) << failure.script;
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty()) << failure.script;
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); })) << failure.script;
    }
    EXPECT_EQ(NextLogUnder(""), "Replay is buffering video and selected audio. Allow 2 seconds before saving.");
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverSound, OpensNoDeviceIfBothSourcesAreOff) {
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(Buffers(2)) << testing::PrintToString(Activity());
    EXPECT_TRUE(EndProgram());
    EXPECT_THAT(ReportLines(Report(), "note: "), Not(Contains(StartsWith("sound: "))));
    ExpectNothingLeft();
}

}  // namespace
}  // namespace zv::windows
