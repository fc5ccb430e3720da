// One command line as arguments, by the rule of the Windows C runtime, since that is how lines are quoted.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

/// The program's name first: up to the next quote when it is quoted, else up to the next blank, and without escapes.
/// In the arguments 2n backslashes and a quote are n backslashes and a switch of quoting, 2n + 1 of them n backslashes
/// and a quote; a doubled quote within quotes is a quote; other backslashes stand for themselves.
std::vector<Text> SplitCommandLine(TextView line);

}  // namespace zv
