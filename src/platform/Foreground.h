// The process that owns the window in front.
#pragma once

#include <cstdint>

#include "core/Text.h"

namespace zv {

enum class ForegroundKind {
    NoWindow,  ///< nothing is in front
    Own,       ///< a window of this program
    Unknown,   ///< a process that cannot be opened or read
    Known      ///< `imagePath` is filled
};

struct ForegroundProcess {
    ForegroundKind kind = ForegroundKind::NoWindow;
    std::uint32_t processId = 0;  ///< 0 when there is none
    Text imagePath;               ///< full path of the process's image
};

/// Asks anew at every call. On Linux a Windows game under a compatibility layer counts by its ".exe".
ForegroundProcess LookUpForeground();

}  // namespace zv
