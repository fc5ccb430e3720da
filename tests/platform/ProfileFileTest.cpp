// INI files on the disk, over a table. On Windows the table pins what the system does.
#include "platform/ProfileFile.h"

#include <gtest/gtest.h>

#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using std::string_literals::operator""s;

class ProfileFile : public testing::Test {
protected:
    Text Path() const { return FromPath(folder_.Path() / "a.ini"); }
    Text Value(const std::string& bytes) const {
        support::WriteBytes(folder_.Path() / "a.ini", bytes);
        return ReadProfileText(Path(), u"S", u"K");
    }
    support::TemporaryFolder folder_;
};

std::string Utf16(TextView text, bool bigEndian) {
    std::string bytes;
    for (const char16_t unit : u"\uFEFF" + Text(text)) {
        const char low = static_cast<char>(unit & 0xFFU);
        const char high = static_cast<char>(unit >> 8U);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

TEST_F(ProfileFile, HasSectionsKeysAndValues) {
    const std::vector<std::pair<std::string, Text>> rows{
        {"[S]\r\nK=v", u"v"},
        {"[S]\nK=v\n", u"v"},
        {"[S]\rK=v\r", u"v"},
        {"\n\n[S]\n\n\nK=v", u"v"},
        {"[s]\nk=v", u"v"},
        {" [S] \n K = v \n", u"v"},
        {"\t[\vS\f]\n\vK\f=\tv\t", u"v"},
        {"[S]\nK=a b", u"a b"},
        {"[S]\nK==v", u"=v"},
        {"[S]\nK=[T]", u"[T]"},
        {"[S]\nK=v;c", u"v;c"},
        {"[S]\nK=\x1A v\x1Aw\x1A", u"v\u001Aw"},
        {"[S]\nK=v\0w"s, u"v"},
        // The line of a section.
        {"x[S]\nK=v", u""},
        {"[S]x\nK=v", u"v"},
        {"[S\nK=v", u""},
        {"[S]]\nK=v", u""},
        {"[]S]\nK=v", u""},
        {"[S]K=v", u""},
        {";[S]\nK=v", u""},
        {"K=v", u""},
        {"[]\nK=v", u""},
        {"[S]\n[\nK=v", u"v"},
        {"[S]\n[T\nK=v", u"v"},
        {"[S]\n [T]\nK=v", u""},
        {"[T]\nK=w\n[S]\nK=v", u"v"},
        // The first match counts.
        {"[S]\nK=v\nK=w", u"v"},
        {"[S]\nK=\nK=v", u""},
        {"[S]\nK\nK=v", u""},
        {"[S]\nJ=1\n[S]\nK=v", u""},
        {"[S]\nJ=1\n[T]\n[S]\nK=v", u""},
        {"[S]\n;K=w\nK=v", u"v"},
        {"[S]\nKK=w\nK K=w\nK=v", u"v"},
        {"[S]\n=w\nK=v", u"v"},
        // Quotes.
        {"[S]\nK=\"v\"", u"v"},
        {"[S]\nK='v'", u"v"},
        {"[S]\nK= \" v \" ", u" v "},
        {"[S]\nK=\"\"", u""},
        {"[S]\nK=\"\"v\"\"", u"\"v\""},
        {"[S]\nK=\"a\"b\"", u"a\"b"},
        {"[S]\nK=\"v'", u"\"v'"},
        {"[S]\nK=\"v", u"\"v"},
        {"[S]\nK=\"", u"\""},
        {"[S]\nK=\"v\" x", u"\"v\" x"},
        // Encodings.
        {"[S]\nK=\x80\x9F\xE9\xFF", u"\u20AC\u0178\u00E9\u00FF"},
        {"[S]\nK=\x81\x8D\x8F\x90\x9D", u"\u0081\u008D\u008F\u0090\u009D"},
        {"[S]\nK=\xA0v\xA0", u"\u00A0v\u00A0"},
        {"\xE9\n[S]\nK=v", u"v"},
        {"\xEF\xBB\xBF[S]\nK=\xC3\xA9", u"\u00E9"},
        {Utf16(u"[S]\r\nK=v\u6771\U0001F3AE", false), u"v\u6771\U0001F3AE"},
        {Utf16(u"[S]\r\nK=v\u6771", true), u"v\u6771"},
        {"", u""},
    };
    for (const auto& [bytes, value] : rows) {
        EXPECT_EQ(Value(bytes), value) << testing::PrintToString(bytes);
    }
}

TEST_F(ProfileFile, AValueHas2047UnitsAtMost) {
    EXPECT_EQ(Value("[S]\nK=" + std::string(2047, 'v')).size(), 2047U);
    EXPECT_EQ(Value("[S]\nK=" + std::string(2048, 'v')).size(), 2047U);
    EXPECT_EQ(Value("[S]\nK=\"" + std::string(3000, 'v') + "\"").size(), 2047U);
}

TEST_F(ProfileFile, AMissingFileHasNoValues) {
    EXPECT_EQ(ReadProfileText(Path(), u"S", u"K"), u"");
    EXPECT_EQ(ReadProfileText(FromPath(folder_.Path()), u"S", u"K"), u"");
}

}  // namespace
}  // namespace zv
