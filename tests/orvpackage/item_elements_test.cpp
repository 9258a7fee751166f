// What becomes of the items' elements when a manifest is read and saved again: the form and the
// place of each attribute, what an absent one means, and which items are left out.

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>

#include "orvpackage/crypt.h"
#include "orvpackage/elements.h"
#include "orvpackage/key_collections.h"
#include "orvpackage/package_fixture.h"
#include "support/system.h"

namespace {

// What a text is for each of these marks.
using Text = std::map<char, std::string>;

Text Everywhere(const std::string& text) {
    return {{'@', text}, {'#', text}, {'$', text}, {'*', text}};
}

// Every kind of element with every text.
std::string WholeManifest(const std::vector<Text>& texts) {
    std::string manifest =
        "<Package Version=\"1\">\n<Properties>\n"
        "<Name>App|%_{1}</Name>\n<Version>7</Version>\n<Manufacturer>M\u00FCller ~d83d~de00"
        "</Manufacturer>\n<Architecture>x64</Architecture>\n<PerUserInstall>0</PerUserInstall>\n"
        "</Properties>\n";
    std::string_view open;
    for (const auto& [collection, element] : kElements) {
        if (collection != open) {
            manifest.append(open.empty() ? "" : "</" + std::string(open) + ">\n");
            manifest.append("<").append(collection).append(">\n");
            open = collection;
        }
        for (const Text& text : texts) {
            for (const char c : element) {
                const auto mark = text.find(c);
                manifest += mark == text.end() ? std::string(1, c) : mark->second;
            }
            manifest += "\n";
        }
    }
    return manifest.append("</").append(open).append(">\n</Package>\n");
}

// The order of a collection's items is that of its hash table.
std::vector<std::string> SortedLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

const std::string kAbsent = "absent";  // the attribute
const std::string kNoItem = "no item";

// An attribute, and what becomes of its values.
using Row = std::pair<std::string, std::vector<std::pair<std::string, std::string>>>;

class ItemElementsTest : public PackageTest {
protected:
    // The lines of a collection that has read these elements.
    std::string Reread(const std::string& collection, const std::string& elements) {
        const std::string text =
            SavedAfterReading("<" + collection + ">" + elements + "</" + collection + ">");
        const std::size_t start = text.find('\n') + 1;
        const std::size_t end = text.find("</" + collection);
        return end == std::string::npos ? "" : text.substr(start, end - start);
    }
    // Reads elements of which one at most is written.
    void Expect(const std::string& collection, const std::string& elements,
                const std::string& written) {
        EXPECT_EQ(Reread(collection, elements), written + (written.empty() ? "" : "\n"))
            << elements;
    }
    // Reads an element that begins so, with each value of each attribute.
    void Expect(const std::string& collection, const std::string& start,
                const std::vector<Row>& rows) {
        for (const auto& [attribute, values] : rows) {
            const std::string name = ' ' + attribute + "=\"";
            for (const auto& [read, written] : values) {
                const std::string line = Reread(collection, start + name + read + "\"/>");
                std::smatch found;
                std::regex_search(line, found, std::regex(name + "([^\"]*)\""));
                const std::string value = line.empty() ? kNoItem : kAbsent;
                EXPECT_EQ(found.empty() ? value : found[1].str(), written) << name << read;
                EXPECT_EQ(Reread(collection, line), line);
            }
        }
    }
};

TEST_F(ItemElementsTest, EveryAttributeHasItsPlaceAndFormAndComesBack) {
    std::vector<Text> read;
    for (const char* text : {"plain", "~d800~dc00~dfff~0001", "~d800", "100|% ~~0041",
                             "a||b \u00DF", "&amp; ' &lt;b&gt;"}) {
        read.push_back(Everywhere(text));
    }
    // In a path, an item expands a token that was escaped, and the manifest has it once more.
    std::vector<Text> written = read;
    read.push_back(Everywhere(R"(|%SystemDrive|%\x S-1-5-21-7)"));
    written.push_back({{'@', R"(|%SystemDrive|%\x S-1-5-21-7)"},
                       {'#', R"(%SystemDrive%\x %SID%)"},
                       {'$', R"(C:\x %SID%)"},
                       {'*', R"(|%SystemDrive|%\x %SID%)"}});
    m_folder.WriteFile("m.orv", WholeManifest(read));
    ASSERT_TRUE(LoadManifest(Manifest("m.orv"), m_package));
    const std::string text = Saved();
    const std::vector<std::string> lines = SortedLines(text.substr(text.find("<Package")));
    const std::vector<std::string> expected = SortedLines(WholeManifest(written));
    ASSERT_EQ(lines.size(), expected.size()) << text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i], expected[i]);
    }
    if (!RunsInWine()) {  // Wine misreads letters at the borders of its buffers
        EXPECT_EQ(SavedItemsAgain(), SavedItems());
    }
}

