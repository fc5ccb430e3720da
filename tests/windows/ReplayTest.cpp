// The replay from video and sound to a clip: the engine, both pipes, a real FFmpeg, and the ring on disk.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "capture/CaptureFiles.h"
#include "capture/ReplayPlaylist.h"
#include "core/CommandLine.h"
#include "core/ReadSharedFile.h"
#include "fake/EncodedUnits.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"
#include "windows/Processes.h"
#include "windows/ReplayScene.h"

namespace zv {
namespace {

using support::Eventually;
using support::generousMs;

using testing::AllOf;
using testing::Each;
using testing::EndsWith;
using testing::Ge;
using testing::Le;

/// The packets of one stream of a file.
struct Packets {
    std::int64_t perSecond = 0;  ///< ticks of the stream's clock
    std::vector<std::int64_t> stamps;
    std::vector<bool> keys;
};

class Replay : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(EnvironmentValue(u"ZV_TEST_FFMPEG").empty()) << "tests/windows/fetch_ffmpeg gets it";
        ASSERT_EQ(fake::EncodedUnitCount(), 60U);
        windows::SetReplayScene(PathOf(L"commands"));
        ASSERT_TRUE(engine_.Configure(windows::SceneConfig())) << Narrow(engine_.statusText);
    }

    Text PathOf(const wchar_t* name) const { return FromPath(folder_.Path() / name); }

    void StartWithSeconds(std::int32_t seconds) {
        ASSERT_TRUE(engine_.StartReplay(true, 15)) << Narrow(engine_.statusText) << ReplayLog();
        ASSERT_TRUE(Eventually([&] { return engine_.BufferedSeconds() >= seconds; })) << ReplayLog();
    }

    std::string ReplayLog() const { return "\n" + ReadFileCapped(JoinPath(engine_.cacheDir, u"replay.log")); }

    std::vector<Text> Commands() const {
        std::vector<Text> lines;
        std::istringstream file(ReadFileCapped(PathOf(L"commands")));
        for (std::string line; std::getline(file, line);) {
            lines.push_back(Widen(line));
        }
        return lines;
    }

    /// Runs FFmpeg with `arguments` and returns its log.
    std::string Analyse(const Text& arguments) {
        EncoderProcess child;
        EXPECT_TRUE(engine_.StartChild(child, arguments, PathOf(L"analysis.log")));
        EXPECT_TRUE(WaitForExit(*child.process, generousMs));
        EXPECT_TRUE(engine_.StopChild(child, generousMs));
        return ReadFileCapped(PathOf(L"analysis.log"));
    }

    Packets PacketsOf(const Text& clip, const Text& stream) {
        const Text list = PathOf(L"packets");
        Analyse(u"-i " + QuoteArgument(clip) + u" -map " + stream + u" -c copy -f framecrc " + QuoteArgument(list));
        Packets packets;
        std::istringstream lines(ReadSharedFile(list, 0x1000000));
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("#tb 0: 1/")) {
                packets.perSecond = std::stoll(line.substr(9));
            } else if (!line.starts_with("#")) {
                packets.stamps.push_back(std::stoll(line.substr(line.find(',', line.find(',') + 1) + 1)));
                packets.keys.push_back(line.find("F=") == std::string::npos);
            }
        }
        return packets;
    }

    /// Expects frames one after the other without a gap, with a key frame at each full second.
    void ExpectSteadyVideo(const Packets& video, std::size_t from = 0) {
        ASSERT_EQ(video.stamps.size() % 30, 0U);
        for (std::size_t i = from + 1; i < video.stamps.size(); ++i) {
            ASSERT_EQ(video.stamps[i] - video.stamps[i - 1], video.perSecond / 30) << "at frame " << i;
        }
        for (std::size_t i = 0; i < video.keys.size(); ++i) {
            ASSERT_EQ(video.keys[i], i % 30 == 0) << "at frame " << i;
        }
    }

    /// The number of zero crossings in one second of the clip's sound, and its loudest sample.
    std::pair<int, float> SecondOfSound(const Text& clip) {
        const Text raw = PathOf(L"sound");
        Analyse(u"-ss 1 -i " + QuoteArgument(clip) + u" -map 0:a:0 -t 1 -af pan=mono|c0=c0 -f f32le " +
                QuoteArgument(raw));
        std::ifstream file(ToPath(raw), std::ios::binary);
        int changes = 0;
        float before = 0;
        float loudest = 0;
        for (float sample = 0; file.read(reinterpret_cast<char*>(&sample), sizeof(sample)); before = sample) {
            changes += (sample < 0) != (before < 0) ? 1 : 0;
            loudest = std::max(loudest, std::abs(sample));
        }
        return {changes, loudest};
    }

    std::set<std::string> SegmentFiles() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(ToPath(engine_.replayDir))) {
            if (entry.path().extension() == ".ts") {
                names.insert(entry.path().filename().string());
            }
        }
        return names;
    }

    support::TemporaryFolder folder_;
    CaptureEngine engine_;
};

