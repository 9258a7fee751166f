#include "orvpackage/package.h"

#include "orvpackage/action_collections.h"
#include "orvpackage/file_collections.h"
#include "orvpackage/package_fixture.h"
#include "orvpackage/sanitizer.h"
#include "orvpackage/shortcut_collection.h"
#include "platform/files.h"
#include "reporting/logger.h"

namespace {

TEST_F(PackageTest, SavesOnlyWhatHasChangedAndHasAPath) {
    COrvPackage unchanged;
    EXPECT_EQ(unchanged.Save(), S_FALSE);
    unchanged.GetProperties().SetDirty(true);
    EXPECT_EQ(unchanged.Save(), E_INVALIDARG);
    EXPECT_EQ(Saved(),
              "<?xml version=\"1.0\" encoding=\"utf-16\"?>\n<Package Version=\"1\">\n<Properties>\n"
              "<PerUserInstall>1</PerUserInstall>\n</Properties>\n</Package>\n");
    EXPECT_TRUE(m_folder.ReadFile("out/app.orv").ends_with(std::string(">\0\r\0\n\0", 6)));
    EXPECT_EQ(m_package.Save(), S_FALSE);
    m_package.Get<COrvDeleteFilesCollection>().AddItem(uR"(C:\a)");
    EXPECT_EQ(m_package.Save(), S_OK);
}

TEST_F(PackageTest, ReplacesAReadOnlyManifestAndLeavesNothingElse) {
    const std::u16string name = m_folder.WriteFile("out/app.orv", "old");
    ASSERT_EQ(platform::SetAttributes(name.c_str(), platform::kAttributeReadOnly), 0);
    m_package.GetProperties().Name = u"A & <B>\t~";
    m_package.GetProperties().Architecture = OrvArchitectureX64;
    EXPECT_NE(Saved().find("<Name>A &amp; &lt;B&gt;~0009~~</Name>\n<Architecture>x64</Arch"),
              std::string::npos);
    std::size_t entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path("out"))) {
        EXPECT_EQ(entry.path().filename(), "app.orv");
        ++entries;
    }
    EXPECT_EQ(entries, 1U);
}

TEST_F(PackageTest, FolderThatCannotBeMadeLeavesThePackageDirty) {
    m_folder.WriteFile("file");
    m_package.SetManifestPath(Manifest("file/app.orv"));
    CLogger logger;
    m_package.SetLogger(&logger);
    EXPECT_LT(m_package.Save(), 0);
    EXPECT_LT(m_package.Save(), 0);
    EXPECT_EQ(logger.GetLines().size(), 2U);
}

TEST_F(PackageTest, OneItemForATokenAndItsConcretePath) {
    auto& files = m_package.Get<COrvCreateFilesCollection>();
    const CFilePathW payload(uR"(CSIDL_PROGRAM_FILES\a.exe)");
    EXPECT_NE(files.AddFile(CFilePathW(uR"(C:\Program Files\a.exe)"), payload), nullptr);
    const std::u16string copy = m_folder.WriteFile("out/CSIDL_PROGRAM_FILES/a.exe", "payload");
    ASSERT_EQ(platform::SetAttributes(copy.c_str(), platform::kAttributeReadOnly), 0);
    EXPECT_EQ(files.AddFile(CFilePathW(uR"(%csidl_program_files%\A.EXE)"), payload), nullptr);
    EXPECT_FALSE(m_folder.Exists("out/CSIDL_PROGRAM_FILES/a.exe"));
    EXPECT_EQ(SavedItems(),
              "<CreateFiles>\n<File Target=\"%CSIDL_PROGRAM_FILES%\\a.exe\" "
              "RelativeSource=\"CSIDL_PROGRAM_FILES\\a.exe\" />\n</CreateFiles>\n");
}

