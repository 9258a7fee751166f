#include <array>
#include <limits>

#include "foundation/double_null_string.h"
#include "foundation/file_path.h"
#include "foundation/hex.h"
#include "foundation/number_text.h"
#include "foundation/text_file.h"
#include "foundation/xml_escape.h"
#include "support/test.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(StrTest, ComparesIgnoringCaseWithEmptyTextsFirst) {
    const std::tuple<std::u16string_view, std::u16string_view, int> rows[] = {
        {u"", u"", 0},
        {u"", u"a", -1},
        {u"a", u"", 1},
        {u"\0a"sv, u"", 0},
        {u"\u00C4b", u"\u00E4B", 0},
        {u"\u00E4", u"b", -1},
        {u"\u00C4b", u"Ab", 1},
    };
    for (const auto& [left, right, order] : rows) {
        SCOPED_TRACE(Utf8(left) + " " + Utf8(right));
        EXPECT_EQ(CStrW(left).CompareNoCase(right), order);
        EXPECT_EQ(CStrW(left).EqualsNoCase(right), order == 0);
    }
    EXPECT_EQ(CStrW(u"abcX").CompareN(u"ABCy", 3, true), 0);
    EXPECT_NE(CStrW(u"abc").CompareN(u"ABC", 3, false), 0);
    EXPECT_TRUE(CStrW(u"Prefixed").StartsWithNoCase(u"prefix"));
    EXPECT_FALSE(CStrW(u"Pre").StartsWithNoCase(u"prefix"));
    for (const char16_t* text : {u"", u"00", u"false", u"1", u"0 ", u"0"}) {
        EXPECT_EQ(CStrW(text).IsTrue(), text != u"0"sv) << Utf8(text);
    }
}

TEST(StrTest, SearchesEachUnitAndNeverWhatItPutIn) {
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
    // A search folds each unit by itself.
    EXPECT_EQ(FindSubstringNoCaseIndex(u"xx\u00C4B", u"\u00E4b"), 2U);
    EXPECT_EQ(FindSubstringNoCaseIndex(u"ab", u"abc"), kAllCharacters);
    EXPECT_EQ(FindSubstringNoCaseIndex(u"aab", u"AB"), 1U);
    EXPECT_EQ(FindSubstring(u"aAb", 3, u"Ab", 2)[0], u'A');
    EXPECT_EQ(FindSubstring(u"aab", 3, u"AB", 2), nullptr);
}

TEST(StrTest, PartsAreClippedToTheText) {
    CStrW text(u"abcd");
    EXPECT_EQ(text.Mid(2, 100), CStrW(u"cd"));
    EXPECT_EQ(text.Mid(1, kAllCharacters), CStrW(u"bcd"));
    EXPECT_TRUE(text.Mid(4, 1).IsEmpty());
    text.Assign(text.View().substr(1, 2));
    text.Append(text.View());
    EXPECT_EQ(text, CStrW(u"bcbc"));
    EXPECT_EQ(text.Insert(99, u'x'), 5U);
    EXPECT_EQ(text.Insert(0, char16_t{0}), 5U);
    EXPECT_EQ(text, CStrW(u"bcbcx"));
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
    // Texts of the system are on one line.
    text = GetSystemErrorMessage(2);
    EXPECT_FALSE(text.IsEmpty());
    EXPECT_EQ(text.View().find_first_of(u"\r\n"), kAllCharacters);
    EXPECT_EQ(GetSystemErrorMessage(static_cast<int>(0x80070002U)), text);
    EXPECT_TRUE(GetSystemErrorMessage(0x12345).IsEmpty());
}