TEST_F(ItemElementsTest, WhatIsAbsentOrEmptyIsLeftOutOrHasItsFirstValue) {
    const std::tuple<const char*, const char*, const char*> kCases[] = {
        {"DeleteFolders", R"(<Folder Target="a"/>)", R"(<Folder Target="a" Recursive="0" />)"},
        {"DeleteKeys", R"(<Key Target="HKEY_USERS"/>)",
         R"(<Key Target="HKEY_USERS" Recursive="1" />)"},
        {"DeleteValues", R"(<Value Target="HKEY_USERS" Value=""/>)",
         R"(<Value Target="HKEY_USERS" />)"},
        {"CreateShortcuts",
         R"(<Shortcut Target="a" ShortcutTarget="b" Description="" Arguments="" Hotkey="0" )"
         R"(IconTarget="" IconIndex="3" WorkingDirectory=""/>)",
         R"(<Shortcut Target="a" ShortcutTarget="b" ShowCmd="1" DataFlags="0x0" />)"},
        {"CreateEnvVars", R"(<EnvVar Variable="a" Value="b"/>)",
         R"(<EnvVar Variable="a" User="0" Value="b" InstallMode="0" />)"},
        {"CreateServices",
         R"(<Service Name="s" ServiceType="16" DisplayName="" Description="" Binary="b" )"
         R"(Arguments="" LoadOrder="" Dependencies="\0\0" Username="" EncryptedPassword=""/>)",
         R"(<Service Name="s" ServiceType="16" StartType="4" ErrorControl="1" Binary="b" />)"},
        {"ControlServices", R"(<Service Name="s" Arguments=""/>)",
         R"(<Service Name="s" Action="1" />)"},
        {"CreateAssemblies",
         R"(<Assembly Id="a" ManifestRelativeSource="m" CatalogRelativeSource="" Private=""/>)",
         R"(<Assembly Id="a" AssemblyType="0" ManifestRelativeSource="m" />)"},
        {"PreActions", R"(<Action Path="a" RelativeSource="" Arguments=""/>)",
         R"(<Action ActionType="0" Path="a" ActionMode="0" Wait="1" />)"},
        // Without these there is no item.
        {"CreateFolders", R"(<Folder/>)", ""},
        {"CreateFiles", R"(<File RelativeSource="b"/>)", ""},
        {"CreateFiles", R"(<File Target="a"/>)", ""},
        {"CreateKeys", R"(<Key Architecture="x86"/>)", ""},
        {"CreateValues", R"(<Value Target="HKEY_USERS" Value="v">a</Value>)", ""},
        {"CreateShortcuts", R"(<Shortcut Target="a"/>)", ""},
        {"CreateEnvVars", R"(<EnvVar Variable="a"/>)", ""},
        {"DeleteEnvVars", R"(<EnvVar User="1"/>)", ""},
        {"CreateServices", R"(<Service Name="s" Binary="b"/>)", ""},
        {"CreateServices", R"(<Service Name="s" ServiceType="16"/>)", ""},
        {"CreateAssemblies", R"(<Assembly Id="a"/>)", ""},
        {"DeleteAssemblies", R"(<Assembly Id="a"/>)", ""},
        {"PostActions", R"(<Action ActionType="2"/>)", ""},
    };
    for (const auto& [collection, element, written] : kCases) {
        Expect(collection, element, written);
    }
}

