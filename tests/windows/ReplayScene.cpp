#include "windows/ReplayScene.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "fake/AudioEndpoint.h"
#include "fake/Calls.h"
#include "fake/DesktopCapture.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv::windows {
namespace {

constexpr std::uint32_t packetFrames = 480;
constexpr std::int64_t packetUnits = 100'000;  // 10 ms
constexpr std::int64_t unitsPerSecond = 10'000'000;
constexpr double hertz = 440;
constexpr double amplitude = 0.25;

/// Returns the next 10 ms of the tone once they have passed.
class Tone {
public:
    bool operator()(fake::ScriptedPacket& packet) {
        if (next_ == 0) {
            next_ = Counter100ns();
        }
        if (Counter100ns() < next_ + packetUnits) {
            return false;
        }
        packet.frames = packetFrames;
        packet.position = next_;
        packet.data.resize(packetFrames * 2 * sizeof(float));
        for (std::size_t i = 0; i < packetFrames; ++i, ++sample_) {
            const double time = static_cast<double>(sample_) / 48000;
            const auto value = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * hertz * time));
            const float both[2] = {value, value};
            std::memcpy(packet.data.data() + i * sizeof(both), both, sizeof(both));
        }
        next_ += packetUnits;
        return true;
    }

private:
    std::int64_t next_ = 0;
    std::int64_t sample_ = 0;
};

}  // namespace

void SetReplayScene(const Text& commandsPath) {
    fake::ResetCalls();
    fake::ResetDesktop();
    fake::ResetEndpoints();
    fake::TheEndpoint(true).source = Tone();
    // Wine does not schedule the worker ahead of other programs as Windows does.
    fake::TheEndpoint(true).keeps = 2 * unitsPerSecond;
    SetEnvironmentValue(u"ZV_FFMPEG", JoinPath(ExecutableFolder(), u"forwarding\\ffmpeg.exe"));
    SetEnvironmentValue(u"ZV_TEST_COMMANDS", commandsPath);
}

CaptureConfig SceneConfig() {
    CaptureConfig config;
    config.width = 1920;
    config.height = 1080;
    config.fps = 30;
    config.bitrateMbps = 8;
    config.monitorDevice = u"MONITOR";
    return config;
}

}  // namespace zv::windows
