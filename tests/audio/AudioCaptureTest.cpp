#include "audio/AudioCapture.h"

#include <gmock/gmock.h>

#include <cstring>
#include <span>

#include "fake/Allocations.h"
#include "fake/AudioEndpoint.h"
#include "fake/BytePipe.h"
#include "fake/Calls.h"
#include "fake/Clock.h"
#include "fake/Event.h"
#include "fake/WaveInput.h"
#include "platform/Clock.h"
#include "support/Eventually.h"

namespace zv {
namespace {

using support::Eventually;

using fake::CallNames;
using fake::CountOf;
using fake::FailCall;
using fake::TheEndpoint;
using fake::ThePipe;
using testing::ElementsAre;

constexpr std::int64_t millisecond = 10000;
constexpr std::int64_t forever = 60000 * millisecond;

/// A device that delivers constant packets of 10 ms as soon as the clock has passed their end.
struct ConstantSound {
    float value = 0;  ///< 0 delivers nothing at all
    std::int64_t next = 0;
    bool movesClock = false;  ///< each poll without a packet moves the clock by `stepMs`, up to `until`
    std::int64_t stepMs = 10;
    std::int64_t until = 0;

    bool Deliver(fake::ScriptedPacket& packet) {
        const std::int64_t now = Counter100ns();
        if (value != 0 && next + 10 * millisecond <= now) {
            Make(packet);
            return true;
        }
        if (movesClock && now < until) {
            fake::AdvanceClockMs(stepMs);
        }
        return false;
    }

    void Make(fake::ScriptedPacket& packet) {
        packet.data.resize(3840);
        for (std::size_t i = 0; i < 960; ++i) {
            std::memcpy(packet.data.data() + i * sizeof(float), &value, sizeof value);
        }
        packet.frames = 480;
        packet.position = next;
        next += 10 * millisecond;
    }
};

class AudioCaptureTest : public testing::Test {
protected:
    AudioCaptureTest() {
        fake::ResetCalls();
        fake::ResetClock();
        fake::ResetEvents();
        fake::ResetEndpoints();
        fake::ResetWaveInput();
        fake::ResetPipe();
        start = Counter100ns();
        for (ConstantSound* sound : {&system, &microphone}) {
            sound->next = start;
        }
        TheEndpoint(true).source = [this](fake::ScriptedPacket& packet) { return system.Deliver(packet); };
        TheEndpoint(false).source = [this](fake::ScriptedPacket& packet) { return microphone.Deliver(packet); };
    }
    ~AudioCaptureTest() override {
        capture.Stop();
        EXPECT_EQ(fake::LiveEvents(), 0);
        EXPECT_EQ(fake::LiveAudioThreads(), 0);
        EXPECT_EQ(fake::LiveAudioEnumerators(), 0);
        EXPECT_EQ(TheEndpoint(true).live + TheEndpoint(false).live, 0);
        EXPECT_EQ(fake::TheWaveInput().live, 0);
        EXPECT_EQ(ThePipe().livePipes, 0);
        EXPECT_EQ(ThePipe().liveWrites, 0);
        EXPECT_FALSE(ThePipe().touchedInFlight);
        EXPECT_FALSE(ThePipe().pipeClosedBeforeWrites);
    }

    /// Runs until the clock is at `untilMs` after the start and all blocks due by then are written.
    void RunUntil(std::int64_t untilMs, bool gameAudio = true, bool mic = false) {
        ConstantSound& mover = gameAudio ? system : microphone;
        mover.movesClock = true;
        mover.until = start + untilMs * millisecond;
        ASSERT_TRUE(capture.Start(gameAudio, mic));
        ASSERT_TRUE(Eventually([&] { return Counter100ns() >= mover.until; }));
        WaitForRounds(gameAudio, 5);
        EXPECT_TRUE(capture.running);
        capture.Stop();
        EXPECT_EQ(capture.Error(), u"");
    }

    static void WaitForRounds(bool gameAudio, int rounds) {
        const char* poll = gameAudio ? "NextPacketFrames.render" : "NextPacketFrames.capture";
        const int before = CountOf(poll);
        EXPECT_TRUE(Eventually([&] { return CountOf(poll) >= before + rounds; }));
    }