TEST_F(ItemElementsTest, NumbersFlagsAndTextsThatAreRestricted) {
    const std::vector<std::pair<std::string, std::string>> flag = {
        {"0", "0"}, {"1", "1"}, {"", "1"}, {"00", "1"}};
    const std::string text256(256, 'x');
    const std::string text1024(1024, 'x');
    Expect("DeleteFolders", R"(<Folder Target="a")", {{"Recursive", flag}});
    Expect("CreateFiles", R"(<File Target="a")",
           {{"RelativeSource",
             {{R"(\b)", R"(\b)"}, {R"(C:\b)", kNoItem}, {R"(|%SystemDrive|%\b)", kNoItem}}}});
    Expect("CreateShortcuts", R"(<Shortcut Target="a" ShortcutTarget="b" IconTarget="i")",
           {{"Description", {{text1024, text1024}, {text1024 + 'x', kAbsent}}},
            {"Hotkey", {{"0x10010", "16"}, {"1a", kAbsent}}},
            {"IconIndex", {{"0x10", "16"}, {"-3", "0"}}},
            {"ShowCmd", {{"2", "1"}, {"3", "3"}, {"7", "7"}, {"259", "1"}}},
            {"DataFlags", {{"171", "0xAB"}, {"1a", "0x0"}}}});
    Expect("CreateEnvVars", R"(<EnvVar Variable="v" Value="x")",
           {{"User", flag}, {"InstallMode", {{"1a", "20"}, {"300", "44"}, {"x", "33"}}}});
    Expect("CreateServices", R"(<Service Name="s" Binary="b")",
           {{"ServiceType", {{"0x110", "272"}, {"4", kNoItem}, {"16x", kNoItem}}}});
    Expect("CreateServices", R"(<Service Name="s" ServiceType="16" Binary="b")",
           {{"StartType", {{"0x2", "2"}, {"9", "4"}}},
            {"ErrorControl", {{"0x3", "3"}, {"4", "1"}}},
            {"DisplayName", {{text256, text256}, {text256 + 'x', kAbsent}}},
            {"Dependencies", {{R"(+5%\0C:\\x)", R"(+5%\0C:\\x\0\0)"}}},
            {"EncryptedPassword", {{"00", "00"}}},
            {"Password", {{"p", kAbsent}}}});
    Expect("ControlServices", R"(<Service Name="s")",
           {{"Action", {{"1a", "20"}}},
            {"Arguments",
             {{R"(C:\\x\0|%Temp|%)", R"(%SystemDrive%\\x\0|%Temp|%\0\0)"},
              {R"(|%SystemDrive|%a)", R"(%SystemDrive%\\a\0\0)"}}}});
    Expect("CreateAssemblies", R"(<Assembly Id="a" ManifestRelativeSource="m")",
           {{"AssemblyType", {{"1a", "20"}}}});
    Expect("PreActions", R"(<Action Path="a")",
           {{"ActionType", {{"1", "1"}}}, {"ActionMode", {{"1a", "20"}}}, {"Wait", flag}});
}

