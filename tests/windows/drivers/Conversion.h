// The video processor's work: converts a rectangle of BGRA pixels into a rectangle of an NV12 frame, according to the
// state.
#pragma once

#include <cstdint>

#include "windows/drivers/Pixels.h"

namespace zv::drivers {

struct Bounds {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
};

struct ConversionState {
    Bounds source;
    Bounds destination;
    bool sourceLimited = false;  ///< RGB 16 to 235
    bool matrix709 = false;      ///< else BT.601
    bool outputLimited = false;  ///< 16 to 235, else 0 to 255
    float background[3] = {};    ///< Y, Cb, Cr, 0 to 1
};

/// Fills the whole frame with the background.
void FillBackground(const ConversionState& state, Pixels& frame);

/// Converts the part of the frame that `area` of the source touches. Uses the nearest pixel, so that flat areas stay
/// flat.
void Convert(const ConversionState& state, const Pixels& source, const Area& area, Pixels& frame);

}  // namespace zv::drivers
