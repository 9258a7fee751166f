#include <algorithm>

#include "conversion/conversion.h"
#include "platform/text.h"
#include "support/system.h"

namespace {

using testing::HasSubstr;

constexpr const char* kWarning = "Warning: Failed to read the file '";

class RegistryConversionTest : public ConversionTest, public testing::WithParamInterface<EMachine> {
protected:
    void SetUp() override {
        ConversionTest::SetUp();
        if (GetParam() == EMachine::Live) {
            UseMachineFile("");
        }
    }
    void ConvertHive(const CTestHive& hive) { ASSERT_EQ(Convert(TestTarget(hive)), 0U); }
    // How many items a collection holds.
    [[nodiscard]] std::ptrdiff_t Count(const std::string& collection) const {
        const std::string element = Collection(collection);
        return std::max<std::ptrdiff_t>(2, std::count(element.begin(), element.end(), '\n')) - 2;
    }
};

INSTANTIATE_TEST_SUITE_P(Machines, RegistryConversionTest,
                         testing::ValuesIn(MachinesOfThisSystem()),
                         testing::PrintToStringParamName());

TEST_P(RegistryConversionTest, DamagedHiveIsConvertedAsFarAsItCanBeRead) {
    if (GetParam() == EMachine::Live) {
        GTEST_SKIP() << "Windows repairs a hive, or refuses it";
    }
    ConvertHive(CTestHive()
                    .Key(uR"(REGISTRY\MACHINE\Bad)")
                    .Key(uR"(REGISTRY\MACHINE\Good)")
                    .Dword(u"kept", 1)
                    .Patch16({SHiveCell::Key, uR"(REGISTRY\MACHINE\Bad)"}, 0, 0));
    EXPECT_TRUE(Holds("CreateKeys", R"(HKEY_LOCAL_MACHINE\Good)"));
    EXPECT_TRUE(Holds("CreateValues", R"(Value="kept")"));
    EXPECT_EQ(Count("CreateKeys"), 1);
    const std::string reason = Utf8(platform::SystemErrorText(ERROR_BADDB));
    EXPECT_THAT(m_logLines,
                testing::ElementsAre(Line(
                    kWarning, "InstallRoot.dat' .  .  " + reason.substr(0, reason.find('\r')))));
}

TEST_P(RegistryConversionTest, KeysAreFoldedOntoTheRealMachine) {
    ConvertHive(CTestHive()
                    .String(u"lost", u"directly below the mount")
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\App)")
                    .String(u"", u"default")
                    .Key(uR"(REGISTRY\USER\CurrentUser\Software\CurrentUserTools)")
                    .Key(uR"(REGISTRY\USER\CurrentUser_Classes\.app)")
                    .Key(uR"(REGISTRY\USER\S-1-5-21-9-9-9-500\Software\App)")
                    .Value(u"stays", 3, "odd"));
    EXPECT_TRUE(m_logLines.empty());
    for (const char* key :
         {R"(HKEY_LOCAL_MACHINE\SOFTWARE\App)", R"(HKEY_CURRENT_USER\Software\%SID%Tools)",
          R"(HKEY_CURRENT_USER\Software\Classes\.app)"}) {
        EXPECT_TRUE(Holds("CreateKeys", std::string("<Key Target=\"") + key + "\" />")) << key;
    }
    EXPECT_FALSE(Holds("CreateKeys", "S-1-5-21-9"));
    EXPECT_FALSE(Holds("CreateKeys", "\"HKEY_CURRENT_USER\""));
    EXPECT_FALSE(Holds("CreateValues", "lost"));
    EXPECT_TRUE(
        Holds("CreateValues", "\"HKEY_LOCAL_MACHINE\\SOFTWARE\\App\" Type=\"REG_SZ\">default<"));
    EXPECT_TRUE(Holds("CreateValues",
                      R"(9-500\Software\App" Value="stays" Type="REG_BINARY">6F6464</Value>)"));
}

TEST_F(ConversionTest, TheKeysOfAUserAreThoseOfTheMachineThatAnswersNow) {
    CTestHive hive;
    hive.Key(uR"(REGISTRY\USER\CurrentUser\Software\App)");
    for (const char* sid : {"S-1-5-21-1", "S-1-5-21-2"}) {
        UseMachine(std::string("[user]\nsid = '") + sid + "'\n");
        ASSERT_EQ(Convert(TestTarget(hive)), 0U);
        EXPECT_TRUE(Holds("CreateKeys", R"("HKEY_CURRENT_USER\Software\App")")) << sid;
    }
}

// Items are known by their names in small letters, whose hash decides their place in the manifest.
TEST_F(ConversionTest, ValuesOfEveryTypeAndNamesOfEveryLetterAreKept) {
    CTestHive hive;
    std::ptrdiff_t count = 0;
    for (unsigned first = 0x20; first < 0x10000; first += 16) {
        std::u16string name = Utf16(std::to_string(first));  // since without case some are the same
        for (unsigned unit = first; unit < first + 16; ++unit) {
            name += unit == u'\\' ? u'|' : static_cast<char16_t>(unit);
        }
        hive.Key(uR"(REGISTRY\MACHINE\SOFTWARE\)" + name).String(name, name);
        ++count;
    }
    hive.Key(uR"(REGISTRY\MACHINE\SOFTWARE\_ow6432Node\App)");
    for (std::uint32_t type = 0; type <= 13; ++type) {
        for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 9U}) {
            hive.Value(Utf16(std::to_string(type) + " of " + std::to_string(size)), type,
                       std::string_view("a\0b\0\0\0\xFF\xD8z", 9).substr(0, size));
            ++count;
        }
    }
    for (const std::u16string& text : {
             std::u16string(uR"(C:\WINDOWS\a;c:\program files\a;C:\Windowsold \\?\C:\Windows)"),
             std::u16string(u"%SystemRoot%\\a %CSIDL_WINDOWS%\\b %SID% 100% | || |% ~ ~0041 ]]>"),
             std::u16string(
                 uR"(HKLM\SOFTWARE\Wow6432Node\a HKEY_USERS\S-1-5-21-1-2-3-1000\Software)"),
             std::u16string(u"<a href=\"b\">c & d</a> 'e' \t\r\n\x01\x1F\x7F"),
             std::u16string({u'a', 0xD800, u'b', 0xDC00, u'c', 0xDC00, 0xD800, u'd', 0xFFFF}),
             std::u16string(300, u'v'),
         }) {
        hive.String(text, text).MultiString(text + u" 2", {text, u"", text});
        count += 2;
    }
    ASSERT_EQ(Convert(TestTarget(hive)), 0U);
    EXPECT_TRUE(m_logLines.empty());
    const std::string values = Collection("CreateValues");
    EXPECT_EQ(std::ranges::count(values, '\n') - 2, count);
}

