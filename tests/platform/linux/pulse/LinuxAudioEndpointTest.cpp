// The sound services with a real, private sound server.
#include <gmock/gmock.h>

#include <thread>

#include "audio/AudioCapture.h"
#include "platform/AudioDevices.h"
#include "platform/AudioEndpoint.h"
#include "platform/Clock.h"
#include "platform/WaveInput.h"
#include "support/Eventually.h"
#include "support/PipeReader.h"
#include "support/Processes.h"
#include "support/SoundServer.h"

namespace zv {
namespace {

using support::Eventually;
using support::LevelOf;
using support::Microphone;
using support::SoundServer;

/// One default endpoint, opened and started through all its steps.
struct OpenedEndpoint {
    Owned<AudioThread> thread;
    Owned<AudioEnumerator> enumerator;
    Owned<AudioEndpoint> endpoint;
    Owned<Event> never = MakeEvent();

    Result Open(bool loopback) {
        Result result = EnterAudioThread(thread);
        if (Succeeded(result)) {
            result = MakeAudioEnumerator(*thread, enumerator);
        }
        if (Succeeded(result)) {
            result = FindDefaultEndpoint(*enumerator, loopback, endpoint);
        }
        if (Succeeded(result)) {
            result = ActivateEndpoint(*endpoint);
        }
        if (Succeeded(result)) {
            result = InitializeEndpoint(*endpoint, loopback);
        }
        if (Succeeded(result)) {
            result = OpenCaptureService(*endpoint);
        }
        return Succeeded(result) ? StartEndpoint(*endpoint) : result;
    }
};

struct RecordedPacket {
    std::uint32_t frames = 0;
    std::int64_t position = 0;
    std::int64_t read = 0;
    bool timestampError = false;
};

struct Recorded {
    std::vector<RecordedPacket> packets;
    std::vector<float> samples;
};

/// Reads packets for this time, or until a call fails. Returns the code of the last call.
Result ReadFor(OpenedEndpoint& sound, double seconds, Recorded& recorded) {
    AudioEndpoint& endpoint = *sound.endpoint;
    const std::int64_t end = Counter100ns() + static_cast<std::int64_t>(seconds * 1e7);
    while (Counter100ns() < end) {
        std::uint32_t frames = 0;
        Result result = NextPacketFrames(endpoint, frames);
        if (Failed(result)) {
            return result;
        }
        if (frames == 0) {
            EXPECT_TRUE(WaitForPackets(*sound.enumerator, *sound.never));
            continue;
        }
        AudioPacket packet;
        result = AcquirePacket(endpoint, packet);
        if (Failed(result)) {
            return result;
        }
        EXPECT_EQ(packet.frames, frames);
        const std::size_t at = recorded.samples.size();
        recorded.samples.resize(at + std::size_t{2} * packet.frames);
        if (!packet.silent) {
            std::memcpy(recorded.samples.data() + at, packet.data, std::size_t{8} * packet.frames);
        }
        recorded.packets.push_back({packet.frames, packet.position, Counter100ns(), packet.timestampError});
        EXPECT_EQ(ReleasePacket(endpoint, packet.frames), resultOk);
    }
    return resultOk;
}

/// Keeps the last `seconds` of stereo sound.
std::vector<float> Tail(const std::vector<float>& samples, double seconds) {
    const auto count = std::min(samples.size(), static_cast<std::size_t>(seconds * 48000) * 2);
    return {samples.end() - static_cast<std::ptrdiff_t>(count), samples.end()};
}

double LateLevel(const std::vector<float>& samples, std::size_t side, double hz) {
    return support::MedianLevel(Tail(samples, 2), side, hz);
}

TEST(LinuxSystemSound, AToneKeepsItsFrequencyLevelAndSides) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto player = server.PlayTone("speakers", 1000, 0.5F, 400, 0.25F);
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    Recorded recorded;
    ASSERT_EQ(ReadFor(sound, 4, recorded), resultOk);
    const std::vector<float> tail = Tail(recorded.samples, 2);
    ASSERT_EQ(tail.size(), 192000U);
    EXPECT_NEAR(LateLevel(tail, 0, 1000), 0.5, 0.005);
    EXPECT_NEAR(LateLevel(tail, 1, 400), 0.25, 0.005);
    EXPECT_LT(LateLevel(tail, 0, 400), 0.005);
    EXPECT_LT(LateLevel(tail, 1, 1000), 0.005);
    EXPECT_LT(LateLevel(tail, 0, 1010), 0.005);
}

TEST(LinuxSystemSound, DeliversRecentPacketsOfAtMost20MsWithContiguousStamps) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto player = server.PlayTone("speakers", 1000, 0.5F, 1000, 0.5F);
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    Recorded recorded;
    ASSERT_EQ(ReadFor(sound, 3, recorded), resultOk);  // the sink settles
    recorded = {};
    ASSERT_EQ(ReadFor(sound, 3, recorded), resultOk);
    ASSERT_GE(recorded.packets.size(), 125U);
    std::size_t tiled = 0;
    std::size_t fresh = 0;
    for (std::size_t i = 0; i < recorded.packets.size(); ++i) {
        const RecordedPacket& packet = recorded.packets[i];
        EXPECT_FALSE(packet.timestampError);
        EXPECT_LE(packet.frames, 960U);
        const std::int64_t end = packet.position + std::int64_t{packet.frames} * 625 / 3;
        // A sink that was late renders up to a second ahead, and a loaded machine acquires a packet late.
        EXPECT_LE(packet.position, packet.read + 10000000) << i;
        fresh += std::abs(packet.read - end) < 300000 ? 1U : 0U;
        if (i > 0) {
            const RecordedPacket& before = recorded.packets[i - 1];
            const std::int64_t gap = packet.position - before.position - std::int64_t{before.frames} * 625 / 3;
            tiled += std::abs(gap) <= 210 ? 1U : 0U;  // a frame at most
        }
    }
    EXPECT_GE(tiled, recorded.packets.size() * 95 / 100);  // the clock is corrected occasionally
    EXPECT_GE(fresh, recorded.packets.size() / 2);
}

