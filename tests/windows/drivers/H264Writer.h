// Writes H.264 pictures without loss, so that a decoder returns exactly the encoder's input.
//
// A macroblock that did not change is skipped, one of a single color is predicted and corrected exactly, every other
// one is sent uncompressed. No deblocking, one slice, one reference; with the chosen quantisers a level of 1 is a step
// of 1. Sizes, group of pictures, delimiters, parameter sets and color description come from the configuration.
#pragma once

#include <cstdint>
#include <vector>

namespace zv::drivers {

struct H264Format {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t fps = 0;
    std::uint32_t idrPeriod = 0;
    bool delimiters = false;
    bool repeatsParameterSets = false;
    bool noReordering = false;
    bool describesSignal = false;
    std::uint32_t videoFormat = 5;
    bool fullRange = false;
    bool describesColors = false;
    std::uint32_t primaries = 2;
    std::uint32_t transfer = 2;
    std::uint32_t matrix = 2;
};

class H264Writer {
public:
    explicit H264Writer(const H264Format& format);

    /// One access unit in Annex B form. `nv12` has the format's size without padding.
    const std::vector<std::uint8_t>& Write(const std::vector<std::uint8_t>& nv12);
    bool LastWasIdr() const { return lastWasIdr_; }

private:
    struct Planes {
        std::vector<std::uint8_t> luma;  ///< padded to whole macroblocks
        std::vector<std::uint8_t> cb;
        std::vector<std::uint8_t> cr;
    };
    class Bits;

    void Pad(const std::vector<std::uint8_t>& nv12);
    void WriteParameterSets();
    void WriteSlice(bool idr);
    bool IsUnchanged(std::uint32_t x, std::uint32_t y) const;
    bool WriteFlat(Bits& bits, std::uint32_t x, std::uint32_t y, bool predicted);
    void WriteWhole(Bits& bits, std::uint32_t x, std::uint32_t y, bool predicted);
    int NeighbourLevels(std::uint32_t x, std::uint32_t y) const;
    void Append(std::uint8_t header, const std::vector<std::uint8_t>& payload);

    H264Format format_;
    std::uint32_t columns_ = 0;
    std::uint32_t rows_ = 0;
    Planes now_;
    Planes before_;
    std::vector<bool> whole_;  ///< macroblocks of this picture that were sent uncompressed
    std::vector<std::uint8_t> unit_;
    std::uint32_t index_ = 0;
    std::uint32_t sinceIdr_ = 0;
    bool lastWasIdr_ = false;
};

}  // namespace zv::drivers
