// The accent colour of a theme's name.
#pragma once

#include <cstdint>

#include "core/Settings.h"

namespace zv {

/// The accent colour of `settings.theme` as 0x00BBGGRR. A name that is neither blue nor rose is rewritten to
/// "Zorvel Purple".
std::uint32_t ApplyTheme(Settings& settings);

}  // namespace zv