TEST(LinuxSystemSound, ReportsTheMixFormatThatTheServerDelivers) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    MixFormat format;
    EXPECT_EQ(ReadMixFormat(*sound.endpoint, format), resultOk);
    EXPECT_EQ(format.formatTag, formatTagFloat);
    EXPECT_EQ(format.sampleRate, 48000U);
    EXPECT_EQ(format.channels, 2U);
    EXPECT_EQ(format.bitsPerSample, 32U);
    EXPECT_EQ(format.blockAlign, 8U);
}

TEST(LinuxSystemSound, AChangeOfTheDefaultDoesNotAffectTheStream) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto player = server.PlayTone("speakers", 1000, 0.5F, 1000, 0.5F);
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    Recorded recorded;
    ASSERT_EQ(ReadFor(sound, 1, recorded), resultOk);
    support::OutputOf({"pactl", "set-default-sink", "mic_feed"});
    auto another =
        server.PlayTone("speakers", 700, 0.5F, 700, 0.5F);  // a server may move streams that are already playing
    recorded = {};
    ASSERT_EQ(ReadFor(sound, 4, recorded), resultOk);
    EXPECT_NEAR(LateLevel(recorded.samples, 0, 700), 0.5, 0.005);
}

TEST(LinuxSystemSound, RemovingTheDeviceEndsItsStream) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    support::OutputOf({"pactl", "unload-module", "module-null-sink"});
    Recorded recorded;
    EXPECT_EQ(CodeOf(ReadFor(sound, 30, recorded)), CodeOf(resultEndpointRemoved));
}

TEST(LinuxSystemSound, AServerThatDiesEndsItsStream) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    server.Server().Send(SIGKILL);
    Recorded recorded;
    EXPECT_EQ(CodeOf(ReadFor(sound, 30, recorded)), CodeOf(resultEndpointRemoved));
}

TEST(LinuxSystemSound, WithoutAServerTheEnumerationFailsAtOnce) {
    setenv("PULSE_SERVER", "unix:/nonexistent/zorvel/native", 1);
    OpenedEndpoint sound;
    const std::int64_t before = Counter100ns();
    EXPECT_EQ(CodeOf(sound.Open(true)), 0x8007006FU);
    EXPECT_FALSE(sound.enumerator);
    EXPECT_LT(Counter100ns() - before, 20000000);
}

