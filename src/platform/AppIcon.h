// The program's icon in one size, for windows and for the notification area. Interface thread only.
#pragma once

#include <cstdint>

#include "platform/Owned.h"

namespace zv {

struct AppIcon;
template <>
void Closer<AppIcon>::operator()(AppIcon* icon) const noexcept;

/// The program's own icon resource, number 101, in exactly this size. Null if the program carries none, as on
/// Linux.
Owned<AppIcon> LoadProgramIcon(int size);

/// An icon from `size` rows of as many pixels, 0xXXRRGGBB, all opaque. Null on failure.
Owned<AppIcon> MakeIcon(int size, const std::uint32_t* pixels);

}  // namespace zv