    static float Sample(std::size_t block, std::size_t index) {
        float value = 0;
        std::memcpy(&value, ThePipe().received.at(block).data() + index * sizeof value, sizeof value);
        return value;
    }

    /// The value of all samples of a block, or NaN if they differ.
    static float Level(std::size_t block) {
        const float first = Sample(block, 0);
        for (std::size_t i = 0; i < 960; ++i) {
            if (Sample(block, i) != first) {
                return std::numeric_limits<float>::quiet_NaN();
            }
        }
        return first;
    }

    /// Starts a capture that fails after Start has returned, and waits for its end.
    void RunToFailure(bool gameAudio, bool mic) {
        std::atomic<bool> started{false};
        fake::TheCalls().hook = [&](const char* name, int) {
            if (std::string(name) == "ConnectPipe") {
                EXPECT_TRUE(Eventually([&] { return started.load(); }));
            }
        };
        EXPECT_TRUE(capture.Start(gameAudio, mic));
        started = true;
        EXPECT_TRUE(Eventually([&] { return !capture.running; }));
        const Text error = capture.Error();
        capture.Stop();
        EXPECT_EQ(capture.Error(), error);
        fake::TheCalls().hook = nullptr;
    }

    std::int64_t start = 0;
    ConstantSound system;
    ConstantSound microphone;
    AudioCapture capture;
};

TEST_F(AudioCaptureTest, WithBothSourcesOffNothingIsStarted) {
    EXPECT_FALSE(capture.Start(false, false));
    EXPECT_FALSE(capture.running);
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_TRUE(CallNames().empty());
}

TEST_F(AudioCaptureTest, StartReturnsOnceThePipeExistsBeforeTheReaderConnects) {
    ThePipe().connectAwaitsStop = true;
    ThePipe().connect = PipeConnect::Stopped;
    ASSERT_TRUE(capture.Start(true, true));
    EXPECT_TRUE(capture.running);
    EXPECT_EQ(fake::RequestedTimeouts(), std::vector<std::uint32_t>{8000});
    EXPECT_TRUE(Eventually([] { return CountOf("ConnectPipe") == 1; }));
    capture.Stop();
    EXPECT_EQ(ThePipe().connectTimeouts, std::vector<std::uint32_t>{waitForever});
    EXPECT_EQ(ThePipe().options.bufferBytes, 384000U);
    EXPECT_TRUE(ThePipe().options.firstInstanceOnly);
    EXPECT_EQ(ThePipe().names, std::vector<Text>{capture.PipeName()});
}

TEST_F(AudioCaptureTest, EveryStartNumbersItsPipeName) {
    ThePipe().connectAwaitsStop = true;
    ThePipe().connect = PipeConnect::Stopped;
    const Text prefix = u"pipe:ZVReelsAudio-4711-";
    int previous = 0;
    for (int i = 0; i < 3; ++i) {
        AudioCapture another;
        ASSERT_TRUE(another.Start(true, false));
        ASSERT_EQ(another.PipeName().substr(0, prefix.size()), prefix);
        const int number = std::stoi(Narrow(another.PipeName().substr(prefix.size())));
        EXPECT_TRUE(i == 0 ? number >= 1 : number == previous + 1);
        previous = number;
    }
}

TEST_F(AudioCaptureTest, SourcesAreOpenedBeforeThePipeAndStartedOnceTheReaderConnects) {
    ASSERT_TRUE(capture.Start(true, true));
    ASSERT_TRUE(Eventually([] { return CountOf("NextPacketFrames.capture") > 0; }));
    capture.Stop();
    const auto names = CallNames();
    ASSERT_GE(names.size(), 18U);
    EXPECT_THAT(
        std::vector<std::string>(names.begin(), names.begin() + 18),
        ElementsAre("EnterAudioThread", "MakeAudioEnumerator", "FindDefaultEndpoint.render", "ActivateEndpoint.render",
                    "ReadMixFormat.render", "InitializeEndpoint.render", "OpenCaptureService.render",
                    "FindDefaultEndpoint.capture", "ActivateEndpoint.capture", "ReadMixFormat.capture",
                    "InitializeEndpoint.capture", "OpenCaptureService.capture", "MakeBytePipe", "MakePipeWrite",
                    "ConnectPipe", "StartEndpoint.render", "StartEndpoint.capture", "NextPacketFrames.render"));
}

TEST_F(AudioCaptureTest, ThePipeIsReleasedFirstAndTheMicrophoneBeforeSystemSound) {
    ASSERT_TRUE(capture.Start(true, true));
    ASSERT_TRUE(Eventually([] { return CountOf("NextPacketFrames.capture") > 0; }));
    capture.Stop();
    const auto names = CallNames();
    ASSERT_GE(names.size(), 10U);
    EXPECT_THAT(std::vector<std::string>(names.end() - 10, names.end()),
                ElementsAre("CancelWrite", "DisconnectPipe", "~PipeWrite", "~BytePipe", "~AudioEnumerator",
                            "StopEndpoint.capture", "~AudioEndpoint.capture", "StopEndpoint.render",
                            "~AudioEndpoint.render", "~AudioThread"));
}

TEST_F(AudioCaptureTest, OnlyEnabledSourcesAreOpened) {
    ASSERT_TRUE(capture.Start(false, true));
    ASSERT_TRUE(Eventually([] { return CountOf("NextPacketFrames.capture") > 0; }));
    capture.Stop();
    EXPECT_EQ(CountOf("FindDefaultEndpoint.render"), 0);
    ASSERT_TRUE(capture.Start(true, false));
    ASSERT_TRUE(Eventually([] { return CountOf("NextPacketFrames.render") > 0; }));
    capture.Stop();
    EXPECT_EQ(CountOf("FindDefaultEndpoint.capture"), 1);
}

struct OpeningRow {
    const char* call;
    int nth;
    std::uint32_t code;
    bool gameAudio;
    bool microphone;
    Text sentence;
};

Text OpeningSentence(TextView words, TextView code) {
    return u"Cannot open default audio device at " + Text(words) +
           u". Check Windows audio devices and microphone permission (" + Text(code) + u")";
}

TEST_F(AudioCaptureTest, EveryFailureOfTheOpeningHasItsSentence) {
    const TextView shared = u"shared stream initialization (48000 Hz, 2 channels, 32 bits, tag 3)";
    const OpeningRow rows[] = {
        {"EnterAudioThread", 1, 0x80010106U, true, true, u"Cannot initialize Windows audio (0x80010106)"},
        {"MakeAudioEnumerator", 1, 0x80040154U, true, true, OpeningSentence(u"device enumeration", u"0x80040154")},
        {"FindDefaultEndpoint.render", 1, 0x80070490U, true, false,
         OpeningSentence(u"default device lookup", u"0x80070490")},
        {"ActivateEndpoint.render", 1, 0x80070490U, true, false,
         u"Cannot open default audio device at audio client activation. Check Windows audio devices and microphone "
         u"permission (0x80070490)"},
        {"ReadMixFormat.render", 1, 0x88890004U, true, true, OpeningSentence(u"native mix format", u"0x88890004")},
        {"InitializeEndpoint.render", 1, 0x88890008U, true, true, OpeningSentence(shared, u"0x88890008")},
        {"OpenCaptureService.render", 1, 0x88890003U, true, false, OpeningSentence(u"capture service", u"0x88890003")},
        {"FindDefaultEndpoint.capture", 1, 0x80070490U, true, true,
         OpeningSentence(u"default device lookup", u"0x80070490")},
        {"ActivateEndpoint.capture", 1, 0x80070005U, false, true,
         OpeningSentence(u"audio client activation", u"0x80070005")},
        {"ReadMixFormat.capture", 1, 0x88890004U, true, true, OpeningSentence(u"native mix format", u"0x88890004")},
        {"InitializeEndpoint.capture", 1, 0x8889000AU, true, true, OpeningSentence(shared, u"0x8889000A")},
        {"OpenCaptureService.capture", 1, 0x88890003U, true, true, OpeningSentence(u"capture service", u"0x88890003")},
        {"MakeBytePipe", 1, 0x800700E7U, true, true, u"Cannot create the audio pipe (0x800700E7)"},
    };
    for (const OpeningRow& row : rows) {
        fake::ResetCalls();
        FailCall(row.call, row.nth, ResultOf(row.code));
        EXPECT_FALSE(capture.Start(row.gameAudio, row.microphone)) << row.call;
        EXPECT_FALSE(capture.running) << row.call;
        EXPECT_EQ(capture.Error(), row.sentence) << row.call << ": " << Narrow(capture.Error());
        EXPECT_EQ(CountOf("ConnectPipe"), 0) << row.call;
        EXPECT_EQ(fake::LiveAudioThreads(), 0) << row.call;
        EXPECT_EQ(ThePipe().livePipes, 0) << row.call;
    }
}

TEST_F(AudioCaptureTest, AFailingSystemSourceKeepsTheMicrophoneClosed) {
    FailCall("OpenCaptureService.render", 1, resultGenericFailure);
    EXPECT_FALSE(capture.Start(true, true));
    EXPECT_EQ(CountOf("FindDefaultEndpoint.capture"), 0);
}

TEST_F(AudioCaptureTest, AFailingCompatibilityDriverIsNamed) {
    FailCall("InitializeEndpoint.capture", 1, resultFormatUnsupported);
    FailCall("OpenWaveInput", 1, 2);
    EXPECT_FALSE(capture.Start(true, true));
    EXPECT_EQ(capture.Error(), OpeningSentence(u"microphone compatibility driver", u"0x80070002"));
}

TEST_F(AudioCaptureTest, WithoutAWriteRecordThePipeCannotBeCreated) {
    ThePipe().writeRefusedByHandles = true;
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(), u"Cannot create the audio pipe (0x800705AA)");
}

TEST_F(AudioCaptureTest, WithoutEventsThereIsNoThread) {
    fake::RefuseEvents(true);
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(), u"Cannot create audio synchronization events (0x800705AA)");
    EXPECT_EQ(CountOf("EnterAudioThread"), 0);
}

