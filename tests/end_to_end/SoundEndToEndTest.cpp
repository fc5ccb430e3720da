// Sound in clips and recordings: the real program on a private display and a private sound server, also when the server
// or a device disappears.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "capture/CaptureEngine.h"
#include "core/Utf8.h"
#include "fake/NumberedDesktop.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/MediaProbe.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/SoundServer.h"
#include "support/SoundTrack.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr char stopped[] = "Audio capture stopped; a device or encoder disconnected (0x88890004)";
constexpr char withoutMicrophone[] =
    "Cannot open default audio device at default device lookup. Check Windows audio devices and microphone permission "
    "(0x80070490)";
constexpr char withoutServer[] =
    "Cannot open default audio device at device enumeration. Check Windows audio devices and microphone permission "
    "(0x8007006F)";
constexpr char started[] = "Recording started. Stop Recording to finalize video and selected audio.";
constexpr char buffering[] = "Replay is buffering video and selected audio. Allow 2 seconds before saving.";

struct SoundEndToEnd : testing::Test {
    std::unique_ptr<ProgramRun> Start(std::map<std::string, std::string> settings) {
        return std::make_unique<ProgramRun>(ProgramOptions{.display = display.Name(), .settings = std::move(settings)});
    }
    /// Presses the key of recordings and returns the path in the final sentence.
    std::optional<fs::path> StopRecording(const ProgramRun& run) {
        const std::string beginning = "Recording saved: ";
        run.Press("ctrl+alt+r");
        const auto row = run.WaitForActivity(beginning);
        return row ? std::optional<fs::path>(row->substr(beginning.size())) : std::nullopt;
    }
    std::optional<fs::path> SaveClip(const ProgramRun& run) {
        const std::string beginning = "Replay saved: ";
        run.Press("alt+F10");
        const auto row = run.WaitForActivity(beginning);
        return row ? std::optional<fs::path>(row->substr(beginning.size())) : std::nullopt;
    }
    void ExpectNothingLeft(ProgramRun& run) {
        EXPECT_EQ(run.End(), 0);
        EXPECT_TRUE(run.Children().empty()) << "a child is left";
        EXPECT_TRUE(run.ReplayFolder().empty());
        EXPECT_FALSE(fs::exists(run.DataFolder() / "running.lock"));
    }
    PrivateDisplay display;
};

/// The tones: 1000 Hz left and 400 Hz right from the speakers, 600 Hz from the microphone.
struct Tones {
    explicit Tones(const SoundServer& server)
        : music(server.PlayTone("speakers", 1000, 0.5F, 400, 0.25F, 120)),
          voice(server.PlayTone("mic_feed", 600, 0.25F, 600, 0.25F, 120)) {}
    Spawned music;
    Spawned voice;
};

enum class Played { No, Yes };
enum class Spoken { No, Yes };

/// Expects only the tones, at their levels, in the last two seconds but one.
void ExpectTones(const fs::path& file, Played played, Spoken spoken) {
    const SoundTrack sound = ReadSound(file);
    EXPECT_EQ(sound.codec, "aac");
    EXPECT_EQ(sound.sampleRate, 48000);
    EXPECT_EQ(sound.channels, 2);
    const double end = sound.Seconds();
    // The sound is written at least 100 ms after the picture.
    EXPECT_NEAR(end, Probe(file).duration, 1);
    const std::vector<float> part = sound.Between(end - 2.5, end - 0.5);
    ASSERT_NEAR(static_cast<double>(part.size()), 192000, 4);
    const double music = played == Played::Yes ? 1 : 0;
    const double voice = spoken == Spoken::Yes ? 1 : 0;
    EXPECT_NEAR(MedianLevel(part, 0, 1000), 0.5 * music, 0.02);
    EXPECT_NEAR(MedianLevel(part, 1, 400), 0.25 * music, 0.02);
    EXPECT_NEAR(MedianLevel(part, 0, 600), 0.25 * voice, 0.02);
    EXPECT_NEAR(MedianLevel(part, 1, 600), 0.25 * voice, 0.02);
    EXPECT_LT(MedianLevel(part, 0, 400), 0.01);
    EXPECT_LT(MedianLevel(part, 1, 1000), 0.01);
}

