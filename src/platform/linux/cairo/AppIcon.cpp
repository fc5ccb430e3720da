// Icons as pixels. The Linux program has no icon resource and always paints its icon.
#include "platform/AppIcon.h"

#include <cstddef>

#include "platform/linux/cairo/IconPixels.h"

namespace zv {

template <>
void Closer<AppIcon>::operator()(AppIcon* icon) const noexcept {
    delete icon;
}

Owned<AppIcon> LoadProgramIcon(int) { return nullptr; }

Owned<AppIcon> MakeIcon(int size, const std::uint32_t* pixels) {
    if (size <= 0) {
        return nullptr;
    }
    const std::size_t count = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    Owned<AppIcon> icon(new AppIcon{size, {pixels, pixels + count}});
    for (std::uint32_t& pixel : icon->pixels) {
        pixel |= 0xFF000000U;
    }
    return icon;
}

}  // namespace zv
