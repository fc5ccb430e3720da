// An H.264 encoder over x264 with a strictly constant bitrate. Each picture is encoded to one complete access unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/software/Surface.h"

struct x264_t;

namespace zv {

struct SoftwareEncoderSettings {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t aspectWidth = 0;  ///< of the display
    std::uint32_t aspectHeight = 0;
    std::uint32_t rateNumerator = 0;  ///< frames a second
    std::uint32_t rateDenominator = 1;
    std::uint32_t bitrate = 0;         ///< bits per second, average and maximum
    std::uint32_t bufferBits = 0;      ///< of the decoder's buffer
    std::uint32_t initialBits = 0;     ///< in that buffer at the start
    std::uint32_t keyFramePeriod = 0;  ///< frames
    bool delimiters = false;           ///< an access unit delimiter before each picture
    bool repeatHeaders = false;        ///< parameter sets before each key frame
    bool cabac = false;
    bool describesSignal = false;  ///< the stream contains format and range
    std::uint32_t signalFormat = 5;
    bool fullRange = false;
    bool describesColors = false;
    std::uint32_t primaries = 2;
    std::uint32_t transfer = 2;
    std::uint32_t colorMatrix = 2;
};

struct AccessUnit {
    const std::uint8_t* bytes = nullptr;  ///< valid until the next picture
    std::size_t size = 0;
    bool key = false;
};

class SoftwareEncoder {
public:
    /// Returns null if the settings are refused; `reason` then receives the reason.
    static std::unique_ptr<SoftwareEncoder> Make(const SoftwareEncoderSettings& settings, std::string& reason);
    ~SoftwareEncoder();
    SoftwareEncoder(const SoftwareEncoder&) = delete;
    SoftwareEncoder& operator=(const SoftwareEncoder&) = delete;

    /// Encodes the surface's content and clears its damage. Macroblocks outside the damage are not analysed again.
    /// Returns false if the encoder fails; `reason` then receives the reason.
    bool Encode(Surface& picture, std::int64_t stamp, AccessUnit& unit, std::string& reason);

private:
    SoftwareEncoder() = default;
    void MarkUnchanged(const Damage& changed);

    x264_t* encoder_ = nullptr;
    std::uint32_t blocksAcross_ = 0;
    std::uint32_t blocksDown_ = 0;
    std::vector<std::uint8_t> blocks_;  ///< flags of each macroblock, read by the encoder
    bool first_ = true;
    std::string message_;  ///< the encoder's last error message
};

}  // namespace zv
