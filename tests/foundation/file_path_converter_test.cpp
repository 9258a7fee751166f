#include "foundation/file_path_converter.h"

#include <gtest/gtest.h>

#include <string>

#include "support/machine.h"
#include "support/text.h"

namespace {

// Two names for one folder and a drive root: the smallest machine on which the order counts. The
// drive is one that no machine has, whose own names would be put in place of those.
class CollapsePathsTest : public testing::Test {
protected:
    static std::string Collapse(const char16_t* text) {
        return Utf8(CSharedHolder<CFilePathConverter>()->Collapse(CStrW(text)));
    }
    static std::string Expand(const char16_t* text) {
        return Utf8(CSharedHolder<CFilePathConverter>()->Expand(CStrW(text)));
    }

    CTestMachine m_machine = CTestMachine()
                                 .Folder(u"CSIDL_WINDOWS", uR"(Q:\Windows)")
                                 .Environment(u"SystemRoot", uR"(Q:\Windows)")
                                 .Environment(u"SystemDrive", u"Q:");
};

TEST_F(CollapsePathsTest, ReplacesEveryPathOfAText) {
    m_machine.Folder(u"CSIDL_SYSTEM", uR"(Q:\Windows\System32)");
    const std::pair<const char16_t*, const char*> cases[] = {
        {uR"(Q:\Windows\a)", R"(%CSIDL_WINDOWS%\a)"},  // the first token of equal paths
        {uR"(q:\WINDOWS)", R"(%CSIDL_WINDOWS%)"},
        {uR"(Q:\Data\a)", R"(%SystemDrive%\Data\a)"},  // with the backslash that the root took
        {uR"(Q:\WindowsOld\a)", R"(%CSIDL_WINDOWS%\Old\a)"},  // inside a segment too
        {uR"(Q:\Windows\System32\a Q:\Windows\b, q:\x)",
         R"(%CSIDL_SYSTEM%\a %CSIDL_WINDOWS%\b, %SystemDrive%\x)"},  // the longest path
        {uR"(D:\Windows\a)", R"(D:\Windows\a)"},
        {u"Q:", "Q:"},
        {u"", ""},
    };
    for (const auto& [text, collapsed] : cases) {
        EXPECT_EQ(Collapse(text), collapsed);
    }
}

TEST_F(CollapsePathsTest, ExpandsKnownTokensInAnyCase) {
    const std::pair<const char16_t*, const char*> cases[] = {
        {uR"(%SystemDrive%\a)", R"(Q:\a)"},
        {uR"(%systemdrive%a)", R"(Q:\a)"},
        {uR"(%csidl_windows%\a)", R"(Q:\Windows\a)"},
        {uR"(%NoSuch%\a)", R"(%NoSuch%\a)"},
        {u"100% of %CSIDL_WINDOWS%", "100% of %CSIDL_WINDOWS%"},
        {u"%CSIDL_WINDOWS%;%SystemRoot%", R"(Q:\Windows;Q:\Windows)"},
    };
    for (const auto& [text, expanded] : cases) {
        EXPECT_EQ(Expand(text), expanded);
    }
}

// A token may make a backslash, and with it a variable that begins with one, out of what follows
// it.
TEST_F(CollapsePathsTest, ReplacesWhatATokenMakesAPath) {
    m_machine.Environment(u"TEMP", uR"(\temporarily)");
    EXPECT_EQ(Collapse(uR"(Q:\WindowsTemporarily Q:\Windows)"),
              R"(%CSIDL_WINDOWS%%Temp%\ %CSIDL_WINDOWS%)");
}

// The percent signs of a path that is put in count as well, as far as the scan comes upon them.
TEST_F(CollapsePathsTest, ScansOnInsideAPathAfterOtherText) {
    m_machine.Environment(u"TEMP", uR"(Q:\100%\x)");
    EXPECT_EQ(Expand(uR"(%Temp%%Temp%)"), R"(Q:\100%\xQ:\100%\x)");
    EXPECT_EQ(Expand(uR"(a %Temp%\%SystemDrive%)"), R"(a Q:\100%\x\Q:\)");
    EXPECT_EQ(Expand(uR"(abc %Temp%\%SystemDrive%)"), R"(abc Q:\100%\x\%SystemDrive%)");
}

TEST_F(CollapsePathsTest, ManyPathsAndOddVariablesEnd) {
    std::u16string text;
    std::string expanded;
    for (int i = 0; i < 300000; ++i) {  // more than can be looked through for each
        text += uR"(Q:\Windows;Q:\)";
        expanded += R"(Q:\Windows\;Q:\)";
    }
    m_machine.Environment(u"TEMP", uR"(\b)");  // which a token could make, at every place
    const std::string collapsed = Collapse(text.c_str());
    EXPECT_EQ(collapsed.find(R"(Q:\)"), std::string::npos);
    EXPECT_TRUE(Expand(Utf16(collapsed).c_str()) == expanded);
    for (const char16_t* value : {u"S", uR"(\)", uR"(%\x)", uR"(\a)", u"%Temp%", u":"}) {
        SCOPED_TRACE(Utf8(value));
        m_machine.Environment(u"TEMP", value);
        EXPECT_FALSE(Collapse(uR"(%CSIDL_WINDOWS%\aa%\x : S)").empty());
        EXPECT_FALSE(Expand(u"%Temp%%Temp% a %Temp%").empty());
    }
}

}  // namespace