TEST(NumberTextTest, PlainRuleTakesLettersAsDigitsAndCheckedRuleRefusesThem) {
    const std::tuple<const char16_t*, std::uint64_t, std::uint64_t> rows[] = {
        {u"12", 12, 12},     {u"12a", 130, 0},    {u"1Z", 45, 0},    {u"0x10", 3310, 16},
        {u"12 3", 12, 0},    {u" 12", 0, 0},      {u"-1", 0, 0},     {u"", 0, 0},
        {u"1\u0663", 1, 0},  {u"[", 0, 0},        {u"9@", 9, 0},     {u"9`", 9, 0},
        {u"0x1F", 3325, 31}, {u"0X1f", 3325, 31}, {u"0x", 33, 0},    {u"12 ", 12, 0},
        {u"0x1g", 3326, 0},  {u"x10", 3310, 0},   {u"00x1", 331, 0}, {u"false", 162394, 0},
    };
    for (const auto& [text, plain, checked] : rows) {
        SCOPED_TRACE(Utf8(text));
        EXPECT_EQ(ReadPlainNumber64(text), plain);
        EXPECT_EQ(ReadPlainNumber32(text), plain);
        EXPECT_EQ(ReadCheckedNumber64(text), checked);
    }
    EXPECT_EQ(ReadPlainNumber64(u"fG", 16), 15U * 16 + 16);
    // Large numbers wrap at their width.
    EXPECT_EQ(ReadPlainNumber32(u"4294967295"), 4294967295U);
    EXPECT_EQ(ReadPlainNumber32(u"4294967296"), 0U);
    EXPECT_EQ(ReadPlainNumber64(u"18446744073709551617"), 1U);
    EXPECT_EQ(ReadCheckedNumber16(u"65537"), 1U);
    EXPECT_EQ(ReadCheckedNumber32(u"0x1FFFFFFFF"), 0xFFFFFFFFU);
    EXPECT_EQ(ReadCheckedNumber64(u"0xFFFFFFFFFFFFFFFF"), ~std::uint64_t{0});
    EXPECT_EQ(IntToDecimal(std::numeric_limits<std::int32_t>::min()), CStrW(u"-2147483648"));
    EXPECT_EQ(IntToDecimal(0), CStrW(u"0"));
    EXPECT_EQ(UnsignedToText(4294967295U), CStrW(u"4294967295"));
    EXPECT_EQ(NumberToHex(0), CStrW(u"0x0"));
    EXPECT_EQ(NumberToHex(~std::uint64_t{0}), CStrW(u"0xFFFFFFFFFFFFFFFF"));
}

TEST(HexTest, DecodesEveryPairAndALoneLastUnit) {
    EXPECT_TRUE(IsHexString(u"") && IsHexString(u"09afAF"));
    for (const char16_t* text : {u"g", u"0G", u"0x1", u" 1", u"@", u"\u0661"}) {
        EXPECT_FALSE(IsHexString(text)) << Utf8(text);
    }
    std::array<std::uint8_t, 4> bytes = {9, 9, 9, 9};
    std::size_t count = 0;
    HexToBytes(u"0AF", bytes.data(), count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0x0A, 0x0F, 9, 9}));
    HexToBytes(u"fFz1-17-", bytes.data(), count);
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0xFF, 0x31, 0, 7}));  // "z1" is 35 * 16 + 1
}

CStrW Unescaped(std::u16string_view text) {
    CStrW plain(text);
    UnescapeXmlText(plain);
    return plain;
}

