// A steady tone through real sound servers: the mix must contain it without a jump or a hole.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "audio/AudioCapture.h"
#include "capture/CaptureEngine.h"
#include "core/Utf8.h"
#include "fake/NumberedDesktop.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/PipeReader.h"
#include "support/Processes.h"
#include "support/SoundServer.h"
#include "support/SoundTrack.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;

constexpr std::size_t blockFrames = 480;
constexpr std::size_t bytesOfSecond = 384000;

/// The left side of one block of 10 ms, after the two samples before it.
struct Block {
    std::vector<double> samples;

    bool IsLoud() const {
        double energy = 0;
        for (std::size_t i = 2; i < samples.size(); ++i) {
            energy += samples[i] * samples[i];
        }
        return energy > 0.3 * 0.3 * blockFrames;  // a sine of 0.5 has 0.35
    }
    /// A sine of 0.5 at 1000 Hz bends by at most 0.0086 from sample to sample.
    bool IsSmooth() const {
        for (std::size_t i = 2; i < samples.size(); ++i) {
            if (std::abs(samples[i] - 2 * samples[i - 1] + samples[i - 2]) > 0.02) {
                return false;
            }
        }
        return true;
    }
};

std::vector<Block> BlocksOf(const std::vector<float>& stereo) {
    std::vector<Block> blocks;
    for (std::size_t first = blockFrames; first + blockFrames <= stereo.size() / 2; first += blockFrames) {
        Block block;
        for (std::size_t frame = first - 2; frame < first + blockFrames; ++frame) {
            block.samples.push_back(stereo[2 * frame]);
        }
        blocks.push_back(std::move(block));
    }
    return blocks;
}

struct ToneEndToEnd : testing::Test {
    /// Plays a tone and captures it for this time from its first block on. Sets `blocks` to all blocks after that one.
    void Capture(double seconds, const std::function<void()>& meanwhile = nullptr) {
        ASSERT_TRUE(server->Ready()) << server->Log();
        const Spawned player = server->PlayTone("speakers", 1000, 0.5F, 1000, 0.5F, 90);
        ASSERT_TRUE(Eventually([] {
            return OutputOf({"pactl", "list", "short", "sinks"}).find("RUNNING") != std::string::npos;
        })) << server->Log();
        AudioCapture capture;
        ASSERT_TRUE(capture.Start(true, false)) << Narrow(capture.Error());
        PipeReader reader(capture.PipeName());
        // The monitor of a null sink that was idle delivers nothing for up to two seconds.
        const auto bytes = static_cast<std::size_t>((seconds + 3) * bytesOfSecond);
        ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= 3 * bytesOfSecond; }));
        if (meanwhile) {
            meanwhile();
        }
        ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= bytes; }, 120000));
        EXPECT_TRUE(capture.running);
        capture.Stop();
        reader.Join();
        blocks = BlocksOf(reader.Samples());
        const auto loud = std::find_if(blocks.begin(), blocks.end(), [](const Block& block) { return block.IsLoud(); });
        ASSERT_NE(loud, blocks.end()) << "no tone";
        blocks.erase(blocks.begin(), loud + 1);
        ASSERT_GE(static_cast<double>(blocks.size()), seconds * 100);
    }
    std::ptrdiff_t Damaged() const {
        return std::count_if(blocks.begin(), blocks.end(),
                             [](const Block& block) { return !block.IsLoud() || !block.IsSmooth(); });
    }

    std::unique_ptr<SoundServer> server;
    std::vector<Block> blocks;
};

struct ToneThrough : ToneEndToEnd, testing::WithParamInterface<ServerKind> {
    void SetUp() override { server = std::make_unique<SoundServer>(Microphone::Absent, GetParam()); }
};

std::string KindName(const testing::TestParamInfo<ServerKind>& kind) {
    return kind.param == ServerKind::PipeWire               ? "PipeWire"
           : kind.param == ServerKind::PulseAudioWithTunnel ? "PulseAudioWithTunnel"
                                                            : "PulseAudio";
}

INSTANTIATE_TEST_SUITE_P(EachServer, ToneThrough,
                         testing::Values(ServerKind::PulseAudio, ServerKind::PulseAudioWithTunnel,
                                         ServerKind::PipeWire),
                         KindName);

