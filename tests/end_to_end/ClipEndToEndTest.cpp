// Clips of numbered images: the real engine, worker, encoder, pipe and FFmpeg. Only the desktop is a fake, so that each
// image can be identified in the finished file.
#include <gtest/gtest.h>

#include <set>

#include "capture/CaptureEngine.h"
#include "capture/ReplayPlaylist.h"
#include "core/Utf8.h"
#include "fake/NumberedDesktop.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/FrameNumber.h"
#include "support/MediaProbe.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ClipFacts;
using support::Eventually;
using support::OpenFiles;
using support::Probe;
using support::TemporaryFolder;

struct ClipEndToEnd : testing::Test {
    CaptureConfig Config(int fps = 30) const {
        CaptureConfig config;
        config.width = 1920;
        config.height = 1080;
        config.fps = fps;
        config.bitrateMbps = 8;
        config.gameAudioEnabled = false;
        config.monitorDevice = fake::NumberedDesktopName();
        return config;
    }
    bool Buffered(int seconds) {
        return Eventually([&] { return engine.BufferedSeconds() >= seconds; }, 120000);
    }
    Text Output(const char* name) const { return FromPath(folder.Path() / "captures" / name); }

    TemporaryFolder folder{"zorvel-clip"};
    // The process chooses the folder of the pipes once, so the folder has to outlive the first test.
    support::ScopedVariable runtime{"XDG_RUNTIME_DIR", std::filesystem::temp_directory_path().string()};
    support::ScopedVariable cache{"XDG_CACHE_HOME", folder.Path().string()};
    support::ScopedVariable ffmpeg{"ZV_FFMPEG", ""};
    CaptureEngine engine;
};

/// The number of every picture of the clip, in order.
std::vector<std::uint32_t> Numbers(const Text& clip, int width = 1920, int height = 1080) {
    std::vector<std::uint32_t> numbers;
    support::DecodeLuma(ToPath(clip), width, height, [&](std::span<const std::uint8_t> luma) {
        const auto number = support::ReadFrameNumber(luma, width, height);
        ASSERT_TRUE(number.has_value()) << "picture " << numbers.size() << " carries no number";
        numbers.push_back(*number);
    });
    return numbers;
}

void ExpectConsecutive(const std::vector<std::uint32_t>& numbers) {
    ASSERT_FALSE(numbers.empty());
    for (std::size_t index = 1; index < numbers.size(); ++index) {
        ASSERT_EQ(numbers[index], numbers[index - 1] + 1) << "at picture " << index;
    }
}

void ExpectSpecifiedStream(const ClipFacts& facts, int fps) {
    EXPECT_EQ(facts.codec, "h264");
    EXPECT_EQ(facts.profile, "High");
    EXPECT_EQ(facts.colorRange, "tv");
    EXPECT_EQ(facts.colorSpace, "bt709");
    EXPECT_EQ(facts.colorTransfer, "bt709");
    EXPECT_EQ(facts.colorPrimaries, "bt709");
    EXPECT_EQ(facts.bFrames, 0);
    EXPECT_EQ(facts.pictureTypes.find('B'), std::string::npos);
    EXPECT_EQ(facts.averageRate, std::to_string(fps) + "/1");
    EXPECT_TRUE(facts.indexFirst);
    EXPECT_FALSE(facts.hasAudio);
    for (std::size_t index = 0; index < facts.keyFrames.size(); ++index) {
        EXPECT_EQ(facts.keyFrames[index], index * static_cast<std::size_t>(fps));
    }
    ASSERT_GT(facts.stamps.size(), 1U);
    const std::int64_t step = facts.stamps[1] - facts.stamps[0];
    for (std::size_t index = 1; index < facts.stamps.size(); ++index) {
        ASSERT_EQ(facts.stamps[index] - facts.stamps[index - 1], step) << "at picture " << index;
    }
    EXPECT_NEAR(facts.seconds[1] - facts.seconds[0], 1.0 / fps, 1e-6);
}

TEST_F(ClipEndToEnd, AClipContainsEachFrameOnceAndInOrder) {
    ASSERT_TRUE(engine.Configure(Config())) << ToUtf8(engine.statusText);
    ASSERT_TRUE(engine.StartReplay(true, 15)) << ToUtf8(engine.statusText);
    ASSERT_TRUE(Buffered(6));
    const std::size_t before = ReadSegmentList(engine.replayDir).size();
    ASSERT_TRUE(engine.SaveReplayClip(Output("clip.mp4"))) << ToUtf8(engine.statusText);
    const std::size_t after = ReadSegmentList(engine.replayDir).size();
    EXPECT_EQ(engine.statusText, u"Replay saved: " + Output("clip.mp4"));

    const ClipFacts facts = Probe(ToPath(Output("clip.mp4")), true);
    ExpectSpecifiedStream(facts, 30);
    // As long as the ring at the time of the save: whole seconds with one key frame each.
    EXPECT_EQ(facts.stamps.size() % 30, 0U);
    EXPECT_GE(facts.stamps.size() / 30, before);
    EXPECT_LE(facts.stamps.size() / 30, after);
    EXPECT_NEAR(facts.duration, static_cast<double>(facts.stamps.size()) / 30, 0.002);

    const auto numbers = Numbers(Output("clip.mp4"));
    EXPECT_EQ(numbers.size(), facts.stamps.size());
    ExpectConsecutive(numbers);
    engine.StopAll();
}

