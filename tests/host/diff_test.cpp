// What the command "diff" takes for the same in two manifests, and how it tells the rest.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "host/diff/diff_json.h"
#include "host/diff/diff_text.h"
#include "host/diff/manifest_diff.h"
#include "host/diff/result_pairs.h"
#include "support/system.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kGuid = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
constexpr const char* kOtherGuid = "{11111111-2222-3333-4444-555555555555}";

std::string Manifest(const std::string& collections, const std::string& version = "1") {
    return Utf16Bytes(
        "<?xml version=\"1.0\" encoding=\"utf-16\"?>\r\n<Package Version=\"1\">\r\n"
        "<Properties>\r\n<Version>" +
        version + "</Version>\r\n<PerUserInstall>1</PerUserInstall>\r\n</Properties>\r\n" +
        collections + "</Package>\r\n");
}

std::string Collection(const std::string& name, const std::vector<std::string>& items) {
    std::string text = '<' + name + ">\r\n";
    for (const std::string& item : items) {
        text += item + "\r\n";
    }
    return text + "</" + name + ">\r\n";
}

// A value of the key K, with the attributes and the text that follow.
std::string Value(const std::string& rest) {
    return R"(<Value Target="HKEY_LOCAL_MACHINE\K" )" + rest + "</Value>";
}
std::string File(const std::string& name, const std::string& source) {
    return "<File Target=\"" + name + "\" RelativeSource=\"" + source + "\" />";
}

class DiffTest : public testing::Test {
protected:
    // The lines of all differences between two manifests with these bytes.
    std::string DiffBytes(const std::string& older, const std::string& newer) {
        m_folder.WriteFile("old/app.orv", older);
        m_folder.WriteFile("new/app.orv", newer);
        std::string lines;
        m_json.clear();
        m_told.clear();
        host::CFileContents contents(m_tell);
        m_payload =
            host::DiffManifests(m_folder.Path("old/app.orv"), m_folder.Path("new/app.orv"),
                                contents, m_tell, [&](const host::SDifference& difference) {
                                    lines += host::DescribeDifference(difference, contents, false);
                                    CJsonWriter json;
                                    host::WriteDifference(json, u"", u"", difference, contents);
                                    m_json.emplace_back(json.GetBytes());
                                    return true;
                                });
        m_files = contents.GetCount();
        return lines;
    }
    // The same of two manifests with one collection each.
    std::string Diff(const std::string& collection, const std::vector<std::string>& older,
                     const std::vector<std::string>& newer) {
        return DiffBytes(Manifest(Collection(collection, older)),
                         Manifest(Collection(collection, newer)));
    }
    // What is paired, as "target/manifest old|new".
    std::vector<std::string> Pair(const std::string& older, const std::string& newer) {
        m_told.clear();
        std::vector<std::string> pairs;
        for (const host::SResultPair& pair : host::PairResults(
                 m_folder.Path(older).string(), m_folder.Path(newer).string(), m_tell)) {
            pairs.push_back(Utf8(pair.target) + '/' + Utf8(pair.manifest) +
                            (pair.older.empty() ? "" : " old") +
                            (pair.newer.empty() ? "" : " new"));
        }
        return pairs;
    }

    CTempFolder m_folder;
    host::EPayloadDiff m_payload = host::EPayloadDiff::NoneNamed;
    std::vector<std::string> m_json;
    std::uint64_t m_files = 0;
    std::vector<std::string> m_told;
    const host::TellProblem m_tell = [this](const std::filesystem::path& place,
                                            const std::string& words) {
        m_told.push_back(place.filename().string() + ": " + words);
    };
};