TEST(LinuxSystemSound, AStopEndsTheWaitForPackets) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(true)), 0U);
    const Owned<Event> stop = MakeEvent();
    EXPECT_TRUE(WaitForPackets(*sound.enumerator, *stop));
    Signal(*stop);
    EXPECT_FALSE(WaitForPackets(*sound.enumerator, *stop));
}

TEST(LinuxSystemSound, AServerThatHangsTimesOut) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    server.Server().Send(SIGSTOP);
    OpenedEndpoint sound;
    EXPECT_EQ(CodeOf(sound.Open(true)), 0x8007006EU);
    server.Server().Send(SIGCONT);
}

TEST(LinuxMicrophone, IsNeverTheMonitorOfTheSpeakers) {
    SoundServer server(Microphone::Absent);
    ASSERT_TRUE(server.Ready()) << server.Log();
    OpenedEndpoint sound;
    EXPECT_EQ(CodeOf(sound.Open(false)), 0x80070490U);
    EXPECT_FALSE(sound.endpoint);
}

TEST(LinuxMicrophone, RecordsAToneOfTheDefaultSource) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto player = server.PlayTone("mic_feed", 600, 0.5F, 600, 0.5F);
    OpenedEndpoint sound;
    ASSERT_EQ(CodeOf(sound.Open(false)), 0U);
    Recorded recorded;
    ASSERT_EQ(ReadFor(sound, 4, recorded), resultOk);
    EXPECT_NEAR(LateLevel(recorded.samples, 0, 600), 0.5, 0.005);
}

TEST(LinuxWaveInput, FillsItsBuffersInOrderWithMonoSamples) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto player = server.PlayTone("mic_feed", 600, 0.5F, 600, 0.5F);
    Owned<WaveInput> input;
    ASSERT_EQ(OpenWaveInput(input), 0);
    for (int index = 0; index < waveBufferCount; ++index) {
        ASSERT_EQ(PrepareWaveBuffer(*input, index), 0);
        ASSERT_EQ(QueueWaveBuffer(*input, index), 0);
        EXPECT_FALSE(PeekWaveBuffer(*input, index).done);
    }
    ASSERT_EQ(StartWaveInput(*input), 0);
    std::vector<float> samples;
    int current = 0;
    ASSERT_TRUE(Eventually([&] {
        for (int taken = 0; taken < waveBufferCount; ++taken) {
            const WaveBuffer buffer = PeekWaveBuffer(*input, current);
            if (!buffer.done) {
                break;
            }
            EXPECT_EQ(buffer.bytesRecorded, waveBufferBytes);
            for (std::uint32_t at = 0; at < buffer.bytesRecorded; at += 2) {
                std::int16_t sample = 0;
                std::memcpy(&sample, buffer.data + at, sizeof sample);
                samples.insert(samples.end(), 2, static_cast<float>(sample) / 32768);
            }
            EXPECT_EQ(QueueWaveBuffer(*input, current), 0);
            current = (current + 1) % waveBufferCount;
        }
        EXPECT_EQ(CheckWavePosition(*input), 0);
        return samples.size() >= 4 * 96000;
    }));
    EXPECT_NEAR(LateLevel(samples, 0, 600), 0.5, 0.01);
}

TEST(LinuxWaveInput, ThePositionDetectsADeadServer) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    Owned<WaveInput> input;
    ASSERT_EQ(OpenWaveInput(input), 0);
    ASSERT_EQ(StartWaveInput(*input), 0);
    server.Server().Send(SIGKILL);
    EXPECT_TRUE(Eventually([&] { return CheckWavePosition(*input) == resultEndpointRemoved; }));
}

TEST(LinuxWaveInput, ListsMicrophonesAndOutputsButNoMonitors) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    const auto list = [] {
        std::vector<std::pair<Text, bool>> names;
        for (const AudioDeviceName& device : ListAudioDeviceNames()) {
            names.emplace_back(device.name, device.input);
        }
        return names;
    };
    const std::pair microphone(Text(u"Microphone"), true);
    const std::pair speakers(Text(u"Speakers"), false);
    const std::pair feed(Text(u"Feed"), false);
    EXPECT_THAT(list(), testing::ElementsAre(microphone, speakers, feed));
    server.ChooseSpeakers("mic_feed");
    EXPECT_THAT(list(), testing::ElementsAre(microphone, feed, speakers)) << "the default device comes first";
}

