#include "core/CommandLine.h"

#include <algorithm>

namespace zv {
namespace {

constexpr bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }

void SkipBlanks(TextView& rest) {
    while (!rest.empty() && IsBlank(rest.front())) {
        rest.remove_prefix(1);
    }
}

Text ReadProgram(TextView& rest) {
    Text program;
    bool quoted = false;
    while (!rest.empty() && (quoted || !IsBlank(rest.front()))) {
        if (rest.front() == u'"') {
            quoted = !quoted;
        } else {
            program += rest.front();
        }
        rest.remove_prefix(1);
    }
    return program;
}

std::size_t SkipBackslashes(TextView& rest) {
    const std::size_t count = std::min(rest.find_first_not_of(u'\\'), rest.size());
    rest.remove_prefix(count);
    return count;
}

/// Reads the quote at the front of `rest`. `backslashes` of them preceded it.
void ReadQuote(TextView& rest, std::size_t backslashes, bool& quoted, Text& argument) {
    rest.remove_prefix(1);
    argument.append(backslashes / 2, u'\\');
    if (backslashes % 2 != 0) {
        argument += u'"';
    } else if (quoted && rest.starts_with(u'"')) {
        argument += u'"';
        rest.remove_prefix(1);
    } else {
        quoted = !quoted;
    }
}

Text ReadArgument(TextView& rest) {
    Text argument;
    bool quoted = false;
    while (!rest.empty() && (quoted || !IsBlank(rest.front()))) {
        const std::size_t backslashes = SkipBackslashes(rest);
        if (rest.starts_with(u'"')) {
            ReadQuote(rest, backslashes, quoted, argument);
        } else if (backslashes > 0) {
            argument.append(backslashes, u'\\');
        } else {
            argument += rest.front();
            rest.remove_prefix(1);
        }
    }
    return argument;
}

}  // namespace

Text QuoteArgument(TextView text) {
    Text quoted = u"\"";
    std::size_t backslashes = 0;
    for (const char16_t unit : text) {
        if (unit == u'\\') {
            ++backslashes;
            continue;
        }
        quoted.append(unit == u'"' ? 2 * backslashes + 1 : backslashes, u'\\');
        quoted += unit;
        backslashes = 0;
    }
    quoted.append(2 * backslashes, u'\\');
    return quoted + u"\"";
}

std::vector<Text> SplitCommandLine(TextView line) {
    std::vector<Text> arguments = {ReadProgram(line)};
    for (SkipBlanks(line); !line.empty(); SkipBlanks(line)) {
        arguments.push_back(ReadArgument(line));
    }
    return arguments;
}

}  // namespace zv
