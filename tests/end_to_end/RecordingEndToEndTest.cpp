// Recordings with and without a replay: by key in the real program, also when a process is killed, and with numbered
// images through the engine, so that each frame can be identified.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>

#include "capture/CaptureEngine.h"
#include "core/Utf8.h"
#include "fake/NumberedDesktop.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/FrameNumber.h"
#include "support/MediaProbe.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr int fps = 30;
constexpr char started[] = "Recording started. Stop Recording to finalize video and selected audio.";
const std::string savedWords = "Recording saved: ";

enum class Mode { FromReplay, OwnCapture };

bool IsWorkingFile(const fs::path& file) { return file.string().ends_with(".mp4.partial.mp4"); }

std::string NameOf(const testing::TestParamInfo<Mode>& info) {
    return info.param == Mode::FromReplay ? "FromTheReplay" : "WithItsOwnCapture";
}

// Through the program

struct RecordingKey : testing::TestWithParam<Mode> {
    void SetUp() override {
        const bool replay = GetParam() == Mode::FromReplay;
        run = std::make_unique<ProgramRun>(
            ProgramOptions{.display = display.Name(), .settings = {{"instantReplay", replay ? "1" : "0"}}});
        ASSERT_TRUE(replay ? run->WaitForBuffer(2) : run->WaitForActivity("Replay stopped.").has_value());
    }
    void StartRecording() {
        run->Press("ctrl+alt+r");
        ASSERT_TRUE(run->WaitForActivity(started).has_value());
    }
    /// Waits until the working file has this many seconds at 8 Mbit/s.
    bool WaitForRecorded(double seconds) {
        return Eventually([&] {
            const auto files = FilesBelow(run->CaptureRoot());
            return files.size() == 1 && static_cast<double>(fs::file_size(files[0])) > seconds * 1'000'000;
        });
    }
    /// The child that writes the recording.
    std::vector<pid_t> Recorders() const { return ProcessesWith(run->CaptureRoot().string()); }
    /// Expects one file: a working file that plays up to its last whole second.
    void ExpectPlayableWorkingFile(double seconds) {
        const auto files = FilesBelow(run->CaptureRoot());
        ASSERT_EQ(files.size(), 1U);
        EXPECT_TRUE(IsWorkingFile(files[0])) << files[0];
        const ClipFacts facts = Probe(files[0]);
        EXPECT_GE(facts.duration, seconds);
        std::size_t pictures = 0;
        DecodeLuma(files[0], 1920, 1080, [&](std::span<const std::uint8_t>) { ++pictures; });
        // FFmpeg may not have written the end of the last picture.
        EXPECT_GE(pictures + 1, facts.stamps.size());
        EXPECT_GE(pictures, static_cast<std::size_t>(seconds) * fps);
    }
    PrivateDisplay display;
    std::unique_ptr<ProgramRun> run;
};

TEST_P(RecordingKey, TwoPressesRecordAFileThatIsRenamedWhenComplete) {
    StartRecording();
    EXPECT_EQ(run->Children().size(), GetParam() == Mode::FromReplay ? 2U : 1U);
    ASSERT_TRUE(WaitForRecorded(3));
    const auto during = FilesBelow(run->CaptureRoot());
    ASSERT_EQ(during.size(), 1U);
    EXPECT_TRUE(IsWorkingFile(during[0])) << during[0];
    run->Press("ctrl+alt+r");
    const auto row = run->WaitForActivity(savedWords);
    ASSERT_TRUE(row.has_value());
    const fs::path file = row->substr(savedWords.size());
    EXPECT_EQ(file.string() + ".partial.mp4", during[0].string());
    EXPECT_EQ(FilesBelow(run->CaptureRoot()), std::vector<fs::path>{file});
    EXPECT_TRUE(file.filename().string().starts_with("ZV_Recording_"));
    EXPECT_EQ(file.parent_path().parent_path(), run->CaptureRoot());

    const ClipFacts facts = Probe(file, true);
    EXPECT_GE(facts.duration, 3);
    EXPECT_EQ(facts.averageRate, "30/1");
    EXPECT_EQ(facts.profile, "High");
    EXPECT_EQ(facts.pictureTypes.find('B'), std::string::npos);
    EXPECT_FALSE(facts.hasAudio);
    EXPECT_EQ(run->Children().size(), GetParam() == Mode::FromReplay ? 1U : 0U) << "the replay has stopped";
    EXPECT_EQ(run->End(), 0);
    EXPECT_TRUE(run->Children().empty());
}

