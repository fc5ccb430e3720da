// The audio worker over the system's sound interfaces, with scripted devices: the sound in the pipe, the sentences for
// the user, and leaks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <io.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>

#include "audio/AudioCapture.h"
#include "fake/Allocations.h"
#include "platform/AudioDevices.h"
#include "platform/AudioEndpoint.h"
#include "platform/BytePipe.h"
#include "platform/WaveInput.h"
#include "support/Eventually.h"
#include "support/PipeReader.h"
#include "windows/Processes.h"
#include "windows/SoundDriver.h"

namespace zv {
namespace {

using support::Eventually;
using support::PipeReader;

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr double hertz = 233;  // 10 ms are not a whole number of its periods
constexpr double level = 0.25;
constexpr std::size_t packet = 480;  // output frames of one packet of 10 ms

/// Packets arrive early and none is overwritten, so that a busy machine loses none.
const std::string aheadOfTime =
    "set render arrive -600\nset render keep 60000\nset capture arrive -600\nset capture keep 60000\n";

/// The sound that the reader received, and the start times of the devices, in 100 ns of the performance counter.
struct CapturedSound {
    std::vector<float> samples;
    std::int64_t opened = 0;  ///< shortly before the reader opened the pipe
    std::map<std::string, std::int64_t> starts;

    std::size_t Frames() const { return samples.size() / 2; }
    float At(std::size_t frame, std::size_t side) const { return samples[2 * frame + side]; }
    bool Quiet(std::size_t frame) const { return At(frame, 0) == 0 && At(frame, 1) == 0; }

    /// The first frame at or after `from` that is not silent, or the end.
    std::size_t FirstSound(std::size_t from = 0) const {
        std::size_t frame = from;
        while (frame < Frames() && Quiet(frame)) {
            ++frame;
        }
        return frame;
    }
};

/// A tone with its peak at the output frame `peak`.
struct Tone {
    double peak = 0;
    double left = level;
    double right = level / 2;
    double hz = hertz;

    double At(double frame, std::size_t side) const {
        return (side == 0 ? left : right) * std::cos(2 * std::numbers::pi * hz * (frame - peak) / 48000);
    }
};

using Range = std::pair<std::size_t, std::size_t>;

/// Describes the first frame of a range that differs from the sum of the tones; empty if there is none.
std::string Deviation(const CapturedSound& captured, Range range, const std::vector<Tone>& tones,
                      double tolerance = 0.01) {
    if (range.second > captured.Frames()) {
        return "the stream ends at frame " + std::to_string(captured.Frames());
    }
    for (std::size_t frame = range.first; frame < range.second; ++frame) {
        for (std::size_t side = 0; side < 2; ++side) {
            double wanted = 0;
            for (const Tone& tone : tones) {
                wanted += tone.At(static_cast<double>(frame), side);
            }
            if (std::fabs(captured.At(frame, side) - wanted) > tolerance) {
                return "frame " + std::to_string(frame) + " side " + std::to_string(side) + " is " +
                       std::to_string(captured.At(frame, side)) + " instead of " + std::to_string(wanted);
            }
        }
    }
    return "";
}

/// The same for a device whose sound does not arrive early: frames that came too late are missing from the sum, but
/// fewer than half of the range.
std::string DeviationWhereInTime(const CapturedSound& captured, Range range, const std::vector<Tone>& always,
                                 const Tone& tone, double tolerance = 0.01) {
    std::vector<Tone> whole = always;
    whole.push_back(tone);
    std::size_t late = 0;
    for (std::size_t frame = range.first; frame < range.second; ++frame) {
        const Range one{frame, frame + 1};
        const std::string deviation = Deviation(captured, one, whole, tolerance);
        if (deviation.empty()) {
            continue;
        }
        if (!Deviation(captured, one, always, tolerance).empty()) {
            return deviation;
        }
        ++late;
    }
    return 2 * late < range.second - range.first ? "" : std::to_string(late) + " frames are missing";
}

bool IsSilent(const CapturedSound& captured, Range range) {
    for (std::size_t frame = range.first; frame < range.second; ++frame) {
        if (frame >= captured.Frames() || !captured.Quiet(frame)) {
            return false;
        }
    }
    return true;
}

/// Returns true if the pipe has been full for at least 200 ms, so that a write is pending. Called while the reader
/// pauses.
bool WriterWaits(const PipeReader& reader) {
    constexpr std::size_t bytesPerSecond = 384000;  // as many as the pipe holds
    constexpr double mixLagSeconds = 0.1;
    DWORD waiting = 0;
    PeekNamedPipe(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(reader.File()))), nullptr, 0, nullptr, &waiting,
                  nullptr);
    const auto seconds = static_cast<double>(Counter100ns() - reader.Opened()) / 1e7;
    const double behindSeconds =
        seconds - mixLagSeconds - static_cast<double>(reader.Bytes() + waiting) / bytesPerSecond;
    return waiting >= bytesPerSecond && behindSeconds >= 0.2;
}

