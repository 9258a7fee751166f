#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "conversion/conversion.h"
#include "support/hive_builder.h"
#include "support/system.h"

namespace {

constexpr const char* kGuid = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
constexpr const char* kSid = "S-1-5-21-1-2-3-1000";

class RegistryConversionTest : public testing::Test {
protected:
    void SetUp() override {
        m_conversion.UseMachine(
            "[folders]\nCSIDL_WINDOWS = 'C:\\Windows'\n"
            "[environment]\n[user]\nsid = '" +
            std::string(kSid) + "'\n[registry]\nhivelist = []\n");
    }
    void Convert(const std::string& hive, const std::string& createOs = "0") {
        ASSERT_EQ(m_conversion.Convert(
                      CTestPackage().Target(CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9")
                                                .Elements("<CreateOS>" + createOs + "</CreateOS>")
                                                .Sandbox()
                                                .Hive(hive))),
                  0U);
    }
    // Whether the element of a collection holds an item with these attributes and text.
    [[nodiscard]] bool Holds(const std::string& collection, const std::string& item) const {
        return m_conversion.Collection(kGuid, collection).find(item) != std::string::npos;
    }
    [[nodiscard]] std::ptrdiff_t Count(const std::string& collection) const {
        const std::string element = m_conversion.Collection(kGuid, collection);
        return std::max<std::ptrdiff_t>(2, std::count(element.begin(), element.end(), '\n')) - 2;
    }

    CTestConversion m_conversion;
};

TEST_F(RegistryConversionTest, DamagedHiveIsConvertedAsFarAsItCanBeRead) {
    if (RunsOnWindows()) {
        GTEST_SKIP() << "Windows repairs a hive, or refuses it";
    }
    Convert(CTestHive()
                .Key(uR"(REGISTRY\MACHINE\Bad)")
                .Key(uR"(REGISTRY\MACHINE\Good)")
                .Dword(u"kept", 1)
                .Patch16({SHiveCell::Key, uR"(REGISTRY\MACHINE\Bad)"}, 0, 0)
                .Bytes());
    EXPECT_TRUE(Holds("CreateKeys", R"(HKEY_LOCAL_MACHINE\Good)"));
    EXPECT_TRUE(Holds("CreateValues", R"(Value="kept")"));
    EXPECT_EQ(Count("CreateKeys"), 1);
    ASSERT_EQ(m_conversion.LogLines().size(), 1U);
    EXPECT_TRUE(m_conversion.LogLines()[0].starts_with("Warning: Failed to read the file 'Z:"));
    EXPECT_NE(m_conversion.LogLines()[0].find("InstallRoot.dat' .  .  The configuration registry"),
              std::string::npos);
}

TEST_F(RegistryConversionTest, KeysAreFoldedOntoTheRealMachine) {
    Convert(CTestHive()
                .String(u"lost", u"directly below the mount")
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\App)")
                .String(u"", u"default")
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\_OW6432node\App)")
                .Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Control\App)")
                .Key(uR"(REGISTRY\USER\CurrentUser\Software\CurrentUserTools)")
                .Key(uR"(REGISTRY\USER\CurrentUser_Classes\.app)")
                .Key(uR"(REGISTRY\USER\.DEFAULT\Software\App)")
                .Key(uR"(REGISTRY\USER\S-1-5-21-9-9-9-500\Software\App)")
                .Dword(u"stays", 1)
                .LoadableBytes());
    EXPECT_TRUE(m_conversion.LogLines().empty());
    for (const char* key :
         {R"(HKEY_LOCAL_MACHINE\SOFTWARE\App)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\App)",
          R"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\App)",
          R"(HKEY_CURRENT_USER\Software\%SID%Tools)", R"(HKEY_CURRENT_USER\Software\Classes\.app)",
          R"(HKEY_USERS\.DEFAULT\Software\App)"}) {
        EXPECT_TRUE(Holds("CreateKeys", std::string("<Key Target=\"") + key + "\" />")) << key;
    }
    EXPECT_FALSE(Holds("CreateKeys", "S-1-5-21-9"));
    EXPECT_FALSE(Holds("CreateKeys", "\"HKEY_CURRENT_USER\""));
    EXPECT_FALSE(Holds("CreateValues", "lost"));
    EXPECT_TRUE(
        Holds("CreateValues", "\"HKEY_LOCAL_MACHINE\\SOFTWARE\\App\" Type=\"REG_SZ\">default<"));
    EXPECT_TRUE(Holds("CreateValues", "9-500\\Software\\App\" Value=\"stays\""));
}

