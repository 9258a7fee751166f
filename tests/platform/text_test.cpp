#include "platform/text.h"

#include <cstdarg>

#include "platform/com.h"
#include "platform/utf8.h"
#include "support/system.h"
#include "support/test.h"

namespace {

std::u16string SystemText(std::uint32_t code) { return platform::SystemErrorText(code); }

TEST(CollationTest, IgnoresNothingButLetterCase) {
    // The order, and whether they are equal but for letter case.
    const std::tuple<const char16_t*, const char16_t*, int, bool> comparisons[] = {
        {u"a", u"B", -1, false},          {u"\u00E4", u"b", -1, false},
        {u"ab", u"abc", -1, false},       {u"e", u"\u00E9", -1, false},
        {u"abc", u"ABC", -1, true},       {u"\u00C4b", u"\u00E4B", 1, true},
        {u"\u00C9", u"E\u0301", 0, true},
    };
    for (const auto& [left, right, order, isEqual] : comparisons) {
        SCOPED_TRACE(Utf8(left) + " " + Utf8(right));
        EXPECT_EQ(platform::CompareText(left, right, false), order);
        EXPECT_EQ(platform::CompareText(right, left, false), -order);
        EXPECT_EQ(platform::CompareText(left, right, true) == 0, isEqual);
        EXPECT_EQ(platform::EqualText(left, right), isEqual);
    }
}

TEST(UnitTest, IsLoweredByItselfAndMayBeWhiteSpace) {
    std::u16string text = u"Az[\u00C4\u00DF\u03A3\u0416\u0131\xD801\xDC00";
    platform::FoldText(text.data(), text.size());
    EXPECT_EQ(Utf8(text), Utf8(u"az[\u00E4\u00DF\u03C3\u0436\u0131\xD801\xDC00"));
    // The upper-case form of what these would become is another character.
    for (const char16_t unit : u"\u0130\u01C5\u01C8\u01F2\u03F4\u1E9E\u2126\u212A\u212B") {
        EXPECT_EQ(platform::FoldUnit(unit), unit) << std::hex << static_cast<unsigned>(unit);
    }
    // White space is more than the blank.
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

// The formatted text, or "bad" for a refused format.
std::string Print(std::size_t capacity, const char16_t* format, ...) {
    std::u16string buffer(capacity, u'?');
    std::va_list arguments;
    va_start(arguments, format);
    const int length = platform::FormatPrintf(buffer.data(), capacity, format, arguments);
    va_end(arguments);
    return length < 0 ? "bad" : Utf8(std::u16string_view(buffer.c_str(), std::size_t(length)));
}

std::string Compose(const char16_t* format, ...) {
    std::u16string text;
    std::va_list arguments;
    va_start(arguments, format);
    const bool isGood = platform::ComposeMessage(text, format, arguments);
    va_end(arguments);
    return isGood ? Utf8(text) : "bad";
}

TEST(PrintfTest, WritesNumbersAndTextsAsTheFormatSays) {
    EXPECT_EQ(Print(99, u"%d|%5d|%-5d|%05d|%+d|% d", -7, 42, 42, -42, 3, 4),
              "-7|   42|42   |-0042|+3| 4");
    EXPECT_EQ(Print(99, u"%u|%x|%04X|%#x|%o|%#4o|%.3u", 4294967295U, 255U, 0xABU, 255U, 8U, 8U, 7U),
              "4294967295|ff|00AB|0xff|10| 010|007");
    EXPECT_EQ(Print(99, u"%lld|%I64u|%hu|%*d", -5000000000LL, ~0ULL, 65537, -4, 9),
              "-5000000000|18446744073709551615|1|9   ");
    EXPECT_EQ(Print(99, u"%lu,%d", 7U, static_cast<int>(0x80000000U)), "7,-2147483648");
    EXPECT_EQ(Print(99, u"[%s|%6s|%-6s|%.2s]", u"\u00E4b", u"cd", u"ef", u"ghi"),
              "[\u00E4b|    cd|ef    |gh]");
    EXPECT_EQ(Print(99, u"%c%%%ls", u'x', u"y"), "x%y");
    EXPECT_EQ(Print(99, u"%s", static_cast<const char16_t*>(nullptr)), "(null)");
}

TEST(PrintfTest, WhatDoesNotFitIsRefusedAndStillTerminated) {
    EXPECT_EQ(Print(4, u"%s", u"abc"), "abc");
    EXPECT_EQ(Print(4, u"%s", u"abcd"), "bad");
    char16_t buffer[4] = u"???";
    std::va_list none{};
    EXPECT_EQ(platform::FormatPrintf(buffer, 4, u"abcdef", none), -1);
    EXPECT_EQ(Utf8(buffer), "abc");
    EXPECT_EQ(platform::FormatPrintf(nullptr, 0, u"", none), -1);
}

TEST(MessageTest, InsertsEscapesAndLineBreaks) {
    EXPECT_EQ(Compose(u"%2 %1%2", u"a", u"b"), "b ab");
    EXPECT_EQ(Compose(u"%1!5s!|%1!-4s!|%2!04x!", u"ab", 255), "   ab|ab  |00ff");
    EXPECT_EQ(Compose(u"%10 %1", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"ten"),
              "ten 1");
    EXPECT_EQ(Compose(u"%1", u"%1 stays %n"), "%1 stays %n");
    EXPECT_EQ(Compose(u"100%%%n%t|%.%!%r"), "100%\r\n\t|.!\r");
    EXPECT_EQ(Compose(u"a\nb\r\nc\rd"), "a\r\nb\r\nc\r\nd");
    EXPECT_EQ(Compose(u"cut%0 off"), "cut");
    EXPECT_EQ(Compose(u"%"), "bad");
    EXPECT_EQ(Compose(u"%1!5", u"a"), "bad");
    if (!RunsInWine()) {  // which does not count a width of its own, and has no %b
        EXPECT_EQ(Compose(u"%1!*u!|%3%b|", 4, 7, u"z"), "   7|z |");
    }
    if (!RunsOnWindows()) {  // which prints some placeholders that nobody knows
        EXPECT_EQ(Print(99, u"%q", 1), "bad");
        EXPECT_EQ(Print(99, u"100%"), "bad");
        EXPECT_EQ(Compose(u"%1!k!", u"a"), "bad");
    }
}

using platform::Utf16ToUtf8;
using platform::Utf8ToUtf16;

TEST(Utf8Test, CharactersOfEveryLengthGoBothWays) {
    const std::string bytes =
        "\x01z\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
        "\xF4\x8F\xBF\xBF";
    const std::u16string text = u"\u0001z\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    EXPECT_TRUE(Utf8ToUtf16(bytes) == text);
    EXPECT_EQ(Utf16ToUtf8(text), bytes);
    // What is malformed shows as the replacement character.
    for (const char* bad : {"\x80", "\xFF", "\xC3", "\xE2\x82", "\xED\xA0\x80", "\xE0\x80\xAF",
                            "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xC1"}) {
        EXPECT_TRUE(Utf8ToUtf16(bad + std::string("b")) == u"\uFFFDb") << bad;
    }
    EXPECT_EQ(Utf16ToUtf8(u"a\xD800"), "a\xEF\xBF\xBD");
    EXPECT_EQ(Utf16ToUtf8(u"\xDC00\xD800x"), "\xEF\xBF\xBD\xEF\xBF\xBDx");
}

TEST(GuidTextTest, ComesBackInUpperCaseFromAnyCase) {
    GUID guid{};
    ASSERT_TRUE(platform::TextToGuid(u"{0a1b2c3d-4E5f-6071-8293-a4b5c6d7e8f9}", guid));
    EXPECT_EQ(guid.Data1, 0x0A1B2C3DU);
    EXPECT_EQ(guid.Data4[7], 0xF9);
    EXPECT_EQ(Utf8(platform::GuidToText(guid)), "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}");
    for (const char16_t* text :
         {u"", u"0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9", u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9",
          u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8G9}", u"{0A1B2C3D04E5F-6071-8293-A4B5C6D7E8F9}"}) {
        SCOPED_TRACE(Utf8(text));
        guid.Data1 = 1;
        EXPECT_FALSE(platform::TextToGuid(text, guid));
        EXPECT_EQ(guid.Data1, 1U);
    }
}

}  // namespace