TEST_F(DiffTest, ChangesAreToldByCollectionAndPlace) {
    struct SCase {
        const char* collection;
        std::vector<std::string> older;
        std::vector<std::string> newer;
        const char* lines;
    };
    const SCase cases[] = {
        {"CreateKeys",
         {R"(<Key Target="HKEY_CURRENT_USER\b" />)"},
         {R"(<Key Target="HKEY_CURRENT_USER\B\a" />)",
          R"(<Key Target="HKEY_CURRENT_USER\b" Architecture="x86" />)"},
         "- CreateKeys HKCU\\b\n+ CreateKeys HKCU\\b (x86)\n+ CreateKeys HKCU\\B\\a\n"},
        {"CreateValues",
         {Value(R"(Value="n" Type="REG_DWORD">0x10)"), Value(R"(Type="REG_SZ">a)")},
         {Value(R"(Value="N" Type="REG_DWORD">0x11)"), Value(R"(Type="REG_EXPAND_SZ">a)")},
         "~ CreateValues HKLM\\K\\(default)\n    Type: 'REG_SZ' -> 'REG_EXPAND_SZ'\n"
         "~ CreateValues HKLM\\K\\N\n    Value: 'n' -> 'N'\n    data: '0x10 (16)' -> '0x11 "
         "(17)'\n"},
        {"CreateValues",
         {Value(R"(Type="REG_MULTI_SZ">a\\b\0c\0\0)")},
         {Value(R"(Type="REG_MULTI_SZ">\0\0)")},
         "~ CreateValues HKLM\\K\\(default)\n    data: '[\"a\\b\", \"c\"]' -> '[]'\n"},
        {"CreateEnvVars",
         {R"(<EnvVar Variable="a" User="1" Value="x" InstallMode="0" />)"},
         {R"(<EnvVar Variable="A" User="0" Value="x" InstallMode="0" />)"},
         "+ CreateEnvVars A (machine)\n- CreateEnvVars a (user)\n"},
        {"CreateServices",
         {R"(<Service Name="s" DisplayName="~202e" />)"},
         {R"(<Service Name="s" Binary="b" />)"},
         "~ CreateServices s\n    Binary: (none) -> 'b'\n    DisplayName: '\xEF\xBF\xBD' -> "
         "(none)\n"},
        {"CreateShortcuts",
         {R"(<Shortcut Target="s"><Data Signature="2">AA</Data><Data Signature="1">BB</Data>)"
          "</Shortcut>"},
         {R"(<Shortcut Target="s"><Data Signature="1">CC</Data><Data Signature="3">AA</Data>)"
          "</Shortcut>"},
         "~ CreateShortcuts s\n    Data 1: 'BB' -> 'CC'\n    Data 2: removed\n    Data 3: added\n"},
        {"Others",
         {R"(<Odd Name="x" Size="1" />)"},
         {R"(<Odd Name="X" Size="2" />)"},
         "~ Others X\n    Name: 'x' -> 'X'\n    Size: '1' -> '2'\n"},
    };
    for (const SCase& c : cases) {
        EXPECT_EQ(Diff(c.collection, c.older, c.newer), c.lines);
        EXPECT_EQ(Diff(c.collection, c.older, c.older), "");
    }
    EXPECT_EQ(DiffBytes(Manifest("", "1"), Manifest("", "2")),
              "~ Properties Version\n    text: '1' -> '2'\n");
}

TEST_F(DiffTest, OrderAndLayoutDoNotCountButThatOfActionsDoes) {
    const std::string one = Value(R"(Value="a" Type="REG_SZ">&lt;~~)");
    const std::string two = File("f", "x");
    EXPECT_EQ(DiffBytes(Manifest(Collection("CreateFiles", {two, File("g", "y")}) +
                                 Collection("CreateValues", {one})),
                        Manifest(Collection("CreateValues",
                                            {"  <Value Type='REG_SZ' Value='&#97;' "
                                             "Target='HKEY_LOCAL_MACHINE\\K'>&lt;~~</Value>"}) +
                                 Collection("CreateFiles", {File("g", "other"), two}))),
              "");
    EXPECT_EQ(m_payload, host::EPayloadDiff::NoneThere);
    const auto action = [](const std::string& path) { return "<Action Path=\"" + path + "\" />"; };
    EXPECT_EQ(Diff("PreActions", {action("a"), action("b"), action("c")},
                   {action("a"), action("c"), action("b"), action("d")}),
              "~ PreActions 2\n    Path: 'b' -> 'c'\n~ PreActions 3\n    Path: 'c' -> 'b'\n"
              "+ PreActions 4\n");
}

TEST_F(DiffTest, ItemsOfOneIdentityAreCountedAndPaired) {
    const std::string a = Value(R"(Type="REG_SZ">a)");
    const std::string b = Value(R"(Type="REG_SZ">b)");
    const std::string c = Value(R"(Type="REG_SZ">c)");
    EXPECT_EQ(Diff("CreateValues", {a, b, a}, {a, a, b}), "");
    EXPECT_EQ(Diff("CreateValues", {a, a, b}, {b, a}), "- CreateValues HKLM\\K\\(default)\n");
    EXPECT_EQ(Diff("CreateValues", {a, b}, {b, c, a, c}),
              "+ CreateValues HKLM\\K\\(default)\n+ CreateValues HKLM\\K\\(default)\n");
    EXPECT_EQ(Diff("CreateValues", {a, b}, {c, b}),
              "~ CreateValues HKLM\\K\\(default)\n    data: 'a' -> 'c'\n");
}

