#include "foundation/number_text.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "foundation/hex.h"
#include "support/text.h"

namespace {

struct SNumberCase {
    const char16_t* text;
    std::uint64_t value;
};

TEST(NumberTextTest, PlainRuleTakesLettersAsDigits) {
    const SNumberCase cases[] = {
        {u"12", 12}, {u"12a", 130}, {u"1Z", 45},        {u"0x10", 3310}, {u"12 3", 12},
        {u" 12", 0}, {u"-1", 0},    {u"", 0},           {u"1\u0663", 1}, {u"[", 0},
        {u"9@", 9},  {u"9`", 9},    {u"false", 162394},
    };
    for (const SNumberCase& each : cases) {
        SCOPED_TRACE(Utf8(each.text));
        EXPECT_EQ(ReadPlainNumber64(each.text), each.value);
        EXPECT_EQ(ReadPlainNumber32(each.text), each.value);
    }
    EXPECT_EQ(ReadPlainNumber64(u"fG", 16), 15U * 16 + 16);
}

TEST(NumberTextTest, CheckedRuleRefusesWhatIsNoNumber) {
    const SNumberCase cases[] = {
        {u"12", 12}, {u"0x1F", 31}, {u"0X1f", 31}, {u"0x", 0},  {u"", 0},  {u"1a", 0},
        {u"-1", 0},  {u"12 ", 0},   {u"0x1g", 0},  {u"x10", 0}, {u"0", 0}, {u"00x1", 0},
    };
    for (const SNumberCase& each : cases) {
        SCOPED_TRACE(Utf8(each.text));
        EXPECT_EQ(ReadCheckedNumber64(each.text), each.value);
    }
}

TEST(NumberTextTest, LargeNumbersWrapAtTheirWidth) {
    EXPECT_EQ(ReadPlainNumber32(u"4294967295"), 4294967295U);
    EXPECT_EQ(ReadPlainNumber32(u"4294967296"), 0U);
    EXPECT_EQ(ReadPlainNumber64(u"18446744073709551617"), 1U);
    EXPECT_EQ(ReadCheckedNumber16(u"65537"), 1U);
    EXPECT_EQ(ReadCheckedNumber32(u"0x1FFFFFFFF"), 0xFFFFFFFFU);
    EXPECT_EQ(ReadCheckedNumber64(u"0xFFFFFFFFFFFFFFFF"), ~std::uint64_t{0});
}

TEST(NumberTextTest, WritesTheExtremes) {
    EXPECT_EQ(IntToDecimal(std::numeric_limits<std::int32_t>::min()), CStrW(u"-2147483648"));
    EXPECT_EQ(IntToDecimal(0), CStrW(u"0"));
    EXPECT_EQ(UnsignedToText(4294967295U), CStrW(u"4294967295"));
    EXPECT_EQ(NumberToHex(0), CStrW(u"0x0"));
    EXPECT_EQ(NumberToHex(~std::uint64_t{0}), CStrW(u"0xFFFFFFFFFFFFFFFF"));
}

TEST(HexTest, TellsHexadecimalTextFromOther) {
    EXPECT_TRUE(IsHexString(u"") && IsHexString(u"09afAF"));
    for (const char16_t* text : {u"g", u"0G", u"0x1", u" 1", u"@", u"\u0661"}) {
        SCOPED_TRACE(Utf8(text));
        EXPECT_FALSE(IsHexString(text));
    }
}

TEST(HexTest, DecodesEveryPairAndALoneLastUnit) {
    std::array<std::uint8_t, 4> bytes = {9, 9, 9, 9};
    std::size_t count = 0;
    HexToBytes(u"0AF", bytes.data(), count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0x0A, 0x0F, 9, 9}));
    HexToBytes(u"fFz1-17-", bytes.data(), count);
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0xFF, 0x31, 0, 7}));  // "z1" is 35 * 16 + 1
}

}  // namespace
