#include "core/OneByteText.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ReadBytes;
using support::WriteBytes;
using testing::ElementsAre;
using testing::IsEmpty;

class OneByteText : public testing::Test {
protected:
    std::filesystem::path File() const { return folder_.Path() / "text.ini"; }
    Text Path() const { return FromPath(File()); }

    std::string Written(TextView text) const {
        OneByteWriter(Path(), OpenFor::Replacing).Write(text);
        return ReadBytes(File());
    }

    Text ReadBack(const std::string& bytes) const {
        WriteBytes(File(), bytes);
        Text text = u"before";
        EXPECT_TRUE(ReadOneByteText(Path(), text));
        return text;
    }

private:
    support::TemporaryFolder folder_;
};

TEST_F(OneByteText, ALineEndIsTwoBytesOnDiskOnEverySystem) { EXPECT_EQ(Written(u"a\nb\n"), "a\r\nb\r\n"); }

TEST_F(OneByteText, EveryUnitBelow256ConvertsToItsByteAndBack) {
    Text text;
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        if (value != '\n' && value != '\x1A') {
            text += static_cast<char16_t>(value);
            bytes += static_cast<char>(value);
        }
    }
    EXPECT_EQ(Written(text), bytes);
    EXPECT_EQ(ReadBack(bytes), text);
}

TEST_F(OneByteText, AUnitOf256EndsTheFileOrMakesItsLineUtf8) {
    OneByteWriter writer(Path(), OpenFor::Replacing);
    writer.Write(u"\u00FFone\n");
    writer.Write(u"t\u00FFw\u0100o\n");
    writer.Write(u"three\n");
    writer.Close();
    EXPECT_EQ(ReadBytes(File()), namesAreUtf8 ? "\xFFone\r\nt\xC3\xBFw\xC4\x80o\r\nthree\r\n" : "\xFFone\r\nt\xFFw");
}

TEST_F(OneByteText, OpeningAgainResetsTheState) {
    OneByteWriter writer(Path(), OpenFor::Replacing);
    writer.Write(u"\u0416");
    writer.Open(Path(), OpenFor::Appending);
    writer.Write(u"good\n");
    writer.Close();
    EXPECT_EQ(ReadBytes(File()), namesAreUtf8 ? "\xD0\x96good\r\n" : "good\r\n");
}

TEST_F(OneByteText, EveryLineIsReadBackAsItWasWrittenWhereNamesAreUtf8) {
    const Text lines[] = {
        u"plain",
        u"Vid\u00E9os",                     // one byte a unit
        u"\u0412\u0438\u0434\u0435\u043E",  // UTF-8
        u"\u52D5\u753B \U0001F3AE",         // a surrogate pair
        u"\u00D0\u00A4",                    // its bytes are UTF-8 for a letter without a byte
        u"\u00C3\u0090\u00C2\u00A4",        // the bytes of the line above as UTF-8
        u"\u00C3\u00A9",                    // its bytes are UTF-8 for a letter that has a byte
        Text(u"/home/") + u'\xDCE9',        // a name with a byte that is not UTF-8
        Text(u"\u0416/") + u'\xDCE9' + u"\u00E9",
        Text(u"a") + u'\xD800' + u"b",  // a lone surrogate
    };
    for (const Text& line : lines) {
        const bool hasBytes = std::all_of(line.begin(), line.end(), [](char16_t unit) { return unit < 256; });
        const std::string bytes = Written(line + u"\n");
        Text read;
        ASSERT_TRUE(ReadOneByteText(Path(), read));
        EXPECT_EQ(read == line + u"\n", namesAreUtf8 || hasBytes) << bytes;
    }
    EXPECT_EQ(Written(u"Vid\u00E9os"), "Vid\xE9os");
    EXPECT_EQ(Written(u"\u00C3\u00A9"), "\xC3\xA9");
}

TEST_F(OneByteText, ALineOfUtf8FromAnEditorIsReadWhereNamesAreUtf8) {
    EXPECT_EQ(ReadBack("a=\xD0\x96\r\nb=\xE9\r\n"),
              namesAreUtf8 ? u"a=\u0416\nb=\u00E9\n" : u"a=\u00D0\u0096\nb=\u00E9\n");
}

TEST_F(OneByteText, ReplacingEmptiesTheFileAndAppendingKeepsIt) {
    WriteBytes(File(), "old and long");
    OneByteWriter(Path(), OpenFor::Appending).Write(u"+");
    EXPECT_EQ(ReadBytes(File()), "old and long+");
    OneByteWriter(Path(), OpenFor::Replacing).Write(u"new");
    EXPECT_EQ(ReadBytes(File()), "new");
}

TEST_F(OneByteText, AWriterWithoutAFileDropsAllWrites) {
    OneByteWriter writer(FromPath(File().parent_path()), OpenFor::Replacing);
    EXPECT_FALSE(writer.IsOpen());
    writer.Write(u"nothing");
    writer.Flush();
}

TEST_F(OneByteText, OnlyTheCarriageReturnBeforeALineFeedIsRemoved) {
    EXPECT_EQ(ReadBack("a\r\nb\nc\rd\r\r\ne\r"), u"a\nb\nc\rd\r\ne\r");
}

TEST_F(OneByteText, ControlZEndsReading) {
    EXPECT_EQ(ReadBack("a\r\nb\x1A\r\nc\r\n"), u"a\nb");
    EXPECT_EQ(ReadBack("\x1A"
                       "all"),
              u"");
}

TEST_F(OneByteText, ABigFileIsReadWhole) {
    const std::string bytes(3 * 4096 + 17, 'x');
    EXPECT_EQ(ReadBack(bytes).size(), bytes.size());
}

TEST_F(OneByteText, AMissingFileIsReported) {
    Text text;
    EXPECT_FALSE(ReadOneByteText(Path(), text));
}

TEST(SplitLines, TheLastLineCountsWithoutALineEnd) {
    EXPECT_THAT(SplitLines(u"a\n\nb"), ElementsAre(u"a", u"", u"b"));
    EXPECT_THAT(SplitLines(u"a\n"), ElementsAre(u"a"));
    EXPECT_THAT(SplitLines(u""), IsEmpty());
}

}  // namespace
}  // namespace zv
