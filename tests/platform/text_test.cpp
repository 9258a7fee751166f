#include "platform/text.h"

#include <gtest/gtest.h>

#include <string>

#include "support/system.h"
#include "support/text.h"

namespace {

std::u16string SystemText(std::uint32_t code) { return platform::SystemErrorText(code); }

struct SComparison {
    const char16_t* left;
    const char16_t* right;
    int order;
    bool isEqual;  // but for letter case
};

TEST(CollationTest, IgnoresNothingButLetterCase) {
    const SComparison comparisons[] = {
        {u"a", u"B", -1, false},          {u"\u00E4", u"b", -1, false},
        {u"ab", u"abc", -1, false},       {u"e", u"\u00E9", -1, false},
        {u"abc", u"ABC", -1, true},       {u"\u00C4b", u"\u00E4B", 1, true},
        {u"\u00C9", u"E\u0301", 0, true},
    };
    for (const SComparison& c : comparisons) {
        SCOPED_TRACE(Utf8(c.left) + " " + Utf8(c.right));
        EXPECT_EQ(platform::CompareText(c.left, c.right, false), c.order);
        EXPECT_EQ(platform::CompareText(c.right, c.left, false), -c.order);
        EXPECT_EQ(platform::CompareText(c.left, c.right, true) == 0, c.isEqual);
        EXPECT_EQ(platform::EqualText(c.left, c.right), c.isEqual);
    }
}

TEST(FoldTest, LowersEachUnitByItself) {
    std::u16string text = u"Az[\u00C4\u00DF\u03A3\u0416\u0131\xD801\xDC00";
    platform::FoldText(text.data(), text.size());
    EXPECT_EQ(Utf8(text), Utf8(u"az[\u00E4\u00DF\u03C3\u0436\u0131\xD801\xDC00"));
    // The upper-case form of what these would become is another character.
    for (const char16_t unit : u"\u0130\u01C5\u01C8\u01F2\u03F4\u1E9E\u2126\u212A\u212B") {
        EXPECT_EQ(platform::FoldUnit(unit), unit) << std::hex << static_cast<unsigned>(unit);
    }
}

TEST(WhiteSpaceTest, IsMoreThanTheBlank) {
    for (const char16_t unit : {u' ', u'\t', u'\v', u'\u00A0', u'\u2003', u'\u3000'}) {
        EXPECT_TRUE(platform::IsSpace(unit)) << std::hex << static_cast<unsigned>(unit);
    }
    for (const char16_t unit : {u'\0', u'\b', u'_', u'\u200B', u'\uFEFF'}) {
        EXPECT_FALSE(platform::IsSpace(unit)) << std::hex << static_cast<unsigned>(unit);
    }
}

TEST(SystemTextTest, AnHresultHasTheWordsOfItsErrorNumber) {
    EXPECT_TRUE(SystemText(2).ends_with(u".\r\n"));
    EXPECT_EQ(SystemText(0x80070002U), SystemText(2));
    EXPECT_NE(SystemText(0x80070057U), SystemText(2));
    EXPECT_FALSE(SystemText(0x8007000EU).empty());
    EXPECT_FALSE(SystemText(0x80004005U).empty());
    EXPECT_TRUE(SystemText(0x2ABCDEF0U).empty());
    if (!RunsOnWindows()) {
        EXPECT_EQ(Utf8(SystemText(2)), "The system cannot find the file specified.\r\n");
        EXPECT_EQ(Utf8(SystemText(0x80070057U)), "The parameter is incorrect.\r\n");
    }
}

}  // namespace