TEST_F(AudioCaptureTest, AnOpeningThatTimesOutHasItsSentence) {
    fake::ShortenWaits(50);
    fake::TheCalls().hook = [this](const char* name, int) {
        if (std::string(name) == "MakeAudioEnumerator") {
            EXPECT_TRUE(Eventually([this] { return !capture.Error().empty(); }));
        }
    };
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(), u"Audio initialization timed out (0x80004005)");
    EXPECT_FALSE(capture.running);
    EXPECT_EQ(fake::RequestedTimeouts().front(), 8000U);
}

TEST_F(AudioCaptureTest, AFailureAfterTheTimeOutDoesNotReplaceItsSentence) {
    fake::ShortenWaits(50);
    fake::TheCalls().hook = [this](const char* name, int) {
        if (std::string(name) == "FindDefaultEndpoint.render") {
            EXPECT_TRUE(Eventually([this] { return !capture.Error().empty(); }));
        }
    };
    FailCall("FindDefaultEndpoint.render", 1, resultNoEndpoint);
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(), u"Audio initialization timed out (0x80004005)");
}

TEST_F(AudioCaptureTest, AReaderThatCannotConnectHasItsSentence) {
    ThePipe().connect = PipeConnect::Failed;
    RunToFailure(true, false);
    EXPECT_EQ(capture.Error(), u"Encoder could not connect to the audio stream (0x80004005)");
    EXPECT_EQ(CountOf("StartEndpoint.render"), 0);
}

