#include "core/Text.h"

#include <gtest/gtest.h>

namespace zv {
namespace {

TEST(Text, ACodeIsPrintedWithEightUpperCaseDigits) {
    EXPECT_EQ(CodeSuffix(0x887A0002U), u" (0x887A0002)");
    EXPECT_EQ(CodeSuffix(0), u" (0x00000000)");
    EXPECT_EQ(CodeSuffix(0xABCDEF01U), u" (0xABCDEF01)");
}

TEST(Text, DecimalsHaveNoPadding) {
    EXPECT_EQ(Decimal(0), u"0");
    EXPECT_EQ(Decimal(-7), u"-7");
    EXPECT_EQ(DecimalUnsigned(18446744073709551615U), u"18446744073709551615");
}

TEST(Text, EveryByteBecomesTheUnitOfItsValueAndBack) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes.push_back(static_cast<char>(value));
    }
    const Text text = Widen(bytes);
    for (std::size_t index = 0; index < 256; ++index) {
        EXPECT_EQ(text[index], index);
    }
    EXPECT_EQ(Narrow(text), bytes);
}

TEST(Text, LowerCasingChangesLettersOnly) { EXPECT_EQ(Lowered(u"CS2-[Win64]_AZ@`{"), u"cs2-[win64]_az@`{"); }

}  // namespace
}  // namespace zv