TEST_F(ItemElementsTest, PasswordsAndArgumentsOfServices) {
    // Of both passwords the later one counts.
    const std::string start = R"(<Service Name="s" ServiceType="16" )";
    const std::string written = start + R"(StartType="4" ErrorControl="1" Binary="b" )";
    Expect("CreateServices", start + R"(Binary="b" Password="p" EncryptedPassword="00"/>)",
           written + R"(EncryptedPassword="00" />)");
    Expect("CreateServices", start + R"(Binary="b" EncryptedPassword="00" Password=""/>)",
           written + "EncryptedPassword=\"" + Utf8(EncryptPassword(u"")) + "\" />");
    // Arguments are desanitized as one text: the backslash that the token brings separates like any
    // other with a zero behind it.
    Expect("ControlServices", R"(<Service Name="s" Arguments="%SystemDrive%0a\0b|"/>)",
           R"(<Service Name="s" Action="1" Arguments="C:\0a\0b||\0\0" />)");
}

TEST_F(ItemElementsTest, FilesOfAssembliesAreSorted) {
    const std::string start = R"(<Assembly Id="a" AssemblyType="0" ManifestRelativeSource="m")";
    Expect("CreateAssemblies",
           start + R"(><File RelativeSource="B"/><file relativesource="a"></file><File/>)"
                   R"(<File RelativeSource="A"/><File RelativeSource="C:\5%"/>)"
                   R"(<File RelativeSource="|%SystemDrive|%\5%"/></Assembly>)",
           start + R"(><File RelativeSource="a" /><File RelativeSource="B" />)"
                   R"(<File RelativeSource="C:\5|%" /></Assembly>)");
    // Files of one element do not reach the next.
    Expect("CreateAssemblies",
           R"(<Assembly Id="x"><File RelativeSource="f"/></Assembly>)" + start + "/>",
           start + " />");
}

TEST_F(ItemElementsTest, TextsOfActionsAreWhatTheirTypeSays) {
    const std::string script =
        R"(<Action ActionType="2" ActionMode="0" Wait="1">%SystemDrive%\5% |%Temp|%</Action>)";
    Expect("PostActions", script, script);
    Expect("PostActions", R"(<Action ActionType="1">C:\5%</Action>)",
           R"(<Action ActionType="1" Path="%SystemDrive%\5|%" ActionMode="0" Wait="1" />)");
    Expect("PostActions", R"(<Action ActionType="5" Path="C:\a"/>)",
           R"(<Action ActionType="5" ActionMode="0" Wait="1" />)");
}

TEST_F(ItemElementsTest, DataBlocksAreAsLongAsTheySay) {
    const std::string start = R"(<Shortcut Target="a" ShortcutTarget="b")";
    const std::string written = start + R"( ShowCmd="1" DataFlags="0x0")";
    const std::string block = start + "><Data Signature=";
    const std::string end = "</Data></Shortcut>";
    Expect("CreateShortcuts", block + R"("2684354561">05000000abCD)" + end,
           written + R"(><Data Signature="0xA0000001">05000000AB)" + end);
    for (const char* wrong :
         {R"("0xA0000001">06000000AB)", R"("0xA0000001">00000000AB)", R"("0xA0000001">040000)",
          R"("0xA0000001">0400000G)", R"("0xA0000001">040000000)", R"("0xA0000003">04000000)"}) {
        Expect("CreateShortcuts", block + wrong + end, written + " />");
    }
    // Neither a block nor its signature reaches the next element.
    Expect("CreateShortcuts",
           R"(<Shortcut Target="x"><Data Signature="0xA0000001">04000000</Data>)"
           R"(<Data Signature="0xA0000001"/></Shortcut>)" +
               start + "><Data>04000000" + end,
           written + " />");
}