TEST_F(SoundEndToEnd, AClipAndARecordingFromTheReplayContainSpeakersAndMicrophone) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    Tones tones(server);
    auto run = Start({{"gameAudioEnabled", "1"}, {"micEnabled", "1"}});
    ASSERT_TRUE(run->WaitForBuffer(3));
    run->Press("ctrl+alt+r");
    ASSERT_TRUE(run->WaitForActivity(started).has_value());
    EXPECT_EQ(run->Children().size(), 2U);
    ASSERT_TRUE(run->WaitForBuffer(run->BufferedSeconds() + 4));
    const auto clip = SaveClip(*run);
    const auto recording = StopRecording(*run);
    ASSERT_TRUE(clip && recording);
    ExpectTones(*clip, Played::Yes, Spoken::Yes);
    ExpectTones(*recording, Played::Yes, Spoken::Yes);
    EXPECT_EQ(run->Children().size(), 1U);
    ExpectNothingLeft(*run);
}

TEST_F(SoundEndToEnd, ARecordingWithItsOwnCaptureContainsSpeakersAndMicrophone) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    Tones tones(server);
    auto run = Start({{"gameAudioEnabled", "1"}, {"micEnabled", "1"}, {"instantReplay", "0"}});
    ASSERT_TRUE(run->WaitForActivity("Replay stopped.").has_value());
    run->Press("ctrl+alt+r");
    ASSERT_TRUE(run->WaitForActivity(started).has_value());
    ASSERT_TRUE(Eventually([&] {
        const auto files = FilesBelow(run->CaptureRoot());
        return files.size() == 1 && fs::file_size(files[0]) > 5'000'000;  // 5 s at 8 Mbit/s
    }));
    const auto recording = StopRecording(*run);
    ASSERT_TRUE(recording.has_value());
    ExpectTones(*recording, Played::Yes, Spoken::Yes);
    ExpectNothingLeft(*run);
}

TEST_F(SoundEndToEnd, AClipContainsOnlyTheEnabledSources) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    Tones tones(server);
    for (const bool microphone : {false, true}) {
        auto run = Start({{"gameAudioEnabled", microphone ? "0" : "1"}, {"micEnabled", microphone ? "1" : "0"}});
        ASSERT_TRUE(run->WaitForBuffer(4));
        const auto clip = SaveClip(*run);
        ASSERT_TRUE(clip.has_value());
        ExpectTones(*clip, microphone ? Played::No : Played::Yes, microphone ? Spoken::Yes : Spoken::No);
        ExpectNothingLeft(*run);
    }
}

TEST_F(SoundEndToEnd, AClipWithoutSoundIsSilentAndComplete) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto run = Start({{"gameAudioEnabled", "1"}});
    ASSERT_TRUE(run->WaitForBuffer(4));
    const auto clip = SaveClip(*run);
    ASSERT_TRUE(clip.has_value());
    const SoundTrack sound = ReadSound(*clip);
    EXPECT_NEAR(sound.Seconds(), Probe(*clip).duration, 1);
    EXPECT_TRUE(std::all_of(sound.samples.begin(), sound.samples.end(), [](float sample) { return sample == 0; }));
    ExpectNothingLeft(*run);
}

TEST_F(SoundEndToEnd, ARunningCaptureIgnoresANewDefaultDevice) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto run = Start({{"gameAudioEnabled", "1"}});
    ASSERT_TRUE(run->WaitForBuffer(1));
    server.ChooseSpeakers("mic_feed");
    // Played only now, because a server may move running streams to the new default.
    Tones tones(server);
    ASSERT_TRUE(run->WaitForBuffer(run->BufferedSeconds() + 5));
    const auto clip = SaveClip(*run);
    ASSERT_TRUE(clip.has_value());
    ExpectTones(*clip, Played::Yes, Spoken::No);
    EXPECT_THAT(run->Activity(), Not(Contains(stopped)));
    ExpectNothingLeft(*run);
}