class Sound : public testing::Test {
protected:
    void TearDown() override {
        capture_.Stop();
        EXPECT_THAT(driver_.Complaints(), IsEmpty());
    }

    /// Reads `frames` frames of sound.
    CapturedSound Capture(const std::string& rules, std::size_t frames, bool system = true, bool microphone = false) {
        driver_.ClearReport();
        driver_.Write(rules);
        EXPECT_TRUE(capture_.Start(system, microphone)) << Narrow(capture_.Error());
        PipeReader reader(capture_.PipeName());
        EXPECT_TRUE(Eventually([&] { return reader.Bytes() >= frames * 8 || reader.Ended(); }));
        EXPECT_TRUE(capture_.running) << Narrow(capture_.Error());
        return EndCapture(reader);
    }

    CapturedSound EndCapture(PipeReader& reader) {
        capture_.Stop();
        reader.Join();
        EXPECT_EQ(capture_.Error(), u"");
        CapturedSound captured{reader.Samples(), reader.Opened(), {}};
        for (const std::string& note : driver_.Notes()) {
            if (note.rfind("Start.", 0) == 0) {
                captured.starts[note.substr(6, note.find(' ') - 6)] = std::atoll(note.c_str() + note.find(' '));
            }
        }
        return captured;
    }

    /// Returns the sentence of a Start that fails.
    std::string StartFailure(const std::string& rules, bool system = true, bool microphone = false) {
        driver_.Write(rules);
        EXPECT_FALSE(capture_.Start(system, microphone));
        EXPECT_FALSE(capture_.running);
        return Narrow(capture_.Error());
    }

    /// Returns the sentence of a capture that ends by itself after its start.
    std::string RunFailure(const std::string& rules, bool system = true, bool microphone = false) {
        driver_.Write(rules);
        EXPECT_TRUE(capture_.Start(system, microphone)) << Narrow(capture_.Error());
        PipeReader reader(capture_.PipeName());
        EXPECT_TRUE(Eventually([&] { return !capture_.running; }));
        // The thread releases everything by itself, before Stop.
        EXPECT_TRUE(Eventually([&] { return reader.Ended(); }));
        const std::string error = Narrow(capture_.Error());
        capture_.Stop();
        EXPECT_EQ(Narrow(capture_.Error()), error);
        return error;
    }

    windows::SoundDriver driver_;
    AudioCapture capture_;
};

// ---- The sound in the pipe --------------------------------------------------------------------------------------

struct FormatCase {
    unsigned rate;
    unsigned channels;
    unsigned bits;
    const char* tag;
};

class SoundFormats : public Sound, public testing::WithParamInterface<FormatCase> {
protected:
    static constexpr std::size_t capturedPackets = 20;

    static std::string Rule(const std::string& device) {
        const FormatCase& format = GetParam();
        return "set " + device + " format " + std::to_string(format.rate) + " " + std::to_string(format.channels) +
               " " + std::to_string(format.bits) + " " + format.tag + "\n";
    }

    /// The level on one side of the mix of all channels, where channel c has level / (c + 1).
    static double Folded(unsigned side) {
        const unsigned channels = GetParam().channels;
        double sum = channels == 1 ? level : level / (side + 1);
        for (unsigned channel = 2; channel < channels; ++channel) {
            sum += 0.5 * level / (channel + 1);
        }
        return sum;
    }

    static double Tolerance() {
        // The last output frame of a packet may repeat a sample, and a position is rounded to whole frames.
        const double step = 2 * std::numbers::pi * hertz * Folded(0);
        return step / GetParam().rate + step / 48000 + (GetParam().bits == 8 ? 0.015 : 0.001);
    }
};

TEST_P(SoundFormats, AreConvertedAtTheirLevelAndTime) {
    for (const bool system : {true, false}) {
        const std::string device = system ? "render" : "capture";
        const CapturedSound captured = Capture(aheadOfTime + Rule(device), capturedPackets * packet, system, !system);
        const std::size_t first = captured.FirstSound();
        ASSERT_LT(first, capturedPackets * packet / 2) << device;
        EXPECT_EQ(Deviation(captured, {first, capturedPackets * packet},
                            {{static_cast<double>(first), Folded(0), Folded(1)}}, Tolerance()),
                  "")
            << device;
    }
}

