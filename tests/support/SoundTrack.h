// The sound of a finished file as samples on the file's timeline. Linux only.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace zv::support {

struct SoundTrack {
    std::string codec;
    int sampleRate = 0;
    int channels = 0;
    std::vector<float> samples;  ///< stereo at 48 kHz; the first one belongs to the file's time 0

    double Seconds() const { return static_cast<double>(samples.size()) / 2 / 48000; }
    /// The samples between two times, clamped to the track.
    std::vector<float> Between(double from, double to) const;
};

/// Decodes a file's sound with FFmpeg. A file without sound gives an empty track.
SoundTrack ReadSound(const std::filesystem::path& file);

}  // namespace zv::support
