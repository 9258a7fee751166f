#include "foundation/double_null_string.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

#include "support/text.h"

namespace {

using namespace std::string_view_literals;

std::u16string_view Units(const CDoubleNullStringW& strings) {
    return {strings.Get(), strings.GetLength()};
}

TEST(DoubleNullStringTest, StringsStandOneBehindTheOther) {
    CDoubleNullStringW strings;
    EXPECT_EQ(Units(strings), u"\0\0"sv);
    EXPECT_EQ(strings.GetStrings(), nullptr);
    strings.Add(u"a");
    EXPECT_EQ(Units(strings), u"a\0\0"sv);
    strings.Add(u"");
    strings.Add(nullptr);
    strings.Add(u"bc");
    EXPECT_EQ(Units(strings), u"a\0bc\0\0"sv);
    EXPECT_EQ(strings.GetCount(), 2U);
    EXPECT_EQ(strings.GetStrings()[1], u"bc"sv);
    strings.Clear();
    EXPECT_EQ(Units(strings), u"\0\0"sv);
}

TEST(DoubleNullStringTest, ACopyHasStringsOfItsOwn) {
    CDoubleNullStringW strings;
    strings.Add(u"a");
    CDoubleNullStringW copy(strings);
    copy.Add(u"b");
    EXPECT_EQ(Units(strings), u"a\0\0"sv);
    EXPECT_EQ(Units(copy), u"a\0b\0\0"sv);
    strings = std::move(copy);
    EXPECT_EQ(Units(strings), u"a\0b\0\0"sv);
}

}  // namespace
