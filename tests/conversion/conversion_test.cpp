#include "conversion/conversion.h"

#include <algorithm>
#include <filesystem>

#include "platform/files.h"
#include "support/link_builder.h"

namespace {

using Files = std::vector<std::string>;

TEST_F(ConversionTest, TargetBecomesAManifestWithItsPayload) {
    const std::string link =
        CTestLink().Local(uR"(C:\Program Files\App\app.exe)", u"").Arguments(u"-x 5%").Bytes();
    ASSERT_EQ(Convert(CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", "3")
                          .Sandbox()
                          .Hive(CTestHive().LoadableBytes())
                          .Elements("<CreateOS>12</CreateOS>")
                          .File("C/Program Files/App/app.exe", "program")
                          .File("C/Program Files/App/Data/\xC3\xA9t\xC3\xA9 50%.txt", "summer")
                          .File("D/d.txt", "other drive")
                          .File("C/Users/Public/Desktop/App.LNK", link)
                          .Placeholder("C/ProgramData/App")),
              0U);
    EXPECT_TRUE(m_logLines.empty());
    EXPECT_EQ(m_guids, std::vector<std::string>{kGuid});
    EXPECT_EQ(Payload(), (Files{"CSIDL_PROGRAM_FILES/App/Data/\xC3\xA9t\xC3\xA9 50%.txt",
                                "CSIDL_PROGRAM_FILES/App/app.exe", "D/d.txt"}));
    EXPECT_EQ(
        Manifest(),
        "<?xml version=\"1.0\" encoding=\"utf-16\"?>\n<Package Version=\"1\">\n<Properties>\n"
        "<Name>App_{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}</Name>\n<Version>3</Version>\n"
        "<Architecture>x64</Architecture>\n<PerUserInstall>1</PerUserInstall>\n</Properties>\n"
        "<CreateFiles>\n"
        "<File Target=\"D:\\d.txt\" RelativeSource=\"D\\d.txt\" />\n"
        "<File Target=\"%CSIDL_PROGRAM_FILES%\\App\\app.exe\" "
        "RelativeSource=\"CSIDL_PROGRAM_FILES\\App\\app.exe\" />\n"
        "<File Target=\"%CSIDL_PROGRAM_FILES%\\App\\Data\\\xC3\xA9t\xC3\xA9 50|%.txt\" "
        "RelativeSource=\"CSIDL_PROGRAM_FILES\\App\\Data\\\xC3\xA9t\xC3\xA9 50|%.txt\" />\n"
        "</CreateFiles>\n<CreateShortcuts>\n"
        "<Shortcut Target=\"%SystemDrive%\\Users\\Public\\Desktop\\App.LNK\" "
        "ShortcutTarget=\"%CSIDL_PROGRAM_FILES%\\App\\app.exe\" Arguments=\"-x 5|%\" "
        "ShowCmd=\"1\" DataFlags=\"0xA2\" />\n</CreateShortcuts>\n</Package>\n");
}

TEST_F(ConversionTest, MarkedFilesAndShortcutsAreDeleted) {
    ASSERT_EQ(
        Convert(TestTarget().DeletedFile("C/Windows/old.dll").DeletedFile("C/Windows/old.lnk")),
        0U);
    EXPECT_TRUE(m_logLines.empty());
    EXPECT_EQ(Payload(), Files{});
    EXPECT_EQ(Collection("DeleteFiles") + Collection("DeleteShortcuts"),
              "<DeleteFiles>\n<File Target=\"%CSIDL_WINDOWS%\\old.dll\" />\n</DeleteFiles>\n"
              "<DeleteShortcuts>\n<Shortcut Target=\"%CSIDL_WINDOWS%\\old.lnk\" />\n"
              "</DeleteShortcuts>\n");
}

TEST_F(ConversionTest, ArchitectureFollowsTheCapturesSystem) {
    const std::pair<std::string, std::string> systems[] = {
        {"0", "x86"}, {"1", "x64"}, {"10", "x86"}, {"11", "x64"}, {"12", "x64"}, {"13", "x86"},
    };
    for (const auto& [system, name] : systems) {
        ASSERT_EQ(Convert(TestTarget().Elements("<CreateOS>" + system + "</CreateOS>")), 0U);
        EXPECT_THAT(Manifest(), testing::HasSubstr("<Architecture>" + name + "<")) << system;
    }
}

TEST_F(ConversionTest, ProgressTellsOfEveryLevel) {
    ASSERT_EQ(Convert(CTestPackage()
                          .Target(TestTarget().File("C/a").Placeholder("C/p"))
                          .Target(OtherTarget())),
              0U);
    EXPECT_EQ(m_guids, (std::vector<std::string>{kGuid, kOtherGuid}));
    ASSERT_FALSE(m_progress.empty());
    EXPECT_NE(m_progress.front().find("0/1 Converting "), std::string::npos);
    EXPECT_NE(m_progress.front().find("|0/2 CAS Target:  " + kGuid + "|1/10 Processing "),
              std::string::npos);
    // The drive, the file, the folder and its placeholder.
    EXPECT_TRUE(WasSeen("|3/10 Processing files.|4/4 "));
    EXPECT_TRUE(WasSeen("|9/10 Processing assemblies|"));
    EXPECT_TRUE(WasSeen("|10/10 Saving target.|"));
    EXPECT_TRUE(WasSeen("|2/2 CAS Target:  "));
    EXPECT_TRUE(m_progress.back().starts_with("1/1 Converting "));
}

TEST_F(ConversionTest, TargetWithoutAnythingStillGivesAManifest) {
    ASSERT_EQ(Convert(OtherTarget()), 0U);
    EXPECT_THAT(m_logLines,
                testing::ElementsAre(
                    Line("Error: Failed to read the file '", "SandboxData.xml' .  .  "),
                    Line("Warning: Failed to read the file '", "InstallRoot.dat' .  .  ")));
    EXPECT_EQ(Collection("CreateFiles", kOtherGuid), "");
    EXPECT_NE(Manifest(kOtherGuid).find("<Version>1</Version>"), std::string::npos);
}

TEST_F(ConversionTest, DeepFoldersGetTheirPayload) {
    std::string deep = "C";
    for (int i = 0; i < 12; ++i) {
        deep += "/a folder with a long name " + std::to_string(i);
    }
    ASSERT_EQ(Convert(TestTarget().File(deep + "/deep.txt", "deep")), 0U);
    EXPECT_TRUE(m_logLines.empty());
    platform::SFindData found;
    const std::u16string payload =
        m_folder.Name("out/" + kGuid + "/SystemDrive" + deep.substr(1) + "/deep.txt");
    EXPECT_EQ(platform::FindEntry((uR"(\\?\)" + payload).c_str(), found), 0);
    EXPECT_TRUE(Holds("CreateFiles", "Target=\"\\\\?\\%SystemDrive%\\a folder"));
}

TEST_F(ConversionTest, FilesAreKeptByNamesOfEveryKind) {
    CTestTarget target = TestTarget();
    Files expected;
    for (const char* name : {"a.txt",
                             "B.txt",
                             "c & d's.txt",
                             "100% ~ [x] {y} (z) +=;,!#$@^`.txt",
                             "%TEMP%.txt",
                             ".hidden",
                             "no extension",
                             "dots..txt",
                             "\u00c4rger.txt",
                             "\u00e4pfel.txt",
                             "stra\u00dfe.txt",
                             "STRASSE.txt",
                             "\u0130\u0131.txt",
                             "e\u0301.txt",
                             "\u00e9 2.txt",
                             "\u8a08\u753b.txt",
                             "\U0001F4C5.txt",
                             "\ufb01.txt",
                             "\u0436\u0416.txt",
                             "_.txt",
                             "[.txt",
                             "z\ue000.txt",
                             "z\U00010000.txt",
                             "x$ctx$placeholder.txt"}) {
        target.File(std::string("C/Windows/App/") + name, name);
        target.DeletedFile(std::string("C/gone/") + name);
        expected.push_back(std::string("CSIDL_WINDOWS/App/") + name);
    }
    target.File("C/Windowsold/a.dll").File("DD/no drive.txt").Folder("C/Empty & more").Folder("E");
    ASSERT_EQ(Convert(target), 0U);
    EXPECT_TRUE(m_logLines.empty());
    expected.insert(expected.end(), {"CSIDL_WINDOWS/old/a.dll", "no drive.txt"});
    EXPECT_THAT(Payload(), testing::UnorderedElementsAreArray(expected));
    const std::string deleted = Collection("DeleteFiles");
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(deleted, '\n')), expected.size());
}