TEST_F(Replay, FfmpegGetsTheCommandLineAndReadsBothPipes) {
    StartWithSeconds(2);
    EXPECT_EQ(engine_.statusText, u"Replay is buffering video and selected audio. Allow 2 seconds before saving.");
    const Text process = Decimal(OwnProcessId());
    const Text video = engine_.replay.video->PipeName();
    const Text audio = engine_.replay.audio->PipeName();
    EXPECT_TRUE(video.starts_with(u"\\\\.\\pipe\\ZVVideo-" + process + u"-"));
    EXPECT_TRUE(audio.starts_with(u"\\\\.\\pipe\\ZVReelsAudio-" + process + u"-"));
    ASSERT_EQ(Commands().size(), 1U);
    EXPECT_EQ(
        Narrow(Commands()[0]),
        Narrow(u"\"" + engine_.ffmpegPath + u"\" -hide_banner -loglevel warning -y -progress \"" + engine_.cacheDir +
               u"\\replay.log.progress\" -stats_period 0.5 -thread_queue_size 64 -f mpegts -probesize 65536 "
               u"-analyzeduration 0 -i \"" +
               video +
               u"\" -avioflags direct -blocksize 3840 -thread_queue_size 32 -f f32le -ar 48000 -ac 2 "
               u"-probesize 32 -analyzeduration 0 -i \"" +
               audio +
               u"\" -map 0:v:0 -map 1:a:0 -af aresample=async=1000:first_pts=0 -c:a aac -b:a 192k -ar 48000 "
               u"-c:v copy -f hls -hls_time 1 -hls_list_size 15 -hls_delete_threshold 3 "
               u"-hls_flags delete_segments+temp_file+independent_segments -hls_segment_filename \"" +
               engine_.replayDir + u"\\seg%08d.ts\" \"" + engine_.replayDir + u"\\live.m3u8\""));
}

TEST_F(Replay, ASavedClipHoldsEveryFrameAndTheToneWhileTheReplayGoesOn) {
    StartWithSeconds(3);
    const Text clip = PathOf(L"my clip \u00E9.mp4");
    const std::size_t listed = ReadSegmentList(engine_.replayDir).size();
    ASSERT_TRUE(engine_.SaveReplayClip(clip)) << Narrow(engine_.statusText);
    EXPECT_EQ(engine_.statusText, u"Replay saved: " + clip);
    EXPECT_TRUE(IsChildRunning(engine_.replay));
    EXPECT_FALSE(std::filesystem::exists(ToPath(WorkingName(clip))));

    const Packets video = PacketsOf(clip, u"0:v:0");
    EXPECT_GE(video.stamps.size(), listed * 30);
    ExpectSteadyVideo(video);
    const Packets audio = PacketsOf(clip, u"0:a:0");
    const double videoSeconds = static_cast<double>(video.stamps.size()) / 30;
    EXPECT_NEAR(static_cast<double>(audio.stamps.size()) * 1024 / 48000, videoSeconds, 0.15);

    const auto [changes, loudest] = SecondOfSound(clip);
    EXPECT_NEAR(changes, 880, 4);
    EXPECT_NEAR(loudest, 0.25, 0.03);
    EXPECT_TRUE(Eventually([&] { return ReadSegmentList(engine_.replayDir).size() > listed + 1; }));
}

