// Command lines by the rule of the Windows C runtime, which every platform uses: quoting one argument, splitting a
// line.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

/// One argument, always in double quotes.
Text QuoteArgument(TextView text);

/// The first element is the program's name. It ends at the closing quote if it is quoted, else at the first blank, and
/// has no escapes. In the arguments, 2n backslashes before a quote are n backslashes, and the quote starts or ends
/// quoting; 2n + 1 backslashes before a quote are n backslashes and a quote character. Two quotes inside quotes are one
/// quote character. All other backslashes are literal.
std::vector<Text> SplitCommandLine(TextView line);

}  // namespace zv
