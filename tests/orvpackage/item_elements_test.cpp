// What becomes of an item's element when a manifest is read and saved again: the rules of its
// numbers, which attributes are portable, and what is left out.

#include <algorithm>

#include "orvpackage/crypt.h"
#include "orvpackage/key_collections.h"
#include "orvpackage/package_fixture.h"
#include "support/text.h"

namespace {

struct SElement {
    std::string read;
    std::string written;  // empty for an item that is invalid
};

class ItemElementsTest : public PackageTest {
protected:
    // Each element stands alone in the collection, behind `head`.
    void Expect(const std::string& collection, const std::string& head,
                const std::vector<SElement>& elements) {
        const std::string start = "<" + collection + ">\n";
        const std::string end = "</" + collection + ">\n";
        for (const SElement& element : elements) {
            SCOPED_TRACE(collection + head + element.read.substr(0, 100));
            const std::string written =
                element.written.empty() ? "" : head + element.written + '\n';
            EXPECT_EQ(SavedAfterReading(start + head + element.read + end), start + written + end);
            if (!written.empty()) {
                EXPECT_EQ(SavedAfterReading(start + written + end), start + written + end);
            }
        }
    }
};

TEST_F(ItemElementsTest, Services) {
    const std::string name256(256, 'x');
    Expect(
        "CreateServices", "<Service Name=\"50%\" ServiceType=\"",
        {{R"(0x110" StartType="2" ErrorControl="0x3" DisplayName="50% C:\Program Files" )"
          R"(Description="5% C:\d" Binary="C:\s.exe" Arguments="-f C:\Program Files\x 5%" )"
          R"(LoadOrder="C:\g" Dependencies="+Group 50%\0C:\\Program Files\0\0" Username=".\u%"/>)",
          R"(272" StartType="2" ErrorControl="3" DisplayName="50% C:\Program Files" )"
          R"(Description="5% C:\d" Binary="%SystemDrive%\s.exe" )"
          R"(Arguments="-f %CSIDL_PROGRAM_FILES%\x 5|%" LoadOrder="C:\g" )"
          R"(Dependencies="+Group 50%\0C:\\Program Files\0\0" Username=".\u%" />)"},
         {R"(4" Binary="b"/>)", ""},
         {R"(16x" Binary="b"/>)", ""},
         {R"(16"/>)", ""},
         {R"(16" Binary="b"/>)", R"(16" StartType="4" ErrorControl="1" Binary="b" />)"},
         {R"(16" StartType="9" ErrorControl="4" Binary="b"/>)",
          R"(16" StartType="4" ErrorControl="1" Binary="b" />)"},
         {"16\" DisplayName=\"" + name256 + "\" Binary=\"b\"/>",
          R"(16" StartType="4" ErrorControl="1" DisplayName=")" + name256 + "\" Binary=\"b\" />"},
         {"16\" DisplayName=\"" + name256 + "x\" Binary=\"b\"/>",
          R"(16" StartType="4" ErrorControl="1" Binary="b" />)"},
         {R"(16" Binary="b" Password="p" EncryptedPassword="00"/>)",
          R"(16" StartType="4" ErrorControl="1" Binary="b" EncryptedPassword="00" />)"},
         {R"(16" Binary="b" EncryptedPassword="00" Password=""/>)",
          R"(16" StartType="4" ErrorControl="1" Binary="b" EncryptedPassword=")" +
              Utf8(EncryptPassword(u"")) + "\" />"}});
    Expect(
        "ControlServices", R"(<Service Name="50%" Action=")",
        {{R"(1" Arguments="C:\\x\050%\0\0"/>)", R"(1" Arguments="%SystemDrive%\\x\050|%\0\0" />)"},
         {R"(1a"/>)", R"(20" />)"}});
    Expect("DeleteServices", R"(<Service Name=")", {{R"(50%"/>)", R"(50%" />)"}});
}

TEST_F(ItemElementsTest, ArgumentsOfAControlledServiceAreDesanitizedAsOneText) {
    // The backslash that the token brings separates like any other with a zero behind it.
    EXPECT_EQ(SavedAfterReading(R"(<ControlServices><Service Name="s" )"
                                R"(Arguments="%SystemDrive%0a\0b|\0%c"/></ControlServices>)"),
              "<ControlServices>\n<Service Name=\"s\" Action=\"1\" "
              "Arguments=\"C:\\0a\\0b||\\0|%c\\0\\0\" />\n</ControlServices>\n");
}

TEST_F(ItemElementsTest, EnvironmentVariables) {
    Expect(
        "CreateEnvVars", R"(<EnvVar Variable="5%|C:\Program Files" )",
        {{R"(Value="v"/>)", R"(User="0" Value="v" InstallMode="0" />)"},
         {R"(User="" Value="v" InstallMode="1a"/>)", R"(User="1" Value="v" InstallMode="20" />)"},
         {R"(User="00" Value="v" InstallMode="300"/>)",
          R"(User="1" Value="v" InstallMode="44" />)"},
         {R"(User="0" Value="v" InstallMode="x"/>)", R"(User="0" Value="v" InstallMode="33" />)"},
         {R"(User="1" Value="%SystemDrive%\bin;C:\Program Files\a;50%" InstallMode="255"/>)",
          R"(User="1" Value="%SystemDrive%\bin;%CSIDL_PROGRAM_FILES%\a;50|%" )"
          R"(InstallMode="255" />)"},
         {R"(User="1"/>)", ""}});
}