TEST_F(ItemElementsTest, KeysAndNamesOfValues) {
    const std::string key = R"( Target="HKEY_LOCAL_MACHINE\a")";
    Expect("CreateKeys", "<Key",
           {{"Target",
             {{R"(hklm\Software\50%||)", R"(HKEY_LOCAL_MACHINE\Software\50|%||)"},
              {R"(\REGISTRY\MACHINE\x\)", R"(HKEY_LOCAL_MACHINE\x)"},
              {R"(HKEY_CLASSES_ROOT\.txt)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.txt)"},
              {R"(HKEY_USERS\S-1-5-21-7\x)", R"(HKEY_CURRENT_USER\x)"},
              {R"(HKLM\S-1-5-21-7)", R"(HKEY_LOCAL_MACHINE\%SID%)"},
              {R"(HKLM\C:\Program Files\x)", R"(HKEY_LOCAL_MACHINE\C:\Program Files\x)"}}}});
    Expect("CreateKeys", "<Key" + key,
           {{"Architecture", {{"X86", "x86"}, {"x64", "x64"}, {"arm", kAbsent}}}});
    Expect("DeleteKeys", "<Key" + key, {{"Recursive", {{"0", "0"}, {"", "1"}}}});
    Expect(
        "DeleteValues", "<Value" + key,
        {{"Value", {{R"(C:\x HKEY_USERS\S-1-5-21-7)", R"(%SystemDrive%\x HKEY_CURRENT_USER)"}}}});
    Expect("CreateValues", "<Value" + key,
           {{"Type", {{"reg_sz", "REG_SZ"}, {"REG_TEXT", kNoItem}}}});
    // The architecture is stated where it is not the package's.
    m_package.GetProperties().Architecture = OrvArchitectureX64;
    auto& keys = m_package.Get<COrvCreateKeysCollection>();
    keys.AddItem(uR"(HKLM\a)", OrvArchitectureX64);
    EXPECT_EQ(SavedItems(),
              "<CreateKeys>\n<Key Target=\"HKEY_LOCAL_MACHINE\\a\" />\n</CreateKeys>\n");
}

TEST_F(ItemElementsTest, DataOfValues) {
    const std::pair<std::string, std::string> kValues[] = {
        {R"("REG_DWORD">0XFF)", R"("REG_DWORD">0xFF)"},
        {R"("REG_DWORD">255)", R"("REG_DWORD">0xFF)"},
        {R"("REG_DWORD">12a)", R"("REG_DWORD">0x0)"},
        {R"("REG_DWORD">0x100000002)", R"("REG_DWORD">0x2)"},
        {R"("REG_QWORD">)", R"("REG_QWORD">0x0)"},
        {R"("REG_SZ">)", R"("REG_SZ">)"},
        {R"("REG_NONE">)", R"("REG_NONE">)"},
        {R"("REG_BINARY">0aF)", R"("REG_BINARY">0A)"},
        {R"("REG_LINK">0aff)", R"("REG_LINK">0AFF)"},
        {R"("REG_MULTI_SZ">\0\0a\0\0b)", R"("REG_MULTI_SZ">a\0b\0\0)"},
        {R"("REG_MULTI_SZ">)", R"("REG_MULTI_SZ">\0\0)"},
        {R"("REG_MULTI_SZ">a\\0x)", R"("REG_MULTI_SZ">a\\\0x\0\0)"},  // it held a backslash and a 0
        {R"("REG_MULTI_SZ">|% ||\0b)", R"("REG_MULTI_SZ">|% ||\0b\0\0)"},
        {R"("REG_NONE">0)", ""},
        {R"("REG_LINK">0G)", ""},
    };
    const std::string start = R"(<Value Target="HKEY_LOCAL_MACHINE\k" Value="v" Type=)";
    for (const auto& [read, written] : kValues) {
        Expect("CreateValues", start + read + "</Value>",
               written.empty() ? "" : start + written + "</Value>");
    }
}

TEST_F(ItemElementsTest, OfTheSameItemTheFirstStays) {
    const std::tuple<std::string, std::string, std::ptrdiff_t> kCases[] = {
        {"CreateServices",
         R"(<Service Name="s" ServiceType="1" Binary="a"/><Service Name="S" ServiceType="1"/>)", 1},
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
    for (const auto& [collection, elements, items] : kCases) {
        const std::string text = Reread(collection, elements);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), items) << text;
    }
}

}  // namespace