TEST_F(PackageTest, WalkMayEraseWhatItStandsOn) {
    auto& files = m_package.Get<COrvDeleteFilesCollection>();
    for (const char16_t* target : {uR"(C:\1)", uR"(C:\2)", uR"(C:\3)"}) {
        files.AddItem(target);
    }
    EXPECT_EQ(files.AddItem(uR"(c:\1)"), nullptr);
    COrvItemItr<COrvDeleteFile> item(files);
    item.Advance();
    const std::string kept = Utf8(COrvItemCItr<COrvDeleteFile>(files).Get()->GetName());
    while (item.Get() != nullptr) {
        EXPECT_TRUE(item.Erase());
    }
    EXPECT_FALSE(item.Erase());
    ASSERT_EQ(files.GetCount(), 1U);
    EXPECT_EQ(Utf8(COrvItemCItr<COrvDeleteFile>(files).Get()->GetName()), kept);
    EXPECT_TRUE(files.Remove(COrvDeleteFile({CStrW(Utf16(kept))})));
    EXPECT_FALSE(files.Remove(COrvDeleteFile({CStrW(Utf16(kept))})));
}

TEST_F(PackageTest, ReadingRefusesDoublesAndSaysWhere) {
    CLogger logger;
    m_package.SetLogger(&logger);
    Read(
        "<Properties/><DeleteFiles>\n<File Target=\"C:\\a\"/>\n"
        "<file TARGET=\"c:\\A\"></file></DeleteFiles><DeleteFolders><Folder Target=\"C:\\f\"/>"
        "<Folder Target=\"C:\\g\" Recursive=\"\"/></DeleteFolders>");
    EXPECT_EQ(m_package.Get<COrvDeleteFilesCollection>().GetCount(), 1U);
    EXPECT_EQ(logger.GetLines().size(), 2U);
    EXPECT_EQ(SavedItems(),
              "<DeleteFolders>\n<Folder Target=\"%SystemDrive%\\f\" Recursive=\"0\" />\n"
              "<Folder Target=\"%SystemDrive%\\g\" Recursive=\"1\" />\n</DeleteFolders>\n"
              "<DeleteFiles>\n<File Target=\"%SystemDrive%\\a\" />\n</DeleteFiles>\n");
}

TEST_F(PackageTest, WritesOfALinkWhatDoesNotComeBack) {
    auto& shortcuts = m_package.Get<COrvCreateShortcutsCollection>();
    shortcuts.AddItem(uR"(C:\none.lnk)");
    SOrvShortcut link;
    link.target = uR"(C:\a.lnk)";
    link.shortcutTarget = uR"(%CSIDL_PROGRAM_FILES%\a.exe)";
    link.iconTarget = uR"(C:\i.ico)";
    link.iconIndex = -3;
    for (const std::int32_t unknown : {0, 2, 4, -3}) {
        link.SetShowCommand(unknown);
        EXPECT_EQ(link.showCommand, 1) << unknown;
    }
    link.showCommand = 0x107;
    EXPECT_EQ(Utf8(shortcuts.AddItem(link)->GetContent().shortcutTarget),
              R"(C:\Program Files\a.exe)");
    EXPECT_EQ(SavedItems(),
              "<CreateShortcuts>\n<Shortcut Target=\"%SystemDrive%\\a.lnk\" "
              "ShortcutTarget=\"%CSIDL_PROGRAM_FILES%\\a.exe\" "
              "IconTarget=\"%SystemDrive%\\i.ico\" IconIndex=\"-3\" ShowCmd=\"7\" "
              "DataFlags=\"0x0\" />\n</CreateShortcuts>\n");
}

