#include "video/VideoCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "fake/Allocations.h"
#include "fake/BytePipe.h"
#include "fake/Calls.h"
#include "fake/Clock.h"
#include "fake/DesktopCapture.h"
#include "fake/EncoderLibrary.h"
#include "fake/Event.h"
#include "support/Eventually.h"
#include "video/TransportStream.h"

namespace zv {
namespace {

using support::Eventually;

using namespace fake;
using Names = std::vector<std::string>;

constexpr std::int64_t ms = 1'000'000;

const Names setUpCalls = {"OpenGraphicsFactory",
                          "LookUpOutput",
                          "MakeGraphicsDevice",
                          "OpenDuplication",
                          "OpenVideoProcessing",
                          "MakeVideoScaler",
                          "MakeCaptureSurface",
                          "MakeNv12Surface",
                          "LoadEncoderLibrary",
                          "EncoderEntryPoint",
                          "NvEncodeAPICreateInstance",
                          "nvEncOpenEncodeSessionEx",
                          "nvEncGetEncodePresetConfigEx",
                          "nvEncInitializeEncoder",
                          "nvEncRegisterResource",
                          "nvEncCreateBitstreamBuffer",
                          "MakeScalerViews",
                          "SetScalerState",
                          "MakeBytePipe",
                          "ConnectPipe",
                          "MakePipeWrite",
                          "MakePipeWrite",
                          "MakePipeWrite",
                          "MakePreciseTimer"};
const Names encodeCalls = {"nvEncMapInputResource", "nvEncEncodePicture", "nvEncLockBitstream", "nvEncUnlockBitstream",
                           "nvEncUnmapInputResource"};
const Names releaseCalls = {"~PipeWrite",
                            "~PipeWrite",
                            "~PipeWrite",
                            "~BytePipe",
                            "~ScalerViews",
                            "nvEncEncodePicture(EOS)",
                            "nvEncUnregisterResource",
                            "nvEncDestroyBitstreamBuffer",
                            "nvEncDestroyEncoder",
                            "~EncoderLibrary",
                            "~Surface(NV12)",
                            "~Surface(BGRA)",
                            "~VideoScaler",
                            "~VideoProcessing",
                            "~DesktopDuplication",
                            "~GraphicsDevice",
                            "~GraphicsOutput",
                            "~GraphicsFactory"};

Names Joined(std::initializer_list<Names> parts) {
    Names all;
    for (const Names& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

void Reset() {
    ResetCalls();
    ResetClock();
    ResetDesktop();
    ResetEncoder();
    ResetPipe();
    ResetEvents();
}

class VideoCaptureTest : public testing::Test {
public:
    /// Makes the first start of the process, so that the first pipe name is known.
    static void SetUpTestSuite() {
        if (firstPipeName.empty()) {
            Reset();
            VideoCapture first;
            FailCall("OpenGraphicsFactory", 1, resultGenericFailure);
            first.Start(u"MONITOR", {});
            firstPipeName = first.PipeName();
        }
    }

    VideoCaptureTest() { Reset(); }
    ~VideoCaptureTest() override { capture.Stop(); }

    bool Start(std::uint32_t fps = 60) { return capture.Start(u"MONITOR", {1920, 1080, fps, 50}); }

    /// Runs until the loop waits for a time beyond `durationMs`, and blocks it in that wait.
    void RunFor(std::int64_t durationMs, std::uint32_t fps = 60) {
        TheClock().parkAtNs = TheClock().nowNs + durationMs * ms;
        ASSERT_TRUE(Start(fps));
        ASSERT_TRUE(Eventually([] { return TheClock().parked.load(); }));
    }

    /// Starts a capture that fails by itself, and waits for the failure.
    void RunToFailure() {
        Start();
        ASSERT_TRUE(Eventually([this] { return !capture.Error().empty() && !capture.running; }));
        capture.Stop();
    }

    void ExpectEverythingReleased() {
        EXPECT_EQ(TheDesktop().liveHandles, 0);
        EXPECT_EQ(TheEncoder().liveLibraries, 0);
        EXPECT_EQ(ThePipe().livePipes, 0);
        EXPECT_EQ(ThePipe().liveWrites, 0);
        EXPECT_EQ(ThePipe().inFlight, 0);
        EXPECT_FALSE(ThePipe().pipeClosedBeforeWrites);
        EXPECT_FALSE(ThePipe().touchedInFlight);
        EXPECT_FALSE(TheDesktop().acquiredTwice);
        EXPECT_EQ(LiveEvents(), 0);
    }

    static Text firstPipeName;
    VideoCapture capture;
};

Text VideoCaptureTest::firstPipeName;

// Set-up

TEST_F(VideoCaptureTest, SetUpFollowsItsOrder) {
    RunFor(1);
    Names names = CallNames();
    ASSERT_GE(names.size(), setUpCalls.size());
    names.resize(setUpCalls.size());
    // The found output's handle is made inside the look-up.
    EXPECT_EQ(names, setUpCalls);
}

TEST_F(VideoCaptureTest, AllGraphicsWorkHappensOnOneThreadOfItsOwn) {
    RunFor(100);
    capture.Stop();
    const Calls& calls = TheCalls();
    for (std::size_t index = 0; index < calls.names.size(); ++index) {
        EXPECT_NE(calls.threads[index], std::this_thread::get_id());
        EXPECT_EQ(calls.threads[index], calls.threads[0]) << calls.names[index];
    }
}

TEST_F(VideoCaptureTest, StartReturnsAsSoonAsThePipeExists) {
    ThePipe().connectAwaitsStop = true;
    bool runningAtConnect = false;
    TheCalls().hook = [&](const std::string& name, int) {
        if (name == "ConnectPipe") {
            runningAtConnect = capture.running;
        }
    };
    EXPECT_TRUE(Start());
    EXPECT_TRUE(capture.running);
    ThePipe().connect = PipeConnect::Stopped;
    capture.Stop();
    EXPECT_TRUE(runningAtConnect);
    EXPECT_EQ(ThePipe().connectTimeouts, std::vector<std::uint32_t>{10000});
}

TEST_F(VideoCaptureTest, NothingRunsBeforeThePipeExists) {
    bool runningBefore = false;
    TheCalls().hook = [&](const std::string& name, int) {
        if (name == "MakeBytePipe") {
            runningBefore = capture.running;
        }
    };
    RunFor(1);
    EXPECT_FALSE(runningBefore);
}

TEST_F(VideoCaptureTest, SizesAndRatesReachScalerSurfacesAndEncoder) {
    OutputRecord monitor = MonitorNamed(u"MONITOR");
    monitor.bounds = {-3440, 100, 0, 1540};
    TheDesktop().adapters = {{monitor}};
    TheClock().parkAtNs = 0;
    ASSERT_TRUE(capture.Start(u"MONITOR", {1920, 1080, 120, 40}));
    capture.Stop();
    const DesktopControls& seen = TheDesktop();
    EXPECT_EQ(seen.scalerFormat.sourceWidth, 3440U);
    EXPECT_EQ(seen.scalerFormat.sourceHeight, 1440U);
    EXPECT_EQ(seen.scalerFormat.outputWidth, 1920U);
    EXPECT_EQ(seen.scalerFormat.outputHeight, 1080U);
    EXPECT_EQ(seen.scalerFormat.fps, 120U);
    EXPECT_EQ(seen.captureWidth, 3440U);
    EXPECT_EQ(seen.captureHeight, 1440U);
    EXPECT_EQ(seen.nv12Width, 1920U);
    EXPECT_EQ(seen.nv12Height, 1080U);
    EXPECT_EQ(seen.scalerState.source, (Rectangle{0, 0, 3440, 1440}));
    EXPECT_EQ(seen.scalerState.destination, (Rectangle{0, 139, 1920, 941}));
    EXPECT_EQ(seen.scalerState.target, (Rectangle{0, 0, 1920, 1080}));
    EXPECT_EQ(TheEncoder().initialize.encodeWidth, 1920U);
    EXPECT_EQ(TheEncoder().initialize.encodeHeight, 1080U);
    EXPECT_EQ(TheEncoder().initialize.frameRateNum, 120U);
    EXPECT_EQ(TheEncoder().config.rcParams.averageBitRate, 40000000U);
    EXPECT_NE(TheEncoder().open.device, nullptr);
}

TEST_F(VideoCaptureTest, TheScalerIsSetToLimitedRangeBt709AndBlackBars) {
    RunFor(1);
    const ScalerState& state = TheDesktop().scalerState;
    EXPECT_FALSE(state.autoProcessing);
    EXPECT_EQ(state.streamColorSpace, 0U);
    EXPECT_EQ(state.outputColorSpace, 20U);
    EXPECT_EQ(state.backgroundY, 0.0625F);
    EXPECT_EQ(state.backgroundCb, 0.5F);
    EXPECT_EQ(state.backgroundCr, 0.5F);
    EXPECT_EQ(state.backgroundAlpha, 1.0F);
    EXPECT_EQ(CountOf("SetScalerState"), 1);
}

TEST_F(VideoCaptureTest, ThePipeHoldsAMebibyteAndItsNameCountsStarts) {
    EXPECT_EQ(firstPipeName, u"pipe:ZVVideo-4711-1");
    RunFor(1);
    const Text first = capture.PipeName();
    capture.Stop();
    VideoCapture other;
    FailCall("MakeBytePipe", 2, resultGenericFailure);
    EXPECT_FALSE(other.Start(u"MONITOR", {1920, 1080, 60, 50}));
    const auto numberOf = [](const Text& name) { return std::stoi(Narrow(name.substr(name.rfind(u'-') + 1))); };
    EXPECT_EQ(numberOf(other.PipeName()), numberOf(first) + 1);
    EXPECT_EQ(ThePipe().names, (std::vector<Text>{first, other.PipeName()}));
    EXPECT_EQ(ThePipe().options.bufferBytes, 0x100000U);
    EXPECT_FALSE(ThePipe().options.firstInstanceOnly);
}

TEST_F(VideoCaptureTest, AStartWithoutEventsHasASentence) {
    fake::RefuseEvents(true);
    EXPECT_FALSE(Start());
    fake::RefuseEvents(false);
    EXPECT_EQ(capture.Error(), u"Desktop capture could not allocate resources (0x800705AA)");
    EXPECT_EQ(CountOf("OpenGraphicsFactory"), 0);
}

// The monitor

TEST_F(VideoCaptureTest, AMonitorThatDiffersByCaseIsNotConnected) {
    EXPECT_FALSE(capture.Start(u"Monitor", {1920, 1080, 60, 50}));
    EXPECT_EQ(capture.Error(), u"Selected monitor is not connected (0x887A0002)");
}

TEST_F(VideoCaptureTest, AMonitorsNameHasToMatchInLength) {
    for (const char16_t* name : {u"MONITO", u"MONITOR1", u""}) {
        EXPECT_FALSE(capture.Start(name, {1920, 1080, 60, 50}));
        EXPECT_EQ(capture.Error(), u"Selected monitor is not connected (0x887A0002)");
    }
}

TEST_F(VideoCaptureTest, AllOutputsOfAllAdaptersAreSearchedUntilTheFirstMatch) {
    OutputRecord undescribed = MonitorNamed(u"MONITOR");
    undescribed.described = false;
    OutputRecord detached = MonitorNamed(u"MONITOR");
    detached.attached = false;
    OutputRecord wanted = MonitorNamed(u"MONITOR");
    wanted.bounds = {0, 0, 2560, 1440};
    TheDesktop().adapters = {{undescribed, MonitorNamed(u"OTHER")}, {}, {detached, wanted, MonitorNamed(u"MONITOR")}};
    RunFor(1);
    EXPECT_EQ(TheDesktop().captureWidth, 2560U);
    // Two and the end of the first adapter, the end of the second, two of the third.
    EXPECT_EQ(CountOf("LookUpOutput"), 6);
}

TEST_F(VideoCaptureTest, AListOfAdaptersThatBreaksOffIsReportedWithItsCode) {
    TheDesktop().adapters = {{MonitorNamed(u"OTHER")}};
    TheDesktop().adaptersEnd = ResultOf(0x887A0005U);
    EXPECT_FALSE(Start());
    EXPECT_EQ(capture.Error(), u"Cannot enumerate graphics adapters (0x887A0005)");
}

TEST_F(VideoCaptureTest, AListOfOutputsThatBreaksOffIsReportedIfNoOtherAdapterHasTheMonitor) {
    TheDesktop().outputsEnd = ResultOf(0x887A0005U);
    TheDesktop().adapters = {{}, {MonitorNamed(u"OTHER")}};
    EXPECT_FALSE(Start());
    EXPECT_EQ(capture.Error(), u"Cannot enumerate graphics adapters (0x887A0005)");
    TheDesktop().adapters = {{}, {MonitorNamed(u"MONITOR")}};
    RunFor(1);
}

TEST_F(VideoCaptureTest, ARotatedMonitorIsRefused) {
    for (const std::uint32_t rotation : {2U, 3U, 4U}) {
        ResetCalls();
        TheDesktop().adapters[0][0].rotation = rotation;
        EXPECT_FALSE(Start());
        EXPECT_EQ(capture.Error(), u"Rotate this monitor to landscape before capturing (0x80004001)");
        EXPECT_EQ(CountOf("MakeGraphicsDevice"), 0);
    }
}

TEST_F(VideoCaptureTest, AMonitorOfUnknownRotationIsAccepted) {
    TheDesktop().adapters[0][0].rotation = 0;
    RunFor(1);
}

TEST_F(VideoCaptureTest, AnOutputWithoutAdapterIsAFailure) {
    TheDesktop().adapterMissing = true;
    EXPECT_FALSE(Start());
    EXPECT_EQ(capture.Error(), u"No graphics adapter is available (0x80004005)");
}

// Failures

struct Row {
    const char* call;
    int nth;
    std::uint32_t code;
    const char16_t* error;
};

TEST_F(VideoCaptureTest, EveryFailureOfTheSetUpHasItsSentenceAndReleasesEverything) {
    const Row rows[] = {
        {"OpenGraphicsFactory", 1, 0x887A0004, u"Cannot enumerate graphics adapters (0x887A0004)"},
        {"MakeGraphicsDevice", 1, 0x887A0004, u"Cannot initialize GPU desktop capture (0x887A0004)"},
        {"OpenDuplication", 1, 0x80070005,
         u"GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80070005)"},
        {"OpenVideoProcessing", 1, 0x80004002, u"GPU video processing is unavailable (0x80004002)"},
        {"MakeVideoScaler", 1, 0x80070057, u"Cannot create the GPU video scaler (0x80070057)"},
        {"MakeCaptureSurface", 1, 0x8007000E, u"Cannot create capture surface (0x8007000E)"},
        {"MakeNv12Surface", 1, 0x80070057, u"Cannot create NV12 video surface (0x80070057)"},
        {"NvEncodeAPICreateInstance", 1, 15,
         u"Load NVIDIA encoder API failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)"},
        {"nvEncInitializeEncoder", 1, 8, u"Initialize NVIDIA encoder failed (NVENC 8). (0x80004005)"},
        {"MakeScalerViews", 1, 0x80070057, u"Cannot create video processor views (0x80070057)"},
        {"MakeBytePipe", 1, 0x800700E7, u"Cannot create video pipe (0x800700E7)"},
    };
    for (const Row& row : rows) {
        Reset();
        FailCall(row.call, row.nth, ResultOf(row.code));
        EXPECT_FALSE(Start()) << row.call;
        EXPECT_EQ(capture.Error(), row.error);
        EXPECT_FALSE(capture.running);
        EXPECT_EQ(CountOf("ConnectPipe"), 0) << row.call;
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AMissingEncoderLibraryHasTheSessionsSentence) {
    TheEncoder().libraryMissing = true;
    EXPECT_FALSE(Start());
    EXPECT_EQ(capture.Error(),
              u"NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver. (0x80004005)");
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, EveryFailureOfTheLoopHasItsSentenceAndReleasesEverything) {
    const Row rows[] = {
        {"AcquireImage", 1, 0x887A0026,
         u"Desktop capture was interrupted. Unlock the desktop, then restart replay (0x887A0026)"},
        {"AcquireImage", 30, 0x887A0001,
         u"Desktop capture was interrupted. Unlock the desktop, then restart replay (0x887A0001)"},
        {"UpdateSurface", 1, 0x80004002, u"Cannot read desktop texture (0x80004002)"},
        {"RunScaler", 7, 0x887A0005, u"GPU video conversion failed (0x887A0005)"},
        {"nvEncEncodePicture", 3, 20, u"Encode GPU frame failed (NVENC 20). (0x80004005)"},
        {"nvEncLockBitstream", 1, 15,
         u"Read compressed GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)"},
    };
    for (const Row& row : rows) {
        Reset();
        FailCall(row.call, row.nth, ResultOf(row.code));
        RunToFailure();
        EXPECT_EQ(capture.Error(), row.error);
        EXPECT_EQ(CountOf("OpenDuplication"), 1) << "nothing is tried again";
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AReaderThatNeverConnectsEndsTheCapture) {
    for (const PipeConnect outcome : {PipeConnect::TimedOut, PipeConnect::Failed}) {
        Reset();
        ThePipe().connect = outcome;
        RunToFailure();
        EXPECT_EQ(capture.Error(), u"Video consumer did not connect (0x80004005)");
        EXPECT_EQ(CountOf("MakePipeWrite"), 0);
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AClosedReaderEndsTheCapture) {
    ThePipe().begin = [](int nth) { return nth < 5 ? WriteBegin::Done : WriteBegin::Refused; };
    RunToFailure();
    EXPECT_EQ(capture.Error(), u"Video encoder stopped accepting frames (0x80004005)");
    EXPECT_EQ(capture.encodedFrames, 4U);
    EXPECT_EQ(CountOf("BeginWrite"), 5);
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, AStalledOrBrokenWriteEndsTheCaptureWithinThreeFrames) {
    for (const WriteEnd outcome : {WriteEnd::TimedOut, WriteEnd::Failed}) {
        Reset();
        ThePipe().begin = [](int) { return WriteBegin::Pending; };
        ThePipe().finish = [outcome](int) { return outcome; };
        RunToFailure();
        EXPECT_EQ(capture.Error(), u"Video muxer disconnected (0x80004005)");
        EXPECT_EQ(ThePipe().finishTimeouts, std::vector<std::uint32_t>{10000});
        EXPECT_EQ(CountOf("BeginWrite"), 3);
        EXPECT_EQ(capture.encodedFrames, 0U);
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AnEmptyAccessUnitEndsTheCaptureWithTheCodeAlone) {
    TheEncoder().sizes = {500, 500, 0};
    RunToFailure();
    EXPECT_EQ(capture.Error(), u" (0x80004005)");
    EXPECT_EQ(capture.encodedFrames, 2U);
}

TEST_F(VideoCaptureTest, AnUnreadableImageIsStillReleased) {
    FailCall("UpdateSurface", 1, ResultOf(0x80004002));
    RunToFailure();
    EXPECT_EQ(CountOf("ReleaseImage"), 1);
    EXPECT_EQ(CountOf("~DesktopImage"), 1);
    EXPECT_EQ(CountOf("RunScaler"), 0);
}

TEST_F(VideoCaptureTest, AnExceptionAnywhereIsOneSentenceAndReleasesEverything) {
    const Names calls =
        Joined({setUpCalls,
                {"AcquireImage", "UpdateSurface", "ReleaseImage", "RunScaler", "FlushGraphics", "nvEncMapInputResource",
                 "nvEncEncodePicture", "nvEncLockBitstream", "BeginWrite", "WaitPrecisely"}});
    for (const std::string& call : calls) {
        Reset();
        ThrowInCall(call, 1);
        RunToFailure();
        EXPECT_EQ(capture.Error(), u"Desktop capture could not allocate resources (0x80004005)") << call;
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AnExceptionOfAnyTypeIsTheSameSentence) {
    TheCalls().hook = [](const std::string& name, int) {
        if (name == "RunScaler") {
            throw 7;
        }
    };
    RunToFailure();
    EXPECT_EQ(capture.Error(), u"Desktop capture could not allocate resources (0x80004005)");
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, WithoutMemoryForThePictureTheCaptureEnds) {
    TheEncoder().sizes = {1000, 1000, 1000, 2'000'000};
    TheCalls().hook = [](const std::string& name, int) {
        if (name == "ConnectPipe") {
            RefuseAllocationsHere(1'000'000);
        }
    };
    RunToFailure();
    EXPECT_EQ(capture.Error(), u"Desktop capture could not allocate resources (0x80004005)");
    EXPECT_EQ(capture.encodedFrames, 3U);
    EXPECT_EQ(CountOf("nvEncUnlockBitstream"), 4);
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, WithoutHandlesForTheWritesTheCaptureEnds) {
    ThePipe().writeRefusedByHandles = true;
    RunToFailure();
    EXPECT_EQ(capture.Error(), u"Desktop capture could not allocate resources (0x80004005)");
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, WithoutEventsNothingStarts) {
    RefuseEvents(true);
    EXPECT_FALSE(Start());
    EXPECT_TRUE(CallNames().empty());
}

// Start and stop

TEST_F(VideoCaptureTest, AStartThatTimesOutLeavesNoError) {
    ShortenWaits(20);
    TheCalls().hook = [](const std::string& name, int) {
        if (name == "OpenGraphicsFactory") {
            Eventually([] { return Signals() > 0; });  // until the owner gives up
        }
    };
    EXPECT_FALSE(Start());
    EXPECT_EQ(RequestedTimeouts(), std::vector<std::uint32_t>{15000});
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_FALSE(capture.running);
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, AStopDuringTheTimersWaitEndsWithoutAnotherFrame) {
    RunFor(100);
    const std::size_t frames = ThePipe().received.size();
    const int acquires = CountOf("AcquireImage");
    capture.Stop();
    EXPECT_EQ(ThePipe().received.size(), frames);
    EXPECT_EQ(CountOf("AcquireImage"), acquires);
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_FALSE(capture.running);
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, AStopWhileWaitingForTheReaderLeavesNoError) {
    for (const PipeConnect outcome : {PipeConnect::Stopped, PipeConnect::Failed, PipeConnect::TimedOut}) {
        Reset();
        ThePipe().connectAwaitsStop = true;
        ThePipe().connect = outcome;
        EXPECT_TRUE(Start());
        capture.Stop();
        EXPECT_EQ(capture.Error(), u"");
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AStopBeforeTheLoopPreventsIt) {
    ThePipe().connectAwaitsStop = true;  // and the connection succeeds nevertheless
    EXPECT_TRUE(Start());
    capture.Stop();
    EXPECT_EQ(CountOf("MakePreciseTimer"), 1);
    EXPECT_EQ(CountOf("AcquireImage"), 0);
    EXPECT_EQ(capture.Error(), u"");
}

TEST_F(VideoCaptureTest, AStopWhileWaitingForAWriteLeavesNoErrorAndCancelsTheOthers) {
    for (const WriteEnd outcome : {WriteEnd::Stopped, WriteEnd::Failed}) {
        Reset();
        ThePipe().writesAwaitStop = true;
        ThePipe().begin = [](int) { return WriteBegin::Pending; };
        ThePipe().finish = [outcome](int) { return outcome; };
        EXPECT_TRUE(Start());
        ASSERT_TRUE(Eventually([] { return CountOf("FinishWrite") == 1; }));
        capture.Stop();
        EXPECT_EQ(capture.Error(), u"");
        EXPECT_EQ(CountOf("nvEncEncodePicture"), 3);
        ExpectEverythingReleased();
    }
}

TEST_F(VideoCaptureTest, AStopIsCheckedAfterEveryTick) {
    // Without a timer only the end of the round checks the stop event.
    TheClock().noTimer = true;
    EXPECT_TRUE(Start());
    ASSERT_TRUE(Eventually([] { return CountOf("BeginWrite") > 20; }));
    capture.Stop();
    const Names names = CallNames();
    EXPECT_EQ(CountOf("BeginWrite"), CountOf("AcquireImage"));
    EXPECT_EQ(capture.Error(), u"");
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, StopMayBeCalledInAnyStateAndMoreThanOnce) {
    capture.Stop();
    capture.Stop();
    RunFor(10);
    capture.Stop();
    capture.Stop();
    FailCall("AcquireImage", CountOf("AcquireImage") + 1, resultGenericFailure);
    Start();
    capture.Stop();
    capture.Stop();
    EXPECT_FALSE(capture.running);
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, ANewStartEndsTheOldCaptureFirst) {
    RunFor(1000);
    EXPECT_EQ(capture.encodedFrames, 60U + 1U);
    TheClock().parked = false;
    RunFor(0);
    const Names names = CallNames();
    const auto released = std::find(names.begin(), names.end(), "~GraphicsFactory");
    const auto second = std::find(names.begin() + 1, names.end(), "OpenGraphicsFactory");
    EXPECT_LT(released - names.begin(), second - names.begin());
    EXPECT_LE(capture.encodedFrames, 1U);
}

TEST_F(VideoCaptureTest, ANewStartClearsTheError) {
    FailCall("OpenDuplication", 1, resultGenericFailure);
    EXPECT_FALSE(Start());
    EXPECT_NE(capture.Error(), u"");
    RunFor(10);
    EXPECT_EQ(capture.Error(), u"");
}

TEST_F(VideoCaptureTest, EverythingIsReleasedInReverseOrder) {
    bool runningAtRelease = true;
    TheCalls().hook = [&](const std::string& name, int) {
        if (name == "~PreciseTimer") {
            runningAtRelease = capture.running;
        }
    };
    RunFor(100);
    capture.Stop();
    const Names names = CallNames();
    const Names expected = Joined({{"WaitPrecisely", "~PreciseTimer"}, releaseCalls});
    ASSERT_GE(names.size(), expected.size());
    EXPECT_EQ(Names(names.end() - static_cast<std::ptrdiff_t>(expected.size()), names.end()), expected);
    EXPECT_FALSE(runningAtRelease);
}

TEST_F(VideoCaptureTest, PendingWritesAreCancelledBeforeThePipeCloses) {
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    RunFor(100);
    capture.Stop();
    const Names names = CallNames();
    const Names expected = Joined({{"WaitPrecisely", "~PreciseTimer"}, releaseCalls});
    EXPECT_EQ(Names(names.end() - static_cast<std::ptrdiff_t>(expected.size()), names.end()), expected);
    ExpectEverythingReleased();
}

TEST_F(VideoCaptureTest, AFailureInTheMiddleReleasesWhatWasMadeInReverseOrder) {
    FailCall("MakeNv12Surface", 1, resultGenericFailure);
    EXPECT_FALSE(Start());
    const Names names = CallNames();
    const auto failed = std::find(names.begin(), names.end(), "MakeNv12Surface");
    EXPECT_EQ(Names(failed + 1, names.end()),
              (Names{"~Surface(BGRA)", "~VideoScaler", "~VideoProcessing", "~DesktopDuplication", "~GraphicsDevice",
                     "~GraphicsOutput", "~GraphicsFactory"}));
}

// The loop

TEST_F(VideoCaptureTest, ATickWithANewImageFollowsItsOrder) {
    RunFor(1);
    Names names = CallNames();
    names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(setUpCalls.size()));
    EXPECT_EQ(names, Joined({{"AcquireImage", "UpdateSurface", "ReleaseImage", "RunScaler", "FlushGraphics"},
                             encodeCalls,
                             {"BeginWrite", "~DesktopImage", "WaitPrecisely"}}));
}

TEST_F(VideoCaptureTest, ARepeatedFrameIsConvertedAndEncodedAgain) {
    RunFor(20);
    Names names = CallNames();
    names.erase(names.begin(), std::find(names.begin(), names.end(), "WaitPrecisely"));
    EXPECT_EQ(names, Joined({{"WaitPrecisely", "AcquireImage", "RunScaler", "FlushGraphics"},
                             encodeCalls,
                             {"BeginWrite", "WaitPrecisely"}}));
}

TEST_F(VideoCaptureTest, ASlotIsAwaitedBetweenConversionAndEncoding) {
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    RunFor(55);  // frames at 0, 17, 33 and 50 ms
    Names names = CallNames();
    const auto wait = std::find(names.begin(), names.end(), "FinishWrite");
    ASSERT_NE(wait, names.end());
    EXPECT_EQ(*(wait - 1), "FlushGraphics");
    EXPECT_EQ(*(wait + 1), "nvEncMapInputResource");
    EXPECT_EQ(CountOf("FinishWrite"), 1);
    EXPECT_EQ(CountOf("BeginWrite"), 4);
}

TEST_F(VideoCaptureTest, AnUnchangedDesktopIsRepeatedAtTheExactRate) {
    for (const std::uint32_t fps : {30U, 60U, 120U, 240U}) {
        Reset();
        RunFor(9'999, fps);
        EXPECT_EQ(ThePipe().received.size(), 10 * fps);
        EXPECT_EQ(capture.encodedFrames, 10 * fps);
        EXPECT_EQ(TheEncoder().pictures, std::vector<std::uint32_t>(10 * fps, 1));
        capture.Stop();
    }
}

TEST_F(VideoCaptureTest, TheStreamIsEachAccessUnitMuxedUnderItsNumber) {
    TheEncoder().sizes = {50000, 120, 163, 1000, 345, 346, 2000};
    ThePipe().begin = [](int nth) { return nth % 2 == 0 ? WriteBegin::Pending : WriteBegin::Done; };
    RunFor(2'500);
    capture.Stop();
    TsMuxState state;
    std::vector<std::byte> expected;
    ASSERT_EQ(ThePipe().received.size(), 151U);
    for (std::uint32_t frame = 0; frame < 151; ++frame) {
        const std::size_t size = TheEncoder().sizes[std::min<std::size_t>(frame, 6)];
        MuxFrame(state, AccessUnitOf(frame, 1, size), frame, 60, expected);
        ASSERT_EQ(ThePipe().received[frame], expected) << frame;
        ASSERT_EQ(TheDesktop().convertedFrames[frame], frame);
    }
}

TEST_F(VideoCaptureTest, ANewImageIsShownFromItsTickOn) {
    TheDesktop().acquire = [](int nth, std::uint32_t) {
        const bool fresh = nth == 1 || nth == 4 || nth == 5;
        return fresh ? AcquireAnswer{Acquire::Acquired, resultOk, static_cast<std::uint32_t>(nth)} : AcquireAnswer{};
    };
    RunFor(110);
    EXPECT_EQ(TheEncoder().pictures, (std::vector<std::uint32_t>{1, 1, 1, 4, 5, 5, 5}));
    EXPECT_EQ(CountOf("ReleaseImage"), 3);
    EXPECT_FALSE(TheDesktop().acquiredTwice);
}

TEST_F(VideoCaptureTest, BeforeTheFirstImageTicksPassWithoutOutput) {
    TheDesktop().acquire = [](int nth, std::uint32_t timeoutMs) {
        if (nth == 11) {
            return AcquireAnswer{Acquire::Acquired, resultOk, 9};
        }
        AdvanceClockMs(timeoutMs);
        return AcquireAnswer{Acquire::Timeout, resultOk, 0, true};
    };
    RunFor(300);
    capture.Stop();
    ASSERT_GE(TheDesktop().acquireTimeouts.size(), 13U);
    EXPECT_EQ(
        std::vector<std::uint32_t>(TheDesktop().acquireTimeouts.begin(), TheDesktop().acquireTimeouts.begin() + 13),
        (std::vector<std::uint32_t>{20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 0, 0}));
    EXPECT_EQ(TheDesktop().convertedFrames.front(), 0U);
    TsMuxState state;
    std::vector<std::byte> expected;
    MuxFrame(state, AccessUnitOf(0, 9, 1000), 0, 60, expected);
    EXPECT_EQ(ThePipe().received.front(), expected);
    ExpectEverythingReleased();  // including the images returned with a time-out
}

TEST_F(VideoCaptureTest, AtMostThreeWritesArePendingAndTheirBytesDoNotChange) {
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    RunFor(995);
    EXPECT_EQ(ThePipe().received.size(), 60U);
    EXPECT_EQ(ThePipe().mostInFlight, 3);
    EXPECT_FALSE(ThePipe().touchedInFlight);
    EXPECT_EQ(capture.encodedFrames, 57U) << "only what is known to be complete";
    EXPECT_EQ(ThePipe().finishTimeouts, std::vector<std::uint32_t>(57, 10000));
}

TEST_F(VideoCaptureTest, APauseOf150MsMovesTheDeadlineAndDropsTheBacklog) {
    TheCalls().hook = [](const std::string& name, int nth) {
        if (name == "RunScaler" && nth == 3) {
            AdvanceClockMs(150);
        }
    };
    RunFor(1'000 - 1);
    // Frames at 0, 17 and 33 ms; the pause ends at 183 ms; one round with the old deadline moves it to now, one is
    // due at once, and from there on the grid has 816 ms left.
    EXPECT_EQ(ThePipe().received.size(), 3U + 1U + 1U + 48U);
    EXPECT_EQ(TheDesktop().convertedFrames.back(), ThePipe().received.size() - 1);
}

TEST_F(VideoCaptureTest, APauseOf90MsIsCaughtUp) {
    TheCalls().hook = [](const std::string& name, int nth) {
        if (name == "RunScaler" && nth == 3) {
            AdvanceClockMs(90);
        }
    };
    RunFor(1'000 - 1);
    EXPECT_EQ(ThePipe().received.size(), 60U);
    // 33 + 90 = 123 ms: the ticks at 50, 67, 83, 100 and 117 ms run back to back.
    const Names names = CallNames();
    int frames = 0;
    int waits = 0;
    for (const std::string& name : names) {
        frames += name == "BeginWrite" ? 1 : 0;
        if (name == "WaitPrecisely" && frames >= 3) {
            break;
        }
        waits += name == "WaitPrecisely" ? 1 : 0;
    }
    EXPECT_EQ(waits, 2);
    EXPECT_EQ(frames, 8);
}

TEST_F(VideoCaptureTest, AWaitIsAtLeastOneUnit) {
    TheCalls().hook = [](const std::string& name, int nth) {
        if (name == "RunScaler" && nth == 1) {
            TheClock().nowNs += 4166666 - 150;
        }
    };
    RunFor(50, 240);
    EXPECT_EQ(TheClock().waitedUnits.front(), 1);
}

TEST_F(VideoCaptureTest, WithoutATimerTheLoopRunsAsFastAsItCan) {
    TheClock().noTimer = true;
    FailCall("AcquireImage", 200, ResultOf(0x887A0026));
    const std::int64_t before = TheClock().nowNs;
    RunToFailure();
    EXPECT_EQ(capture.encodedFrames, 199U);
    EXPECT_EQ(CountOf("WaitPrecisely"), 0);
    EXPECT_EQ(TheClock().nowNs, before);
}

// Figures

TEST_F(VideoCaptureTest, TheFrameTimeIsSmoothedAndEndsBeforeTheWrite) {
    std::vector<std::uint64_t> seen;
    TheCalls().hook = [&](const std::string& name, int) {
        if (name == "AcquireImage") {
            TheClock().nowNs += 1'000'000;
        } else if (name == "RunScaler") {
            TheClock().nowNs += 500'999;
        } else if (name == "nvEncEncodePicture") {
            TheClock().nowNs += 501'999;
        } else if (name == "BeginWrite") {
            seen.push_back(capture.encodeMicros);
            TheClock().nowNs += 5'000'000;  // not part of it
        }
    };
    RunFor(60);
    // A sample is 2002998 ns, cut to 2002: (0 * 9 + 2002) / 10 = 200, (1800 + 2002) / 10 = 380, and so on.
    EXPECT_EQ(std::vector<std::uint64_t>(seen.begin(), seen.begin() + 4),
              (std::vector<std::uint64_t>{200, 380, 542, 688}));
    EXPECT_EQ(capture.pipeWaitMicros, 0U);
}

TEST_F(VideoCaptureTest, ThePipesWaitIsSmoothedAndPartOfTheFrameTime) {
    std::vector<std::uint64_t> waits;
    std::vector<std::uint64_t> frames;
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    TheCalls().hook = [&](const std::string& name, int) {
        if (name == "FinishWrite") {
            TheClock().nowNs += 3'000'000;
        } else if (name == "BeginWrite") {
            waits.push_back(capture.pipeWaitMicros);
            frames.push_back(capture.encodeMicros);
        }
    };
    RunFor(110);
    ASSERT_GE(waits.size(), 6U);
    waits.resize(6);
    frames.resize(6);
    EXPECT_EQ(waits, (std::vector<std::uint64_t>{0, 0, 0, 300, 570, 813}));
    EXPECT_EQ(frames, waits);
}

TEST_F(VideoCaptureTest, FiguresSurviveANewStartButTheCountDoesNot) {
    TheCalls().hook = [&](const std::string& name, int) {
        if (name == "RunScaler") {
            TheClock().nowNs += 1'000'000;
        }
    };
    RunFor(100);
    capture.Stop();
    const std::uint64_t micros = capture.encodeMicros;
    EXPECT_GT(micros, 0U);
    EXPECT_GT(capture.encodedFrames, 0U);
    FailCall("OpenGraphicsFactory", 2, resultGenericFailure);
    EXPECT_FALSE(Start());
    EXPECT_EQ(capture.encodeMicros, micros);
    EXPECT_EQ(capture.encodedFrames, 0U);
}

TEST_F(VideoCaptureTest, TheSteadyLoopAllocatesNothing) {
    TheEncoder().sizes.assign(400, 0);
    for (std::size_t frame = 0; frame < 400; ++frame) {
        TheEncoder().sizes[frame] = frame < 3 ? 900'000 : 1000 + frame * 7919 % 890'000;
    }
    ThePipe().begin = [](int nth) { return nth % 3 == 0 ? WriteBegin::Done : WriteBegin::Pending; };
    TheDesktop().acquire = [](int nth, std::uint32_t) {
        return nth % 2 == 1 ? AcquireAnswer{Acquire::Acquired, resultOk, static_cast<std::uint32_t>(nth)}
                            : AcquireAnswer{};
    };
    ResetCountedAllocations();
    TheCalls().hook = [](const std::string& name, int nth) {
        if (name == "RunScaler" && nth == 10) {
            CountAllocationsHere(true);
        } else if (name == "RunScaler" && nth == 350) {
            CountAllocationsHere(false);
        }
    };
    RunFor(6'500);
    capture.Stop();
    EXPECT_GE(CountOf("RunScaler"), 350);
    EXPECT_EQ(CountedAllocations(), 0U);
}

}  // namespace
}  // namespace zv
