// The scaler's records.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/DesktopCapture.h"
#include "platform/software/ColorConversion.h"
#include "platform/software/Surface.h"

namespace zv {

struct VideoProcessing {};

/// The source of a row of the destination: the row at `index`, blended with the one below.
struct RowTap {
    std::uint32_t index = 0;
    std::int16_t weight = 0;  ///< of the one below, 32768ths
};

struct VideoScaler {
    ScalerFormat format;
    ScalerState state;
    const ConversionKernels* kernels = nullptr;
    bool usable = false;  ///< true: the scaler supports the state
    bool whole = true;    ///< the whole target has to be converted
    bool direct = false;  ///< source and destination have the same size and are aligned to the chroma grid

    // For resampling only. Columns and rows are counted from the destination's corner.
    ColumnTaps columns;
    std::vector<RowTap> rows;
    std::vector<std::int16_t> blended;   ///< one row of the source
    std::vector<std::uint8_t> lines[2];  ///< two rows of the frame, black outside the destination
    std::vector<std::uint8_t> black;
};

struct ScalerViews {
    Surface* source = nullptr;
    Surface* target = nullptr;
};

}  // namespace zv