TEST_F(ConversionTest, ShortcutsOfEveryKindAreReadOrTold) {
    const auto program = [] {
        return CTestLink()
            .DriveItem(u'C')
            .FolderItem(u"PROGRA~1", u"Program Files")
            .FileItem(u"a.exe", u"a.exe");
    };
    const std::u16string_view path = uR"(C:\Program Files\a.exe)";
    ASSERT_EQ(
        Convert(TestTarget()
                    .File("C/items.lnk", program().Bytes())
                    .File("C/old.lnk", program().Ansi().Description(u"Fr\u00fcher \u00c4").Bytes())
                    .File("C/full.LNK", program()
                                            .Local(path, u"")
                                            .Description(u"<\u00fc> \U0001F4C5 ~ & % \"of\"")
                                            .WorkingDirectory(uR"(C:\Windows)")
                                            .Arguments(uR"("C:\Windows\a.txt" & <b> 100%)")
                                            .Icon(uR"(%SystemRoot%\shell32.dll)", -7)
                                            .ShowCommand(3)
                                            .HotKey(0x0641)
                                            .Bytes())
                    .File("C/long.lnk", program()
                                            .Description(std::u16string(1100, u'd'))
                                            .Arguments(std::u16string(1023, u'a') + u"bcd")
                                            .Bytes())
                    .File("C/kaputt \u00fc.lnk", "This is no link.")
                    .File("C/empty.lnk")),
        0U);
    EXPECT_EQ(m_logLines.size(), 2U);
    for (const char* name : {"items", "old", "full", "long"}) {
        EXPECT_TRUE(Holds("CreateShortcuts", std::string("\\") + name + '.')) << name;
    }
    EXPECT_EQ(Payload(), Files{});
}

