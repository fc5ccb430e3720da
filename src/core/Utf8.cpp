// Decoding never leaves a high surrogate before a low one, because the two would be encoded as one character. It
// escapes the three bytes of the high surrogate one by one instead.
#include "core/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zv {
namespace {

constexpr bool IsHigh(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool IsLow(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr bool IsEscapedByte(char32_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }

void AppendUtf8(std::string& bytes, char32_t point) {
    if (point < 0x80) {
        bytes += static_cast<char>(point);
        return;
    }
    if (point < 0x800) {
        bytes += static_cast<char>(0xC0U | (point >> 6));
    } else {
        if (point < 0x10000) {
            bytes += static_cast<char>(0xE0U | (point >> 12));
        } else {
            bytes += static_cast<char>(0xF0U | (point >> 18));
            bytes += static_cast<char>(0x80U | ((point >> 12) & 0x3FU));
        }
        bytes += static_cast<char>(0x80U | ((point >> 6) & 0x3FU));
    }
    bytes += static_cast<char>(0x80U | (point & 0x3FU));
}

struct Decoded {
    char32_t point = 0;
    std::size_t length = 0;  ///< 0: the first byte does not start a valid character
};

std::size_t LengthFromLead(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
}

/// One character at the front of `bytes`, the three-byte forms of surrogates included.
Decoded DecodeFront(std::string_view bytes) {
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    constexpr std::array<unsigned char, 5> leadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t length = LengthFromLead(lead);
    if (length == 0 || length > bytes.size()) {
        return {};
    }
    char32_t point = static_cast<char32_t>(lead & leadBits[length]);
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0U) != 0x80U) {
            return {};
        }
        point = (point << 6) | (byte & 0x3FU);
    }
    if (point < least[length] || point > 0x10FFFF) {
        return {};
    }
    return {point, length};
}

void AppendEscaped(Text& text, std::string_view bytes) {
    for (const char byte : bytes) {
        text += static_cast<char16_t>(0xDC00U + static_cast<unsigned char>(byte));
    }
}

/// Prevents a surrogate pair with the low unit that is about to be appended. The escapes are low units themselves, so
/// all high units at the end are escaped.
void BreakPair(Text& text) {
    std::size_t begin = text.size();
    while (begin > 0 && IsHigh(text[begin - 1])) {
        --begin;
    }
    std::string bytes;
    for (const char16_t unit : TextView(text).substr(begin)) {
        AppendUtf8(bytes, unit);
    }
    text.resize(begin);
    AppendEscaped(text, bytes);
}

void AppendPoint(Text& text, char32_t point) {
    if (point >= 0x10000) {
        text += static_cast<char16_t>(0xD7C0U + (point >> 10));
        text += static_cast<char16_t>(0xDC00U + (point & 0x3FFU));
    } else {
        text += static_cast<char16_t>(point);
    }
}

/// Returns true if `byte` may follow `lead`. Others would begin a surrogate, a character above U+10FFFF or one that has
/// a shorter form.
bool IsSecondByte(unsigned char lead, unsigned char byte) {
    const unsigned least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned greatest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return byte >= least && byte <= greatest;
}

/// The number of bytes at the front of `bytes` that begin a character or are one. At least 1.
std::size_t LengthOfBeginning(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t limit = std::min(bytes.size(), LengthFromLead(lead));
    std::size_t length = 1;
    while (length < limit) {
        const auto byte = static_cast<unsigned char>(bytes[length]);
        if (length == 1 ? !IsSecondByte(lead, byte) : (byte & 0xC0U) != 0x80U) {
            break;
        }
        ++length;
    }
    return length;
}

std::string Encode(TextView text, bool unescape) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        if (IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1])) {
            AppendUtf8(bytes, 0x10000U + ((unit - 0xD800U) << 10) + (text[++i] - 0xDC00U));
        } else if (unescape && IsEscapedByte(unit)) {
            bytes += static_cast<char>(unit - 0xDC00U);
        } else {
            AppendUtf8(bytes, unit);
        }
    }
    return bytes;
}

}  // namespace

std::string ToUtf8(TextView text) { return Encode(text, true); }

std::string ToGeneralUtf8(TextView text) { return Encode(text, false); }

std::optional<Text> DecodeGeneralUtf8(std::string_view bytes) {
    Text text;
    while (!bytes.empty()) {
        const Decoded decoded = DecodeFront(bytes);
        if (decoded.length == 0) {
            return std::nullopt;
        }
        AppendPoint(text, decoded.point);
        bytes.remove_prefix(decoded.length);
    }
    return text;
}

Text DecodeUtf8(std::string_view bytes) {
    Text text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = LengthOfBeginning(bytes);
        const bool whole = length == LengthFromLead(static_cast<unsigned char>(bytes.front()));
        AppendPoint(text, whole ? DecodeFront(bytes).point : U'\xFFFD');
        bytes.remove_prefix(length);
    }
    return text;
}

bool IsUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = LengthOfBeginning(bytes);
        if (length != LengthFromLead(static_cast<unsigned char>(bytes.front()))) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

Text FromUtf8(std::string_view bytes) {
    Text text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Decoded decoded = DecodeFront(bytes);
        if (decoded.length == 0 || IsEscapedByte(decoded.point)) {
            BreakPair(text);
            AppendEscaped(text, bytes.substr(0, 1));
            bytes.remove_prefix(1);
            continue;
        }
        if (IsLow(decoded.point)) {
            BreakPair(text);
        }
        AppendPoint(text, decoded.point);
        bytes.remove_prefix(decoded.length);
    }
    return text;
}

}  // namespace zv
