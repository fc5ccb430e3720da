#include "core/Text.h"

#include <algorithm>
#include <cwctype>

namespace zv {

Text Widen(std::string_view bytes) {
    Text text(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](char byte) { return static_cast<char16_t>(static_cast<unsigned char>(byte)); });
    return text;
}

std::string Narrow(TextView text) {
    std::string bytes(text.size(), '\0');
    std::transform(text.begin(), text.end(), bytes.begin(), [](char16_t unit) { return static_cast<char>(unit); });
    return bytes;
}

Text Decimal(std::int64_t value) { return Widen(std::to_string(value)); }

Text DecimalUnsigned(std::uint64_t value) { return Widen(std::to_string(value)); }

Text CodeSuffix(std::uint32_t code) {
    constexpr TextView digits = u"0123456789ABCDEF";
    Text text = u" (0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += digits[(code >> shift) & 0xFU];
    }
    return text + u")";
}

Text SentenceOf(TextView message, Result code) { return Text(message) + CodeSuffix(CodeOf(code)); }

char16_t LowerUnit(char16_t unit) {
    if (unit < 0x80) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }
    return static_cast<char16_t>(std::towlower(static_cast<std::wint_t>(unit)));
}

Text Lowered(TextView text) {
    Text lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), LowerUnit);
    return lowered;
}

bool Contains(TextView text, TextView part) { return text.find(part) != TextView::npos; }

bool EndsWith(TextView text, TextView ending) { return text.ends_with(ending); }

}  // namespace zv