TEST(EscapeXmlTextTest, EscapesWhatXmlCannotHoldAndTakesOnlyWholeEscapes) {
    using Rows = std::pair<std::u16string_view, std::u16string_view>;
    const Rows escapes[] = {
        {u"a~b", u"a~~b"},
        {u"\t", u"~0009"},
        {u"a\r\nb", u"a~000d~000ab"},
        {u"\U0001F600", u"~d83d~de00"},
        {u"\uFFFD", u"~fffd"},
        {u"\uD7FF \x7F", u"\uD7FF \x7F"},
        {u"a\0~b"sv, u"a"},
    };
    for (const auto& [plain, escaped] : escapes) {
        EXPECT_EQ(EscapeXmlText(plain), CStrW(escaped));
    }
    const Rows plains[] = {
        {u"a~000db", u"a\rb"},  {u"~~000d", u"~000d"},    {u"~~~0041~", u"~A~"},
        {u"~12", u"~12"},       {u"~12G4", u"~12G4"},     {u"~ABCD~aBcd", u"\uABCD\uABCD"},
        {u"~00~0041", u"~00A"}, {u"~007E0041", u"~0041"}, {u"~0000~0041", u"~0041"},
        {u"x~0000", u"x"},
    };
    for (const auto& [escaped, plain] : plains) {
        EXPECT_EQ(Unescaped(escaped), CStrW(plain)) << Utf8(escaped);
    }
    std::u16string text;
    for (unsigned unit = 1; unit <= 0xFFFF; ++unit) {
        text += static_cast<char16_t>(unit);
    }
    EXPECT_TRUE(Unescaped(EscapeXmlText(text)) == CStrW(text));
}

TEST(DoubleNullStringTest, StringsStandOneBehindTheOtherAndACopyHasItsOwn) {
    const auto units = [](const CDoubleNullStringW& strings) {
        return std::u16string(strings.Get(), strings.GetLength());
    };
    CDoubleNullStringW strings;
    EXPECT_EQ(units(strings), u"\0\0"s);
    EXPECT_EQ(strings.GetStrings(), nullptr);
    strings.Add(u"a");
    CDoubleNullStringW copy(strings);
    copy.Add(u"");
    copy.Add(nullptr);
    copy.Add(u"bc");
    EXPECT_EQ(units(strings), u"a\0\0"s);
    EXPECT_EQ(units(copy), u"a\0bc\0\0"s);
    EXPECT_EQ(copy.GetCount(), 2U);
    EXPECT_EQ(copy.GetStrings()[1], u"bc"sv);
    strings = std::move(copy);
    EXPECT_EQ(units(strings), u"a\0bc\0\0"s);
    strings.Clear();
    EXPECT_EQ(units(strings), u"\0\0"s);
}

class TextFileTest : public testing::Test {
protected:
    void Create() {
        EXPECT_EQ(m_file.Create(CFilePathW(CStrW(m_folder.Name("a.txt")))), ERROR_SUCCESS);
    }
    // What the file holds once it is saved, which nobody else can read before it is closed.
    std::string Saved() {
        EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
        EXPECT_NE(m_file.Create(CFilePathW()), ERROR_SUCCESS);
        const std::string bytes = m_folder.ReadFile("a.txt");
        Create();
        return bytes;
    }

    CTempFolder m_folder;
    CTextFileW m_file;
};

TEST_F(TextFileTest, LinesAreOfTheCodePageOrUnicodeWithAMark) {
    Create();
    m_file.AddLine(u"\u00E9\u20AC\u0416");
    m_file.SetLineFeedOnly(true);  // in Unicode only
    EXPECT_EQ(Saved(), "\xE9\x80?\r\n");
    m_file.SetCodePage(28591);
    EXPECT_EQ(Saved(), "\xE9??\r\n");
    m_file.SetCodePage(65001);
    EXPECT_EQ(Saved(), "\u00E9\u20AC\u0416\r\n");
    m_file.SetUnicode(true);
    EXPECT_EQ(Saved(), "\xFF\xFE\xE9\0\xAC\x20\x16\x04\n\0"s);
    m_file.SetLineFeedOnly(false);
    EXPECT_EQ(Saved(), "\xFF\xFE\xE9\0\xAC\x20\x16\x04\r\0\n\0"s);
}

TEST_F(TextFileTest, SavingAgainReplacesTheFileUnlessReadOnly) {
    m_file.AddLine(u"a");
    Create();
    EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
    m_file.AddLine(CStrW(std::u16string(100000, u'x')));
    EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
    m_file.AddLine(u"b");
    m_file.SetReadOnly(true);
    EXPECT_TRUE(Saved() == "a\r\n" + std::string(100000, 'x') + "\r\n");
}

}  // namespace