TEST_P(RecordingKey, EndingTheProgramFinishesTheRecording) {
    StartRecording();
    ASSERT_TRUE(WaitForRecorded(3));
    EXPECT_EQ(run->End(), 0);
    const auto files = FilesBelow(run->CaptureRoot());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_FALSE(IsWorkingFile(files[0])) << files[0];
    EXPECT_GE(Probe(files[0]).duration, 3);
    EXPECT_TRUE(run->Children().empty());
}

TEST_P(RecordingKey, AKilledFfmpegLeavesAPlayableFileAndTheKeyStartsAnother) {
    StartRecording();
    ASSERT_TRUE(WaitForRecorded(4.2));
    ASSERT_EQ(Recorders().size(), 1U);
    kill(Recorders()[0], SIGKILL);
    ASSERT_TRUE(Eventually([&] { return Recorders().empty(); }));
    ExpectPlayableWorkingFile(4);
    // After the poll has noticed it, the key starts a recording. Before, the key ends the old one with a sentence.
    const std::size_t rows = run->Activity().size();
    run->Press("ctrl+alt+r");
    ASSERT_TRUE(Eventually([&] { return run->Activity().size() > rows; }));
    if (run->Activity()[rows] != started) {
        EXPECT_TRUE(run->Activity()[rows].starts_with("Recording failed or did not finalize. See "));
        run->Press("ctrl+alt+r");
    }
    ASSERT_TRUE(run->WaitForActivity(started, rows).has_value());
    run->Press("ctrl+alt+r");
    ASSERT_TRUE(run->WaitForActivity(savedWords, rows).has_value());
    EXPECT_EQ(FilesBelow(run->CaptureRoot()).size(), 2U);
    EXPECT_EQ(run->Children().size(), GetParam() == Mode::FromReplay ? 1U : 0U) << "the replay has stopped";
    EXPECT_EQ(run->End(), 0);
    EXPECT_TRUE(run->Children().empty());
}

TEST_P(RecordingKey, AKilledProgramLeavesAPlayableFileAndNoChild) {
    StartRecording();
    ASSERT_TRUE(WaitForRecorded(4.2));
    run->Process().Send(SIGKILL);
    run->Process().WaitExit();
    EXPECT_TRUE(Eventually([&] { return run->Children().empty() && Recorders().empty(); }, 10000));
    ExpectPlayableWorkingFile(4);
}

INSTANTIATE_TEST_SUITE_P(Recording, RecordingKey, testing::Values(Mode::FromReplay, Mode::OwnCapture), NameOf);