TEST(LinuxWaveInput, WithoutAServerThereIsNeitherADeviceNameNorAMicrophone) {
    setenv("PULSE_SERVER", "unix:/nonexistent/zorvel/native", 1);
    EXPECT_TRUE(ListAudioDeviceNames().empty());
    Owned<WaveInput> input;
    EXPECT_EQ(CodeOf(OpenWaveInput(input)), 0x8007006FU);
}

TEST(LinuxAudioCapture, MixesToneAndMicrophoneIntoAStreamThatFollowsTheWallClock) {
    SoundServer server(Microphone::Present);
    ASSERT_TRUE(server.Ready()) << server.Log();
    auto music = server.PlayTone("speakers", 1000, 0.5F, 400, 0.25F);
    auto voice = server.PlayTone("mic_feed", 600, 0.25F, 600, 0.25F);
    AudioCapture capture;
    ASSERT_TRUE(capture.Start(true, true)) << Narrow(capture.Error());
    support::PipeReader reader(capture.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() > 0; }));
    const std::int64_t first = Counter100ns();
    const std::size_t before = reader.Bytes();
    SleepMs(5000);
    const std::size_t during = reader.Bytes() - before;
    const double elapsed = static_cast<double>(Counter100ns() - first) / 1e7;
    EXPECT_TRUE(capture.running);
    capture.Stop();
    reader.Join();
    EXPECT_EQ(capture.Error(), u"");
    EXPECT_NEAR(static_cast<double>(during), elapsed * 384000, 384000 * 0.25);
    const std::vector<float> tail = Tail(reader.Samples(), 2);
    ASSERT_EQ(tail.size(), 192000U);
    EXPECT_NEAR(LateLevel(tail, 0, 1000), 0.5, 0.01);
    EXPECT_NEAR(LateLevel(tail, 1, 400), 0.25, 0.01);
    EXPECT_NEAR(LateLevel(tail, 0, 600), 0.25, 0.01);
    EXPECT_NEAR(LateLevel(tail, 1, 600), 0.25, 0.01);
}

TEST(LinuxAudioCapture, AServerThatDiesEndsTheThreadWithTheSentence) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    AudioCapture capture;
    ASSERT_TRUE(capture.Start(true, false)) << Narrow(capture.Error());
    support::PipeReader reader(capture.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() > 0; }));
    server.Server().Send(SIGKILL);
    EXPECT_TRUE(Eventually([&] { return !capture.running; }));
    reader.Join();  // the stream has ended
    EXPECT_EQ(capture.Error(), u"Audio capture stopped; a device or encoder disconnected (0x88890004)");
    capture.Stop();
}

TEST(LinuxAudioCapture, AReaderThatClosesThePipeEndsTheThreadWithTheSentence) {
    SoundServer server;
    ASSERT_TRUE(server.Ready()) << server.Log();
    AudioCapture capture;
    ASSERT_TRUE(capture.Start(true, false)) << Narrow(capture.Error());
    support::PipeReader reader(capture.PipeName());
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() >= 38400; }));
    reader.Leave();
    EXPECT_TRUE(Eventually([&] { return !capture.running; }));
    EXPECT_EQ(capture.Error(), u"Audio capture stopped; a device or encoder disconnected (0x80070020)");
}

TEST(LinuxAudioCapture, WithoutAServerTheSentenceNamesTheEnumeration) {
    setenv("PULSE_SERVER", "unix:/nonexistent/zorvel/native", 1);
    AudioCapture capture;
    EXPECT_FALSE(capture.Start(true, false));
    EXPECT_EQ(capture.Error(),
              u"Cannot open default audio device at device enumeration. Check Windows audio devices and microphone "
              u"permission (0x8007006F)");
}

TEST(LinuxAudioCapture, WithoutAMicrophoneTheSentenceNamesTheLookup) {
    SoundServer server(Microphone::Absent);
    ASSERT_TRUE(server.Ready()) << server.Log();
    AudioCapture capture;
    EXPECT_FALSE(capture.Start(true, true));
    EXPECT_EQ(capture.Error(),
              u"Cannot open default audio device at default device lookup. Check Windows audio devices and microphone "
              u"permission (0x80070490)");
}

}  // namespace
}  // namespace zv