INSTANTIATE_TEST_SUITE_P(OfDevices, SoundFormats,
                         testing::Values(FormatCase{48000, 2, 32, "float+ext"}, FormatCase{48000, 2, 32, "float"},
                                         FormatCase{48000, 2, 64, "float+ext"}, FormatCase{48000, 2, 8, "pcm"},
                                         FormatCase{48000, 2, 16, "pcm"}, FormatCase{48000, 2, 16, "pcm+ext"},
                                         FormatCase{48000, 2, 24, "pcm+ext"}, FormatCase{48000, 2, 32, "pcm+ext"},
                                         FormatCase{44100, 2, 16, "pcm"}, FormatCase{44100, 1, 24, "pcm"},
                                         FormatCase{48000, 3, 32, "float"}, FormatCase{48000, 4, 16, "pcm+ext"},
                                         FormatCase{48000, 5, 24, "pcm+ext"}, FormatCase{48000, 6, 32, "float+ext"},
                                         FormatCase{96000, 7, 32, "pcm+ext"}, FormatCase{192000, 8, 32, "float+ext"},
                                         FormatCase{16000, 1, 16, "pcm"}, FormatCase{8000, 1, 8, "pcm"},
                                         FormatCase{22050, 2, 64, "float"}),
                         [](const testing::TestParamInfo<FormatCase>& one) {
                             std::string name = std::to_string(one.param.rate) + "Hz" +
                                                std::to_string(one.param.channels) + "Channels" +
                                                std::to_string(one.param.bits) + "Bits" + one.param.tag;
                             std::erase(name, '+');
                             return name;
                         });

TEST_F(Sound, StartsItsTimelineAtTheReadersConnectionAndUsesTimestamps) {
    const CapturedSound captured = Capture("", 100 * packet);
    const std::size_t first = captured.FirstSound();
    ASSERT_LT(first, captured.Frames());
    // The stream's zero, computed from the first sound: after the reader connected, before the device started.
    const auto before = static_cast<std::int64_t>(std::llround(static_cast<double>(first) / 0.0048));
    const std::int64_t zero = captured.starts.at("render") - before;
    EXPECT_GE(zero, captured.opened - 105);  // half a frame of rounding
    EXPECT_LE(zero, captured.starts.at("render") + 105);
    // Packets arrive when their last frame is captured. A packet that a busy machine reads too late is silent.
    const Tone tone{static_cast<double>(first)};
    std::size_t right = 0;
    for (std::size_t frame = first; frame + packet <= captured.Frames(); frame += packet) {
        const bool whole = Deviation(captured, {frame, frame + packet}, {tone}).empty();
        EXPECT_TRUE(whole || IsSilent(captured, {frame, frame + packet})) << frame;
        right += whole ? 1 : 0;
    }
    EXPECT_GE(right, 50U);
}