TEST(DisplayChangeDuringARecording, SavesTheRecordingThoughTheProgramHearsOfItLate) {
    PrivateDisplay display("1920x1080", DisplayKind::Changeable);
    ProgramRun run({.display = display.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    run.Press("ctrl+alt+r");
    ASSERT_TRUE(run.WaitForActivity(started).has_value());
    ASSERT_TRUE(Eventually([&] {
        const auto files = FilesBelow(run.CaptureRoot());
        return files.size() == 1 && fs::file_size(files[0]) > 2'000'000;
    }));
    const std::size_t rows = run.Activity().size();
    // The first change ends the capture. Each further one postpones the message, so that the capture is polled first.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1200);
    for (bool small = true; std::chrono::steady_clock::now() < end; small = !small) {
        display.Change({"--output", "DUMMY0", "--mode", small ? "1280x1024" : "1920x1080"});
    }
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.", rows).has_value());
    const auto files = FilesBelow(run.CaptureRoot());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_FALSE(IsWorkingFile(files[0])) << files[0];
    EXPECT_GE(Probe(files[0]).duration, 2);
    EXPECT_EQ(run.End(), 0);
}

// With numbered images

struct NumberedRecording : testing::TestWithParam<Mode> {
    void SetUp() override {
        fake::ResetNumberedDesktop();
        CaptureConfig config;
        config.width = 1920;
        config.height = 1080;
        config.fps = fps;
        config.bitrateMbps = 8;
        config.gameAudioEnabled = false;
        config.monitorDevice = fake::NumberedDesktopName();
        ASSERT_TRUE(engine.Configure(config)) << ToUtf8(engine.statusText);
        if (GetParam() == Mode::FromReplay) {
            ASSERT_TRUE(engine.StartReplay(true, 15)) << ToUtf8(engine.statusText);
            ASSERT_TRUE(Eventually([&] { return engine.BufferedSeconds() >= 3; }));
        }
    }
    void TearDown() override {
        engine.StopAll();
        EXPECT_TRUE(Eventually([&] { return ProcessesWith(folder.Path().string()).empty(); }, 10000));
    }
    Text Output(const std::string& name = "recording.mp4") const { return FromPath(folder.Path() / "captures" / name); }
    static std::uint32_t Images() { return fake::TheNumberedDesktop().images; }
    /// Waits until this many more seconds of images have been captured.
    static bool CaptureFor(std::uint32_t seconds) {
        const std::uint32_t end = Images() + seconds * fps;
        return Eventually([&] { return Images() >= end; }, static_cast<std::uint32_t>(4.0 * seconds + 60 * 1000));
    }
    static std::vector<std::uint32_t> Numbers(const Text& file) {
        std::vector<std::uint32_t> numbers;
        DecodeLuma(ToPath(file), 1920, 1080, [&](std::span<const std::uint8_t> luma) {
            const auto number = ReadFrameNumber(luma, 1920, 1080);
            ASSERT_TRUE(number.has_value()) << "picture " << numbers.size() << " carries no number";
            numbers.push_back(*number);
        });
        return numbers;
    }
    /// Expects each number once, one frame apart.
    static void ExpectEveryFrameOnce(const Text& file, const std::vector<std::uint32_t>& numbers) {
        ASSERT_FALSE(numbers.empty());
        for (std::size_t i = 1; i < numbers.size(); ++i) {
            ASSERT_EQ(numbers[i], numbers[i - 1] + 1) << "at picture " << i;
        }
        const ClipFacts facts = Probe(ToPath(file));
        ASSERT_EQ(facts.stamps.size(), numbers.size());
        for (std::size_t i = 1; i < facts.seconds.size(); ++i) {
            ASSERT_NEAR(facts.seconds[i] - facts.seconds[i - 1], 1.0 / fps, 1e-5) << "at picture " << i;
        }
        EXPECT_NEAR(facts.duration, static_cast<double>(numbers.size()) / fps, 0.04);
    }
    void Record(std::uint32_t seconds) {
        const std::uint32_t before = Images();
        ASSERT_TRUE(engine.StartRecording(Output())) << ToUtf8(engine.statusText);
        EXPECT_EQ(engine.state, EngineState::Recording);
        ASSERT_TRUE(CaptureFor(seconds));
        const std::uint32_t asked = Images();
        engine.FinishRecording();
        ASSERT_EQ(engine.statusText, u"Recording saved: " + Output());
        EXPECT_EQ(engine.state, EngineState::Ready);
        const auto numbers = Numbers(Output());
        ExpectEveryFrameOnce(Output(), numbers);
        EXPECT_GE(numbers.size(), static_cast<std::size_t>(seconds - 1) * fps);
        ExpectEnds(before, asked, numbers);
    }
    void ExpectEnds(std::uint32_t before, std::uint32_t asked, const std::vector<std::uint32_t>& numbers) {
        if (GetParam() == Mode::OwnCapture) {
            EXPECT_EQ(numbers.front(), 0U) << "the first image is missing";
            // Only images that were in the pipe of the child may be lost.
            EXPECT_GE(numbers.back() + fps, asked);
            return;
        }
        // Whole segments: the last two in the playlist at the start, and all that were finished by the end.
        EXPECT_EQ(numbers.front() % fps, 0U);
        EXPECT_EQ(numbers.size() % fps, 0U);
        EXPECT_LT(numbers.front(), before);
        EXPECT_GE(numbers.front() + 4 * fps, before) << "more than two segments and the current one";
        EXPECT_GE(numbers.back() + 3 * fps, asked);
    }

    TemporaryFolder folder{"zorvel-recording"};
    // The process chooses the folder of the pipes once, so the folder has to outlive the first test.
    ScopedVariable runtime{"XDG_RUNTIME_DIR", fs::temp_directory_path().string()};
    ScopedVariable cache{"XDG_CACHE_HOME", folder.Path().string()};
    ScopedVariable ffmpeg{"ZV_FFMPEG", ""};
    CaptureEngine engine;
};

TEST_P(NumberedRecording, ContainsEachFrameOfTwentySecondsOnce) { Record(20); }

TEST_P(NumberedRecording, ContainsEachFrameOfAMinuteOnce) { Record(60); }

TEST_P(NumberedRecording, KeepsAllButTheLastSecondsIfFfmpegIsKilled) {
    ASSERT_TRUE(engine.StartRecording(Output())) << ToUtf8(engine.statusText);
    ASSERT_TRUE(CaptureFor(5));
    const auto recorders = ProcessesWith(folder.Path().string() + "/captures/recording.mp4.partial.mp4");
    ASSERT_EQ(recorders.size(), 1U);
    const std::uint32_t images = Images();
    kill(recorders[0], SIGKILL);
    CapturePollResult poll;
    ASSERT_TRUE(Eventually([&] {
        poll = PollCapture(engine);
        return poll.changed;
    }));
    const Text encoder = u"Recording encoder stopped unexpectedly. Logs: " + engine.cacheDir;
    if (GetParam() == Mode::FromReplay) {
        EXPECT_EQ(poll.status, encoder);
        EXPECT_TRUE(IsChildRunning(engine.replay)) << "the replay has stopped";
        EXPECT_TRUE(engine.replayRunning);
    } else {
        // The writer of the pipe or the poll of the child reports it, whichever is first.
        EXPECT_TRUE(poll.status == encoder || poll.status == u"Video encoder stopped accepting frames (0x80004005)" ||
                    poll.status == u"Video muxer disconnected (0x80004005)")
            << ToUtf8(poll.status);
    }
    EXPECT_EQ(engine.state, EngineState::Failed);
    EXPECT_EQ(engine.recording.process, nullptr);
    EXPECT_FALSE(fs::exists(ToPath(Output())));
    const Text working = Output("recording.mp4.partial.mp4");
    const auto numbers = Numbers(working);
    ASSERT_FALSE(numbers.empty());
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i], numbers[i - 1] + 1);
    }
    // One fragment for each second, from key frame to key frame. A recording from the replay is one more segment
    // behind.
    const std::uint32_t behind = GetParam() == Mode::OwnCapture ? 2 * fps : 4 * fps;
    EXPECT_GE(numbers.back() + behind, images) << "the last whole second is missing";
    std::printf("killed at image %u, plays to image %u\n", images, numbers.back());
}