TEST_F(RegistryConversionTest, ValuesOfEveryTypeHaveTheirText) {
    Convert(CTestHive()
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\App)")
                .String(u"sz", uR"(C:\Windows\a 50%)")
                .ExpandString(u"expand", u"%Path%")
                .MultiString(u"multi", {uR"(C:\Windows)", u"b"})
                .Binary(u"binary", std::string("\x00\xFF", 2))
                .Dword(u"dword", 255)
                .Qword(u"qword", 1ULL << 40)
                .Value(u"none", 0, "")
                .Value(u"big", 5, std::string("\x01\x02", 2))
                .Value(u"short", 4, "\x07")
                .Value(u"odd", 77, "x")
                .Value(u"open", 1, std::string("a\0b\0", 4))
                .Value(u"half", 1, std::string("a\0b", 3))
                .LoadableBytes());
    const struct {
        const char* value;
        const char* rest;
    } kValues[] = {
        {"sz", R"(Type="REG_SZ">%CSIDL_WINDOWS%\a 50|%</Value>)"},
        {"expand", R"(Type="REG_EXPAND_SZ">|%Path|%</Value>)"},
        {"multi", R"(Type="REG_MULTI_SZ">%CSIDL_WINDOWS%\0b\0\0</Value>)"},
        {"binary", R"(Type="REG_BINARY">00FF</Value>)"},
        {"dword", R"(Type="REG_DWORD">0xFF</Value>)"},
        {"qword", R"(Type="REG_QWORD">0x10000000000</Value>)"},
        {"none", R"(Type="REG_NONE"></Value>)"},
        {"big", R"(Type="REG_DWORD_BIG_ENDIAN">0102</Value>)"},
        {"short", R"(Type="REG_DWORD">0x7</Value>)"},
        {"odd", "/>"},
        {"open", R"(Type="REG_SZ">ab</Value>)"},
        {"half", R"(Type="REG_SZ">ab</Value>)"},
    };
    for (const auto& value : kValues) {
        EXPECT_TRUE(
            Holds("CreateValues", "Value=\"" + std::string(value.value) + "\" " + value.rest))
            << value.value << "\n"
            << m_conversion.Collection(kGuid, "CreateValues");
    }
}

TEST_F(RegistryConversionTest, BookkeepingAndHiddenKeysAreLeftOut) {
    Convert(CTestHive()
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
                .Value(u"CitrixAIEKeyVirtualStatus", 3, std::string("\x04\0\0\0", 4))
                .LoadableBytes());
    for (const char* key : {"Seen", R"(Hidden\Below)", "Eight", "NoNumber"}) {
        EXPECT_TRUE(Holds("CreateKeys", std::string(R"(SOFTWARE\)") + key + "\"")) << key;
    }
    EXPECT_FALSE(Holds("CreateKeys", R"(SOFTWARE\Hidden")"));
    EXPECT_EQ(Count("CreateValues"), 1);
    EXPECT_TRUE(Holds("CreateValues", "listed as deleted"));
}

TEST_F(RegistryConversionTest, MachineEnvironmentBecomesVariables) {
    CTestHive hive;
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Control\Session Manager\Environment)")
        .ExpandString(u"APP_HOME", uR"(%CSIDL_WINDOWS%\app 5%)");
    // Wine has no two values of one name.
    if (!RunsInWine()) {
        hive.String(u"app_home", u"second");
    }
    hive.Dword(u"NUMBER", 1).Key(uR"(REGISTRY\USER\CurrentUser\Environment)").String(u"MINE", u"x");
    Convert(hive.LoadableBytes());
    EXPECT_EQ(m_conversion.Collection(kGuid, "CreateEnvVars"),
              "<CreateEnvVars>\n<EnvVar Variable=\"APP_HOME\" User=\"1\" "
              "Value=\"%CSIDL_WINDOWS%\\app 5|%\" InstallMode=\"0\" />\n</CreateEnvVars>\n");
    EXPECT_FALSE(Holds("CreateKeys", "Session Manager\\Environment"));
    EXPECT_TRUE(Holds("CreateValues", "Value=\"MINE\""));
    // As noise the user's key itself goes.
    EXPECT_FALSE(Holds("CreateKeys", "Environment"));
}

