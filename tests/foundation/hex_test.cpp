#include "foundation/hex.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/text.h"

namespace {

TEST(HexTest, BytesBecomeUpperCaseDigits) {
    const std::uint8_t bytes[] = {0x0A, 0xFF, 0x00};
    EXPECT_EQ(BytesToHex(bytes, 3), CStrW(u"0AFF00"));
    EXPECT_TRUE(BytesToHex(nullptr, 0).IsEmpty());
}

TEST(HexTest, TellsHexadecimalTextFromOther) {
    EXPECT_TRUE(IsHexString(u""));
    EXPECT_TRUE(IsHexString(u"09afAF"));
    for (const char16_t* text : {u"g", u"0G", u"0x1", u" 1", u"@", u"\u0661"}) {
        SCOPED_TRACE(Utf8(text));
        EXPECT_FALSE(IsHexString(text));
    }
}

TEST(HexTest, DecodesEveryPairAndALoneLastUnit) {
    std::uint8_t bytes[4] = {9, 9, 9, 9};
    std::size_t count = 0;
    HexToBytes(u"0AF", bytes, count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(bytes[0], 0x0A);
    EXPECT_EQ(bytes[1], 0x0F);
    EXPECT_EQ(bytes[2], 9);
    HexToBytes(u"fFz1-17-", bytes, count);
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0x31);  // 35 * 16 + 1
    EXPECT_EQ(bytes[2], 0);
    EXPECT_EQ(bytes[3], 7);
}

}  // namespace