TEST_F(ToneEndToEnd, IsHeardThroughPipeWire) {
    server = std::make_unique<SoundServer>(Microphone::Absent, ServerKind::PipeWire);
    Capture(2);
    EXPECT_LE(Damaged(), std::ssize(blocks) / 2);
}

TEST_P(ToneThrough, OfAMinuteIsWhole) {
    Capture(60);
    EXPECT_LE(Damaged(), 30);  // of 6000; none on a machine that does nothing else
}

struct ToneOnABusyMachine : ToneThrough {};
INSTANTIATE_TEST_SUITE_P(EachServer, ToneOnABusyMachine, testing::Values(ServerKind::PulseAudio, ServerKind::PipeWire),
                         KindName);

// Servers without real-time priority deliver some samples more than 100 ms late, or miss them.
TEST_P(ToneOnABusyMachine, OfAMinuteIsNearlyWhole) {
    const Arguments busy{"sh", "-c", "while :; do :; done"};
    const Spawned first(busy, {}, "/dev/null");
    const Spawned second(busy, {}, "/dev/null");
    Capture(60);
    EXPECT_LE(Damaged(), std::ssize(blocks) / 50);
}

TEST_F(ToneEndToEnd, AGapIsWhereItWas) {
    server = std::make_unique<SoundServer>();
    double shortest = 0;
    double longest = 0;
    Capture(4, [&] {
        const std::int64_t suspending = Counter100ns();
        OutputOf({"pactl", "suspend-sink", "speakers", "1"});
        const std::int64_t suspended = Counter100ns();
        SleepMs(500);
        const std::int64_t resuming = Counter100ns();
        OutputOf({"pactl", "suspend-sink", "speakers", "0"});
        shortest = static_cast<double>(resuming - suspended) / 1e5;
        longest = static_cast<double>(Counter100ns() - suspending) / 1e5;
    });
    const auto silent = static_cast<double>(
        std::count_if(blocks.begin(), blocks.end(), [](const Block& block) { return !block.IsLoud(); }));
    // A sink renders up to 40 ms ahead, which are played after its resumption.
    EXPECT_GE(silent, shortest - 6);
    EXPECT_LE(silent, longest + 6);
}

// A capture of 20 frames a second instead of 30. After 15 s the picture is 5 s shorter than the sound.
TEST(Tone, GoesOnWhileThePictureLosesFrames) {
    const TemporaryFolder folder("zorvel-slow");
    const ScopedVariable runtime("XDG_RUNTIME_DIR", folder.Path().string());
    const ScopedVariable temporary("TMPDIR", folder.Path().string());
    const ScopedVariable ffmpeg("ZV_FFMPEG", "");
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    const Spawned player = server.PlayTone("speakers", 1000, 0.5F, 1000, 0.5F, 90);
    fake::ResetNumberedDesktop();
    fake::TheNumberedDesktop().acquireMs = 50;
    CaptureEngine engine;
    CaptureConfig config;
    config.width = 1920;
    config.height = 1080;
    config.fps = 30;
    config.bitrateMbps = 8;
    config.monitorDevice = fake::NumberedDesktopName();
    ASSERT_TRUE(engine.Configure(config)) << ToUtf8(engine.statusText);
    const std::filesystem::path output = folder.Path() / "captures" / "recording.mp4";
    ASSERT_TRUE(engine.StartRecording(FromPath(output))) << ToUtf8(engine.statusText);
    ASSERT_TRUE(Eventually([&] {
        engine.PollHealth();
        return fake::TheNumberedDesktop().images >= 300;
    }));
    EXPECT_TRUE(engine.fallsBehind);
    engine.FinishRecording();
    ASSERT_EQ(engine.statusText, u"Recording saved: " + FromPath(output));
    const SoundTrack sound = ReadSound(output);
    ASSERT_GT(sound.Seconds(), 9);
    // The monitor of a null sink that was idle delivers nothing for up to two seconds.
    for (double from = 3; from + 1 < sound.Seconds(); from += 0.5) {
        EXPECT_GT(MedianLevel(sound.Between(from, from + 0.5), 0, 1000), 0.3) << "at " << from << " s";
    }
}

}  // namespace
}  // namespace zv