TEST_F(AudioCaptureTest, EveryFailureOfTheRunHasTheSameSentenceAndItsOwnCode) {
    for (const char* call :
         {"StartEndpoint.render", "StartEndpoint.capture", "NextPacketFrames.render", "NextPacketFrames.capture"}) {
        fake::ResetCalls();
        FailCall(call, 1, ResultOf(0x88890004U));
        RunToFailure(true, true);
        EXPECT_EQ(capture.Error(), u"Audio capture stopped; a device or encoder disconnected (0x88890004)") << call;
    }
}

TEST_F(AudioCaptureTest, TheMicrophoneIsNotStartedIfSystemSoundFails) {
    FailCall("StartEndpoint.render", 1, ResultOf(0x88890004U));
    RunToFailure(true, true);
    EXPECT_EQ(CountOf("StartEndpoint.capture"), 0);
    EXPECT_EQ(CountOf("StopEndpoint.render"), 0);
}

TEST_F(AudioCaptureTest, AClosedReaderEndsTheCapture) {
    system.movesClock = true;
    system.until = start + 500 * millisecond;
    ThePipe().begin = [](int nth) { return nth < 5 ? WriteBegin::Done : WriteBegin::Refused; };
    ThePipe().failure = ResultOf(0x800700E8U);
    RunToFailure(true, false);
    EXPECT_EQ(capture.Error(), u"Audio capture stopped; a device or encoder disconnected (0x800700E8)");
    EXPECT_EQ(ThePipe().received.size(), 4U);
}