TEST_F(Replay, TheRingKeepsItsLengthAndDropsTheOldestSegments) {
    StartWithSeconds(15);
    const std::string first = ReadSegmentList(engine_.replayDir).front();
    EXPECT_TRUE(Eventually([&] { return !SegmentFiles().contains("seg00000000.ts"); }));
    const SegmentNames listed = ReadSegmentList(engine_.replayDir);
    EXPECT_EQ(listed.size(), 15U);
    EXPECT_GT(listed.front(), first);
    EXPECT_EQ(engine_.BufferedSeconds(), 15);
    // The listed segments, three that may still be read, one being written and one just dropped.
    EXPECT_LE(SegmentFiles().size(), 20U);
}

TEST_F(Replay, ARecordingReceivesItsSegmentsThroughAThirdPipe) {
    StartWithSeconds(2);
    const Text path = PathOf(L"recording.mp4");
    ASSERT_TRUE(engine_.StartRecording(path)) << Narrow(engine_.statusText);
    EXPECT_EQ(engine_.state, EngineState::Recording);
    const std::size_t listed = ReadSegmentList(engine_.replayDir).size();
    EXPECT_TRUE(Eventually([&] { return ReadSegmentList(engine_.replayDir).size() >= listed + 3; }));
    engine_.FinishRecording();
    EXPECT_EQ(engine_.state, EngineState::Ready) << Narrow(engine_.statusText);
    const Packets video = PacketsOf(path, u"0:v:0");
    EXPECT_GE(video.stamps.size(), 90U);
    // FFmpeg writes the header of a fragmented file before it knows that the sound begins a little earlier: the first
    // picture lasts longer.
    ExpectSteadyVideo(video, 1);
    EXPECT_TRUE(IsChildRunning(engine_.replay));
}

TEST_F(Replay, StoppingEndsFfmpegAndRemovesTheFolder) {
    StartWithSeconds(1);
    const Text folder = engine_.replayDir;
    EXPECT_EQ(windows::ProcessesNamed(L"ffmpeg.exe").size(), 2U);
    engine_.StopAll();
    EXPECT_TRUE(windows::ProcessesNamed(L"ffmpeg.exe").empty());
    EXPECT_FALSE(std::filesystem::exists(ToPath(folder)));
    EXPECT_FALSE(engine_.replayRunning);
}

TEST_F(Replay, AKilledFfmpegIsNoticedAndNotRestarted) {
    StartWithSeconds(1);
    for (const DWORD id : windows::ProcessesNamed(L"ffmpeg.exe")) {
        windows::KillProcess(id);
    }
    ASSERT_TRUE(Eventually([&] { return !IsChildRunning(engine_.replay); }));
    engine_.PollHealth();
    EXPECT_FALSE(engine_.replayRunning);
    EXPECT_FALSE(engine_.replay.process);
    EXPECT_TRUE(windows::ProcessesNamed(L"ffmpeg.exe").empty());
}

TEST_F(Replay, AKilledProgramLeavesNoFfmpegBehindEvenIfItHangs) {
    const Text host = JoinPath(ExecutableFolder(), u"ReplayHost.exe");
    const Text ready = PathOf(L"ready");
    Child child;
    ASSERT_TRUE(SpawnChild({host, QuoteArgument(host) + u" " + QuoteArgument(ready), PathOf(L"host.log")}, child));
    ASSERT_TRUE(Eventually([&] { return ReadSharedFile(ready, 4096).ends_with("\n"); }));
    ASSERT_TRUE(ReadSharedFile(ready, 4096).starts_with("running")) << ReadSharedFile(ready, 4096);
    // Without its input FFmpeg would soon exit by itself; a suspended one does not.
    const std::vector<DWORD> children = windows::ProcessesNamed(L"ffmpeg.exe");
    ASSERT_EQ(children.size(), 2U);
    for (const DWORD id : children) {
        EXPECT_TRUE(windows::FreezeProcess(id));
    }
    const std::vector<DWORD> hosts = windows::ProcessesNamed(L"ReplayHost.exe");
    ASSERT_EQ(hosts.size(), 1U);
    EXPECT_TRUE(windows::KillProcess(hosts[0]));
    // The job that the host runs in is still open here, so that only the host's own job can end FFmpeg.
    EXPECT_TRUE(Eventually([] { return windows::ProcessesNamed(L"ffmpeg.exe").empty(); }));
}

}  // namespace
}  // namespace zv