// Names that begin alike for longer than what is compared at once, and some that end there.
TEST_F(DiffTest, ManyDifferencesComeInTheOrderOfTheirPlaces) {
    std::vector<std::string> items;
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < 2'000; ++i) {
        const std::string name = Repeat("same", i % 40) + std::to_string(i * 7919 % 2'000);
        items.push_back(R"(<Folder Target=")" + name + R"(" Recursive="0" />)");
        lines.push_back("- DeleteFolders " + name + '\n');
    }
    std::ranges::sort(lines);
    std::string all;
    for (const std::string& line : lines) {
        all += line;
    }
    // In order of names that are followed by a line end, as by the end of a key.
    EXPECT_EQ(Diff("DeleteFolders", items, {}), all);
}

TEST_F(DiffTest, PayloadIsComparedByItsBytes) {
    const std::string large(1'000'000, 'x');
    m_folder.WriteFile("old/d/same", large + '1');
    m_folder.WriteFile("new/e/renamed", large + '1');
    m_folder.WriteFile("old/d/bytes", large + '1');
    m_folder.WriteFile("new/d/bytes", large + '2');
    m_folder.WriteFile("old/d/size", "1");
    m_folder.WriteFile("new/d/size", "12");
    m_folder.WriteFile("old/d/gone");
    m_folder.WriteFile("old/u/S-1-5-21-7/user", "u");
    m_folder.WriteFile("new/u/S-1-5-21-8/user", "u");
    const auto file = [](const std::string& name) { return File(name, "d\\" + name); };
    // Each file twice, so that its check sum is compared too.
    EXPECT_EQ(Diff("CreateFiles",
                   {File("same", "d\\same"), File("again", "d\\same"), file("bytes"), file("size"),
                    file("gone"), file("nowhere"), File("user", "u\\%SID%\\user")},
                   {File("same", "e\\renamed"), File("again", "e\\renamed"), file("bytes"),
                    file("size"), file("gone"), file("nowhere"), File("user", "u\\%SID%\\user")}),
              "~ CreateFiles bytes\n    payload: 1000001 bytes, with another content\n"
              "~ CreateFiles gone\n    payload: 0 bytes -> (missing)\n"
              "~ CreateFiles size\n    payload: 1 byte -> 2 bytes\n");
    EXPECT_EQ(m_files, 5U);
    EXPECT_EQ(m_payload, host::EPayloadDiff::Compared);
    EXPECT_THAT(m_json[2], HasSubstr(R"("new":{"payload":[{"source":"d\\size","bytes":2,)"
                                     R"("sha256":"6b51d431df5d7f141cbececcf79edf3dd861c3b4)"));
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(DiffTest, MembersOfAnAssemblyAreComparedAsASet) {
    for (const char* const name : {"a", "b", "c"}) {
        m_folder.WriteFile(std::string("old/s/") + name, name);
        m_folder.WriteFile(std::string("new/s/") + name, name);
    }
    const auto assembly = [](const std::string& manifest, const std::string& members) {
        std::string text = R"(<Assembly Id="i" ManifestRelativeSource="s\)" + manifest + "\">";
        for (const char member : members) {
            text += R"(<File RelativeSource="s\)" + std::string(1, member) + "\" />";
        }
        return text + "</Assembly>";
    };
    EXPECT_EQ(Diff("CreateAssemblies", {assembly("a", "bc")}, {assembly("a", "cb")}), "");
    m_folder.WriteFile("new/s/b", "c");
    m_folder.WriteFile("new/s/c", "b");
    EXPECT_EQ(Diff("CreateAssemblies", {assembly("a", "bc")}, {assembly("a", "bc")}), "");
    EXPECT_EQ(Diff("CreateAssemblies", {assembly("a", "bc")}, {assembly("b", "b")}),
              "~ CreateAssemblies i\n    payload 's\\b': 1 byte, with another content\n"
              "    File payload 's\\b': removed\n");
}

TEST_F(DiffTest, LinksAreNotFollowed) {
    if (RunsOnWindows()) {
        GTEST_SKIP() << "links need a privilege";
    }
    m_folder.WriteFile("outside", "secret");
    m_folder.WriteFile("old/d/f", "secret");
    m_folder.MakeFolder("new/d");
    std::filesystem::create_symlink(m_folder.Path("outside"), m_folder.Path("new/d/f"));
    EXPECT_EQ(Diff("CreateFiles", {File("f", "d\\f"), File("g", R"(..\outside)")},
                   {File("f", "d\\f"), File("g", R"(..\outside)")}),
              "~ CreateFiles f\n    payload: 6 bytes -> (missing)\n");
}