struct RecordingFromReplay : NumberedRecording {};

TEST_P(RecordingFromReplay, IsSavedCompletelyIfTheReplaysFfmpegIsKilled) {
    ASSERT_TRUE(engine.StartRecording(Output())) << ToUtf8(engine.statusText);
    ASSERT_TRUE(CaptureFor(2));
    const auto replay = ProcessesWith(ToUtf8(engine.replayDir) + "/live.m3u8");
    ASSERT_EQ(replay.size(), 1U);
    kill(replay[0], SIGKILL);
    CapturePollResult poll;
    ASSERT_TRUE(Eventually([&] {
        poll = PollCapture(engine);
        return poll.changed;
    }));
    EXPECT_FALSE(engine.replayRunning);
    // If the video worker reports first, the recording is finished with it. Otherwise it waits for its key.
    const bool pictureFirst = poll.status.starts_with(u"Video ");
    EXPECT_EQ(engine.recording.process == nullptr, pictureFirst) << ToUtf8(poll.status);
    if (!pictureFirst) {
        EXPECT_EQ(poll.status, u"Replay encoder stopped unexpectedly. Logs: " + engine.cacheDir);
        EXPECT_EQ(engine.state, EngineState::Recording);
        EXPECT_TRUE(IsChildRunning(engine.recording));
        engine.FinishRecording();
        EXPECT_EQ(engine.statusText, u"Recording saved: " + Output());
    }
    EXPECT_EQ(engine.state, EngineState::Ready);
    ExpectEveryFrameOnce(Output(), Numbers(Output()));
}

INSTANTIATE_TEST_SUITE_P(Recording, RecordingFromReplay, testing::Values(Mode::FromReplay), NameOf);
INSTANTIATE_TEST_SUITE_P(Recording, NumberedRecording, testing::Values(Mode::FromReplay, Mode::OwnCapture), NameOf);

}  // namespace
}  // namespace zv
