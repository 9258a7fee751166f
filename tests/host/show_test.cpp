// How the command "show" shows the items of a manifest.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/item_json.h"
#include "host/item_text.h"
#include "host/manifest_items.h"
#include "host/name_pattern.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using testing::ElementsAre;

class ShowTest : public testing::Test {
protected:
    // Calls `handle` for each item of a manifest with these collections in UTF-8.
    void Read(const std::string& collections, const host::ItemHandler& handle) {
        m_folder.WriteFile("app.orv", "<Package Version=\"1\">" + collections + "</Package>");
        EXPECT_EQ(host::ReadItems(m_folder.Path("app.orv"), handle), "");
    }
    std::string Show(const std::string& collections, const host::SItemLayout& layout = {}) {
        host::CItemText lines(layout);
        std::string text;
        Read(collections, [&](const host::SItem& item) {
            lines.Append(item, text);
            return true;
        });
        return text;
    }
    std::vector<std::string> Json(const std::string& collections) {
        std::vector<std::string> lines;
        Read(collections, [&](const host::SItem& item) {
            CJsonWriter json;
            host::WriteItem(item, json);
            lines.emplace_back(json.GetBytes());
            return true;
        });
        return lines;
    }

    CTempFolder m_folder;
};

// The items of a collection, and what is shown of them after the name of the collection.
struct SCase {
    const char* collection;
    const char* items;
    const char* lines;
};

constexpr SCase kCases[] = {
    {"Properties", "<Name>a~0009b</Name>",
     "Name\ta\xEF\xBF\xBD"
     "b"},
    {"CreateFolders", R"(<Folder Target="%Temp%\a"/>)", R"(%Temp%\a)"},
    {"DeleteFolders", R"(<Folder Target="a" Recursive="1"/>)", "yes (1)\ta"},
    {"CreateFiles", R"(<File RelativeSource="s" Target="a"/>)", "a\ts"},
    {"DeleteFiles", R"(<File Target="a" Odd="x">y</File>)", "a\tOdd=x\tText=y"},
    {"CreateKeys", R"(<Key Target="HKEY_USERS\a" Architecture="x86"/>)",
     "HKU\\a\tArchitecture=x86"},
    {"DeleteKeys", R"(<Key Target="HKEY_CURRENT_USER" Recursive="0"/>)", "no (0)\tHKCU"},
    {"CreateValues", R"(<Value Target="HKEY_LOCAL_MACHINE\a" Type="REG_SZ">b</Value>)",
     "HKLM\\a\t(default)\tREG_SZ\tb"},
    {"CreateValues", R"(<Value Target="k" Value="v" Type="REG_MULTI_SZ">a\\0\0b\0\0</Value>)",
     "k\tv\tREG_MULTI_SZ\t[\"a\\0\", \"b\"]"},
    {"CreateValues", R"(<Value Target="k" Value="v" Type="REG_MULTI_SZ">\0\0</Value>)",
     "k\tv\tREG_MULTI_SZ\t[]"},
    {"CreateValues", R"(<Value Target="k" Value="v" Type="REG_MULTI_SZ">a\0b</Value>)",
     "k\tv\tREG_MULTI_SZ\ta\\0b"},
    {"CreateValues", R"(<Value Target="k" Value="v" Type="REG_DWORD">0x10</Value>)",
     "k\tv\tREG_DWORD\t0x10 (16)"},
    {"CreateValues", R"(<Value Target="k" Value="v" Type="REG_BINARY">00FFAB</Value>)",
     "k\tv\tREG_BINARY\t00 FF AB"},
    {"CreateValues", R"(<Value Target="k" Value="v" Type="REG_BINARY">00F</Value>)",
     "k\tv\tREG_BINARY\t00F"},
    {"CreateValues", R"(<Value Target="k" Value="v"/>)", "k\tv\t\t"},
    {"DeleteValues", R"(<Value Target="k" Value="v"/>)", "k\tv"},
    {"CreateShortcuts",
     R"(<Shortcut Target="a" ShortcutTarget="b" ShowCmd="7"><Data Signature="0x1">0A</Data></Shortcut>)",
     "a\tb\t\tShowCmd=minimised (7)\tData: Signature=0x1 0A"},
    {"DeleteShortcuts", R"(<Shortcut Target="a"/>)", "a"},
    {"CreateEnvVars", R"(<EnvVar Variable="A" User="1" Value="b" InstallMode="0"/>)",
     "A\tuser (1)\t0\tb"},
    {"DeleteEnvVars", R"(<EnvVar Variable="A" User="0"/>)", "machine (0)\tA"},
    {"CreateServices",
     R"(<Service Name="s" ServiceType="16" StartType="9" Binary="b" Dependencies="+a\0\0"/>)",
     "s\town process (16)\t9\tb\tDependencies=[\"+a\"]"},
    {"DeleteServices", R"(<Service Name="s"/>)", "s"},
    {"ControlServices", R"(<Service Name="s" Action="1" Arguments="a\0b\0\0"/>)",
     "s\t1\t[\"a\", \"b\"]"},
    {"CreateAssemblies",
     R"(<Assembly Id="i" AssemblyType="1" ManifestRelativeSource="m"><File RelativeSource="f"/></Assembly>)",
     "i\tglobal (1)\tm\tFile: RelativeSource=f"},
    {"DeleteAssemblies", R"(<Assembly Name="i"/>)", "i"},
    {"PreActions", R"(<Action ActionType="2" ActionMode="0" Wait="0">a~000ab</Action>)",
     "script (2)\t\t\t\tActionMode=0\tWait=no (0)\tText=a\xEF\xBF\xBD"
     "b"},
    {"PostActions", R"(<Other Path="p"/>)", "\tp\t\t\tElement=Other"},
    {"Others", R"(<a b="c">d</a>)", "a\tb=c\tText=d"},
};