// So large that neither is copied on its way, nor the text of it kept until its turn comes.
TEST_P(RegistryConversionTest, ValuesOfManyMegabytesArriveWholeAndInTheirPlace) {
    constexpr int kValuesBefore = 300;
    const std::u16string name(16000, u'a');
    constexpr std::size_t kBytes = 3'000'001;
    CTestHive hive;
    hive.Key(uR"(REGISTRY\MACHINE\SOFTWARE\App)");
    // Nothing comes of this list, so that it need not be searched for every name.
    hive.String(u"CitrixAIEDeletedValues", std::u16string(500000, u'a'));
    for (int i = 0; i < kValuesBefore; ++i) {
        hive.Dword(name + Utf16(std::to_string(i)), 1);
    }
    hive.Binary(u"binary", std::string(kBytes, '\x5A'));
    if (GetParam() == EMachine::Described) {  // on Windows a key has one value of a name
        hive.Dword(u"BINARY", 1);
    }
    hive.String(u"text", std::u16string(kBytes, u'x')).Dword(u"after", 1);
    ConvertHive(hive);
    EXPECT_EQ(Count("CreateValues"), kValuesBefore + 3);
    EXPECT_TRUE(Holds("CreateValues",
                      "Value=\"binary\" Type=\"REG_BINARY\">" + Repeat("5A", kBytes) + "</Value>"));
    EXPECT_TRUE(Holds("CreateValues", ">" + std::string(kBytes, 'x') + "</Value>"));
}

TEST_P(RegistryConversionTest, BookkeepingAndHiddenKeysAreLeftOut) {
    ConvertHive(CTestHive()
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\Seen)")
                    .Dword(u"citrixaiekeyVIRTUALSTATUS", 3)
                    .String(u"CITRIXAIEDeletedValues", u"a;b")
                    .String(u"a", u"listed as deleted, and there all the same")
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\Hidden)")
                    .Dword(u"CitrixAIEKeyVirtualStatus", 4)
                    .String(u"a", u"hidden")
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\Hidden\Below)")
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\Eight)")
                    .Dword(u"CitrixAIEKeyVirtualStatus", 8)
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\NoNumber)")
                    .Value(u"CitrixAIEKeyVirtualStatus", 3, std::string("\x04\0\0\0", 4)));
    for (const char* key : {"Seen", R"(Hidden\Below)", "Eight", "NoNumber"}) {
        EXPECT_TRUE(Holds("CreateKeys", std::string(R"(SOFTWARE\)") + key + "\"")) << key;
    }
    EXPECT_FALSE(Holds("CreateKeys", R"(SOFTWARE\Hidden")"));
    EXPECT_EQ(Count("CreateValues"), 1);
    EXPECT_TRUE(Holds("CreateValues", "listed as deleted"));
}