TEST_F(Sound, APacketFlaggedSilentIsSilent) {
    const CapturedSound captured = Capture(aheadOfTime + "set render flag 10 5 silent\n", 50 * packet);
    const std::size_t first = captured.FirstSound();
    EXPECT_EQ(Deviation(captured, {first, first + 10 * packet}, {{static_cast<double>(first)}}), "");
    EXPECT_TRUE(IsSilent(captured, {first + 10 * packet + 1, first + 15 * packet - 1}));
    EXPECT_EQ(Deviation(captured, {first + 15 * packet + 1, 50 * packet}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, APacketWithoutDataIsSilent) {
    const CapturedSound captured = Capture(aheadOfTime + "set render flag 10 5 null\n", 50 * packet);
    const std::size_t first = captured.FirstSound();
    EXPECT_TRUE(IsSilent(captured, {first + 10 * packet + 1, first + 15 * packet - 1}));
    EXPECT_EQ(Deviation(captured, {first + 15 * packet + 1, 50 * packet}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, InfiniteSamplesAreSilent) {
    const CapturedSound captured = Capture(aheadOfTime + "set render flag 10 5 loud\n", 50 * packet);
    const std::size_t first = captured.FirstSound();
    EXPECT_TRUE(IsSilent(captured, {first + 10 * packet + 1, first + 15 * packet - 1}));
    EXPECT_EQ(Deviation(captured, {first + 15 * packet + 1, 50 * packet}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, ADiscontinuityFlagIsIgnored) {
    const CapturedSound captured = Capture(aheadOfTime + "set render flag 10 20 discontinuity\n", 50 * packet);
    const std::size_t first = captured.FirstSound();
    EXPECT_EQ(Deviation(captured, {first, 50 * packet}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, AStalledDeviceIsSilentAndResumesInTime) {
    const CapturedSound captured = Capture(aheadOfTime + "set render skip 10 40\n", 80 * packet);
    const std::size_t first = captured.FirstSound();
    EXPECT_EQ(Deviation(captured, {first, first + 10 * packet}, {{static_cast<double>(first)}}), "");
    EXPECT_TRUE(IsSilent(captured, {first + 10 * packet + 1, first + 50 * packet - 1}));
    EXPECT_EQ(Deviation(captured, {first + 50 * packet + 1, 80 * packet}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, TimestampsBeforeTheStartOrTwoSecondsAheadAreDropped) {
    const CapturedSound captured =
        Capture(aheadOfTime + "set render shift 10 5 -5000\nset render shift 20 5 3500\n", 50 * packet);
    const std::size_t first = captured.FirstSound();
    EXPECT_EQ(Deviation(captured, {first, first + 10 * packet}, {{static_cast<double>(first)}}), "");
    EXPECT_TRUE(IsSilent(captured, {first + 10 * packet + 1, first + 15 * packet - 1}));
    EXPECT_EQ(Deviation(captured, {first + 15 * packet + 1, first + 20 * packet - 1}, {{static_cast<double>(first)}}),
              "");
    EXPECT_TRUE(IsSilent(captured, {first + 20 * packet + 1, first + 25 * packet - 1}));
    EXPECT_EQ(Deviation(captured, {first + 25 * packet + 1, 50 * packet}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, ALatePacketLosesOnlyThePartAlreadySent) {
    // One packet of half a second that arrives 150 ms after its first frame was captured.
    const CapturedSound captured =
        Capture("set render packet 24000\nset render arrive 150\nset render skip 1 1000\n", 80 * packet);
    const std::size_t first = captured.FirstSound();
    ASSERT_LT(first, captured.Frames());
    const double zero = static_cast<double>(captured.starts.at("render") - captured.opened) * 0.0048;
    // A block is sent 110 ms after its first frame; the reader opened the pipe at most `zero` frames before the
    // timeline began.
    EXPECT_GE(first, 1920U);
    EXPECT_EQ(first % packet, 0U) << "not cut at a block";
    std::size_t end = first;
    while (end < captured.Frames() && !IsSilent(captured, {end, end + packet})) {
        end += packet;
    }
    EXPECT_LE(static_cast<double>(end), zero + 24000 + 2 * packet);
    // The peak was at the device's start, within `zero` frames of the stream's own.
    bool fits = false;
    for (double peak = 0; peak <= zero + 1 && !fits; peak += 0.5) {
        fits = Deviation(captured, {first, end - packet}, {{peak}}).empty();
    }
    EXPECT_TRUE(fits);
}

TEST_F(Sound, APacketWithATimestampErrorEndsWhenItIsRead) {
    const CapturedSound captured =
        Capture("set render late 0 1 300\nset render flag 0 1 timestamp-error\nset render skip 1 1000\n", 80 * packet);
    const std::size_t first = captured.FirstSound();
    ASSERT_LT(first, captured.Frames());
    EXPECT_GE(first, 300 * 48U - packet - 1);
    EXPECT_EQ(Deviation(captured, {first, first + packet}, {{static_cast<double>(first)}}), "");
    EXPECT_TRUE(IsSilent(captured, {first + packet, 80 * packet}));
}

TEST_F(Sound, SpeakersAndMicrophoneAreMixedEachAtItsOwnTime) {
    const CapturedSound captured =
        Capture(aheadOfTime + "set capture format 44100 1 16 pcm\nset capture tone 391 0.5\ndelay Start.capture 1 20\n",
                80 * packet, true, true);
    const std::size_t first = captured.FirstSound();
    const double apart = static_cast<double>(captured.starts.at("capture") - captured.starts.at("render")) * 0.0048;
    EXPECT_GE(apart, 960);
    const double second = static_cast<double>(first) + apart;
    EXPECT_EQ(Deviation(captured, {first, first + 900}, {{static_cast<double>(first)}}), "");
    EXPECT_EQ(Deviation(captured, {static_cast<std::size_t>(second) + 2, 80 * packet},
                        {{static_cast<double>(first)}, {second, 0.5, 0.5, 391}}, 0.06),
              "");
}

TEST_F(Sound, TheSumIsClippedAtFullScale) {
    const CapturedSound captured =
        Capture(aheadOfTime + "set render tone 233 1\nset capture tone 233 1\n", 50 * packet, true, true);
    EXPECT_EQ(*std::max_element(captured.samples.begin(), captured.samples.end()), 1.0F);
    EXPECT_EQ(*std::min_element(captured.samples.begin(), captured.samples.end()), -1.0F);
    EXPECT_GT(std::count(captured.samples.begin(), captured.samples.end(), 1.0F), 1000);
}

TEST_F(Sound, IsSilenceAtTheClocksRateIfNothingPlays) {
    driver_.Write("set render skip 0 1000000\n");
    ASSERT_TRUE(capture_.Start(true, false));
    PipeReader reader(capture_.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= 384000; }));
    const auto passed = static_cast<double>(Counter100ns() - reader.Opened()) / 1e7;
    const auto bytes = static_cast<double>(reader.Bytes());
    EXPECT_LE(bytes, (passed - 0.1) * 384000);
    const CapturedSound captured = EndCapture(reader);
    EXPECT_TRUE(IsSilent(captured, {0, captured.Frames()}));
}

TEST_F(Sound, AReaderThatPausesLosesNothing) {
    driver_.Write(aheadOfTime);
    ASSERT_TRUE(capture_.Start(true, false));
    PipeReader reader(capture_.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= 48000; }));
    reader.Pause(true);
    ASSERT_TRUE(Eventually([&] { return WriterWaits(reader); }));
    const std::size_t before = reader.Bytes();
    reader.Pause(false);
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= before + 2 * 384000; }));
    const CapturedSound captured = EndCapture(reader);
    const std::size_t first = captured.FirstSound();
    EXPECT_EQ(Deviation(captured, {first, before / 8 + 96000}, {{static_cast<double>(first)}}), "");
}

TEST_F(Sound, KeepsItsTimeWhenTheDeviceOverwritesPacketsWhileAWriteIsPending) {
    driver_.Write("");
    ASSERT_TRUE(capture_.Start(true, false));
    PipeReader reader(capture_.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= 48000; }));
    reader.Pause(true);
    ASSERT_TRUE(Eventually([&] { return WriterWaits(reader); }));
    const std::size_t before = reader.Bytes();
    reader.Pause(false);
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= before + 3 * 384000; }));
    const CapturedSound captured = EndCapture(reader);
    EXPECT_THAT(driver_.Notes(), Contains(StartsWith("lost.render ")));
    // The sound in the pipe survives, the packets that the device overwrote are silent, and the tone keeps its phase.
    const std::size_t first = captured.FirstSound();
    const Tone tone{static_cast<double>(first)};
    std::size_t gap = 0;
    std::size_t longestGap = 0;
    std::size_t wholeBefore = 0;
    std::size_t wholeAfter = 0;
    for (std::size_t frame = first; frame + packet <= captured.Frames(); frame += packet) {
        const bool whole = Deviation(captured, {frame, frame + packet}, {tone}).empty();
        EXPECT_TRUE(whole || IsSilent(captured, {frame, frame + packet})) << frame;
        gap = whole ? 0 : gap + 1;
        longestGap = std::max(longestGap, gap);
        (longestGap < 10 ? wholeBefore : wholeAfter) += whole ? 1 : 0;
    }
    EXPECT_GE(longestGap, 10U);
    EXPECT_GE(wholeBefore, 10U);
    EXPECT_GE(wholeAfter, 10U);
}