TEST_F(PackageTest, SanitizedTextsComeBackByTheirFlags) {
    const std::tuple<const char16_t*, std::uint32_t, const char*> texts[] = {
        {u"", SanitizeAll, ""},
        {u"a|b||%", SanitizeNoPaths, "a||b|||||%"},
        {uR"(C:\Program Files\50%)", SanitizeAll, R"(%CSIDL_PROGRAM_FILES%\50|%)"},
        {uR"(C:\Program Files\x)", SanitizeNoFilePaths, R"(C:\Program Files\x)"},
        {uR"(HKEY_USERS\S-1-5-21-7\x)", SanitizeNoFilePaths, R"(HKEY_CURRENT_USER\x)"},
        {uR"(HKEY_USERS\S-1-5-21-7\x)", SanitizeNoRegPaths, R"(HKEY_USERS\%SID%\x)"},
        {uR"(HKEY_CURRENT_USER\%SystemDrive%)", SanitizeNoPaths,
         R"(HKEY_CURRENT_USER\|%SystemDrive|%)"},
        {uR"(C:\Program Files|S-1-5-21-7)", SanitizeNoPaths, R"(C:\Program Files||%SID%)"},
    };
    const COrvSanitizer sanitizer;
    for (const auto& [text, flags, expected] : texts) {
        const CStrW portable = sanitizer.Sanitize(text, flags);
        EXPECT_EQ(Utf8(portable), expected);
        EXPECT_EQ(sanitizer.Desanitize(portable, flags), CStrW(text));
    }
}

class ActionTest : public PackageTest {
protected:
    COrvPreActionsCollection& m_actions = m_package.Get<COrvPreActionsCollection>();

    void RemoveAt(std::uint64_t number) { EXPECT_TRUE(m_actions.Remove(COrvPreAction(number))); }
    // The paths of the written actions, each with a semicolon.
    std::string SavedPaths() {
        const std::string text = SavedItems();
        const std::string mark = "Path=\"";
        std::string paths;
        for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at + 1)) {
            const std::size_t start = at + mark.size();
            paths += text.substr(start, text.find('"', start) - start) + ';';
        }
        return paths;
    }
};

TEST_F(ActionTest, StandInTheirSequenceWhateverTheTablesOrderIs) {
    std::string expected;
    for (int i = 0; i < 12; ++i) {
        const std::string path = std::to_string(i);
        m_actions.AddAction(CStrW(Utf16(path)), u"");
        expected += path + ';';
    }
    EXPECT_EQ(SavedPaths(), expected);
}

TEST_F(ActionTest, CountingPassesOverGapsAndEndsBeforeTheLast) {
    for (const char16_t* path : {u"0", u"1", u"", u"3", u"4"}) {
        m_actions.AddAction(path, u"");
    }
    EXPECT_EQ(SavedPaths(), "0;1;3;4;");
    RemoveAt(1);
    EXPECT_EQ(SavedPaths(), "0;3;");
}

TEST_F(ActionTest, InsertingAppendsOrMeetsTheNumberThatIsThere) {
    EXPECT_NE(m_actions.InsertAt(7), nullptr);
    COrvAction* const second = m_actions.InsertAt(1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->GetHash(), 1U);
    EXPECT_EQ(m_actions.InsertAt(1), nullptr);
    EXPECT_EQ(second->Position, 2U);
    EXPECT_EQ(second->GetHash(), 1U);
    EXPECT_EQ(m_actions.GetCount(), 2U);
}

TEST_F(ActionTest, RefusedActionTakesItsPayloadAlongButNeverItsOwnPath) {
    m_actions.AddAction(u"0", u"");
    m_actions.AddAction(u"1", u"");
    RemoveAt(0);  // now the next number is taken
    m_folder.WriteFile("out/InstallActions/a.cmd");
    EXPECT_EQ(m_actions.AddAction(CStrW(m_folder.Name("out/InstallActions/a.cmd")),
                                  uR"(InstallActions\a.cmd)"),
              nullptr);
    EXPECT_TRUE(m_folder.Exists("out/InstallActions/a.cmd"));
    EXPECT_EQ(m_actions.AddAction(u"Target_a.cmd", uR"(InstallActions\a.cmd)"), nullptr);
    EXPECT_FALSE(m_folder.Exists("out/InstallActions/a.cmd"));
}

}  // namespace
