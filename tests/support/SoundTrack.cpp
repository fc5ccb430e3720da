#include "support/SoundTrack.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "support/Processes.h"

namespace zv::support {

std::vector<float> SoundTrack::Between(double from, double to) const {
    const auto index = [this](double time) {
        const auto frame = static_cast<std::size_t>(std::max(0.0, time) * 48000);
        return static_cast<std::ptrdiff_t>(std::min(2 * frame, samples.size()));
    };
    return {samples.begin() + index(from), samples.begin() + std::max(index(from), index(to))};
}

SoundTrack ReadSound(const std::filesystem::path& file) {
    SoundTrack track;
    std::istringstream fields(OutputOf({"ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries",
                                        "stream=codec_name,sample_rate,channels", "-of",
                                        "default=noprint_wrappers=1:nokey=1", file.string()}));
    std::string rate;
    std::string channels;
    if (!std::getline(fields, track.codec) || !std::getline(fields, rate) || !std::getline(fields, channels)) {
        return track;
    }
    track.sampleRate = std::atoi(rate.c_str());
    track.channels = std::atoi(channels.c_str());
    // Keeps the times of the file and fills the time before the first sample with silence.
    const std::string bytes =
        OutputOf({"ffmpeg", "-v", "error", "-copyts", "-i", file.string(), "-map", "0:a:0", "-af",
                  "aresample=async=1:first_pts=0", "-ar", "48000", "-ac", "2", "-f", "f32le", "-"});
    track.samples.resize(bytes.size() / sizeof(float));
    std::memcpy(track.samples.data(), bytes.data(), track.samples.size() * sizeof(float));
    return track;
}

}  // namespace zv::support
