#include "core/TimeText.h"

#include <array>
#include <cstdio>

namespace zv {

Text DateText(const LocalTime& time) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02u", static_cast<unsigned>(time.year),
                  static_cast<unsigned>(time.month), static_cast<unsigned>(time.day));
    return Widen(text.data());
}

Text LongDateText(const LocalTime& time) {
    constexpr std::array<const char*, 12> months = {"January",   "February", "March",    "April",
                                                    "May",       "June",     "July",     "August",
                                                    "September", "October",  "November", "December"};
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%02d %s %d", time.day, months.at(static_cast<std::size_t>(time.month - 1)),
                  time.year);
    return Widen(text.data());
}

Text ClockText(const LocalTime& time, char separator) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%02u%c%02u%c%02u", static_cast<unsigned>(time.hour), separator,
                  static_cast<unsigned>(time.minute), separator, static_cast<unsigned>(time.second));
    return Widen(text.data());
}

}  // namespace zv