// ---- The compatibility driver -----------------------------------------------------------------------------------

const std::string refused = "fail Initialize.capture 1 0x88890008\nset wave arrive -20\n";

class RefusedMicrophone : public Sound {
protected:
    void TearDown() override {
        Sound::TearDown();
        EXPECT_EQ(std::ranges::count(driver_.Notes(), "waveInOpen"),
                  std::ranges::count(driver_.Notes(), "waveInClose"));
    }
};

TEST_F(RefusedMicrophone, IsCapturedOnBothSidesByTheCompatibilityDriver) {
    for (const char* code : {"0x88890008", "0x80070057"}) {
        const CapturedSound captured = Capture(
            std::string("set wave arrive -20\nfail Initialize.capture 1 ") + code + "\n", 50 * packet, false, true);
        EXPECT_THAT(driver_.Notes(), Contains("waveInOpen"));
        const std::size_t first = captured.FirstSound();
        ASSERT_LT(first, 24000U);
        // Timed from its start: buffers that a busy machine reads too late are silent, all others are in time.
        const Tone tone{static_cast<double>(first), level, level};
        EXPECT_EQ(DeviationWhereInTime(captured, {first, first + 10 * packet}, {}, tone), "") << code;
        const auto before = static_cast<std::int64_t>(std::llround(static_cast<double>(first) / 0.0048));
        EXPECT_GE(captured.starts.at("wave") - before, captured.opened - 210);
    }
}

