// How the escapes and tokens of a manifest become texts of a machine.

#include "host/portable_text.h"

#include "support/machine.h"
#include "support/test.h"

namespace {

using host::CPortableText;
using host::EForm;
using host::ETokenUse;
using testing::ElementsAre;
using testing::Pair;

class PortableTextTest : public testing::Test {
protected:
    static std::u16string Resolve(CPortableText& texts, std::u16string_view text,
                                  EForm form = EForm::Path) {
        return texts.Resolve(text, form).value_or(u"not portable");
    }

    CTestMachine m_machine = CTestMachine()
                                 .Folder(u"CSIDL_WINDOWS", uR"(W:\Windows)")
                                 .Environment(u"SystemDrive", u"C:")
                                 .Environment(u"Temp", uR"(%SID%\||\%SystemDrive%)")
                                 .Sid(u"S-1-5-7");
};

TEST_F(PortableTextTest, TokensBecomePathsOfTheMachineOnce) {
    CPortableText texts(ETokenUse::Replace);
    EXPECT_EQ(Resolve(texts, uR"("%SystemDrive%\a",%CSIDL_WINDOWS%\%SID%|%%SystemDrive%)"),
              uR"("C:\a",W:\Windows\S-1-5-7%C:\)");
    EXPECT_EQ(Resolve(texts, uR"(%Temp%\||%CSIDL_WINDOWS%)"),
              uR"(%SID%\||\%SystemDrive%\|W:\Windows)");
    EXPECT_EQ(Resolve(texts, uR"(HKEY_USERS\%SID%|%)", EForm::Key), uR"(HKEY_USERS\S-1-5-7%)");
    EXPECT_EQ(texts.GetKept(), 0U);
}

TEST_F(PortableTextTest, WhatTheMachineDoesNotHaveStaysAndIsCounted) {
    m_machine.Sid(u"");
    CPortableText texts(ETokenUse::Replace);
    EXPECT_EQ(Resolve(texts, uR"(%CSIDL_FONTS%\||%SID%|%CSIDL_FONTS|%%CSIDL_FONTS%)"),
              uR"(%CSIDL_FONTS%\|%SID%%CSIDL_FONTS%%CSIDL_FONTS%)");
    EXPECT_THAT(texts.GetMissing(), ElementsAre(Pair(u"%CSIDL_FONTS%", 2U), Pair(u"%SID%", 1U)));
    EXPECT_EQ(texts.GetKept(), 3U);
}

TEST_F(PortableTextTest, WithoutAMachineOnlyEscapesAreResolved) {
    CPortableText texts(ETokenUse::Keep);
    EXPECT_EQ(Resolve(texts, uR"(%SystemDrive%\||a|%CSIDL_WINDOWS|%)"),
              uR"(%SystemDrive%\|a%CSIDL_WINDOWS%)");
    EXPECT_EQ(texts.GetKept(), 1U);
    EXPECT_TRUE(texts.GetMissing().empty());
}

TEST_F(PortableTextTest, TextsOfNoPortableFormAreRefused) {
    CPortableText texts(ETokenUse::Replace);
    for (const char16_t* const text : {u"%", u"a|", u"|a", u"%a%", u"%%", u"%CSIDL_WINDOWS",
                                       u"%csidl_windows%", u"%SID %", u"%CSIDL_WINDOWS%a"}) {
        EXPECT_FALSE(texts.Resolve(text, EForm::Path)) << Utf8(text);
    }
    EXPECT_FALSE(texts.Resolve(uR"(HKEY_USERS\%CSIDL_WINDOWS%)", EForm::Key));
}

}  // namespace