TEST_F(ItemElementsTest, Assemblies) {
    Expect(
        "CreateAssemblies", R"(<Assembly Id="a,50%" )",
        {{R"(AssemblyType="1" ManifestRelativeSource="Assemblies\50%\m" )"
          R"(CatalogRelativeSource="C:\c" Private="%CSIDL_PROGRAM_FILES%\App">)"
          R"(<File RelativeSource="B"/><file relativesource="a"></file>)"
          R"(<File RelativeSource="A"/><File RelativeSource="C:\x"/></Assembly>)",
          R"(AssemblyType="1" ManifestRelativeSource="Assemblies\50|%\m" )"
          R"(CatalogRelativeSource="C:\c" Private="%CSIDL_PROGRAM_FILES%\App">)"
          R"(<File RelativeSource="a" /><File RelativeSource="B" />)"
          R"(<File RelativeSource="C:\x" /></Assembly>)"},
         // Files of one element do not reach the next.
         {R"(ManifestRelativeSource="n"/>)", R"(AssemblyType="0" ManifestRelativeSource="n" />)"},
         {R"(/>)", ""}});
    Expect("DeleteAssemblies", "<Assembly ",
           {{R"(Name="50%"/>)", R"(Name="50%" />)"}, {R"(Id="a"/>)", ""}});
}

TEST_F(ItemElementsTest, Actions) {
    Expect("PreActions", R"(<Action ActionType=")",
           {{R"(0" Path="C:\50%" RelativeSource="InstallActions\%" Arguments="C:\x 5%" )"
             R"(ActionMode="7" Wait="0"/>)",
             R"(0" Path="%SystemDrive%\50|%" RelativeSource="InstallActions\|%" )"
             R"(Arguments="%SystemDrive%\x 5|%" ActionMode="7" Wait="0" />)"},
            {R"(1" Path="C:\50%"/>)", R"(1" Path="%SystemDrive%\50|%" ActionMode="0" Wait="1" />)"},
            {R"(2">%SystemDrive%\50%</Action>)",
             R"(2" ActionMode="0" Wait="1">%SystemDrive%\50%</Action>)"},
            {R"(5"/>)", ""}});
}

TEST_F(ItemElementsTest, Shortcuts) {
    Expect("CreateShortcuts", R"(<Shortcut Target="%SystemDrive%\a" ShortcutTarget="b")",
           {{R"( ShowCmd="2" IconIndex="-3" IconTarget="i"/>)",
             R"( IconTarget="i" IconIndex="0" ShowCmd="1" DataFlags="0x0" />)"},
            {" Description=\"" + std::string(1025, 'x') + "\" Hotkey=\"0x10\"/>",
             R"( Hotkey="16" ShowCmd="1" DataFlags="0x0" />)"},
            {R"(><Data Signature="0xA0000003">0400000000</Data>)"
             R"(<Data Signature="0xA0000001">0400000G</Data></Shortcut>)",
             R"( ShowCmd="1" DataFlags="0x0" />)"}});
}

TEST_F(ItemElementsTest, Files) {
    Expect("CreateFiles", R"(<File Target="%SystemDrive%\a")",
           {{R"( RelativeSource="C:\b"/>)", ""},
            {"/>", ""},
            {R"( RelativeSource="5%"/>)", R"( RelativeSource="5|%" />)"}});
}

TEST_F(ItemElementsTest, Keys) {
    const std::pair<const char*, const char*> kTargets[] = {
        {R"(hklm\Software\50%||)", R"(HKEY_LOCAL_MACHINE\Software\50|%||)"},
        {R"(\REGISTRY\MACHINE\x\)", R"(HKEY_LOCAL_MACHINE\x)"},
        {R"(HKEY_CLASSES_ROOT\.txt)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.txt)"},
        {R"(HKEY_USERS\S-1-5-21-7\x)", R"(HKEY_CURRENT_USER\x)"},
        {R"(HKLM\S-1-5-21-7)", R"(HKEY_LOCAL_MACHINE\%SID%)"},
        {R"(HKLM\C:\Program Files\x)", R"(HKEY_LOCAL_MACHINE\C:\Program Files\x)"},
    };
    for (const auto& [read, written] : kTargets) {
        Expect("CreateKeys", R"(<Key Target=")",
               {{read + std::string("\"/>"), written + std::string("\" />")}});
    }
    Expect("CreateKeys", R"(<Key Target="HKEY_LOCAL_MACHINE\50|%")",
           {{R"( Architecture="X86"/>)", R"( Architecture="x86" />)"},
            {R"( Architecture="arm"/>)", " />"}});
    Expect("DeleteKeys", R"(<Key Target="HKEY_LOCAL_MACHINE\50|%")",
           {{R"( Recursive="0"/>)", R"( Recursive="0" />)"}, {"/>", R"( Recursive="1" />)"}});
    Expect("DeleteValues", R"(<Value Target="HKEY_LOCAL_MACHINE\a")",
           {{R"( Value="50%"/>)", R"( Value="50|%" />)"}, {"/>", " />"}});
    // The architecture is stated where it is not the package's.
    m_package.GetProperties().Architecture = OrvArchitectureX64;
    auto& keys = m_package.Get<COrvCreateKeysCollection>();
    keys.AddItem(uR"(HKLM\a)", OrvArchitectureX64);
    EXPECT_EQ(SavedItems(),
              "<CreateKeys>\n<Key Target=\"HKEY_LOCAL_MACHINE\\a\" />\n</CreateKeys>\n");
    keys.Clear();
    keys.AddItem(uR"(HKLM\b)", OrvArchitectureX86);
    EXPECT_NE(SavedItems().find(R"(\b" Architecture="x86" />)"), std::string::npos);
}