TEST_F(RefusedMicrophone, KeepsSystemSoundBesideIt) {
    const CapturedSound captured =
        Capture(aheadOfTime + refused + "set render tone 391 0.5\n", 50 * packet, true, true);
    const std::size_t first = captured.FirstSound();
    const double second =
        static_cast<double>(first) +
        std::trunc(static_cast<double>(captured.starts.at("wave") - captured.starts.at("render")) * 0.0048);
    EXPECT_EQ(DeviationWhereInTime(captured, {first + 5 * packet, first + 15 * packet},
                                   {{static_cast<double>(first), 0.5, 0.25, 391}}, {second, level, level}, 0.06),
              "");
}

TEST_F(RefusedMicrophone, ShortAndEmptyBuffersLeaveNoGap) {
    const CapturedSound captured =
        Capture(refused + "set wave short 3 480\nset wave short 5 0\n", 50 * packet, false, true);
    const std::size_t first = captured.FirstSound();
    const auto at = static_cast<double>(first);
    EXPECT_EQ(DeviationWhereInTime(captured, {first, first + 1200}, {}, {at, level, level}), "");
    // Half of the third buffer is missing, so that the fourth is 240 frames early.
    EXPECT_EQ(DeviationWhereInTime(captured, {first + 1200, first + 1680}, {}, {at - 240, level, level}), "");
    EXPECT_EQ(DeviationWhereInTime(captured, {first + 1680, first + 8 * packet}, {}, {at - 720, level, level}), "");
}

TEST_F(RefusedMicrophone, ReportsTheCodeOfTheCompatibilityDriver) {
    const std::string sentence =
        "Cannot open default audio device at microphone compatibility driver. Check Windows audio devices and "
        "microphone permission ";
    EXPECT_EQ(StartFailure(refused + "fail waveInOpen 1 0x2\n", false, true), sentence + "(0x80070002)");
    EXPECT_EQ(StartFailure(refused + "fail waveInOpen 1 0x20\n", true, true), sentence + "(0x80070020)");
    EXPECT_EQ(StartFailure(refused + "fail waveInPrepareHeader 3 0x7\n", false, true), sentence + "(0x80070007)");
    EXPECT_EQ(StartFailure(refused + "fail waveInAddBuffer 4 0xb\n", false, true), sentence + "(0x8007000B)");
}

TEST_F(RefusedMicrophone, EndsTheCaptureIfItFailsLater) {
    const std::string sentence = "Audio capture stopped; a device or encoder disconnected ";
    EXPECT_EQ(RunFailure(refused + "fail waveInStart 1 0x6\n", false, true), sentence + "(0x80070006)");
    EXPECT_EQ(RunFailure(refused + "fail waveInGetPosition 3 0x6\n", false, true), sentence + "(0x80070006)");
    EXPECT_EQ(RunFailure(refused + "fail waveInAddBuffer 9 0x2\n", true, true), sentence + "(0x80070002)");
}

TEST_F(Sound, TheCompatibilityDriverIsUsedForRefusedMicrophonesOnly) {
    const std::string sentence =
        "Cannot open default audio device at shared stream initialization (48000 Hz, 2 channels, 32 bits, tag 65534). "
        "Check Windows audio devices and microphone permission ";
    EXPECT_EQ(StartFailure("fail Initialize.render 1 0x88890008\n"), sentence + "(0x88890008)");
    EXPECT_EQ(StartFailure("fail Initialize.render 1 0x80070057\n"), sentence + "(0x80070057)");
    EXPECT_EQ(StartFailure("fail Initialize.capture 1 0x8889000A\n", false, true), sentence + "(0x8889000A)");
    EXPECT_EQ(StartFailure("fail Initialize.capture 1 0x80070005\n", true, true), sentence + "(0x80070005)");
    EXPECT_THAT(StartFailure("set capture format 48000 2 16 float\n", false, true),
                testing::EndsWith("at native mix format. Check Windows audio devices and microphone permission "
                                  "(0x88890008)"));
    EXPECT_THAT(driver_.Notes(), Not(Contains("waveInOpen")));
}

TEST_F(Sound, DeviceNamesListInputsFirst) {
    driver_.Write("set wave name ALineInputWithANameThatIsFarTooLong\n");
    const std::vector<AudioDeviceName> names = ListAudioDeviceNames();
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(names[0].name, u"Microphone");
    EXPECT_TRUE(names[0].input);
    EXPECT_EQ(names[1].name, u"ALineInputWithANameThatIsFarToo");
    EXPECT_TRUE(names[1].input);
    EXPECT_EQ(names[2].name, u"Speakers");
    EXPECT_FALSE(names[2].input);
}

// ---- Sentences for the user -------------------------------------------------------------------------------------