TEST_F(AudioCaptureTest, APendingWriteThatFailsEndsTheCapture) {
    system.movesClock = true;
    system.until = start + 500 * millisecond;
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    ThePipe().finish = [](int nth) { return nth < 3 ? WriteEnd::Done : WriteEnd::Failed; };
    RunToFailure(true, false);
    EXPECT_EQ(capture.Error(), u"Audio capture stopped; a device or encoder disconnected (0x80004005)");
    EXPECT_EQ(ThePipe().mostInFlight, 1);
    EXPECT_EQ(ThePipe().finishTimeouts, std::vector<std::uint32_t>(3, waitForever));
}

TEST_F(AudioCaptureTest, AnExceptionInTheThreadIsAFailure) {
    fake::ThrowInCall("MakeAudioEnumerator", 1);
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(), u"Audio capture stopped; a device or encoder disconnected (0x8007000E)");
}

TEST_F(AudioCaptureTest, AStopWhileWaitingForTheReaderLeavesNoMessage) {
    ThePipe().connectAwaitsStop = true;
    for (const PipeConnect answer : {PipeConnect::Stopped, PipeConnect::Failed, PipeConnect::Connected}) {
        ThePipe().connect = answer;
        ASSERT_TRUE(capture.Start(true, true));
        capture.Stop();
        EXPECT_EQ(capture.Error(), u"");
        EXPECT_FALSE(capture.running);
    }
    EXPECT_EQ(CountOf("StartEndpoint.render"), 0);
}

TEST_F(AudioCaptureTest, AStopWhileAWriteIsPendingLeavesNoMessage) {
    system.movesClock = true;
    system.until = start + 500 * millisecond;
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    ThePipe().writesAwaitStop = true;
    ThePipe().finish = [](int) { return WriteEnd::Stopped; };
    ASSERT_TRUE(capture.Start(true, false));
    ASSERT_TRUE(Eventually([] { return CountOf("FinishWrite") == 1; }));
    EXPECT_TRUE(capture.running);
    capture.Stop();
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_EQ(CountOf("BeginWrite"), 1);
}

TEST_F(AudioCaptureTest, AStopWhilePumpingLeavesNoMessage) {
    ASSERT_TRUE(capture.Start(true, true));
    WaitForRounds(true, 3);
    capture.Stop();
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_FALSE(capture.running);
}

TEST_F(AudioCaptureTest, AStopEndsABacklog) {
    // The clock jumps by a minute, and the third write of the backlog lasts until the stop has been requested.
    std::atomic<bool> underWay{false};
    ThePipe().begin = [&](int nth) {
        if (nth == 3) {
            const int signals = fake::Signals();
            underWay = true;
            EXPECT_TRUE(Eventually([signals] { return fake::Signals() > signals; }));
        }
        return WriteBegin::Done;
    };
    system.movesClock = true;
    system.stepMs = 60000;
    system.until = start + 1;
    ASSERT_TRUE(capture.Start(true, false));
    ASSERT_TRUE(Eventually([&] { return underWay.load(); }));
    capture.Stop();
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_EQ(CountOf("BeginWrite"), 3) << "of 5990";
}