TEST_F(SoundEndToEnd, AMissingMicrophonePreventsReplayAndRecording) {
    SoundServer server(Microphone::Absent);
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto run = Start({{"gameAudioEnabled", "1"}, {"micEnabled", "1"}});
    ASSERT_TRUE(run->WaitForActivity(withoutMicrophone).has_value());
    EXPECT_THAT(run->Children(), IsEmpty());
    run->Press("ctrl+alt+r");
    ASSERT_TRUE(run->WaitForActivity(withoutMicrophone, 1).has_value());
    EXPECT_THAT(run->Children(), IsEmpty());
    EXPECT_THAT(FilesBelow(run->CaptureRoot()), IsEmpty());
    ExpectNothingLeft(*run);
}

TEST_F(SoundEndToEnd, AMissingSoundServerIsReportedAndPreventsTheReplay) {
    const ScopedVariable nowhere("PULSE_SERVER", "unix:/nonexistent/zorvel/native");
    auto run = Start({{"gameAudioEnabled", "1"}});
    ASSERT_TRUE(run->WaitForActivity(withoutServer).has_value());
    EXPECT_THAT(run->Children(), IsEmpty());
    ExpectNothingLeft(*run);
}

// The result of a poll is not logged, so these tests use the engine.

struct SoundLoss : testing::Test {
    void SetUp() override { fake::ResetNumberedDesktop(); }
    void TearDown() override {
        engine.StopAll();
        EXPECT_TRUE(Eventually([&] { return Children().empty(); }, 10000)) << "a child is left";
        EXPECT_FALSE(fs::exists(ToPath(engine.replayDir)) && !engine.replayDir.empty());
    }
    void Configure(bool microphone = false) {
        CaptureConfig config;
        config.width = 1920;
        config.height = 1080;
        config.fps = 30;
        config.bitrateMbps = 8;
        config.gameAudioEnabled = true;
        config.micEnabled = microphone;
        config.monitorDevice = fake::NumberedDesktopName();
        ASSERT_TRUE(engine.Configure(config)) << ToUtf8(engine.statusText);
    }
    void StartReplay(bool microphone = false) {
        Configure(microphone);
        ASSERT_TRUE(engine.StartReplay(true, 15)) << ToUtf8(engine.statusText);
        ASSERT_TRUE(Eventually([&] { return engine.BufferedSeconds() >= 2; }));
    }
    /// Polls until something has changed, as the interface does twice a second. Returns the sentence.
    std::string WhatThePollTells() {
        CapturePollResult result;
        Eventually([&] {
            result = PollCapture(engine);
            return result.changed;
        });
        return ToUtf8(result.status);
    }
    void ExpectNoReplay() {
        EXPECT_FALSE(engine.replayRunning);
        EXPECT_EQ(engine.replay.process, nullptr);
        EXPECT_EQ(engine.replay.audio, nullptr);
        EXPECT_EQ(engine.replay.video, nullptr);
    }
    /// The children that write below the cache folder or write a recording. The folder also contains the server's
    /// files.
    std::vector<pid_t> Children() const {
        std::vector<pid_t> children = ProcessesWith(folder.Path().string() + "/ZVReelsMax");
        for (const pid_t recorder : ProcessesWith(folder.Path().string() + "/captures")) {
            children.push_back(recorder);
        }
        return children;
    }
    fs::path Output() const { return folder.Path() / "captures" / "recording.mp4"; }
    fs::path WorkingFile() const { return folder.Path() / "captures" / "recording.mp4.partial.mp4"; }

    TemporaryFolder folder{"zorvel-loss"};
    // The process chooses the folder of the pipes once, so the folder has to outlive the first test.
    ScopedVariable runtime{"XDG_RUNTIME_DIR", fs::temp_directory_path().string()};
    ScopedVariable cache{"XDG_CACHE_HOME", folder.Path().string()};
    ScopedVariable ffmpeg{"ZV_FFMPEG", ""};
    CaptureEngine engine;
};

