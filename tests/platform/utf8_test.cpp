#include "platform/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using platform::Utf16ToUtf8;
using platform::Utf8ToUtf16;

TEST(Utf8Test, CharactersOfEveryLengthGoBothWays) {
    const std::string bytes =
        "\x01z\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
        "\xF4\x8F\xBF\xBF";
    const std::u16string text = u"\u0001z\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    EXPECT_TRUE(Utf8ToUtf16(bytes) == text);
    EXPECT_EQ(Utf16ToUtf8(text), bytes);
}

TEST(Utf8Test, WhatIsMalformedShowsAsTheReplacementCharacter) {
    for (const char* bytes : {"\x80", "\xFF", "\xC3", "\xE2\x82", "\xED\xA0\x80", "\xE0\x80\xAF",
                              "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xC1"}) {
        const std::u16string text = Utf8ToUtf16(std::string("a") + bytes + "b");
        SCOPED_TRACE(Utf16ToUtf8(text));
        EXPECT_TRUE(text ==
                    u"a\uFFFD"
                    u"b");
    }
    EXPECT_EQ(Utf16ToUtf8(u"a\xD800"), "a\xEF\xBF\xBD");
    EXPECT_EQ(Utf16ToUtf8(u"\xDC00\xD800x"), "\xEF\xBF\xBD\xEF\xBF\xBDx");
}

}  // namespace
