#include "EngineFixture.h"

namespace zv {
namespace {

class Configure : public EngineTest {};

TEST_F(Configure, MakesTheEngineReadyAndStoresEveryValue) {
    CaptureConfig config = PlainConfig();
    config.encoder = u"e";
    config.codec = u"c";
    config.gameAudioEnabled = false;
    config.micEnabled = true;
    config.captureCursor = true;
    EXPECT_TRUE(engine->Configure(config));
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_EQ(engine->statusText, u"Ready: H.264 desktop capture with selected resolution, FPS and audio.");
    EXPECT_EQ(engine->ffmpegPath, Here(u"the ffmpeg"));
    EXPECT_EQ(engine->config.width, 1920);
    EXPECT_EQ(engine->config.height, 1080);
    EXPECT_EQ(engine->config.fps, 60);
    EXPECT_EQ(engine->config.bitrateMbps, 20);
    EXPECT_EQ(engine->config.encoder, u"e");
    EXPECT_EQ(engine->config.codec, u"c");
    EXPECT_FALSE(engine->config.gameAudioEnabled);
    EXPECT_TRUE(engine->config.micEnabled);
    EXPECT_EQ(engine->config.monitorDevice, u"\\\\.\\DISPLAY2");
    EXPECT_TRUE(engine->config.captureCursor);
}

TEST_F(Configure, TheCacheIsNamedByProcessAndTickUnderTheUsersCache) {
    fake::TheClock().nowNs = 123'456'789'000'000;
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->cacheDir, JoinPath(JoinPath(Here(u"cache"), u"ZVReelsMax"), u"4711-123456789"));
    EXPECT_TRUE(std::filesystem::is_directory(ToPath(engine->cacheDir)));
}

TEST_F(Configure, ASecondConfigurationKeepsTheCache) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    const Text first = engine->cacheDir;
    fake::AdvanceClockMs(5000);
    CaptureConfig other = PlainConfig();
    other.fps = 30;
    ASSERT_TRUE(engine->Configure(other));
    EXPECT_EQ(engine->cacheDir, first);
}

TEST_F(Configure, TheCacheOutlivesTheEngine) {
    StartReplayWith(1);
    const Text cache = engine->cacheDir;
    WriteFile(JoinPath(cache, u"replay.log"), "a failure");
    engine.reset();
    EXPECT_TRUE(Exists(JoinPath(cache, u"replay.log")));
}

TEST_F(Configure, UnchangedValuesKeepTheTextAndTheReplay) {
    StartReplayWith(1);
    engine->statusText = u"as it was";
    EXPECT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->statusText, u"as it was");
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_TRUE(ChildNumber(0).running);
}

TEST_F(Configure, EveryChangedFieldStopsTheReplayAndIsApplied) {
    const std::vector<void (*)(CaptureConfig&)> changes = {
        [](CaptureConfig& config) { config.width = 2560, config.height = 1440; },
        [](CaptureConfig& config) { config.fps = 30; },
        [](CaptureConfig& config) { config.bitrateMbps = 21; },
        [](CaptureConfig& config) { config.encoder = u"x"; },
        [](CaptureConfig& config) { config.codec = u"x"; },
        [](CaptureConfig& config) { config.gameAudioEnabled = false; },
        [](CaptureConfig& config) { config.micEnabled = true; },
        [](CaptureConfig& config) { config.monitorDevice = u"x"; },
        [](CaptureConfig& config) { config.captureCursor = true; },
    };
    for (const auto change : changes) {
        StartReplayWith(1);
        CaptureConfig config = PlainConfig();
        change(config);
        EXPECT_TRUE(engine->Configure(config));
        EXPECT_FALSE(engine->replayRunning);
        EXPECT_FALSE(engine->replay.process);
        EXPECT_EQ(engine->statusText, u"Ready: H.264 desktop capture with selected resolution, FPS and audio.");
        ASSERT_TRUE(engine->Configure(PlainConfig()));
    }
    EXPECT_EQ(fake::LastChild().waits, std::vector<std::uint32_t>());  // ended at the quit command
    EXPECT_EQ(fake::LastChild().input, "q\n");
}

TEST_F(Configure, AMovedFfmpegStopsTheReplayAndIsApplied) {
    StartReplayWith(1);
    WriteFile(Here(u"another"), "");
    fake::TheEnvironment().variables[u"ZV_FFMPEG"] = Here(u"another");
    EXPECT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->ffmpegPath, Here(u"another"));
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_FALSE(ChildNumber(0).running);
}

TEST_F(Configure, AnFfmpegThatWasRemovedStopsTheReplayAndFails) {
    StartReplayWith(1);
    std::filesystem::remove(ToPath(Here(u"the ffmpeg")));
    EXPECT_FALSE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_EQ(engine->statusText, u"FFmpeg missing. Run the build script to configure the runtime.");
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_EQ(engine->ffmpegPath, u"");
}

TEST_F(Configure, WithoutFfmpegUnchangedValuesAreTriedAgain) {
    fake::TheEnvironment().variables.clear();
    EXPECT_FALSE(engine->Configure(PlainConfig()));
    fake::TheEnvironment().variables[u"ZV_FFMPEG"] = Here(u"the ffmpeg");
    EXPECT_TRUE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->state, EngineState::Ready);
}