TEST_F(ConversionTest, SecondConversionReplacesWhatTheFirstLeft) {
    ASSERT_EQ(Convert(TestTarget().File("C/a.txt", "one").File("C/gone.txt", "gone")), 0U);
    std::filesystem::remove_all(m_folder.Path("package"));
    ASSERT_EQ(Convert(TestTarget().File("C/A.TXT", "two")), 0U);
    EXPECT_EQ(Payload(), (Files{"SystemDrive/A.TXT", "SystemDrive/gone.txt"}));
    EXPECT_EQ(m_folder.ReadFile("out/" + kGuid + "/SystemDrive/A.TXT"), "two");
    EXPECT_EQ(Manifest().find("gone.txt"), std::string::npos);
}

TEST_F(ConversionTest, UnreadableProfilesEndWithTheirStatus) {
    const std::tuple<const char*, std::string, std::uint32_t, std::size_t, std::size_t>
        kProfiles[] = {
            {"other root", "<Other><Package/></Other>", 1168, 1, 0},
            {"document type", "<!DOCTYPE Package [<!ENTITY a \"b\">]><Package/>", 1168, 1, 0},
            {"cut off", "<Package><Targets><T><Guid>0a1b2c3d", 0, 2, 1},
            {"nested", "<Package>" + Repeat("<a>", 100000), 0, 0, 0},
            {"no targets", "<Package/>", 0, 0, 0},
        };
    for (const auto& [name, text, status, logLines, guids] : kProfiles) {
        SCOPED_TRACE(name);
        m_folder.WriteFile("bad.profile", text);
        EXPECT_EQ(ConvertFile("bad.profile"), status);
        EXPECT_EQ(m_logLines.size(), logLines);
        EXPECT_EQ(m_guids.size(), guids);
    }
    EXPECT_EQ(ConvertFile("missing"), 2U);
    EXPECT_EQ(m_progress.size(), 1U);
    m_folder.MakeFolder("folder");
    EXPECT_EQ(ConvertFile("folder"), 2U);
    EXPECT_TRUE(m_logLines.empty());
}

TEST_F(ConversionTest, OutputThatCannotBeWrittenIsLoggedFileByFile) {
    m_folder.WriteFile("out", "a file where the folder should be");
    ASSERT_EQ(Convert(TestTarget().File("C/a.txt", "a").File("C/b.txt", "b")), 0U);
    EXPECT_EQ(m_logLines.size(), 2U);
    EXPECT_EQ(m_folder.ReadFile("out"), "a file where the folder should be");
}

TEST(ExportsTest, BadArgumentsAreRefusedBeforeAnythingHappens) {
    GUID* guids = reinterpret_cast<GUID*>(1);
    std::uint32_t count = 7;
    const auto fail = [](const OrvProgress*) -> std::uint32_t {
        ADD_FAILURE() << "progress of a refused call";
        return 0;
    };
    const auto empty = HostText(u"");
    const auto out = HostText(u"out.orv");
    EXPECT_EQ(CasToOrvW(nullptr, out.c_str(), nullptr, &guids, &count, fail), 87U);
    EXPECT_EQ(guids, nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(
        CasToOrvW(HostText(u"a.xml").c_str(), empty.c_str(), empty.c_str(), &guids, &count, fail),
        87U);
    EXPECT_EQ(CasToOrvW(HostText(u"a/b").c_str(), out.c_str(), nullptr, &guids, &count, fail), 87U);
    void* handle = &count;
    EXPECT_EQ(InitCasTargetInformation(empty.c_str(), &handle), 87U);
    EXPECT_EQ(InitCasTargetInformation(HostText(u"missing").c_str(), &handle), 2U);
    EXPECT_EQ(handle, &count);
}

TEST(ExportsTest, EnumerationHandsOutEveryTargetOnce) {
    CTempFolder folder;
    CTestPackage()
        .Target(TestTarget().Elements("<Name>First~000d</Name>"))
        .Target(OtherTarget())
        .Write(folder.Path());
    void* handle = nullptr;
    ASSERT_EQ(InitCasTargetInformation(HostText(folder.Name("Sample.profile")).c_str(), &handle),
              0U);
    OrvChar* guid = nullptr;
    OrvChar* name = nullptr;
    std::string all;
    while (GetNextCasTargetInformation(handle, &guid, &name) == 0) {
        all += TextOfHost(guid) + (name == nullptr ? "" : TextOfHost(name));
        std::free(guid);
        std::free(std::exchange(name, nullptr));
    }
    EXPECT_EQ(all, kGuid + "First\r" + kOtherGuid);
    guid = nullptr;
    EXPECT_EQ(GetNextCasTargetInformation(handle, &guid, &name), 259U);
    EXPECT_EQ(guid, nullptr);
    EXPECT_EQ(ReleaseCasTargetInformation(handle), 0U);
}

}  // namespace
