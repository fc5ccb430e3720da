#include "audio/AudioSource.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <random>

#include "audio/AudioClock.h"
#include "audio/AudioMix.h"
#include "fake/AudioEndpoint.h"
#include "fake/Calls.h"
#include "fake/Clock.h"
#include "fake/WaveInput.h"

namespace zv {
namespace {

using fake::CallNames;
using fake::FailCall;
using fake::FloatPacket;
using fake::PlainFormat;
using fake::TheEndpoint;
using testing::ElementsAre;

constexpr std::int64_t millisecond = 10000;
constexpr Result anyFailure = ResultOf(0x88890004U);

class AudioSourceTest : public testing::Test {
protected:
    AudioSourceTest() {
        fake::ResetCalls();
        fake::ResetClock();
        start = Counter100ns();
        fake::ResetEndpoints();
        fake::ResetWaveInput();
        EnterAudioThread(thread);
        MakeAudioEnumerator(*thread, enumerator);
        fake::ResetCalls();
    }

    Result Open(bool loopback) { return OpenEndpoint(source, *enumerator, loopback); }

    void OpenAndStart(bool loopback = true) {
        ASSERT_EQ(Open(loopback), resultOk);
        ASSERT_EQ(StartSource(source), resultOk);
    }

    void Push(fake::ScriptedPacket packet) { TheEndpoint(true).packets.push_back(std::move(packet)); }

    /// The left side of an output frame, or 0 if no packet has covered it.
    float LeftAt(std::int64_t t) const {
        const auto slot = static_cast<std::size_t>(t % ringFrames);
        return source.ring.stamps[slot] == t ? source.ring.samples[slot].left : 0.0F;
    }
    bool Stamped(std::int64_t t) const { return source.ring.stamps[static_cast<std::size_t>(t % ringFrames)] == t; }

