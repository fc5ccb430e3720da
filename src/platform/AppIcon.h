// The program's icon in one size, for windows and for the notification area. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Owned.h"

namespace zv {

struct AppIcon;
template <>
void Closer<AppIcon>::operator()(AppIcon* icon) const noexcept;

/// Loads the program's icon resource, number 101, in exactly this size. Returns null if the program has none, as on
/// Linux.
Owned<AppIcon> LoadProgramIcon(int size);

/// Makes an opaque icon from `size` rows of `size` pixels, 0xXXRRGGBB. Returns null on failure.
Owned<AppIcon> MakeIcon(int size, const std::uint32_t* pixels);

}  // namespace zv
