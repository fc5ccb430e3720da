#include "platform/software/ProfileText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "core/Utf8.h"

namespace zv {
namespace {

constexpr std::size_t valueLimit = 2047;

/// Windows-1252 from 0x80 to 0x9F. The bytes without a character are the control characters of the same value.
constexpr std::array<char16_t, 32> upperControls = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

Text FromWindows1252(std::string_view bytes) {
    Text text = Widen(bytes);
    for (char16_t& unit : text) {
        if (unit >= 0x80 && unit < 0xA0) {
            unit = upperControls[unit - 0x80U];
        }
    }
    return text;
}

/// `low` is the index of the low byte in a unit.
Text FromUtf16(std::string_view bytes, std::size_t low) {
    Text text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const unsigned lowByte = static_cast<unsigned char>(bytes[i + low]);
        const unsigned highByte = static_cast<unsigned char>(bytes[i + 1 - low]);
        text += static_cast<char16_t>(lowByte | highByte << 8U);
    }
    return text;
}

Text Decode(std::string_view file) {
    if (file.starts_with("\xFF\xFE")) {
        return FromUtf16(file.substr(2), 0);
    }
    if (file.starts_with("\xFE\xFF")) {
        return FromUtf16(file.substr(2), 1);
    }
    if (file.starts_with("\xEF\xBB\xBF")) {
        return DecodeUtf8(file.substr(3));
    }
    return IsUtf8(file) ? DecodeUtf8(file) : FromWindows1252(file);
}

/// The last one is the end of a file in old programs.
bool IsBlank(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\x1A'; }

TextView Trimmed(TextView text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

TextView WithoutQuotes(TextView value) {
    const bool quoted =
        value.size() > 1 && value.front() == value.back() && (value.front() == u'"' || value.front() == u'\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

/// Removes the first line from `rest` and returns it without blanks around it.
TextView NextLine(TextView& rest) {
    const std::size_t end = std::min(rest.find_first_of(u"\r\n"), rest.size());
    const TextView line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return Trimmed(line);
}

/// The name between the brackets of a section's first line.
std::optional<TextView> SectionOf(TextView line) {
    const std::size_t end = line.rfind(u']');
    if (!line.starts_with(u'[') || end == TextView::npos) {
        return std::nullopt;
    }
    return Trimmed(line.substr(1, end - 1));
}

char16_t LowerLetter(char16_t unit) { return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit; }

/// Compares without regard to the case of the letters A to Z.
bool IsSame(TextView a, TextView b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return LowerLetter(x) == LowerLetter(y); });
}

/// The value of a line of the section; empty without a "=".
Text ValueOf(TextView line) {
    const std::size_t equals = line.find(u'=');
    if (equals == TextView::npos) {
        return {};
    }
    const TextView value = WithoutQuotes(Trimmed(line.substr(equals + 1)));
    return Text(value.substr(0, value.find(u'\0')).substr(0, valueLimit));
}

}  // namespace

Text FindProfileText(std::string_view file, TextView section, TextView key) {
    const Text text = Decode(file);
    bool inSection = false;
    for (TextView rest = text; !rest.empty();) {
        const TextView line = NextLine(rest);
        if (const std::optional<TextView> name = SectionOf(line)) {
            if (inSection) {
                return {};
            }
            inSection = IsSame(*name, section);
        } else if (inSection && IsSame(Trimmed(line.substr(0, line.find(u'='))), key)) {
            return ValueOf(line);
        }
    }
    return {};
}

}  // namespace zv