TEST_F(AudioCaptureTest, CanBeStoppedInAnyStateAndStartedAgain) {
    capture.Stop();
    capture.Stop();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(capture.Start(true, false));
        WaitForRounds(true, 1);
    }
    capture.Stop();
    capture.Stop();
    EXPECT_EQ(CountOf("EnterAudioThread"), 3);
    EXPECT_EQ(CountOf("~AudioThread"), 3);
}

TEST_F(AudioCaptureTest, ANewStartClearsTheError) {
    FailCall("MakeAudioEnumerator", 1, resultGenericFailure);
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_NE(capture.Error(), u"");
    EXPECT_TRUE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(), u"");
}

TEST_F(AudioCaptureTest, NothingIsWrittenBefore110Milliseconds) {
    system.stepMs = 1;
    RunUntil(109);
    EXPECT_EQ(ThePipe().received.size(), 0U);
}

TEST_F(AudioCaptureTest, TheFirstBlockIsWrittenAt110Milliseconds) {
    system.stepMs = 1;
    RunUntil(110);
    EXPECT_EQ(ThePipe().received.size(), 1U);
}

TEST_F(AudioCaptureTest, WithoutPacketsTheStreamIsSilenceOf384000BytesASecond) {
    RunUntil(2100);
    ASSERT_EQ(ThePipe().received.size(), 200U);
    for (std::size_t block = 0; block < 200; ++block) {
        ASSERT_EQ(ThePipe().received[block], std::vector<std::byte>(3840)) << block;
    }
}

TEST_F(AudioCaptureTest, BothSourcesAreMixed) {
    system.value = 0.25F;
    microphone.value = 0.5F;
    RunUntil(1100, true, true);
    ASSERT_EQ(ThePipe().received.size(), 100U);
    for (std::size_t block = 0; block < 100; ++block) {
        ASSERT_EQ(Level(block), 0.75F) << block;
    }
}

TEST_F(AudioCaptureTest, TheMicrophoneIsCapturedAlone) {
    system.value = 0.25F;
    microphone.value = 0.5F;
    RunUntil(600, false, true);
    ASSERT_EQ(ThePipe().received.size(), 50U);
    EXPECT_EQ(Level(49), 0.5F);
    EXPECT_EQ(CountOf("NextPacketFrames.render"), 0);
}

/// Runs with sound while the reader stalls for `stallMs` in the 20th write, at 300 ms.
class StalledReader : public AudioCaptureTest {
protected:
    void Stall(std::int64_t stallMs) {
        system.value = 0.5F;
        ThePipe().begin = [](int nth) { return nth == 20 ? WriteBegin::Pending : WriteBegin::Done; };
        ThePipe().finish = [stallMs](int) {
            fake::AdvanceClockMs(stallMs);
            return WriteEnd::Done;
        };
        RunUntil(stallMs + 1100);
        ASSERT_EQ(static_cast<std::int64_t>(ThePipe().received.size()), (stallMs + 1000) / 10);
    }

    /// The largest number of writes between two polls of the source.
    static int LongestBurst() {
        int longest = 0;
        int burst = 0;
        for (const std::string& name : CallNames()) {
            burst = name == "BeginWrite" ? burst + 1 : name == "NextPacketFrames.render" ? 0 : burst;
            longest = std::max(longest, burst);
        }
        return longest;
    }
};

TEST_F(StalledReader, OfOneSecondReceivesTheBacklogWithoutWaits) {
    Stall(1000);
    EXPECT_GE(LongestBurst(), 100);
    EXPECT_LE(LongestBurst(), 102);
    // Sound had been read up to 290 ms. The stall ended at 1300 ms, and the device had kept the last 20 ms.
    for (std::size_t block = 0; block < ThePipe().received.size(); ++block) {
        const bool lost = block >= 29 && block < 128;
        ASSERT_EQ(Level(block), lost ? 0.0F : 0.5F) << block;
    }
}