TEST_F(ShowTest, LineHasAllThatIsInAnItem) {
    for (const auto& [collection, items, line] : kCases) {
        const std::string name = collection;
        const std::string text = Show("<" + name + ">" + items + "</" + name + ">");
        EXPECT_EQ(text.substr(text.find('\n') + 1), name + '\t' + line + '\n');
        EXPECT_EQ(text.substr(0, 11), "Collection\t");
    }
}

constexpr const char* kTwo =
    R"(<CreateValues><Value Target="HKEY_LOCAL_MACHINE\SOFTWARE\Some long company" Type="REG_BINARY">)"
    "000102030405060708090A0B0C0D0E0F</Value>"
    "<Value Target=\"\xE6\xBC\xA2\xE5\xAD\x97~d800\" Value=\"\xF0\x9F\x98\x80~202e\"/>"
    R"(</CreateValues><DeleteFiles><File Target="a" Odd="x"/></DeleteFiles>)";

TEST_F(ShowTest, ColumnsAreAlignedToTheTerminal) {
    EXPECT_EQ(Show(kTwo, {.columns = 80}),
              "CreateValues\n"
              "  Target                     Value         Type           Data\n"
              "  HKLM\\SOFTWA...ong company  (default)     REG_BINARY     00 ... (16 bytes)\n"
              "  \xE6\xBC\xA2\xE5\xAD\x97\xEF\xBF\xBD                      "
              "\xF0\x9F\x98\x80\xEF\xBF\xBD\n"
              "\nDeleteFiles\n"
              "  Target\n"
              "  a  Odd=x\n");
    // No line is wider than the terminal, unless that is too narrow for any column.
    for (const std::size_t columns : {60U, 61U, 72U, 500U}) {
        const std::string text = Show(kTwo, {.columns = columns});
        for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
            EXPECT_LT(text.find('\n', at) - at, columns);
        }
    }
    EXPECT_EQ(Show(kTwo, {.columns = 1}).substr(0, 2), "\n ");
}

TEST_F(ShowTest, OnlyHeadingsHaveColours) {
    const std::string plain = Show(kTwo, {.columns = 80});
    std::string colored = Show(kTwo, {.columns = 80, .hasColors = true});
    EXPECT_EQ(plain.find('\x1B'), std::string::npos);
    EXPECT_EQ(colored.substr(0, 7), "\x1B[1;32m");
    for (const std::string escape : {"\x1B[1;32m", "\x1B[1;31m", "\x1B[2m", "\x1B[0m"}) {
        for (std::size_t at = 0; (at = colored.find(escape)) != std::string::npos;) {
            colored.erase(at, escape.size());
        }
    }
    EXPECT_EQ(colored, plain);
}

TEST_F(ShowTest, JsonHasAttributesAndDecodedData) {
    const auto value = [](const std::string& type, const std::string& text) {
        return "<Value Target=\"k\" Type=\"" + type + "\">" + text + "</Value>";
    };
    const std::string start = R"({"collection":"CreateValues","element":"Value","line":1,)"
                              R"("Target":"k","Type":"REG_)";
    EXPECT_THAT(
        Json("<CreateValues>" + value("REG_SZ", "") + value("REG_MULTI_SZ", R"(a\\\0~d800\0\0)") +
             value("REG_DWORD", "0xFFFFFFFF") + value("REG_DWORD", "0x1FFFFFFFF") +
             value("REG_QWORD", "0x1FFFFFFFFFFFFF") + value("REG_QWORD", "0x20000000000000") +
             value("REG_BINARY", "0aB0") + value("REG_NONE", "0") + "</CreateValues>"),
        ElementsAre(start + R"(SZ","data":""})", start + R"(MULTI_SZ","data":["a\\","\ud800"]})",
                    start + R"(DWORD","data":4294967295})",
                    start + R"(DWORD","text":"0x1FFFFFFFF"})",
                    start + R"(QWORD","data":9007199254740991})",
                    start + R"(QWORD","data":"9007199254740992"})",
                    start + R"(BINARY","data":"0AB0"})", start + R"(NONE","text":"0"})"));
    EXPECT_THAT(Json("<A><b line=\"x\" Type=\"REG_DWORD\">0x1<P q=\"r\">s</P></b></A>"),
                ElementsAre(R"({"collection":"A","element":"b","line":1,"@line":"x",)"
                            R"("Type":"REG_DWORD","text":"0x1",)"
                            R"("parts":[{"element":"P","q":"r","text":"s"}]})"));
}

}  // namespace