TEST_F(RegistryConversionTest, FirstPublisherIsTheManufacturer) {
    Convert(CTestHive()
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\A\installproperties)")
                .String(u"PUBLISHER", u"First & Co")
                .Dword(u"Size", 5)
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\B\InstallProperties)")
                .String(u"Publisher", u"Second")
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\C)")
                .String(u"Publisher", u"Third")
                .LoadableBytes(),
            "1");
    EXPECT_NE(m_conversion.Manifest(kGuid).find("<Manufacturer>First &amp; Co</Manufacturer>"),
              std::string::npos);
    EXPECT_TRUE(Holds("CreateValues", ">Second<"));
    // Such values are read as texts, whatever they are.
    EXPECT_TRUE(Holds("CreateValues", "Value=\"Size\" Type=\"REG_SZ\"></Value>"));
}

TEST_F(RegistryConversionTest, NoiseGoesButItsValuesStay) {
    Convert(CTestHive()
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\Microsoft\ESENT\x)")
                .String(u"v", u"stays")
                .Key(uR"(REGISTRY\MACHINE\SAMPLE)")
                .Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Enum\x)")
                .Key(uR"(REGISTRY\MACHINE\SOFTWARE\App)")
                .LoadableBytes());
    EXPECT_FALSE(Holds("CreateKeys", "ESENT"));
    EXPECT_FALSE(Holds("CreateKeys", "SAMPLE"));
    EXPECT_TRUE(Holds("CreateValues", R"(Microsoft\ESENT\x")"));
    // The rules for the stored control set find nothing, since keys are tested by their portable
    // path.
    EXPECT_TRUE(Holds("CreateKeys", R"(SYSTEM\CurrentControlSet\Enum\x")"));
    const auto& seen = m_conversion.Progress();
    for (const char* text : {"|5/10 Processing registry.|2/2 Reading registry.|",
                             "|1/2 Reading registry.|", "Excluding HKEY_LOCAL_MACHINE\\SAMPLE|",
                             "Excluding HKEY_LOCAL_MACHINE\\SOFTWARE\\App|"}) {
        const bool isSeen = std::any_of(seen.begin(), seen.end(), [text](const std::string& line) {
            return line.find(text) != std::string::npos;
        });
        EXPECT_EQ(isSeen, std::string_view(text).substr(0, 2) != "|5") << text;
    }
}

TEST_F(RegistryConversionTest, DamagedAndMissingHivesAreAWarning) {
    Convert("no hive at all");
    ASSERT_EQ(m_conversion.LogLines().size(), 1U);
    EXPECT_TRUE(m_conversion.LogLines()[0].starts_with("Warning: Failed to read the file '"));
    ASSERT_EQ(m_conversion.Convert(CTestPackage().Target(
                  CTestTarget("11111111-2222-3333-4444-555555555555").Sandbox())),
              0U);
    ASSERT_EQ(m_conversion.LogLines().size(), 1U);
    EXPECT_NE(m_conversion.LogLines()[0].find("InstallRoot.dat' .  .  "), std::string::npos);
}

}  // namespace
