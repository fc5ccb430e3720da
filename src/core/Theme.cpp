#include "core/Theme.h"

namespace zv {

std::uint32_t ApplyTheme(Settings& settings) {
    if (settings.theme == u"Zorvel Blue") {
        return 0xFF9751;
    }
    if (settings.theme == u"Zorvel Rose") {
        return 0xC061FF;
    }
    settings.theme = u"Zorvel Purple";
    return 0xFF7797;
}

}  // namespace zv