TEST_F(ClipEndToEnd, ASaveLosesNoFrameOfTheRingOrOfTheNextClip) {
    ASSERT_TRUE(engine.Configure(Config()));
    ASSERT_TRUE(engine.StartReplay(true, 15));
    ASSERT_TRUE(Buffered(3));
    ASSERT_TRUE(engine.SaveReplayClip(Output("first.mp4")));
    ASSERT_TRUE(engine.SaveReplayClip(Output("second.mp4")));
    const int seconds = engine.BufferedSeconds();
    ASSERT_TRUE(Buffered(seconds + 3));
    ASSERT_TRUE(engine.SaveReplayClip(Output("third.mp4")));

    const auto first = Numbers(Output("first.mp4"));
    const auto second = Numbers(Output("second.mp4"));
    const auto third = Numbers(Output("third.mp4"));
    ExpectConsecutive(first);
    ExpectConsecutive(second);
    ExpectConsecutive(third);
    EXPECT_EQ(first.front(), second.front());
    EXPECT_EQ(first.front(), third.front());
    EXPECT_GE(second.back(), first.back());
    EXPECT_GE(third.back(), second.back() + 3 * 30);
    engine.StopAll();
}

TEST_F(ClipEndToEnd, AFullRingKeepsItsLengthAndDropsTheOldestSecond) {
    ASSERT_TRUE(engine.Configure(Config()));
    ASSERT_TRUE(engine.StartReplay(true, 15));
    ASSERT_TRUE(Buffered(15));
    const auto oldest = ReadSegmentList(engine.replayDir).front();
    ASSERT_TRUE(Eventually([&] { return ReadSegmentList(engine.replayDir).front() != oldest; }, 60000));
    EXPECT_EQ(ReadSegmentList(engine.replayDir).size(), 15U);
    ASSERT_TRUE(engine.SaveReplayClip(Output("clip.mp4")));
    const auto numbers = Numbers(Output("clip.mp4"));
    ExpectConsecutive(numbers);
    EXPECT_EQ(numbers.size(), 15U * 30U);
    EXPECT_GE(numbers.front(), 30U);
    engine.StopAll();
}

TEST_F(ClipEndToEnd, AClipAtSixtyFramesASecondContainsEachFrameOnce) {
    ASSERT_TRUE(engine.Configure(Config(60)));
    ASSERT_TRUE(engine.StartReplay(true, 15)) << ToUtf8(engine.statusText);
    ASSERT_TRUE(Buffered(3));
    ASSERT_TRUE(engine.SaveReplayClip(Output("clip.mp4")));
    ExpectSpecifiedStream(Probe(ToPath(Output("clip.mp4")), true), 60);
    ExpectConsecutive(Numbers(Output("clip.mp4")));
    engine.StopAll();
}

TEST_F(ClipEndToEnd, TheReplayFolderIsRemovedAtTheStop) {
    ASSERT_TRUE(engine.Configure(Config()));
    ASSERT_TRUE(engine.StartReplay(true, 15));
    const auto replay = ToPath(engine.replayDir);
    ASSERT_TRUE(std::filesystem::exists(replay));
    engine.StopAll();
    EXPECT_FALSE(std::filesystem::exists(replay));
    EXPECT_TRUE(support::ProcessesWith(folder.Path().string() + "/ZVReelsMax").empty());
    EXPECT_TRUE(std::filesystem::exists(ToPath(engine.cacheDir))) << "the logs are kept";
}

std::size_t Threads() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}
std::size_t ResidentKiB() {
    const std::string status = support::ReadBytes("/proc/self/status");
    return static_cast<std::size_t>(std::atoll(status.c_str() + status.find("VmRSS:") + 6));
}

TEST_F(ClipEndToEnd, TwoHundredStartsAndStopsLeakNoHandleThreadOrMemory) {
    ASSERT_TRUE(engine.Configure(Config()));
    std::size_t files = 0;
    std::size_t threads = 0;
    std::size_t memory = 0;
    for (int round = 0; round < 200; ++round) {
        // Another length restarts a running replay; every fourth round starts from a stopped one.
        ASSERT_TRUE(engine.StartReplay(true, 15 + round % 200))
            << "round " << round << ": " << ToUtf8(engine.statusText);
        if (round % 4 == 3) {
            ASSERT_TRUE(engine.StartReplay(false, 15));
        }
        if (round == 19) {  // the allocator and the libraries fill their caches in the first rounds
            files = OpenFiles();
            threads = Threads();
            memory = ResidentKiB();
        }
    }
    // The last round stopped the replay, as the twentieth did.
    EXPECT_LE(OpenFiles(), files);
    EXPECT_LE(Threads(), threads);
    EXPECT_LE(ResidentKiB(), memory + 4096) << "in KiB, from " << memory;
    std::printf("after 200 rounds: %zu files, %zu threads, %zu KiB (after 20: %zu KiB)\n", OpenFiles(), Threads(),
                ResidentKiB(), memory);
    EXPECT_TRUE(support::ProcessesWith(folder.Path().string() + "/ZVReelsMax").empty());
}

}  // namespace
}  // namespace zv
