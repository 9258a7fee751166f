#include "orvpackage/sanitizer.h"

#include <gtest/gtest.h>

#include <string>

#include "orvpackage/multi_string.h"
#include "support/machine.h"
#include "support/text.h"

namespace {

class SanitizerTest : public testing::Test {
protected:
    CTestMachine m_machine =
        CTestMachine().Sid(u"S-1-5-21-7").Folder(u"CSIDL_WINDOWS", uR"(Q:\Windows)");
    COrvSanitizer m_sanitizer;
};

TEST_F(SanitizerTest, GoesOutAndComesBack) {
    const struct {
        const char16_t* text;
        std::uint32_t flags;
        const char* portable;
    } kTexts[] = {
        {u"", SanitizeAll, ""},
        {u"50%", SanitizeNoPaths, "50|%"},
        {u"a|b||%", SanitizeNoPaths, "a||b|||||%"},
        {uR"(Q:\Windows\50%)", SanitizeAll, R"(%CSIDL_WINDOWS%\50|%)"},
        {uR"(Q:\Windows\x)", SanitizeNoFilePaths, R"(Q:\Windows\x)"},
        {uR"(HKEY_USERS\S-1-5-21-7\x)", SanitizeNoFilePaths, R"(HKEY_CURRENT_USER\x)"},
        {uR"(HKEY_USERS\S-1-5-21-7\x)", SanitizeNoRegPaths, R"(HKEY_USERS\%SID%\x)"},
        {uR"(Q:\Windows|S-1-5-21-7)", SanitizeNoPaths, R"(Q:\Windows||%SID%)"},
    };
    for (const auto& text : kTexts) {
        SCOPED_TRACE(Utf8(text.text));
        const CStrW portable = m_sanitizer.Sanitize(text.text, text.flags);
        EXPECT_EQ(Utf8(portable), text.portable);
        EXPECT_EQ(m_sanitizer.Desanitize(portable, text.flags), CStrW(text.text));
    }
}

TEST_F(SanitizerTest, ListsKeepTheirOrderAndHaveATextForm) {
    CDoubleNullStringW strings;
    strings.Add(uR"(Q:\Windows\a)");
    strings.Add(u"b");
    const CDoubleNullStringW portable = m_sanitizer.SanitizeMulti(strings, SanitizeAll);
    EXPECT_EQ(portable.GetCount(), 2U);
    EXPECT_EQ(Utf8(FormatMultiString(portable)), R"(%CSIDL_WINDOWS%\\a\0b\0\0)");
    EXPECT_EQ(Utf8(FormatMultiString(CDoubleNullStringW())), R"(\0\0)");
}

TEST_F(SanitizerTest, EveryBackslashZeroSeparates) {
    const struct {
        const char16_t* text;
        const char* again;
    } kTexts[] = {
        {uR"(C:\\a\0b\0\0)", R"(C:\\a\0b\0\0)"},
        {uR"(rest)", R"(rest\0\0)"},
        {uR"(\0\0a\0\0b)", R"(a\0b\0\0)"},
        {uR"(C:\\0\0\0)", R"(C:\\\0\0)"},  // a doubled backslash before a zero
    };
    for (const auto& text : kTexts) {
        SCOPED_TRACE(Utf8(text.text));
        EXPECT_EQ(Utf8(FormatMultiString(ParseMultiString(text.text))), text.again);
    }
}

}  // namespace