TEST_F(SoundLoss, AKilledServerEndsTheReplayButNotTheRecordingFromIt) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    StartReplay();
    ASSERT_TRUE(engine.StartRecording(FromPath(Output()))) << ToUtf8(engine.statusText);
    server.Server().Send(SIGKILL);
    EXPECT_EQ(WhatThePollTells(), stopped);
    ExpectNoReplay();
    EXPECT_EQ(engine.state, EngineState::Recording);
    EXPECT_TRUE(IsChildRunning(engine.recording));
    EXPECT_FALSE(Children().empty());
    EXPECT_FALSE(engine.SaveReplayClip(FromPath(folder.Path() / "captures" / "clip.mp4")));
    EXPECT_EQ(engine.statusText, u"Replay is not running. Enable Instant Replay first.");
    engine.FinishRecording();
    EXPECT_EQ(engine.statusText, u"Recording saved: " + FromPath(Output()));
    EXPECT_EQ(engine.state, EngineState::Ready);
    EXPECT_GE(Probe(Output()).duration, 1.9);
    EXPECT_FALSE(ReadSound(Output()).samples.empty());
}

TEST_F(SoundLoss, RemovedSpeakersEndTheReplay) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    StartReplay();
    server.Remove("module-null-sink");
    EXPECT_EQ(WhatThePollTells(), stopped);
    ExpectNoReplay();
    EXPECT_EQ(engine.state, EngineState::Ready);
    EXPECT_TRUE(Children().empty());
    // The replay does not restart by itself.
    EXPECT_FALSE(PollCapture(engine).changed);
    ExpectNoReplay();
}

TEST_F(SoundLoss, ARemovedMicrophoneEndsTheReplay) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    StartReplay(true);
    server.Remove("module-remap-source");
    EXPECT_EQ(WhatThePollTells(), stopped);
    ExpectNoReplay();
    EXPECT_EQ(engine.state, EngineState::Ready);
    EXPECT_TRUE(Children().empty());
}

TEST_F(SoundLoss, EndsARecordingWithItsOwnCaptureAndLeavesAPlayableFile) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    Configure();
    ASSERT_TRUE(engine.StartRecording(FromPath(Output()))) << ToUtf8(engine.statusText);
    ASSERT_TRUE(Eventually([&] { return fake::TheNumberedDesktop().images >= 120; }));
    server.Server().Send(SIGKILL);
    EXPECT_EQ(WhatThePollTells(), stopped);
    EXPECT_EQ(engine.state, EngineState::Failed);
    EXPECT_EQ(engine.recording.process, nullptr);
    EXPECT_TRUE(Children().empty());
    EXPECT_FALSE(fs::exists(Output()));
    EXPECT_GE(Probe(WorkingFile()).duration, 3);
    // The next recording starts and reports the missing server.
    EXPECT_FALSE(engine.StartRecording(FromPath(folder.Path() / "captures" / "next.mp4")));
    EXPECT_EQ(ToUtf8(engine.statusText), withoutServer);
    EXPECT_EQ(engine.state, EngineState::Failed);
}

TEST_F(SoundLoss, AMissingMicrophoneFailsTheRecordingAndLeavesNoFile) {
    SoundServer server(Microphone::Absent);
    ASSERT_TRUE(server.Ready()) << server.Log();
    Configure(true);
    EXPECT_FALSE(engine.StartReplay(true, 15));
    EXPECT_EQ(ToUtf8(engine.statusText), withoutMicrophone);
    EXPECT_EQ(engine.state, EngineState::Ready);
    ExpectNoReplay();
    EXPECT_FALSE(engine.StartRecording(FromPath(Output())));
    EXPECT_EQ(ToUtf8(engine.statusText), withoutMicrophone);
    EXPECT_EQ(engine.state, EngineState::Failed);
    EXPECT_TRUE(fs::is_empty(folder.Path() / "captures"));
    EXPECT_TRUE(Children().empty());
}

}  // namespace
}  // namespace zv
