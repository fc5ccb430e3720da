// The properties and pictures of a finished video, read with ffprobe and FFmpeg. Linux only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace zv::support {

struct ClipFacts {
    double duration = 0;  ///< seconds, of the container
    std::uint64_t bytes = 0;
    std::string codec, profile, pixelFormat, colorRange, colorSpace, colorTransfer, colorPrimaries, averageRate;
    int width = 0;
    int height = 0;
    int bFrames = -1;
    bool hasAudio = false;
    bool indexFirst = false;             ///< the movie box precedes the media data
    std::vector<std::int64_t> stamps;    ///< presentation times of the video packets in the stream's time base
    std::vector<double> seconds;         ///< the same in seconds
    std::vector<std::size_t> keyFrames;  ///< indices into them
    std::string pictureTypes;            ///< one letter for each picture
};

/// Reads everything except, unless asked for, the picture types, for which the video is decoded.
ClipFacts Probe(const std::filesystem::path& clip, bool pictureTypes = false);

/// Decodes the video and passes on the luma of each picture in order, as coded (16 to 235) and in full size.
void DecodeLuma(const std::filesystem::path& clip, int width, int height,
                const std::function<void(std::span<const std::uint8_t>)>& picture);

/// The luma of an area of this colour, 0x00RRGGBB: BT.709, limited range.
int LumaOf(std::uint32_t color);

}  // namespace zv::support
