// Command lines by the rule of the Windows C runtime, which every platform uses: quoting one argument, splitting a
// line.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

/// One argument, always in double quotes.
Text QuoteArgument(TextView text);

/// The program's name first: up to the next quote when it is quoted, else up to the next blank, and without escapes.
/// In the arguments 2n backslashes and a quote are n backslashes and a switch of quoting, 2n + 1 of them n backslashes
/// and a quote; a doubled quote within quotes is a quote; other backslashes stand for themselves.
std::vector<Text> SplitCommandLine(TextView line);

}  // namespace zv
