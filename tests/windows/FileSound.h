// The sound of a file that the program has saved.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numbers>
#include <string>
#include <vector>

#include "windows/DriverScene.h"

namespace zv::windows {

/// Interleaved stereo at 48 kHz. `folder` is for temporary files.
inline std::vector<float> SoundOf(const std::filesystem::path& folder, const std::filesystem::path& file) {
    const std::filesystem::path raw = folder / "sound.raw";
    std::ofstream(raw).close();
    RunShell(folder, "ffmpeg -v error -y -i \"$1\" -vn -ac 2 -ar 48000 -f f32le \"$2\"", {file, raw});
    std::ifstream stream(raw, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

/// The median level of a frequency over windows of 100 ms, on one side of stereo at 48 kHz.
inline double MedianLevel(const std::vector<float>& stereo, std::size_t side, double hz) {
    constexpr std::size_t window = 4800;
    std::vector<double> levels;
    for (std::size_t begin = 0; 2 * (begin + window) <= stereo.size(); begin += window) {
        double real = 0;
        double imaginary = 0;
        for (std::size_t i = 0; i < window; ++i) {
            const double angle = 2 * std::numbers::pi * hz * static_cast<double>(i) / 48000;
            real += stereo[2 * (begin + i) + side] * std::cos(angle);
            imaginary += stereo[2 * (begin + i) + side] * std::sin(angle);
        }
        levels.push_back(2 * std::hypot(real, imaginary) / window);
    }
    if (levels.empty()) {
        return 0;
    }
    std::nth_element(levels.begin(), levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2), levels.end());
    return levels[levels.size() / 2];
}

}  // namespace zv::windows