struct OpeningCase {
    const char* rule;
    const char* words;
    const char* code;
    bool system = true;
    bool microphone = false;
};

std::string TextOf(const OpeningCase& one) { return std::string(one.rule) + (one.microphone ? " (microphone)" : ""); }

TEST_F(Sound, EveryFailedStepOfTheOpeningIsReportedWithItsCode) {
    const char* initialization = "shared stream initialization (44100 Hz, 1 channels, 16 bits, tag 1)";
    const std::vector<OpeningCase> cases = {
        {"fail CreateInstance 1 0x80040154", "device enumeration", "80040154"},
        {"fail CreateInstance 1 0x80070005", "device enumeration", "80070005", true, true},
        {"set render absent", "default device lookup", "80070490"},
        {"set capture absent", "default device lookup", "80070490", false, true},
        {"set capture absent", "default device lookup", "80070490", true, true},
        {"fail Activate.render 1 0x80070490", "audio client activation", "80070490"},
        {"fail Activate.capture 1 0x80070005", "audio client activation", "80070005", true, true},
        {"fail GetMixFormat.render 1 0x88890010", "native mix format", "88890010"},
        {"fail GetMixFormat.capture 1 0x88890004", "native mix format", "88890004", true, true},
        {"fail Initialize.render 1 0x8889000A\nset render format 44100 1 16 pcm", initialization, "8889000A"},
        {"fail GetService.render 1 0x88890003", "capture service", "88890003"},
        {"fail GetService.capture 1 0x80004002", "capture service", "80004002", true, true},
        // Formats without a conversion.
        {"set render format 0 2 16 pcm", "native mix format", "88890008"},
        {"set render format 48000 0 16 pcm", "native mix format", "88890008"},
        {"set render format 48000 33 16 pcm", "native mix format", "88890008"},
        {"set render format 48000 2 20 pcm\nset render align 5", "native mix format", "88890008"},
        {"set render format 48000 2 64 pcm", "native mix format", "88890008"},
        {"set render format 48000 2 16 float", "native mix format", "88890008"},
        {"set render format 48000 2 16 6", "native mix format", "88890008"},
        {"set render format 48000 2 16 85+ext", "native mix format", "88890008"},
        {"set render format 48000 2 24 pcm\nset render align 8", "native mix format", "88890008"},
        {"set capture format 48000 2 24 pcm\nset capture align 8", "native mix format", "88890008", true, true}};
    for (const OpeningCase& one : cases) {
        EXPECT_EQ(StartFailure(std::string(one.rule) + "\n", one.system, one.microphone),
                  std::string("Cannot open default audio device at ") + one.words +
                      ". Check Windows audio devices and microphone permission (0x" + one.code + ")")
            << TextOf(one);
    }
    EXPECT_THAT(driver_.Notes(), Not(Contains(StartsWith("Start."))));
}

TEST_F(Sound, EveryFailureOfTheRunHasTheSameSentenceAndItsOwnCode) {
    const std::string sentence = "Audio capture stopped; a device or encoder disconnected ";
    for (const std::string device : {"render", "capture"}) {
        for (const std::string call : {"Start", "GetNextPacketSize", "GetBuffer", "ReleaseBuffer"}) {
            const std::string nth = call == "Start" ? "1" : "7";
            EXPECT_EQ(RunFailure("fail " + call + "." + device + " " + nth + " 0x88890010\n", true, true),
                      sentence + "(0x88890010)")
                << call << "." << device;
        }
        EXPECT_EQ(RunFailure("set " + device + " unplug 5\n", true, true), sentence + "(0x88890004)") << device;
    }
}

TEST_F(Sound, TheMicrophoneIsNotStartedIfTheSpeakersFail) {
    RunFailure("fail Start.render 1 0x88890004\n", true, true);
    EXPECT_THAT(driver_.Notes(), Not(Contains(StartsWith("Start."))));
}

TEST_F(Sound, AReaderThatLeavesEndsTheCapture) {
    driver_.Write("");
    ASSERT_TRUE(capture_.Start(true, true));
    PipeReader reader(capture_.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() > 0; }));
    reader.Leave();
    ASSERT_TRUE(Eventually([&] { return !capture_.running; }));
    // ERROR_NO_DATA: the pipe is being closed.
    EXPECT_EQ(capture_.Error(), u"Audio capture stopped; a device or encoder disconnected (0x800700E8)");
}

