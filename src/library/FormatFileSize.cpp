#include "library/FormatFileSize.h"

#include <array>
#include <cstdio>

namespace zv {

Text FormatFileSize(std::uint64_t bytes) {
    struct Unit {
        std::uint64_t size;
        const char* name;
    };
    constexpr std::array<Unit, 3> units = {{{1U << 30U, " GB"}, {1U << 20U, " MB"}, {1U << 10U, " KB"}}};
    for (const Unit& unit : units) {
        if (bytes >= unit.size) {
            std::array<char, 32> text{};
            std::snprintf(text.data(), text.size(), "%.1f%s",
                          static_cast<double>(bytes) / static_cast<double>(unit.size), unit.name);
            return Widen(text.data());
        }
    }
    return DecimalUnsigned(bytes) + u" B";
}

}  // namespace zv
