#include "core/CommandLine.h"

#include <gtest/gtest.h>

#include "core/Utf8.h"

namespace zv {
namespace {

struct Split {
    TextView line;
    std::vector<Text> arguments;
};

TEST(CommandLine, SplitsByTheRuleOfTheWindowsRuntime) {
    const Split rows[] = {
        {u"", {u""}},
        {u"ffmpeg", {u"ffmpeg"}},
        {u"\"C:\\a b\\ffmpeg.exe\" -y", {u"C:\\a b\\ffmpeg.exe", u"-y"}},
        {u"\"C:\\a\\\" -y", {u"C:\\a\\", u"-y"}},
        {u"x  a \t b ", {u"x", u"a", u"b"}},
        {u"x \"\"", {u"x", u""}},
        {u"x a\\b \"a\\b\"", {u"x", u"a\\b", u"a\\b"}},
        {u"x \"a\\\\\"", {u"x", u"a\\"}},
        {u"x \"a\\\"b\"", {u"x", u"a\"b"}},
        {u"x \"a\\\\\\\"b\"", {u"x", u"a\\\"b"}},
        {u"x \"a\\\\\\\\\"", {u"x", u"a\\\\"}},
        {u"x \"a b\"c", {u"x", u"a bc"}},
        {u"x a\" \"b", {u"x", u"a b"}},
        {u"x \"say \"\"hi\"\"\"", {u"x", u"say \"hi\""}},
        {u"x \"open", {u"x", u"open"}},
        {u"x \\\\", {u"x", u"\\\\"}},
        {u"x \\\"a b\\\"", {u"x", u"\"a", u"b\""}},
    };
    for (const Split& row : rows) {
        EXPECT_EQ(SplitCommandLine(row.line), row.arguments) << ToUtf8(row.line);
    }
}

}  // namespace
}  // namespace zv