TEST_F(ItemElementsTest, Values) {
    Expect("CreateValues", R"(<Value Target="HKEY_LOCAL_MACHINE\k" Value="v")",
           {{R"( Type="reg_dword">0XFF</Value>)", R"( Type="REG_DWORD">0xFF</Value>)"},
            {R"( Type="REG_DWORD">255</Value>)", R"( Type="REG_DWORD">0xFF</Value>)"},
            {R"( Type="REG_DWORD">12a</Value>)", R"( Type="REG_DWORD">0x0</Value>)"},
            {R"( Type="REG_DWORD">0x100000002</Value>)", R"( Type="REG_DWORD">0x2</Value>)"},
            {R"( Type="REG_QWORD" />)", R"( Type="REG_QWORD">0x0</Value>)"},
            {R"( Type="REG_SZ" />)", R"( Type="REG_SZ"></Value>)"},
            {R"( Type="REG_NONE" />)", R"( Type="REG_NONE"></Value>)"},
            {R"( Type="REG_BINARY">0aF</Value>)", R"( Type="REG_BINARY">0A</Value>)"},
            {R"( Type="REG_LINK">0aff</Value>)", R"( Type="REG_LINK">0AFF</Value>)"},
            {R"( Type="REG_MULTI_SZ">a\0\0b</Value>)", R"( Type="REG_MULTI_SZ">a\0b\0\0</Value>)"},
            {R"( Type="REG_NONE">0</Value>)", ""},
            {R"( Type="REG_LINK">0G</Value>)", ""},
            {R"( Type="REG_TEXT">a</Value>)", ""},
            {">a</Value>", ""}});
    // A string that held a backslash and a zero falls apart.
    EXPECT_NE(SavedAfterReading(R"(<CreateValues><Value Target="HKLM\k" Type="REG_MULTI_SZ">)"
                                R"(a\\0x\0\0</Value></CreateValues>)")
                  .find(R"(>a\\\0x\0\0<)"),
              std::string::npos);
}

TEST_F(ItemElementsTest, OfTheSameItemTheFirstStays) {
    const struct {
        const char* collection;
        const char* elements;
        std::ptrdiff_t items;
    } kCases[] = {
        {"CreateServices",
         R"(<Service Name="s" ServiceType="1" Binary="a"/><Service Name="S" ServiceType="1"/>)", 1},
        {"DeleteAssemblies", R"(<Assembly Name="a"/><Assembly Name="A"/>)", 1},
        // Variables by their scope.
        {"DeleteEnvVars",
         R"(<EnvVar Variable="a" User="0"/><EnvVar Variable="A" User="0"/>)"
         R"(<EnvVar Variable="a" User="1"/>)",
         2},
        // Keys in all their spellings, but one for each architecture.
        {"CreateKeys",
         R"(<Key Target="HKEY_CURRENT_USER\Software\App" Architecture="x86"/>)"
         R"(<Key Target="hkey_users\s-1-5-21-7\SOFTWARE\app" Architecture="x86"/>)"
         R"(<Key Target="HKEY_CURRENT_USER\Software\App" Architecture="x64"/>)"
         R"(<Key Target="HKEY_CURRENT_USER\Software\App"/>)"
         // "App" and architecture 1, with nothing behind, is not "App1" and architecture 0.
         R"(<Key Target="HKEY_CURRENT_USER\Software\App1"/>)",
         4},
        // Names of values are keys too: an alias in one is expanded.
        {"DeleteValues",
         R"(<Value Target="HKLM\a" Value="v"/><Value Target="hklm\A" Value="V"/>)"
         R"(<Value Target="HKLM\b" Value="v"/><Value Target="HKLM\a" Value="w"/>)"
         R"(<Value Target="HKLM\a" Value="v" Architecture="x86"/>)"
         R"(<Value Target="HKLM\c" Value="HKEY_CURRENT_USER\x"/>)"
         R"(<Value Target="HKLM\c" Value="HKEY_USERS\S-1-5-21-7\x"/>)",
         5},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.collection);
        const std::string name = test.collection;
        const std::string text =
            SavedAfterReading("<" + name + ">" + test.elements + "</" + name + ">");
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n') - 2, test.items) << text;
    }
}

}  // namespace