    std::int64_t start = 0;
    Owned<AudioThread> thread;
    Owned<AudioEnumerator> enumerator;
    AudioSource source;
};

TEST_F(AudioSourceTest, OpeningFollowsItsStepsInOrder) {
    EXPECT_EQ(Open(true), resultOk);
    EXPECT_THAT(CallNames(),
                ElementsAre("FindDefaultEndpoint.render", "ActivateEndpoint.render", "ReadMixFormat.render",
                            "InitializeEndpoint.render", "OpenCaptureService.render"));
    EXPECT_TRUE(TheEndpoint(true).initializedAsLoopback);
    EXPECT_EQ(source.stage, u"capture service");
    EXPECT_FALSE(source.started);
    EXPECT_FALSE(TheEndpoint(true).running);
}

TEST_F(AudioSourceTest, AMicrophoneIsTheDefaultCaptureEndpointWithoutLoopback) {
    EXPECT_EQ(Open(false), resultOk);
    EXPECT_EQ(CallNames().front(), "FindDefaultEndpoint.capture");
    EXPECT_FALSE(TheEndpoint(false).initializedAsLoopback);
}

struct StageRow {
    const char* call;
    TextView stage;
};

TEST_F(AudioSourceTest, EveryFailedStepLeavesItsStageAndItsCode) {
    const StageRow rows[] = {
        {"FindDefaultEndpoint", u"default device lookup"},
        {"ActivateEndpoint", u"audio client activation"},
        {"ReadMixFormat", u"native mix format"},
        {"InitializeEndpoint", u"shared stream initialization (48000 Hz, 2 channels, 32 bits, tag 3)"},
        {"OpenCaptureService", u"capture service"},
    };
    for (const StageRow& row : rows) {
        for (const bool loopback : {true, false}) {
            fake::ResetCalls();
            FailCall(std::string(row.call) + (loopback ? ".render" : ".capture"), 1, ResultOf(0x80070490U));
            AudioSource opened;
            EXPECT_EQ(OpenEndpoint(opened, *enumerator, loopback), ResultOf(0x80070490U)) << row.call;
            EXPECT_EQ(opened.stage, row.stage) << row.call;
        }
    }
    EXPECT_EQ(TheEndpoint(true).live, 0);
    EXPECT_EQ(TheEndpoint(false).live, 0);
}

TEST_F(AudioSourceTest, TheInitializationStageNamesTheTagAsItWasReported) {
    MixFormat format = PlainFormat(formatTagExtensible, 44100, 6, 24);
    format.extraBytes = 22;
    format.subFormatTag = 1;
    TheEndpoint(true).format = format;
    FailCall("InitializeEndpoint.render", 1, anyFailure);
    EXPECT_EQ(Open(true), anyFailure);
    EXPECT_EQ(source.stage, u"shared stream initialization (44100 Hz, 6 channels, 24 bits, tag 65534)");
}

TEST_F(AudioSourceTest, AMixFormatThatCannotBeConvertedFailsWithItsOwnCode) {
    for (const bool loopback : {true, false}) {
        TheEndpoint(loopback).format = PlainFormat(2, 48000, 2, 16);
        AudioSource opened;
        EXPECT_EQ(CodeOf(OpenEndpoint(opened, *enumerator, loopback)), 0x88890008U);
        EXPECT_EQ(opened.stage, u"native mix format");
        EXPECT_FALSE(opened.waveIn);
    }
    EXPECT_EQ(fake::CountOf("OpenWaveInput"), 0);
}

TEST_F(AudioSourceTest, AMicrophoneWithoutASharedStreamUsesTheCompatibilityDriver) {
    for (const std::uint32_t code : {0x80070057U, 0x88890008U}) {
        fake::ResetCalls();
        FailCall("InitializeEndpoint.capture", 1, ResultOf(code));
        AudioSource opened;
        EXPECT_EQ(OpenEndpoint(opened, *enumerator, false), resultOk);
        EXPECT_TRUE(opened.waveIn);
        EXPECT_FALSE(opened.endpoint);
        EXPECT_EQ(opened.stage, u"microphone compatibility driver");
        EXPECT_EQ(fake::CountOf("OpenCaptureService.capture"), 0);
    }
}

TEST_F(AudioSourceTest, AnyOtherRefusalOfTheStreamIsFinalForTheMicrophone) {
    FailCall("InitializeEndpoint.capture", 1, ResultOf(0x8889000AU));
    EXPECT_EQ(CodeOf(Open(false)), 0x8889000AU);
    EXPECT_EQ(fake::CountOf("OpenWaveInput"), 0);
}

TEST_F(AudioSourceTest, SystemSoundNeverUsesTheCompatibilityDriver) {
    for (const std::uint32_t code : {0x80070057U, 0x88890008U}) {
        fake::ResetCalls();
        FailCall("InitializeEndpoint.render", 1, ResultOf(code));
        AudioSource opened;
        EXPECT_EQ(CodeOf(OpenEndpoint(opened, *enumerator, true)), code);
        EXPECT_EQ(fake::CountOf("OpenWaveInput"), 0);
    }
}

TEST_F(AudioSourceTest, ASourceThatDoesNotStartIsNotStopped) {
    ASSERT_EQ(Open(true), resultOk);
    FailCall("StartEndpoint.render", 1, anyFailure);
    EXPECT_EQ(StartSource(source), anyFailure);
    EXPECT_FALSE(source.started);
    DestroySource(source);
    EXPECT_EQ(fake::CountOf("StopEndpoint.render"), 0);
    EXPECT_EQ(TheEndpoint(true).live, 0);
}

TEST_F(AudioSourceTest, ARunningSourceIsStoppedBeforeItIsReleased) {
    OpenAndStart();
    EXPECT_TRUE(source.started);
    fake::ResetCalls();
    DestroySource(source);
    EXPECT_THAT(CallNames(), ElementsAre("StopEndpoint.render", "~AudioEndpoint.render"));
}

TEST_F(AudioSourceTest, A44100HzPacketAtTimeZeroFills480Frames) {
    TheEndpoint(true).format = PlainFormat(formatTagFloat, 44100, 2, 32);
    OpenAndStart();
    Push(FloatPacket(std::vector<float>(882, 0.5F), 2, start));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_TRUE(Stamped(0));
    EXPECT_TRUE(Stamped(479));
    EXPECT_FALSE(Stamped(480));
    EXPECT_EQ(LeftAt(479), 0.5F);
}

TEST_F(AudioSourceTest, ADrainStoresAllWaitingPackets) {
    OpenAndStart();
    for (int i = 0; i < 5; ++i) {
        Push(FloatPacket(std::vector<float>(960, 0.25F), 2, start + i * 10 * millisecond));
    }
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_EQ(TheEndpoint(true).released, 5);
    EXPECT_TRUE(Stamped(5 * 480 - 1));
}

TEST_F(AudioSourceTest, ASilentPacketIsStoredAsZeros) {
    OpenAndStart();
    auto packet = FloatPacket(std::vector<float>(960, 0.5F), 2, start);
    packet.silent = true;
    Push(packet);
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_TRUE(Stamped(0));
    EXPECT_TRUE(Stamped(479));
    EXPECT_EQ(LeftAt(200), 0.0F);
}

TEST_F(AudioSourceTest, APacketWithoutDataIsSilence) {
    OpenAndStart();
    fake::ScriptedPacket packet;
    packet.frames = 480;
    packet.position = start;
    Push(packet);
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_TRUE(Stamped(479));
    EXPECT_EQ(LeftAt(479), 0.0F);
}

TEST_F(AudioSourceTest, SoundBeforeTheStartIsDropped) {
    OpenAndStart();
    Push(FloatPacket(std::vector<float>(960, 0.5F), 2, start - 5 * millisecond));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_TRUE(Stamped(0));
    EXPECT_TRUE(Stamped(239));
    EXPECT_FALSE(Stamped(240));
    Push(FloatPacket(std::vector<float>(960, 0.5F), 2, start - 500 * millisecond));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_FALSE(Stamped(240));
}

TEST_F(AudioSourceTest, APacketMoreThanTwoSecondsAheadIsDropped) {
    OpenAndStart();
    Push(FloatPacket(std::vector<float>(960, 0.5F), 2, start + 2000 * millisecond));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_TRUE(std::all_of(source.ring.stamps.begin(), source.ring.stamps.end(), [](auto s) { return s == -1; }));
    Push(FloatPacket(std::vector<float>(960, 0.5F), 2, start + 1990 * millisecond));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_TRUE(Stamped(95999));
}

TEST_F(AudioSourceTest, APacketWithATimestampErrorEndsNow) {
    OpenAndStart();
    fake::AdvanceClockMs(250);
    auto packet = FloatPacket(std::vector<float>(960, 0.5F), 2, start + 7777777);
    packet.timestampError = true;
    Push(packet);
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_FALSE(Stamped(11519));
    EXPECT_TRUE(Stamped(11520));  // 240 ms
    EXPECT_TRUE(Stamped(11999));
    EXPECT_FALSE(Stamped(12000));
}

TEST_F(AudioSourceTest, ADrainReturnsTheCodeOfEveryFailedCall) {
    for (const char* name : {"NextPacketFrames.render", "AcquirePacket.render", "ReleasePacket.render"}) {
        fake::ResetCalls();
        fake::ResetEndpoints();
        AudioSource opened;
        ASSERT_EQ(OpenEndpoint(opened, *enumerator, true), resultOk);
        Push(FloatPacket(std::vector<float>(960, 0.5F), 2, start));
        FailCall(name, 1, ResultOf(0x88890004U));
        EXPECT_EQ(CodeOf(DrainSource(opened, start)), 0x88890004U) << name;
    }
}

// Packets arrive up to 60 ms late, some with several times the length, and are mixed as they become due.
TEST_F(AudioSourceTest, TenMinutesOfJitteredPacketsAt44100HzTileWithoutAGapOrAnOverlap) {
    TheEndpoint(true).format = PlainFormat(formatTagFloat, 44100, 1, 32);
    OpenAndStart();
    std::mt19937 random(20260314);
    std::uniform_int_distribution<int> bundle(1, 4);
    std::uniform_int_distribution<std::int64_t> lateness(0, 60 * millisecond);
    constexpr std::int64_t tenMinutes = 600 * 1000 * millisecond;
    std::int64_t captured = 0;  // units of 10 ms
    std::int64_t nextArrival = 0;
    int length = 1;
    AudioMix mix{.system = &source.ring, .microphone = nullptr, .nextBlockFrame = 0, .block = {}};
    std::int64_t wrong = 0;
    std::int64_t blocks = 0;
    for (std::int64_t now = 0; now < tenMinutes; now += 3 * millisecond) {
        fake::TheClock().nowNs = (start + now) * 100;
        while (nextArrival <= now) {
            Push(FloatPacket(std::vector<float>(static_cast<std::size_t>(441 * length), 0.5F), 1,
                             start + captured * 10 * millisecond));
            captured += length;
            length = bundle(random);
            nextArrival = (captured + length) * 10 * millisecond + lateness(random) - 10 * millisecond;
        }
        ASSERT_EQ(DrainSource(source, start), resultOk);
        while (BlockIsDue(mix, TargetFrame(Counter100ns(), start))) {
            FillBlock(mix);
            FinishBlock(mix);
            ++blocks;
            for (const float value : mix.block) {
                wrong += value != 0.5F ? 1 : 0;
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(blocks, 59989);  // 10 minutes less 100 ms of lag, the last round at 599.997 s
}

TEST_F(AudioSourceTest, NoOutputFrameIsCoveredTwiceByPacketsWithContinuousStamps) {
    constexpr std::uint32_t rates[] = {8000, 11025, 22050, 32000, 44100, 48000, 96000, 192000};
    for (const std::uint32_t rate : rates) {
        const std::uint32_t frames = rate / 100 + (rate % 100 != 0 ? 1 : 0);  // not always a whole 10 ms
        std::int64_t end = 0;
        std::int64_t apart = 0;
        for (std::int64_t k = 0; k < 60000; ++k) {
            // If the length is not a whole number of 100 ns, the stamps are rounded and the ranges may differ by a
            // frame.
            const std::int64_t position = k * frames * 10000000 / rate;
            const FrameRange range = PacketRange(start + position, start, frames, rate);
            apart = std::max(apart, std::abs(range.begin - end));
            end = range.end;
        }
        EXPECT_LE(apart, rate % 100 == 0 ? 0 : 1) << rate;
    }
}

TEST_F(AudioSourceTest, AFastOrSlowDeviceClockDoesNotDrift) {
    for (const double speed : {0.999, 1.001}) {
        for (std::int64_t k = 0; k < 60000; ++k) {
            const auto position = static_cast<std::int64_t>(static_cast<double>(k) * 100000.0 / speed);
            const FrameRange range = PacketRange(start + position, start, 480, 48000);
            const double truth = static_cast<double>(position) * 0.0048;
            ASSERT_NEAR(static_cast<double>(range.begin), truth, 0.51);
        }
    }
}

class LatePacket : public AudioSourceTest, public testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(LatePacket, KeepsThePartThatIsNotYetSent) {
    const auto [lateMs, expected] = GetParam();
    OpenAndStart();
    std::int64_t mixed = 0;
    AudioMix mix{.system = &source.ring, .microphone = nullptr, .nextBlockFrame = 0, .block = {}};
    // 100 ms of sound captured at 1000 ms; it arrives just over `lateMs` after its first frame was captured.
    auto packet = FloatPacket(std::vector<float>(9600, 0.5F), 2, start + 1000 * millisecond);
    packet.arrives = start + (1000 + lateMs) * millisecond + 1;
    Push(packet);
    for (std::int64_t now = 0; now < 3000 * millisecond; now += millisecond) {
        fake::TheClock().nowNs = (start + now) * 100;
        ASSERT_EQ(DrainSource(source, start), resultOk);
        while (BlockIsDue(mix, TargetFrame(Counter100ns(), start))) {
            FillBlock(mix);
            FinishBlock(mix);
            mixed += std::count(mix.block.begin(), mix.block.end(), 0.5F) / 2;
        }
    }
    EXPECT_EQ(mixed, expected);
}

// A packet that is 50 ms late loses nothing, at 150 ms it loses the first 50 ms, at 500 ms all.
INSTANTIATE_TEST_SUITE_P(ByLateness, LatePacket,
                         testing::Values(std::pair(50, 4800), std::pair(150, 2400), std::pair(500, 0)));

TEST_F(AudioSourceTest, AStalledSourceIsSilentAndResumesInTime) {
    OpenAndStart();
    AudioMix mix{.system = &source.ring, .microphone = nullptr, .nextBlockFrame = 0, .block = {}};
    std::vector<float> output;
    for (std::int64_t now = 0; now < 6000 * millisecond; now += 10 * millisecond) {
        fake::TheClock().nowNs = (start + now) * 100;
        const bool stalled = now >= 1000 * millisecond && now < 4000 * millisecond;
        if (!stalled) {
            Push(FloatPacket(std::vector<float>(960, 0.5F), 2, start + now));
        }
        ASSERT_EQ(DrainSource(source, start), resultOk);
        while (BlockIsDue(mix, TargetFrame(Counter100ns(), start))) {
            FillBlock(mix);
            FinishBlock(mix);
            output.push_back(mix.block[0]);
        }
    }
    ASSERT_EQ(output.size(), 589U);
    for (std::size_t i = 0; i < output.size(); ++i) {
        ASSERT_EQ(output[i], i >= 100 && i < 400 ? 0.0F : 0.5F) << i;
    }
}

class WaveSourceTest : public AudioSourceTest {
protected:
    void OpenWave() {
        FailCall("InitializeEndpoint.capture", 1, resultFormatUnsupported);
        ASSERT_EQ(Open(false), resultOk);
        ASSERT_TRUE(source.waveIn);
    }
    void OpenAndStartWave() {
        OpenWave();
        ASSERT_EQ(StartSource(source), resultOk);
        fake::ResetCalls();
        fake::TheWaveInput().queueOrder.clear();
    }
    static std::vector<std::int16_t> Samples(std::size_t count, std::int16_t value) {
        return std::vector<std::int16_t>(count, value);
    }
};

TEST_F(WaveSourceTest, AllFourBuffersAreQueuedInOrderBeforeTheStart) {
    OpenWave();
    EXPECT_THAT(fake::TheWaveInput().queueOrder, ElementsAre(0, 1, 2, 3));
    const auto names = CallNames();
    const std::vector<std::string> tail(names.end() - 10, names.end());
    EXPECT_THAT(tail, ElementsAre("~AudioEndpoint.capture", "OpenWaveInput", "PrepareWaveBuffer", "QueueWaveBuffer",
                                  "PrepareWaveBuffer", "QueueWaveBuffer", "PrepareWaveBuffer", "QueueWaveBuffer",
                                  "PrepareWaveBuffer", "QueueWaveBuffer"));
    EXPECT_FALSE(fake::TheWaveInput().running);
}

TEST_F(WaveSourceTest, AFailureOfAnyOpeningCallReturnsItsCode) {
    struct Row {
        const char* call;
        int nth;
    };
    for (const Row row : {Row{"OpenWaveInput", 1}, Row{"PrepareWaveBuffer", 1}, Row{"PrepareWaveBuffer", 4},
                          Row{"QueueWaveBuffer", 1}, Row{"QueueWaveBuffer", 4}}) {
        fake::ResetCalls();
        FailCall("InitializeEndpoint.capture", 1, resultInvalidArgument);
        FailCall(row.call, row.nth, 32);
        AudioSource opened;
        EXPECT_EQ(CodeOf(OpenEndpoint(opened, *enumerator, false)), 0x80070020U) << row.call << row.nth;
        EXPECT_EQ(opened.stage, u"microphone compatibility driver");
        DestroySource(opened);
        EXPECT_EQ(fake::TheWaveInput().live, 0);
    }
}

TEST_F(WaveSourceTest, AFailedStartReturnsItsCode) {
    OpenWave();
    FailCall("StartWaveInput", 1, 11);
    EXPECT_EQ(CodeOf(StartSource(source)), 0x8007000BU);
    EXPECT_FALSE(source.started);
}

TEST_F(WaveSourceTest, SamplesAreStoredOnBothSidesFromTheStart) {
    fake::AdvanceClockMs(5);
    OpenAndStartWave();
    fake::CompleteWaveBuffer(0, Samples(480, 16384));
    fake::CompleteWaveBuffer(1, Samples(480, -32768));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_FALSE(Stamped(239));
    EXPECT_EQ(LeftAt(240), 0.5F);
    EXPECT_EQ(source.ring.samples[240].right, 0.5F);
    EXPECT_EQ(LeftAt(719), 0.5F);
    EXPECT_EQ(LeftAt(720), -1.0F);
    EXPECT_TRUE(Stamped(1199));
    EXPECT_FALSE(Stamped(1200));
    EXPECT_EQ(source.waveInFrames, 960);
    EXPECT_THAT(fake::TheWaveInput().queueOrder, ElementsAre(0, 1));
}

TEST_F(WaveSourceTest, APartialBufferCountsItsRecordedSamplesOnly) {
    OpenAndStartWave();
    fake::CompleteWaveBuffer(0, Samples(100, 8192));
    fake::CompleteWaveBuffer(1, Samples(480, 16384));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_EQ(LeftAt(99), 0.25F);
    EXPECT_EQ(LeftAt(100), 0.5F);
    EXPECT_EQ(source.waveInFrames, 580);
    EXPECT_FALSE(Stamped(580));
}

TEST_F(WaveSourceTest, AnEmptyBufferIsQueuedAgainAndCountsNothing) {
    OpenAndStartWave();
    fake::CompleteWaveBuffer(0, {});
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_EQ(source.waveInFrames, 0);
    EXPECT_EQ(source.currentBuffer, 1);
    EXPECT_THAT(fake::TheWaveInput().queueOrder, ElementsAre(0));
    EXPECT_FALSE(Stamped(0));
}

TEST_F(WaveSourceTest, ABufferThatIsNotDoneEndsTheDrainEvenIfALaterOneIsDone) {
    OpenAndStartWave();
    fake::CompleteWaveBuffer(1, Samples(480, 16384));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_EQ(source.waveInFrames, 0);
    EXPECT_THAT(fake::TheWaveInput().queueOrder, ElementsAre());
    fake::CompleteWaveBuffer(0, Samples(480, 8192));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_EQ(LeftAt(0), 0.25F);
    EXPECT_EQ(LeftAt(480), 0.5F);
    EXPECT_EQ(source.currentBuffer, 2);
}

TEST_F(WaveSourceTest, ADrainStoresAtMostFourBuffers) {
    OpenAndStartWave();
    fake::TheCalls().hook = [](const char* name, int) {
        // A device that fills each buffer again at once.
        if (std::string(name) == "PeekWaveBuffer") {
            for (int index = 0; index < waveBufferCount; ++index) {
                fake::CompleteWaveBuffer(index, Samples(480, 1));
            }
        }
    };
    EXPECT_EQ(DrainSource(source, start), resultOk);
    fake::TheCalls().hook = nullptr;
    EXPECT_THAT(fake::TheWaveInput().queueOrder, ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(source.waveInFrames, 1920);
    EXPECT_EQ(source.currentBuffer, 0);
}

TEST_F(WaveSourceTest, ThePositionIsQueriedAfterEveryDrain) {
    OpenAndStartWave();
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_THAT(CallNames(), ElementsAre("PeekWaveBuffer", "CheckWavePosition"));
}

TEST_F(WaveSourceTest, AFailingQueueOrPositionEndsTheDrainWithItsCode) {
    OpenAndStartWave();
    fake::CompleteWaveBuffer(0, Samples(480, 1));
    FailCall("QueueWaveBuffer", 1, 6);
    EXPECT_EQ(CodeOf(DrainSource(source, start)), 0x80070006U);
    EXPECT_EQ(fake::CountOf("CheckWavePosition"), 0);
    fake::ResetCalls();
    fake::TheWaveInput().buffers[0].done = false;
    FailCall("CheckWavePosition", 1, 6);
    EXPECT_EQ(CodeOf(DrainSource(source, start)), 0x80070006U);
}

TEST_F(WaveSourceTest, FramesOutsideTheRingAreDroppedButCounted) {
    OpenAndStartWave();
    source.ring.readPosition = 200;
    fake::CompleteWaveBuffer(0, Samples(480, 16384));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_FALSE(Stamped(199));
    EXPECT_TRUE(Stamped(200));
    EXPECT_EQ(source.waveInFrames, 480);
    // A clock that has run two seconds ahead.
    source.waveInFrames = 200 + ringFrames;
    fake::CompleteWaveBuffer(1, Samples(480, 16384));
    EXPECT_EQ(DrainSource(source, start), resultOk);
    EXPECT_FALSE(Stamped(200 + ringFrames));
    EXPECT_EQ(source.waveInFrames, 680 + ringFrames);
}

TEST_F(WaveSourceTest, TheDeviceIsClosedWithTheSource) {
    OpenAndStartWave();
    DestroySource(source);
    EXPECT_EQ(fake::TheWaveInput().live, 0);
    EXPECT_THAT(CallNames(), ElementsAre("~WaveInput"));
}

}  // namespace
}  // namespace zv