TEST_F(Configure, IsRefusedWhileARecordingRuns) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    ASSERT_TRUE(engine->StartRecording(Here(u"a.mp4")));
    CaptureConfig config = PlainConfig();
    config.fps = 25;  // would be refused as well, but later
    EXPECT_FALSE(engine->Configure(config));
    EXPECT_EQ(engine->statusText, u"Stop recording before changing resolution, FPS or audio.");
    EXPECT_EQ(engine->state, EngineState::Recording);
    EXPECT_EQ(engine->config.fps, 60);
}

TEST_F(Configure, IsNotRefusedAfterARecordingDied) {
    ASSERT_TRUE(engine->Configure(PlainConfig()));
    ASSERT_TRUE(engine->StartRecording(Here(u"a.mp4")));
    fake::EndChild(fake::LastChild(), 1);
    CaptureConfig config = PlainConfig();
    config.fps = 30;
    EXPECT_TRUE(engine->Configure(config));
}

TEST_F(Configure, OtherSizesAndRatesAreRefusedWithoutAnyChange) {
    StartReplayWith(1);
    const auto refuses = [this](std::int32_t width, std::int32_t height, std::int32_t fps) {
        CaptureConfig config = PlainConfig();
        config.width = width;
        config.height = height;
        config.fps = fps;
        engine->statusText.clear();
        const bool refused = !engine->Configure(config);
        return refused && engine->statusText == u"Choose 1080p, 1440p or 4K at 30, 60, 120 or 240 FPS.";
    };
    EXPECT_TRUE(refuses(2560, 1080, 60));
    EXPECT_TRUE(refuses(1920, 1440, 60));
    EXPECT_TRUE(refuses(1280, 720, 60));
    EXPECT_TRUE(refuses(3840, 1440, 60));
    EXPECT_TRUE(refuses(1920, 1080, 0));
    EXPECT_TRUE(refuses(1920, 1080, 59));
    EXPECT_TRUE(refuses(1920, 1080, 61));
    EXPECT_TRUE(refuses(1920, 1080, 144));
    EXPECT_EQ(engine->state, EngineState::Ready);
    EXPECT_TRUE(engine->replayRunning);
    EXPECT_EQ(engine->config.width, 1920);
}

TEST_F(Configure, AcceptsEveryOfferedSizeAndRate) {
    const std::vector<std::pair<int, int>> sizes = {{1920, 1080}, {2560, 1440}, {3840, 2160}};
    for (const auto& [width, height] : sizes) {
        for (const int fps : {30, 60, 120, 240}) {
            CaptureConfig config = PlainConfig();
            config.width = width;
            config.height = height;
            config.fps = fps;
            EXPECT_TRUE(engine->Configure(config)) << width << " " << fps;
            EXPECT_EQ(engine->config.fps, fps);
        }
    }
}

TEST_F(Configure, ABitRateOutsideTheRangeIsClampedAndReappliedEveryTime) {
    CaptureConfig config = PlainConfig();
    config.bitrateMbps = 250;
    EXPECT_TRUE(engine->Configure(config));
    EXPECT_EQ(engine->config.bitrateMbps, 200);
    engine->statusText = u"something else";
    EXPECT_TRUE(engine->Configure(config));
    EXPECT_EQ(engine->statusText, u"Ready: H.264 desktop capture with selected resolution, FPS and audio.");
    config.bitrateMbps = 4;
    EXPECT_TRUE(engine->Configure(config));
    EXPECT_EQ(engine->config.bitrateMbps, 5);
}

TEST_F(Configure, ACacheThatCannotBeMadeFailsEvenWithFfmpeg) {
    WriteFile(Here(u"a file"), "");
    fake::TheFolders().cache = Here(u"a file");
    EXPECT_FALSE(engine->Configure(PlainConfig()));
    EXPECT_EQ(engine->statusText, u"Cannot create capture cache.");
    EXPECT_EQ(engine->state, EngineState::Failed);
    EXPECT_EQ(engine->config.width, 1920);  // the new configuration is in place
    EXPECT_FALSE(engine->replayRunning);
}

TEST_F(Configure, ANewEngineIsIdleWithItsDefaults) {
    EXPECT_EQ(engine->state, EngineState::Idle);
    EXPECT_EQ(engine->config.width, 2560);
    EXPECT_EQ(engine->config.height, 1440);
    EXPECT_EQ(engine->config.fps, 60);
    EXPECT_EQ(engine->config.bitrateMbps, 40);
    EXPECT_EQ(engine->config.encoder, u"Auto");
    EXPECT_EQ(engine->config.codec, u"H264");
    EXPECT_TRUE(engine->config.gameAudioEnabled);
    EXPECT_FALSE(engine->config.micEnabled);
    EXPECT_FALSE(engine->config.captureCursor);
    EXPECT_FALSE(engine->replayRunning);
    EXPECT_EQ(engine->replaySeconds, 60);
    EXPECT_EQ(engine->measuredFps, 0);
}

TEST(EngineState, HasItsNumbers) {
    EXPECT_EQ(static_cast<int>(EngineState::Idle), 0);
    EXPECT_EQ(static_cast<int>(EngineState::Ready), 1);
    EXPECT_EQ(static_cast<int>(EngineState::Recording), 2);
    EXPECT_EQ(static_cast<int>(EngineState::Failed), 3);
}

}  // namespace
}  // namespace zv
