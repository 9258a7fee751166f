#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

#include "platform/text.h"
#include "support/system.h"
#include "support/text.h"

namespace {

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

TEST(PrintfTest, WritesNumbersAsTheFormatSays) {
    EXPECT_EQ(Print(99, u"%d|%5d|%-5d|%05d|%+d|% d", -7, 42, 42, -42, 3, 4),
              "-7|   42|42   |-0042|+3| 4");
    EXPECT_EQ(Print(99, u"%u|%x|%04X|%#x|%o|%.3u", 4294967295U, 255U, 0xABU, 255U, 8U, 7U),
              "4294967295|ff|00AB|0xff|10|007");
    EXPECT_EQ(Print(99, u"%lld|%I64u|%hu|%*d", -5000000000LL, ~0ULL, 65537, -4, 9),
              "-5000000000|18446744073709551615|1|9   ");
    EXPECT_EQ(Print(99, u"%lu,%d", 7U, static_cast<int>(0x80000000U)), "7,-2147483648");
}

TEST(PrintfTest, WritesTexts) {
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

TEST(MessageTest, InsertsStandInAnyOrder) {
    EXPECT_EQ(Compose(u"%2 %1%2", u"a", u"b"), "b ab");
    EXPECT_EQ(Compose(u"%1!5s!|%1!-4s!|%2!04x!", u"ab", 255), "   ab|ab  |00ff");
    EXPECT_EQ(Compose(u"%10 %1", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"ten"),
              "ten 1");
    EXPECT_EQ(Compose(u"%1", u"%1 stays %n"), "%1 stays %n");
}

TEST(MessageTest, EscapesAndLineBreaks) {
    EXPECT_EQ(Compose(u"100%%%n%t|%.%!%r"), "100%\r\n\t|.!\r");
    EXPECT_EQ(Compose(u"a\nb\r\nc\rd"), "a\r\nb\r\nc\r\nd");
    EXPECT_EQ(Compose(u"cut%0 off"), "cut");
    EXPECT_EQ(Compose(u"%"), "bad");
    EXPECT_EQ(Compose(u"%1!5", u"a"), "bad");
}

TEST(MessageTest, AWidthOfItsOwnIsAnInsertToo) {
    if (RunsInWine()) {
        GTEST_SKIP() << "Wine does not count it, and has no %b";
    }
    EXPECT_EQ(Compose(u"%1!*u!|%3%b|", 4, 7, u"z"), "   7|z |");
}

TEST(MessageTest, AnUnknownPlaceholderIsRefused) {
    if (RunsOnWindows()) {
        GTEST_SKIP() << "Windows prints some of them";
    }
    EXPECT_EQ(Print(99, u"%q", 1), "bad");
    EXPECT_EQ(Print(99, u"100%"), "bad");
    EXPECT_EQ(Compose(u"%1!k!", u"a"), "bad");
}

}  // namespace