TEST_F(DiffTest, LongTextsAreShownWhereTheyDiffer) {
    const std::string start(1'000, 'x');
    const std::string lines = Diff("CreateValues", {Value("Type=\"REG_SZ\">" + start + "1")},
                                   {Value("Type=\"REG_SZ\">" + start + "2" + start)});
    EXPECT_EQ(lines, "~ CreateValues HKLM\\K\\(default)\n    data: '..." + std::string(40, 'x') +
                         "1' -> '..." + std::string(40, 'x') + "2" + std::string(159, 'x') +
                         "...'\n");
    EXPECT_THAT(m_json.front(), HasSubstr(start + "2" + start));
}

TEST_F(DiffTest, JsonHasWhatDiffersOnEachSide) {
    Diff("CreateValues",
         {Value(R"(Value="m" Type="REG_MULTI_SZ">a\0\0)"),
          Value(R"(Value="q" Type="REG_QWORD">0x20000000000000)")},
         {Value(R"(Value="m" Type="REG_DWORD">0x5)"),
          Value(R"(Value="z~d800" Type="REG_NONE">AB)")});
    EXPECT_THAT(m_json,
                ElementsAre(R"({"change":"changed","collection":"CreateValues","element":"Value",)"
                            R"("identity":{"Target":"HKEY_LOCAL_MACHINE\\K","Value":"m"},)"
                            R"("old":{"Type":"REG_MULTI_SZ","data":["a"]},)"
                            R"("new":{"Type":"REG_DWORD","data":5}})",
                            R"({"change":"removed","collection":"CreateValues","element":"Value",)"
                            R"("identity":{"Target":"HKEY_LOCAL_MACHINE\\K","Value":"q"},)"
                            R"("old":{"Type":"REG_QWORD","data":"9007199254740992"}})",
                            R"({"change":"added","collection":"CreateValues","element":"Value",)"
                            R"("identity":{"Target":"HKEY_LOCAL_MACHINE\\K","Value":"z\ud800"},)"
                            R"("new":{"Type":"REG_NONE","data":"AB"}})"));
}

TEST_F(DiffTest, ManifestThatIsNotWholeGivesNoDifferences) {
    const std::string whole = Manifest(Collection("CreateFiles", {File("a", "a")}));
    EXPECT_EQ(DiffBytes(whole, whole.substr(0, whole.size() - 60)), "");
    EXPECT_THAT(m_told, ElementsAre(HasSubstr("app.orv: line ")));
    EXPECT_EQ(DiffBytes("", "x"), "");
    EXPECT_THAT(m_told, SizeIs(2));
}

TEST_F(DiffTest, TargetsAndManifestsArePairedByTheirNames) {
    const std::string guid = kGuid;
    const std::string lower = "{0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9}";
    const std::string other = kOtherGuid;
    for (const std::string& file :
         {"one/" + guid + "/app.orv", "two/" + lower + "/app.orv", "two/" + other + "/a.orv",
          std::string("t/a.orv"), std::string("t/b.orv"), std::string("u/a.orv"),
          std::string("u/c.orv"), std::string("v/c.orv"), std::string("v/d.orv")}) {
        m_folder.WriteFile(file, Manifest(""));
    }
    m_folder.MakeFolder("empty/" + guid);
    EXPECT_THAT(Pair("one", "two"), ElementsAre(guid + "/app.orv old new", other + "/ new"));
    EXPECT_THAT(Pair("two", "one"), ElementsAre(guid + "/app.orv old new", other + "/ old"));
    // The one target of a result is looked for in the other.
    EXPECT_THAT(Pair("one/" + guid, "two"), ElementsAre(guid + "/app.orv old new"));
    EXPECT_THAT(Pair("two/" + other + "/a.orv", "two"), ElementsAre(other + "/a.orv old new"));
    EXPECT_THAT(Pair("t", "one"),
                ElementsAre(guid + "/a.orv old", guid + "/b.orv old", guid + "/app.orv new"));
    EXPECT_THAT(Pair("t", "u"), ElementsAre("u/a.orv old new", "u/c.orv old new"));
    EXPECT_THAT(Pair("t", "v"), SizeIs(4));
    EXPECT_THAT(Pair("u/a.orv", "t/b.orv"), ElementsAre("/b.orv old new"));
    EXPECT_THAT(m_told, IsEmpty());

    EXPECT_THAT(Pair("t", "two"), IsEmpty());
    EXPECT_THAT(m_told, ElementsAre(HasSubstr("two: there are 2 targets here, and none of them")));
    EXPECT_THAT(Pair("v/d.orv", "t"), IsEmpty());
    EXPECT_THAT(m_told, ElementsAre(HasSubstr("t: there are 2 manifests in the target, and none")));
    m_folder.WriteFile("empty/" + other + "/a.orv");
    EXPECT_THAT(Pair("empty", "two"), ElementsAre(other + "/a.orv old new"));
    EXPECT_THAT(m_told, SizeIs(1));
    EXPECT_THAT(Pair("empty/" + guid, "nowhere"), IsEmpty());
    EXPECT_THAT(m_told, ElementsAre(guid + ": there is no manifest in this folder of a target",
                                    "nowhere: there is no such manifest or folder"));
}

}  // namespace
