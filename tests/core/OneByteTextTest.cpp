#include "core/OneByteText.h"

#include <gmock/gmock.h>

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

TEST_F(OneByteText, AUnitOf256EndsTheFileAndAllThatIsWrittenLaterIsDropped) {
    OneByteWriter writer(Path(), OpenFor::Replacing);
    writer.Write(u"one\nt\u00FFw\u0100o\n");
    writer.Write(u"three\n");
    writer.Close();
    EXPECT_EQ(ReadBytes(File()), "one\r\nt\xFFw");
}

TEST_F(OneByteText, OpeningAgainResetsTheState) {
    OneByteWriter writer(Path(), OpenFor::Replacing);
    writer.Write(u"\u0416");
    writer.Open(Path(), OpenFor::Appending);
    writer.Write(u"good\n");
    writer.Close();
    EXPECT_EQ(ReadBytes(File()), "good\r\n");
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
