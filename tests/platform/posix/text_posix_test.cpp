#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

#include "platform/text.h"
#include "support/text.h"

namespace {

int Print(const char16_t* format, ...) {
    char16_t buffer[99];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = platform::FormatPrintf(buffer, std::size(buffer), format, arguments);
    va_end(arguments);
    return length;
}

bool Compose(const char16_t* format, ...) {
    std::u16string text;
    std::va_list arguments;
    va_start(arguments, format);
    const bool isGood = platform::ComposeMessage(text, format, arguments);
    va_end(arguments);
    return isGood;
}

TEST(FormatTest, AnUnknownPlaceholderIsRefused) {
    EXPECT_EQ(Print(u"%d", 1), 1);
    EXPECT_EQ(Print(u"%q", 1), -1);
    EXPECT_EQ(Print(u"100%"), -1);
    EXPECT_TRUE(Compose(u"%1!s!", u"a"));
    EXPECT_FALSE(Compose(u"%1!k!", u"a"));
}

TEST(SystemTextTest, HasTheWordsOfAnEnglishWindows) {
    EXPECT_EQ(Utf8(platform::SystemErrorText(2)), "The system cannot find the file specified.\r\n");
    EXPECT_EQ(Utf8(platform::SystemErrorText(0x80070057U)), "The parameter is incorrect.\r\n");
}

}  // namespace
