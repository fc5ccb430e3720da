#include "support/MediaProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "support/Processes.h"

namespace zv::support {

namespace fs = std::filesystem;

namespace {

std::map<std::string, std::string> Pairs(const std::string& text) {
    std::map<std::string, std::string> pairs;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (equals != std::string::npos) {
            pairs.emplace(line.substr(0, equals), line.substr(equals + 1));
        }
    }
    return pairs;
}

/// Returns true if "moov" precedes "mdat" among the top-level boxes of the file (ISO/IEC 14496-12).
bool MovieBoxFirst(const fs::path& clip) {
    std::ifstream file(clip, std::ios::binary);
    std::uint64_t position = 0;
    for (unsigned char head[16];
         file.seekg(static_cast<std::streamoff>(position)).read(reinterpret_cast<char*>(head), 16);) {
        const std::string type(reinterpret_cast<char*>(head) + 4, 4);
        if (type == "moov" || type == "mdat") {
            return type == "moov";
        }
        std::uint64_t size = 0;
        for (int byte = 0; byte < 4; ++byte) {
            size = size << 8 | head[byte];
        }
        if (size == 1) {
            size = 0;
            for (int byte = 8; byte < 16; ++byte) {
                size = size << 8 | head[byte];
            }
        }
        if (size < 8) {
            return false;
        }
        position += size;
    }
    return false;
}

}  // namespace

ClipFacts Probe(const fs::path& clip, bool pictureTypes) {
    ClipFacts facts;
    facts.bytes = fs::exists(clip) ? fs::file_size(clip) : 0;
    const auto format = Pairs(OutputOf({"ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                                        "default=noprint_wrappers=1", clip.string()}));
    facts.duration = format.contains("duration") ? std::atof(format.at("duration").c_str()) : 0;
    auto stream = Pairs(OutputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_streams", "-of",
                                  "default=noprint_wrappers=1", clip.string()}));
    facts.codec = stream["codec_name"];
    facts.profile = stream["profile"];
    facts.pixelFormat = stream["pix_fmt"];
    facts.colorRange = stream["color_range"];
    facts.colorSpace = stream["color_space"];
    facts.colorTransfer = stream["color_transfer"];
    facts.colorPrimaries = stream["color_primaries"];
    facts.averageRate = stream["avg_frame_rate"];
    facts.width = std::atoi(stream["width"].c_str());
    facts.height = std::atoi(stream["height"].c_str());
    facts.bFrames = std::atoi(stream["has_b_frames"].c_str());
    facts.hasAudio = !OutputOf({"ffprobe", "-v", "error", "-select_streams", "a", "-show_entries", "stream=index",
                                "-of", "csv=p=0", clip.string()})
                          .empty();
    std::istringstream packets(OutputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                         "packet=pts,pts_time,flags", "-of", "csv=p=0", clip.string()}));
    for (std::string line; std::getline(packets, line);) {
        const auto first = line.find(',');
        const auto second = line.find(',', first + 1);
        if (first == std::string::npos || second == std::string::npos) {
            continue;
        }
        if (line[second + 1] == 'K') {
            facts.keyFrames.push_back(facts.stamps.size());
        }
        facts.stamps.push_back(std::atoll(line.c_str()));
        facts.seconds.push_back(std::atof(line.c_str() + first + 1));
    }
    facts.indexFirst = MovieBoxFirst(clip);
    if (pictureTypes) {
        for (const char letter : OutputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                           "frame=pict_type", "-of", "csv=p=0", clip.string()})) {
            if (std::isalpha(static_cast<unsigned char>(letter)) != 0) {
                facts.pictureTypes += letter;
            }
        }
    }
    return facts;
}

void DecodeLuma(const fs::path& clip, int width, int height,
                const std::function<void(std::span<const std::uint8_t>)>& picture) {
    std::vector<std::uint8_t> luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::size_t filled = 0;
    ReadOutput({"ffmpeg", "-v", "error", "-i", clip.string(), "-map", "0:v:0", "-fps_mode", "passthrough", "-vf",
                "extractplanes=y", "-f", "rawvideo", "-"},
               false, [&](std::span<const char> part) {
                   while (!part.empty()) {
                       const std::size_t count = std::min(part.size(), luma.size() - filled);
                       std::memcpy(luma.data() + filled, part.data(), count);
                       part = part.subspan(count);
                       filled += count;
                       if (filled == luma.size()) {
                           picture(luma);
                           filled = 0;
                       }
                   }
               });
    EXPECT_EQ(filled, 0U) << "the last picture is cut";
}

int LumaOf(std::uint32_t color) {
    const double red = color >> 16U & 0xFFU;
    const double green = color >> 8U & 0xFFU;
    const double blue = color & 0xFFU;
    return static_cast<int>(16.5 + (0.2126 * red + 0.7152 * green + 0.0722 * blue) * 219 / 255);
}

}  // namespace zv::support
