#include "foundation/hex.h"

#include <gtest/gtest.h>

#include <array>
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
