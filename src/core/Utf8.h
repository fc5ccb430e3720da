// UTF-8 conversion that loses nothing in either direction, valid or not.
//
// A byte that is not part of valid UTF-8 becomes the code unit 0xDC00 + byte and converts back to that byte. A lone
// surrogate becomes its three-byte form. So every byte string and every path, argument and variable of a system that
// uses UTF-8 survives the round trip through Text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Text.h"

namespace zv {

std::string ToUtf8(TextView text);
Text FromUtf8(std::string_view bytes);

/// The same, but every lone surrogate has its three-byte form, also one that is an escaped byte. So the bytes always
/// have the form of UTF-8, and DecodeGeneralUtf8 can tell them from others.
std::string ToGeneralUtf8(TextView text);

/// Reverses ToGeneralUtf8. Returns nothing for bytes that do not have that form.
std::optional<Text> DecodeGeneralUtf8(std::string_view bytes);

/// Text for people, whose bytes need not survive: what is not UTF-8 becomes U+FFFD, one for each beginning of a
/// character that is broken off and one for any other byte, as the Unicode standard recommends.
Text DecodeUtf8(std::string_view bytes);

/// Returns true if the bytes are UTF-8 without surrogates.
bool IsUtf8(std::string_view bytes);

}  // namespace zv