TEST_P(RegistryConversionTest, MachineEnvironmentBecomesVariables) {
    CTestHive hive;
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Control\Session Manager\Environment)")
        .ExpandString(u"APP_HOME", uR"(%CSIDL_WINDOWS%\app 5%)")
        .Value(u"HALF", 1, std::string("a\0b\0c", 5));
    // Wine has no two values of one name.
    if (!AnswersByWine()) {
        hive.String(u"app_home", u"second");
    }
    hive.Dword(u"NUMBER", 1).Key(uR"(REGISTRY\USER\CurrentUser\Environment)").String(u"MINE", u"x");
    ConvertHive(hive);
    EXPECT_EQ(Collection("CreateEnvVars"),
              "<CreateEnvVars>\n"
              "<EnvVar Variable=\"HALF\" User=\"1\" Value=\"ab\" InstallMode=\"0\" />\n"
              "<EnvVar Variable=\"APP_HOME\" User=\"1\" "
              "Value=\"%CSIDL_WINDOWS%\\app 5|%\" InstallMode=\"0\" />\n</CreateEnvVars>\n");
    EXPECT_FALSE(Holds("CreateKeys", "Session Manager\\Environment"));
    EXPECT_TRUE(Holds("CreateValues", "Value=\"MINE\""));
    // As noise the user's key itself goes.
    EXPECT_FALSE(Holds("CreateKeys", "Environment"));
}

TEST_P(RegistryConversionTest, FirstPublisherIsTheManufacturer) {
    ConvertHive(CTestHive()
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\A\installproperties)")
                    .String(u"PUBLISHER", u"First & Co")
                    .Dword(u"Size", 5)
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\B\InstallProperties)")
                    .String(u"Publisher", u"Second")
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\C)")
                    .String(u"Publisher", u"Third"));
    EXPECT_NE(Manifest().find("<Manufacturer>First &amp; Co</Manufacturer>"), std::string::npos);
    EXPECT_TRUE(Holds("CreateValues", ">Second<"));
    // Such values are read as texts, whatever they are.
    EXPECT_TRUE(Holds("CreateValues", "Value=\"Size\" Type=\"REG_SZ\"></Value>"));
}

TEST_P(RegistryConversionTest, NoiseGoesButItsValuesStay) {
    ConvertHive(CTestHive()
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\Microsoft\ESENT\x)")
                    .String(u"v", u"stays")
                    .Key(uR"(REGISTRY\MACHINE\SAMPLE)")
                    .Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Enum\x)")
                    .Key(uR"(REGISTRY\MACHINE\SOFTWARE\App)"));
    EXPECT_FALSE(Holds("CreateKeys", "ESENT"));
    EXPECT_FALSE(Holds("CreateKeys", "SAMPLE"));
    EXPECT_TRUE(Holds("CreateValues", R"(Microsoft\ESENT\x")"));
    // The rules for the stored control set find nothing, since keys are tested by their portable
    // path.
    EXPECT_TRUE(Holds("CreateKeys", R"(SYSTEM\CurrentControlSet\Enum\x")"));
    EXPECT_FALSE(WasSeen("|5/10 Processing registry.|2/2 Reading registry.|"));
    EXPECT_TRUE(WasSeen("|1/2 Reading registry.|"));
    EXPECT_TRUE(WasSeen("Excluding HKEY_LOCAL_MACHINE\\SAMPLE|"));
    EXPECT_TRUE(WasSeen("Excluding HKEY_LOCAL_MACHINE\\SOFTWARE\\App|"));
}

TEST_P(RegistryConversionTest, FileThatIsNoHiveIsAWarning) {
    ASSERT_EQ(Convert(OtherTarget().Sandbox().Hive("no hive at all")), 0U);
    EXPECT_THAT(m_logLines, testing::ElementsAre(Line(kWarning, "InstallRoot.dat")));
}

}  // namespace