TEST_F(StalledReader, OfOneSecondReceivesAllSoundThatTheDeviceKept) {
    TheEndpoint(true).keeps = forever;
    Stall(1000);
    EXPECT_GE(LongestBurst(), 100);
    EXPECT_LE(LongestBurst(), 102);
    for (std::size_t block = 0; block < ThePipe().received.size(); ++block) {
        ASSERT_EQ(Level(block), 0.5F) << block;
    }
}

TEST_F(StalledReader, OfFiveSecondsReceivesEveryBlockAndTheSoundThatTheRingKept) {
    TheEndpoint(true).keeps = forever;
    Stall(5000);
    EXPECT_GE(LongestBurst(), 500);
    // The ring's two seconds begin with block 20; later sound was dropped, so its blocks are silent.
    for (std::size_t block = 0; block < ThePipe().received.size(); ++block) {
        const bool lost = block >= 220 && block < 530;
        ASSERT_EQ(Level(block), lost ? 0.0F : 0.5F) << block;
    }
}

TEST_F(StalledReader, WhoseWritesAllWaitLeavesSoundInTheDeviceWhileTheRingIsFull) {
    TheEndpoint(true).keeps = forever;
    system.value = 0.5F;
    ThePipe().begin = [](int nth) { return nth >= 20 ? WriteBegin::Pending : WriteBegin::Done; };
    ThePipe().finish = [](int nth) {
        fake::AdvanceClockMs(nth == 1 ? 5000 : 0);
        return WriteEnd::Done;
    };
    RunUntil(6100);
    // From 5.1 s to 2 s behind the newest sound.
    EXPECT_GE(LongestBurst(), 308);
    EXPECT_LE(LongestBurst(), 315);
}

/// A pipe of one second whose reader follows a picture of 55 frames a second instead of 60.
class SlowReader : public AudioCaptureTest {
protected:
    SlowReader() {
        ThePipe().begin = [this](int nth) {
            freeFrom = start + (nth - 100) * 120 * millisecond / 11;
            const bool free = Counter100ns() >= std::min(freeFrom, system.until);  // at the end it reads everything
            return free ? WriteBegin::Done : WriteBegin::Pending;
        };
        ThePipe().finish = [this](int) {
            const std::int64_t units = freeFrom - Counter100ns();
            fake::AdvanceClockMs(std::max<std::int64_t>(units, 0) / millisecond + 1);
            return WriteEnd::Done;
        };
    }

    std::int64_t freeFrom = 0;  ///< when the pipe has room for the current write
};

TEST_F(SlowReader, ReceivesSoundWhileTheWriterIsLessThanTwoSecondsBehind) {
    TheEndpoint(true).keeps = 30 * millisecond;  // two packets and the one that is being captured
    system.value = 0.5F;
    system.stepMs = 5;
    RunUntil(30000);  // 2.5 s of picture are lost, of which the pipe holds one
    EXPECT_GE(CountOf("FinishWrite"), 500);
    ASSERT_EQ(ThePipe().received.size(), 2990U);
    for (std::size_t block = 0; block < 2990; ++block) {
        ASSERT_EQ(Level(block), 0.5F) << block;
    }
}

TEST_F(AudioCaptureTest, TheSteadyLoopAllocatesNothing) {
    system.value = 0.25F;
    microphone.value = 0.5F;
    fake::TheCalls().hook = [](const char* name, int nth) {
        if (nth == 50 && std::string(name) == "BeginWrite") {
            fake::ResetCountedAllocations();
            fake::CountAllocationsHere(true);
        }
        if (nth == 250 && std::string(name) == "BeginWrite") {
            fake::CountAllocationsHere(false);
        }
    };
    RunUntil(3100, true, true);
    fake::TheCalls().hook = nullptr;
    EXPECT_EQ(ThePipe().received.size(), 300U);
    EXPECT_EQ(fake::CountedAllocations(), 0U);
}

}  // namespace
}  // namespace zv
