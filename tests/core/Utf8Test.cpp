#include "core/Utf8.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

namespace zv {
namespace {

TEST(Utf8, CharactersBecomeUtf8) {
    EXPECT_EQ(ToUtf8(u"a\u00E9\u6771\U0001F3AE"), "a\xC3\xA9\xE6\x9D\xB1\xF0\x9F\x8E\xAE");
    EXPECT_EQ(FromUtf8("a\xC3\xA9\xE6\x9D\xB1\xF0\x9F\x8E\xAE"), u"a\u00E9\u6771\U0001F3AE");
}

TEST(Utf8, AnInvalidByteBecomesItsOwnUnitAndConvertsBack) {
    EXPECT_EQ(FromUtf8("a\xFF"), Text(u"a") + u'\xDCFF');
    EXPECT_EQ(FromUtf8("\xC3("
                       "\x80"),
              (Text{u'\xDCC3', u'(', u'\xDC80'}));
    EXPECT_EQ(ToUtf8(Text{u'\xDCFF', u'\xDC80'}), "\xFF\x80");
}

TEST(Utf8, ALoneSurrogateBecomesItsThreeByteForm) {
    EXPECT_EQ(ToUtf8(Text(1, u'\xD800')), "\xED\xA0\x80");
    EXPECT_EQ(ToUtf8(Text(1, u'\xDFFF')), "\xED\xBF\xBF");
    EXPECT_EQ(FromUtf8("\xED\xA0\x80"), Text(1, u'\xD800'));
}

TEST(Utf8, OverlongAndTooLargeFormsAreEscapedByteByByte) {
    EXPECT_EQ(FromUtf8("\xC0\xAF"), (Text{u'\xDCC0', u'\xDCAF'}));
    EXPECT_EQ(FromUtf8("\xE0\x80\xAF"), (Text{u'\xDCE0', u'\xDC80', u'\xDCAF'}));
    EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80"), (Text{u'\xDCF4', u'\xDC90', u'\xDC80', u'\xDC80'}));
}

TEST(Utf8, TwoEncodedSurrogatesConvertBackUnchanged) {
    EXPECT_EQ(ToUtf8(FromUtf8("\xED\xA0\x80\xED\xB0\x80")), "\xED\xA0\x80\xED\xB0\x80");
    EXPECT_EQ(ToUtf8(FromUtf8("\xED\xA0\x80\xFF")), "\xED\xA0\x80\xFF");
    EXPECT_EQ(ToUtf8(FromUtf8("\xED\xB2\x80")), "\xED\xB2\x80");
}

TEST(GeneralUtf8, EveryTextConvertsBackUnchanged) {
    // Random units, with a fixed seed: plain ones, surrogates and escaped bytes.
    const Text alphabet = {u'a',      u'\x00E9', u'\x0416', u'\xD800', u'\xDBFF',
                           u'\xDC00', u'\xDCC3', u'\xDCA9', u'\xFFFF'};
    std::minstd_rand random(4711);
    for (int round = 0; round < 100000; ++round) {
        Text text;
        for (std::size_t length = random() % 7; length > 0; --length) {
            text += alphabet[random() % alphabet.size()];
        }
        const std::optional<Text> back = DecodeGeneralUtf8(ToGeneralUtf8(text));
        ASSERT_TRUE(back.has_value());
        ASSERT_EQ(*back, text);
    }
}

TEST(GeneralUtf8, OtherBytesAreNotDecoded) {
    for (const char* bytes : {"Vid\xE9os", "\xFF", "\xC3", "\xC0\xAF", "\xF4\x90\x80\x80", "a\x80"}) {
        EXPECT_FALSE(DecodeGeneralUtf8(bytes).has_value());
    }
    EXPECT_EQ(ToGeneralUtf8(Text(1, u'\xDCE9')), "\xED\xB3\xA9");
}

TEST(DecodedUtf8, ReplacesWhatIsNotUtf8) {
    const std::vector<std::pair<std::string, Text>> rows{
        {"", u""},
        {"a\xC3\xA9\xE6\x9D\xB1\xF0\x9F\x8E\xAE", u"a\u00E9\u6771\U0001F3AE"},
        {"\xEF\xBB\xBF"
         "a",
         u"\uFEFFa"},
        {"\xF4\x8F\xBF\xBF\xED\x9F\xBF\xEE\x80\x80", u"\U0010FFFF\uD7FF\uE000"},
        {"a\x80"
         "b",
         u"a\uFFFDb"},
        {"\xC3", u"\uFFFD"},
        {"\xC3(", u"\uFFFD("},
        {"\xE6\x9D", u"\uFFFD"},
        {"\xE6\x9D"
         "a",
         u"\uFFFDa"},
        {"\xF0\x9F\x8E", u"\uFFFD"},
        {"\xF0\x9F\x8E\xF0\x9F\x8E\xAE", u"\uFFFD\U0001F3AE"},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF5\xFF", u"\uFFFD\uFFFD"},
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(DecodeUtf8(bytes), text) << testing::PrintToString(bytes);
        EXPECT_EQ(IsUtf8(bytes), !Contains(text, u"\uFFFD")) << testing::PrintToString(bytes);
    }
}

TEST(Utf8, EveryByteStringConvertsBackUnchanged) {
    // Random strings, with a fixed seed, of the bytes that form valid, overlong, surrogate and broken sequences.
    const std::string alphabet = "a\x80\xA0\xB0\xB2\xBF\xC3\xE0\xED\xED\xED\xF0\xF4\xFF\x90";
    std::minstd_rand random(4711);
    for (int round = 0; round < 200000; ++round) {
        std::string bytes;
        for (std::size_t length = random() % 9; length > 0; --length) {
            bytes += alphabet[random() % alphabet.size()];
        }
        ASSERT_EQ(ToUtf8(FromUtf8(bytes)), bytes);
    }
}

}  // namespace
}  // namespace zv
