// A private sound server with a null sink "speakers" as the default output and, optionally, a microphone "mic" that
// records the sink "mic_feed". This process and its children use only this server.
#pragma once

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

enum class Microphone { Absent, Present };
enum class ServerKind {
    PulseAudio,
    PulseAudioWithTunnel,  ///< the speakers are those of a second server, 200 ms away
    PipeWire
};

class SoundServer {
public:
    explicit SoundServer(Microphone microphone = Microphone::Absent, ServerKind kind = ServerKind::PulseAudio) {
        const std::string speakers =
            "load-module module-null-sink sink_name=speakers sink_properties=device.description=Speakers\n";
        if (kind == ServerKind::PipeWire) {
            StartPipeWire();
        } else if (kind == ServerKind::PulseAudioWithTunnel) {
            StartPulseAudio("far", speakers);
            StartPulseAudio("near", "load-module module-tunnel-sink-new sink=speakers sink_name=speakers server=unix:" +
                                        Path("far") + "\nset-default-sink speakers\n");
        } else {
            StartPulseAudio("native", speakers + "set-default-sink speakers\n" +
                                          (microphone == Microphone::Present ? microphoneScript : ""));
        }
    }

    bool Ready() const { return ready_; }
    Spawned& Server() { return processes_.back(); }
    /// Removes a device by unloading its module.
    void Remove(const std::string& module) const { OutputOf({"pactl", "unload-module", module}); }
    void ChooseSpeakers(const std::string& sink) const { OutputOf({"pactl", "set-default-sink", sink}); }
    std::string Log() const { return ReadBytes(folder_.Path() / "server.log"); }

    /// Plays one sine on each side into a sink for up to `seconds`.
    Spawned PlayTone(const std::string& sink, double leftHz, float leftLevel, double rightHz, float rightLevel,
                     int seconds = 30) const {
        std::vector<float> samples;
        for (int i = 0; i < seconds * 48000; ++i) {
            samples.push_back(leftLevel * static_cast<float>(std::sin(2 * std::numbers::pi * leftHz * i / 48000)));
            samples.push_back(rightLevel * static_cast<float>(std::sin(2 * std::numbers::pi * rightHz * i / 48000)));
        }
        std::string bytes(samples.size() * sizeof(float), '\0');
        std::memcpy(bytes.data(), samples.data(), bytes.size());
        const std::filesystem::path file = folder_.Path() / (sink + ".raw");
        WriteBytes(file, bytes);
        return Spawned({"pacat", "--playback", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                        "--device=" + sink, file.string()},
                       {}, folder_.Path() / "player.log");
    }

private:
    static constexpr const char* microphoneScript =
        "load-module module-null-sink sink_name=mic_feed sink_properties=device.description=Feed\n"
        "load-module module-remap-source source_name=mic master=mic_feed.monitor "
        "source_properties=device.description=Microphone\nset-default-source mic\n";

    std::string Path(const std::string& name) const { return (folder_.Path() / name).string(); }

    void Start(const Arguments& command, Variables variables) {
        const std::string home = folder_.Path().string();
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) {
            variables[name] = home;
        }
        processes_.emplace_back(command, variables, folder_.Path() / "server.log");
    }

    /// Makes the server with this socket the one that clients use.
    void WaitForServer(const std::string& socket) {
        setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
        ready_ = Eventually([this] { return std::system("pactl info >/dev/null 2>&1") == 0 && Server().Alive(); });
    }

    void StartPulseAudio(const std::string& name, const std::string& devices) {
        const std::string script = Path(name) + ".pa";
        WriteBytes(script,
                   "load-module module-native-protocol-unix auth-anonymous=1 socket=" + Path(name) + "\n" + devices);
        Start({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=yes",
               "--realtime=no", "--high-priority=no", "-F", script},
              {{"PULSE_RUNTIME_PATH", Path(name) + "-state"}, {"PULSE_STATE_PATH", Path(name) + "-state"}});
        WaitForServer(Path(name));
    }

    void StartPipeWire() {
        const Variables bus{{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + Path("bus")}};
        Start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=unix:path=" + Path("bus")}, {});
        Eventually([this] { return std::filesystem::exists(Path("bus")); });
        Start({"pipewire"}, bus);
        Eventually([this] { return std::filesystem::exists(Path("pipewire-0")); });
        Start({"wireplumber"}, bus);
        Start({"pipewire-pulse"}, bus);
        WaitForServer(Path("pulse/native"));
        OutputOf({"pactl", "load-module", "module-null-sink", "sink_name=speakers"});
        ChooseSpeakers("speakers");
    }

    TemporaryFolder folder_{"zorvel-sound"};
    std::vector<Spawned> processes_;
    bool ready_ = false;
};

/// The amplitude of one frequency in one side of interleaved stereo at 48 kHz.
inline double LevelOf(const std::vector<float>& stereo, std::size_t side, double hz) {
    double real = 0;
    double imaginary = 0;
    const std::size_t frames = stereo.size() / 2;
    for (std::size_t i = 0; i < frames; ++i) {
        const double angle = 2 * std::numbers::pi * hz * static_cast<double>(i) / 48000;
        real += stereo[2 * i + side] * std::cos(angle);
        imaginary += stereo[2 * i + side] * std::sin(angle);
    }
    return 2 * std::hypot(real, imaginary) / static_cast<double>(frames);
}

/// The median of the levels of all tenths of a second, which a single click does not change.
inline double MedianLevel(const std::vector<float>& stereo, std::size_t side, double hz) {
    std::vector<double> levels;
    for (std::size_t at = 0; at + 9600 <= stereo.size(); at += 9600) {
        const auto from = stereo.begin() + static_cast<std::ptrdiff_t>(at);
        levels.push_back(LevelOf({from, from + 9600}, side, hz));
    }
    if (levels.empty()) {
        return 0;
    }
    std::nth_element(levels.begin(), levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2), levels.end());
    return levels[levels.size() / 2];
}

}  // namespace zv::support