TEST_F(Sound, APipeOfTheSameNameIsNotShared) {
    driver_.Write("");
    ASSERT_TRUE(capture_.Start(true, false));
    const Text name = capture_.PipeName();
    const auto counter = static_cast<std::uint32_t>(std::stoul(Narrow(name.substr(name.rfind(u'-') + 1))));
    capture_.Stop();
    Owned<BytePipe> taken;
    ASSERT_EQ(MakeBytePipe(PipeName(u"ZVReelsAudio-", counter + 1), {}, taken), resultOk);
    // Access is denied; Wine checks the number of instances first and reports a busy pipe.
    EXPECT_THAT(StartFailure(""),
                AnyOf("Cannot create the audio pipe (0x80070005)", "Cannot create the audio pipe (0x800700E7)"));
}

TEST_F(Sound, StoppingBeforeTheReaderConnectsStartsNothingAndReportsNothing) {
    driver_.Write("");
    ASSERT_TRUE(capture_.Start(true, true));
    capture_.Stop();
    EXPECT_EQ(capture_.Error(), u"");
    EXPECT_THAT(driver_.Notes(), Not(Contains(StartsWith("Start."))));
    EXPECT_THAT(driver_.Notes(), Not(Contains(StartsWith("Stop."))));
}

TEST_F(Sound, StoppingDuringAPendingWriteReportsNothing) {
    driver_.Write("");
    ASSERT_TRUE(capture_.Start(true, true));
    PipeReader reader(capture_.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() > 0; }));
    reader.Pause(true);
    ASSERT_TRUE(Eventually([&] { return WriterWaits(reader); }));
    capture_.Stop();
    EXPECT_EQ(capture_.Error(), u"");
    reader.Pause(false);
    reader.Join();
    EXPECT_THAT(driver_.Notes(), Contains("Stop.render"));
    EXPECT_THAT(driver_.Notes(), Contains("Stop.capture"));
}

TEST_F(Sound, StopsAndReleasesTheMicrophoneBeforeTheSpeakers) {
    Capture(aheadOfTime, 20 * packet, true, true);
    std::vector<std::string> order;
    for (const std::string& note : driver_.Notes()) {
        order.push_back(note.substr(0, note.find(' ')));
    }
    EXPECT_THAT(order, ElementsAre("Start.render", "Start.capture", "Stop.capture", "packets.capture", "Stop.render",
                                   "packets.render"));
}

// ---- Leaks ------------------------------------------------------------------------------------------------------

int Threads() {
    int count = 0;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

void ExpectNoLeak(AudioCapture& capture, windows::SoundDriver& driver, int rounds) {
    const std::vector<std::string> rules = {"",
                                            refused,
                                            "fail GetBuffer.render 1 0x88890004\n",
                                            "fail GetService.capture 1 0x88890003\n",
                                            refused + "fail waveInPrepareHeader 3 0x7\n",
                                            "fail Start.capture 1 0x88890004\n"};
    int handles = 0;
    int threads = 0;
    for (int round = 0; round < rounds; ++round) {
        driver.Write(aheadOfTime + rules[static_cast<std::size_t>(round) % rules.size()]);
        if (capture.Start(true, true)) {
            PipeReader reader(capture.PipeName());
            EXPECT_TRUE(Eventually([&] { return reader.Bytes() > 0 || reader.Ended(); }));
            capture.Stop();
        }
        if (round == 11) {
            handles = windows::OpenHandles();
            threads = Threads();
        }
    }
    // The system may open one or two for itself.
    EXPECT_LE(windows::OpenHandles(), handles + 3);
    EXPECT_LE(Threads(), threads);
}

TEST_F(Sound, LeavesNoHandleThreadOrReferenceAfterManyStartsAndStops) { ExpectNoLeak(capture_, driver_, 48); }
TEST_F(Sound, LeavesNoHandleThreadOrReferenceAfterTwoHundredStartsAndStops) { ExpectNoLeak(capture_, driver_, 200); }

std::atomic<bool> countsRounds{false};

}  // namespace

// Called by the sound double on the audio thread at each poll for a packet.
extern "C" __declspec(dllexport) void ZvSoundRound(int round);
extern "C" __declspec(dllexport) void ZvSoundRound(int round) {
    if (countsRounds && round == 200) {
        fake::CountAllocationsHere(true);
    }
}

namespace {

TEST_F(Sound, TheLoopAllocatesNothing) {
    fake::ResetCountedAllocations();
    countsRounds = true;
    driver_.Write("set capture format 44100 2 16 pcm\n");
    ASSERT_TRUE(capture_.Start(true, true));
    PipeReader reader(capture_.PipeName());
    EXPECT_TRUE(Eventually([&] { return reader.Bytes() >= 3 * 384000; }));
    EXPECT_EQ(fake::CountedAllocations(), 0U);
    countsRounds = false;
}

}  // namespace
}  // namespace zv
