#include "foundation/xml_escape.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

using namespace std::string_view_literals;

CStrW Unescaped(std::u16string_view text) {
    CStrW plain(text);
    UnescapeXmlText(plain);
    return plain;
}

TEST(EscapeXmlTextTest, EscapesWhatXmlCannotHold) {
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"a~b", u"a~~b"},
        {u"\t", u"~0009"},
        {u"a\r\nb", u"a~000d~000ab"},
        {u"\U0001F600", u"~d83d~de00"},
        {u"\uFFFD", u"~fffd"},
        {u"\uD7FF \x7F", u"\uD7FF \x7F"},
        {u"a\0~b"sv, u"a"},
    };
    for (const auto& [plain, escaped] : cases) {
        SCOPED_TRACE(Utf8(escaped));
        EXPECT_EQ(EscapeXmlText(plain), CStrW(escaped));
    }
}

TEST(EscapeXmlTextTest, UnescapingTakesOnlyWholeEscapes) {
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"a~000db", u"a\rb"},  {u"~~000d", u"~000d"},    {u"~~~0041~", u"~A~"},
        {u"~12", u"~12"},       {u"~12G4", u"~12G4"},     {u"~ABCD~aBcd", u"\uABCD\uABCD"},
        {u"~00~0041", u"~00A"}, {u"~007E0041", u"~0041"}, {u"~0000~0041", u"~0041"},
        {u"x~0000", u"x"},
    };
    for (const auto& [escaped, plain] : cases) {
        SCOPED_TRACE(Utf8(escaped));
        EXPECT_EQ(Unescaped(escaped), CStrW(plain));
    }
}

TEST(EscapeXmlTextTest, EveryUnitComesBack) {
    std::u16string text;
    for (unsigned unit = 1; unit <= 0xFFFF; ++unit) {
        text += static_cast<char16_t>(unit);
    }
    EXPECT_TRUE(Unescaped(EscapeXmlText(text)) == CStrW(std::u16string_view(text)));
}

}  // namespace
