#include "foundation/wide_string.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

TEST(StrTest, OnlyTheTextZeroIsFalse) {
    EXPECT_FALSE(CStrW(u"0").IsTrue());
    for (const char16_t* text : {u"", u"00", u"false", u"1", u"0 "}) {
        SCOPED_TRACE(Utf8(text));
        EXPECT_TRUE(CStrW(text).IsTrue());
    }
}

TEST(StrTest, EmptyTextsStandBeforeAllOthers) {
    const std::u16string_view leadingNul(u"\0a", 2);
    EXPECT_EQ(CStrW().CompareNoCase(std::u16string_view()), 0);
    EXPECT_EQ(CStrW().CompareNoCase(u"a"), -1);
    EXPECT_EQ(CStrW(u"a").CompareNoCase(u""), 1);
    EXPECT_EQ(CStrW(leadingNul).CompareNoCase(u""), 0);
    EXPECT_TRUE(CStrW(leadingNul).EqualsNoCase(u""));
    EXPECT_FALSE(CStrW().EqualsNoCase(u"a"));
}

TEST(StrTest, ComparesIgnoringCaseInTheLocalesOrder) {
    EXPECT_TRUE(CStrW(u"\u00C4bc").EqualsNoCase(u"\u00E4BC"));
    EXPECT_FALSE(CStrW(u"\u00C4bc").EqualsNoCase(u"Abc"));
    EXPECT_EQ(CStrW(u"a").CompareNoCase(u"B"), -1);
    EXPECT_EQ(CStrW(u"\u00E4").CompareNoCase(u"b"), -1);
    EXPECT_EQ(CStrW(u"abcX").CompareN(u"ABCy", 3, true), 0);
    EXPECT_NE(CStrW(u"abc").CompareN(u"ABC", 3, false), 0);
    EXPECT_TRUE(CStrW(u"Prefixed").StartsWithNoCase(u"prefix"));
    EXPECT_FALSE(CStrW(u"Pre").StartsWithNoCase(u"prefix"));
}

TEST(StrTest, ReplaceNeverSearchesWhatItPutIn) {
    const auto replaced = [](CStrW text, const char16_t* from, const char16_t* to) {
        const std::size_t count = text.Replace(from, to, true);
        return std::to_string(count) + Utf8(text);
    };
    EXPECT_EQ(replaced(u"aaa", u"a", u"bb"), "3bbbbbb");
    EXPECT_EQ(replaced(u"a", u"a", u"aa"), "1aa");
    EXPECT_EQ(replaced(u"aa", u"", u"x"), "0aa");
    EXPECT_EQ(replaced(u"x%Sid%y%SID%", u"%SID%", u""), "2xy");
    EXPECT_EQ(replaced(u"aaaa", u"aa", u"c"), "2cc");
    CStrW text(u"cAac");
    EXPECT_EQ(text.Replace(u"a", u"", false), 1U);
    EXPECT_EQ(text.Remove(u"c"), 2U);
    EXPECT_EQ(text, CStrW(u"A"));
}

TEST(StrTest, PartsAreClippedToTheText) {
    const CStrW text(u"abcd");
    EXPECT_EQ(text.Mid(2, 100), CStrW(u"cd"));
    EXPECT_EQ(text.Mid(1, kAllCharacters), CStrW(u"bcd"));
    EXPECT_TRUE(text.Mid(4, 1).IsEmpty());
    CStrW own(u"abcd");
    own.Assign(own.View().substr(1, 2));
    EXPECT_EQ(own, CStrW(u"bc"));
    own.Append(own.View());
    EXPECT_EQ(own, CStrW(u"bcbc"));
}

TEST(StrTest, InsertsAndTrims) {
    CStrW text(u"ab");
    EXPECT_EQ(text.Insert(99, u'x'), 3U);
    EXPECT_EQ(text.Insert(0, char16_t{0}), 3U);
    EXPECT_EQ(text, CStrW(u"abx"));
    text = uR"(\\srv\share)";
    text.InsertUncPrefix();
    EXPECT_EQ(text, CStrW(uR"(\\?\UNC\srv\share)"));
    text = u" \t a b\r\n";
    text.Trim();
    EXPECT_EQ(text, CStrW(u"a b"));
    text = uR"(""a"b"")";
    text.TrimLeftQuotes();
    text.TrimRightQuotes();
    EXPECT_EQ(text, CStrW(uR"(a"b)"));
}

TEST(StrTest, KnowsAGuidByItsShape) {
    EXPECT_TRUE(CreateGuidString().IsGuid());
    EXPECT_TRUE(CStrW(u"{0a1b2c3d-4E5f-6071-8293-a4b5c6d7e8f9}").IsGuid());
    for (const char16_t* text :
         {u"{0a1b2c3d-4E5f-6071-8293-a4b5c6d7e8f9", u"{0a1b2c3d-4E5f-6071-8293-a4b5c6d7e8g9}",
          u"(0a1b2c3d-4E5f-6071-8293-a4b5c6d7e8f9)", u"{0a1b2c3d04E5f-6071-8293-a4b5c6d7e8f9}"}) {
        EXPECT_FALSE(CStrW(text).IsGuid()) << Utf8(text);
    }
}

TEST(StrTest, FormatsTextsOfAnyLength) {
    for (const std::size_t length : {126U, 127U, 128U, 129U, 255U, 256U, 20000000U}) {
        const std::u16string filler(length, u'x');
        EXPECT_TRUE(CStrW(PrintfStyle, u"%s", filler.c_str()) == CStrW(filler)) << length;
    }
    EXPECT_EQ(CStrW(PrintfStyle, u"~%04x|%02X|%s", 0xABU, 10U, u"t"), CStrW(u"~00ab|0A|t"));
    EXPECT_EQ(CStrW(FormatMessageStyle, u"%2 and %1, 100%%", u"a", u"b"), CStrW(u"b and a, 100%"));
    EXPECT_EQ(CStrW(FormatMessageStyle, 105U, nullptr, u"f", u"why"),
              CStrW(u"Failed to copy file 'f' from CAS package.  why"));
    CStrW text(u"old");
    EXPECT_FALSE(text.Format(nullptr));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(StrTest, SearchFoldsEachUnitByItself) {
    EXPECT_EQ(FindSubstringNoCaseIndex(u"xx\u00C4B", u"\u00E4b"), 2U);
    EXPECT_EQ(FindSubstringNoCaseIndex(u"ab", u"abc"), kAllCharacters);
    EXPECT_EQ(FindSubstringNoCaseIndex(u"aab", u"AB"), 1U);
    EXPECT_EQ(FindSubstring(u"aAb", 3, u"Ab", 2)[0], u'A');
    EXPECT_EQ(FindSubstring(u"aab", 3, u"AB", 2), nullptr);
}

TEST(StrTest, SystemErrorTextsStandOnOneLine) {
    const CStrW text = GetSystemErrorMessage(2);
    EXPECT_FALSE(text.IsEmpty());
    EXPECT_EQ(text.View().find_first_of(u"\r\n"), kAllCharacters);
    EXPECT_EQ(GetSystemErrorMessage(static_cast<int>(0x80070002U)), text);
    EXPECT_TRUE(GetSystemErrorMessage(0x12345).IsEmpty());
}

}  // namespace
