// The text type of the program and its basic operations.
//
// Text is UTF-16 code units on every platform, so that a length, a limit and a comparison mean the same everywhere.
// Only src/platform converts it to the types of a system (wchar_t, UTF-8).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace zv {

using Text = std::u16string;
using TextView = std::u16string_view;

/// Each byte of `bytes` as one code unit of the same value, 0 to 255.
Text Widen(std::string_view bytes);

/// The low byte of each code unit. Only for text whose units are all below 256.
std::string Narrow(TextView text);

/// Plain decimal without padding, "-" in front of a negative value.
Text Decimal(std::int64_t value);
Text DecimalUnsigned(std::uint64_t value);

/// The code at the end of a failure's sentence: " (0x%08X)", upper case, always eight digits.
Text CodeSuffix(std::uint32_t code);

/// The sentence of a failure, ending in its code.
Text SentenceOf(TextView message, Result code);

/// Simple lower-casing of one code unit at a time (no locale, no special casing, no surrogate pairs).
char16_t LowerUnit(char16_t unit);
Text Lowered(TextView text);

bool Contains(TextView text, TextView part);
bool EndsWith(TextView text, TextView ending);

}  // namespace zv
