#include "conversion/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "orvcasconv/orvcasconv.h"
#include "platform/files.h"
#include "support/hive_builder.h"
#include "support/link_builder.h"
#include "support/system.h"
#include "support/text.h"

namespace {

constexpr const char* kGuid = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
constexpr const char* kOtherGuid = "{11111111-2222-3333-4444-555555555555}";

CTestTarget TestTarget(std::string_view version = "1") {
    return CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", version)
        .Sandbox()
        .Hive(CTestHive().LoadableBytes());
}

class ConversionTest : public testing::Test {
protected:
    // Converts a package with one target.
    std::uint32_t Convert(CTestTarget target) {
        return m_conversion.Convert(CTestPackage().Target(std::move(target)));
    }

    // A small machine, so that every token of a manifest can be seen here.
    void SetUp() override {
        m_conversion.UseMachine(
            "[folders]\nCSIDL_PROGRAM_FILES = 'C:\\Program Files'\n"
            "CSIDL_WINDOWS = 'C:\\Windows'\n"
            "[environment]\nSystemDrive = 'C:'\n");
    }

    CTestConversion m_conversion;
};

TEST_F(ConversionTest, TargetBecomesAManifestWithItsPayload) {
    const std::string link =
        CTestLink().Local(uR"(C:\Program Files\App\app.exe)", u"").Arguments(u"-x 5%").Bytes();
    ASSERT_EQ(Convert(TestTarget("3")
                          .Elements("<CreateOS>12</CreateOS>")
                          .File("C/Program Files/App/app.exe", "program")
                          .File("C/Program Files/App/Data/\xC3\xA9t\xC3\xA9 50%.txt", "summer")
                          .File("D/d.txt", "other drive")
                          .File("C/Users/Public/Desktop/App.LNK", link)
                          .Placeholder("C/ProgramData/App")),
              0U);
    EXPECT_TRUE(m_conversion.LogLines().empty());
    EXPECT_EQ(m_conversion.Guids(), std::vector<std::string>{kGuid});
    EXPECT_EQ(m_conversion.Payload(kGuid),
              (std::vector<std::string>{"CSIDL_PROGRAM_FILES/App/Data/\xC3\xA9t\xC3\xA9 50%.txt",
                                        "CSIDL_PROGRAM_FILES/App/app.exe", "D/d.txt"}));
    // Wine tells of the arguments alone.
    const std::string flags = RunsInWine() ? "0x20" : "0xA2";
    EXPECT_EQ(
        m_conversion.Manifest(kGuid),
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
        "ShowCmd=\"1\" DataFlags=\"" +
            flags + "\" />\n</CreateShortcuts>\n</Package>\n");
}

TEST_F(ConversionTest, MarkedFilesAndShortcutsAreDeleted) {
    if (RunsInWine()) {
        GTEST_SKIP() << "Wine has no streams: the mark is a file of its own there";
    }
    ASSERT_EQ(
        Convert(TestTarget().DeletedFile("C/Windows/old.dll").DeletedFile("C/Windows/old.lnk")),
        0U);
    EXPECT_TRUE(m_conversion.LogLines().empty());
    EXPECT_EQ(m_conversion.Payload(kGuid), std::vector<std::string>{});
    EXPECT_EQ(m_conversion.Collection(kGuid, "DeleteFiles"),
              "<DeleteFiles>\n<File Target=\"%CSIDL_WINDOWS%\\old.dll\" />\n</DeleteFiles>\n");
    EXPECT_EQ(m_conversion.Collection(kGuid, "DeleteShortcuts"),
              "<DeleteShortcuts>\n<Shortcut Target=\"%CSIDL_WINDOWS%\\old.lnk\" />\n"
              "</DeleteShortcuts>\n");
}

TEST_F(ConversionTest, ArchitectureFollowsTheCapturesSystem) {
    for (const auto& [system, name] :
         std::vector<std::pair<std::string, std::string>>{{"0", "x86"},
                                                          {"1", "x64"},
                                                          {"10", "x86"},
                                                          {"11", "x64"},
                                                          {"12", "x64"},
                                                          {"13", "x86"}}) {
        SCOPED_TRACE(system);
        ASSERT_EQ(Convert(TestTarget().Elements("<CreateOS>" + system + "</CreateOS>")), 0U);
        EXPECT_NE(m_conversion.Manifest(kGuid).find("<Architecture>" + name + "<"),
                  std::string::npos);
    }
}

TEST_F(ConversionTest, ProgressTellsOfEveryLevel) {
    ASSERT_EQ(
        m_conversion.Convert(CTestPackage()
                                 .Target(TestTarget().File("C/a").Placeholder("C/p"))
                                 .Target(CTestTarget("11111111-2222-3333-4444-555555555555"))),
        0U);
    EXPECT_EQ(m_conversion.Guids(), (std::vector<std::string>{kGuid, kOtherGuid}));
    const std::vector<std::string>& seen = m_conversion.Progress();
    ASSERT_FALSE(seen.empty());
    EXPECT_NE(seen.front().find("0/1 Converting "), std::string::npos);
    EXPECT_NE(seen.front().find(std::string("|0/2 CAS Target:  ") + kGuid + "|1/10 Processing "),
              std::string::npos);
    const auto holds = [&seen](const std::string& text) {
        return std::any_of(seen.begin(), seen.end(), [&text](const std::string& line) {
            return line.find(text) != std::string::npos;
        });
    };
    // The drive, the file, the folder and its placeholder.
    EXPECT_TRUE(holds("|3/10 Processing files.|4/4 "));
    EXPECT_TRUE(holds("|9/10 Processing assemblies|"));
    EXPECT_TRUE(holds("|10/10 Saving target.|"));
    EXPECT_TRUE(holds("|2/2 CAS Target:  "));
    EXPECT_TRUE(seen.back().starts_with("1/1 Converting "));
}

TEST_F(ConversionTest, TargetWithoutAnythingStillGivesAManifest) {
    ASSERT_EQ(Convert(CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9")), 0U);
    ASSERT_EQ(m_conversion.LogLines().size(), 2U);
    EXPECT_NE(m_conversion.LogLines()[0].find("Error: Failed to read the file '"),
              std::string::npos);
    EXPECT_NE(m_conversion.LogLines()[0].find("SandboxData.xml' .  .  "), std::string::npos);
    EXPECT_EQ(m_conversion.Collection(kGuid, "CreateFiles"), "");
    EXPECT_NE(m_conversion.Manifest(kGuid).find("<Version>1</Version>"), std::string::npos);
}

TEST_F(ConversionTest, DeepFoldersGetTheirPayload) {
    std::string deep = "C";
    for (int i = 0; i < 12; ++i) {
        deep += "/a folder with a long name " + std::to_string(i);
    }
    ASSERT_EQ(Convert(TestTarget().File(deep + "/deep.txt", "deep")), 0U);
    EXPECT_TRUE(m_conversion.LogLines().empty());
    platform::SFindData found;
    const std::u16string payload = m_conversion.Folder().Name(
        "out/" + std::string(kGuid) + "/SystemDrive" + deep.substr(1) + "/deep.txt");
    EXPECT_EQ(platform::FindEntry((uR"(\\?\)" + payload).c_str(), found), 0);
    EXPECT_NE(m_conversion.Manifest(kGuid).find("Target=\"\\\\?\\%SystemDrive%\\a folder"),
              std::string::npos);
}

TEST_F(ConversionTest, SecondConversionReplacesWhatTheFirstLeft) {
    ASSERT_EQ(Convert(TestTarget().File("C/a.txt", "one").File("C/gone.txt", "gone")), 0U);
    std::filesystem::remove_all(m_conversion.Folder().Path("package"));
    ASSERT_EQ(Convert(TestTarget().File("C/A.TXT", "two")), 0U);
    EXPECT_EQ(m_conversion.Payload(kGuid),
              (std::vector<std::string>{"SystemDrive/A.TXT", "SystemDrive/gone.txt"}));
    EXPECT_EQ(m_conversion.Folder().ReadFile("out/" + std::string(kGuid) + "/SystemDrive/A.TXT"),
              "two");
    EXPECT_EQ(m_conversion.Manifest(kGuid).find("gone.txt"), std::string::npos);
}

struct SBadProfile {
    const char* name;
    std::string text;
    std::uint32_t status;
    std::size_t logLines;
};

TEST_F(ConversionTest, UnreadableProfilesEndWithTheirStatus) {
    std::string nested = "<Package>";
    for (int i = 0; i < 100000; ++i) {
        nested += "<a>";
    }
    const SBadProfile kProfiles[] = {
        {"empty", "", 1168, 1},
        {"other root", "<Other><Package/></Other>", 1168, 1},
        {"no XML", "PK\x03\x04 not at all", 1168, 1},
        {"document type", "<!DOCTYPE Package [<!ENTITY a \"b\">]><Package/>", 1168, 1},
        {"cut off", "<Package><Targets><T><Guid>0a1b2c3d", 0, 2},
        {"nested", nested, 0, 0},
        {"no targets", "<Package/>", 0, 0},
    };
    for (const SBadProfile& profile : kProfiles) {
        SCOPED_TRACE(profile.name);
        m_conversion.Folder().WriteFile("bad.profile", profile.text);
        EXPECT_EQ(m_conversion.ConvertFile("bad.profile"), profile.status);
        EXPECT_EQ(m_conversion.LogLines().size(), profile.logLines);
        EXPECT_EQ(m_conversion.Guids().size(), profile.text.starts_with("<Package><T") ? 1U : 0U);
    }
    EXPECT_EQ(m_conversion.ConvertFile("missing"), 2U);
    EXPECT_EQ(m_conversion.Progress().size(), 1U);
    m_conversion.Folder().MakeFolder("folder");
    EXPECT_EQ(m_conversion.ConvertFile("folder"), 2U);
    EXPECT_TRUE(m_conversion.LogLines().empty());
}

TEST_F(ConversionTest, OutputThatCannotBeWrittenIsLoggedFileByFile) {
    m_conversion.Folder().WriteFile("out", "a file where the folder should be");
    ASSERT_EQ(Convert(TestTarget().File("C/a.txt", "a").File("C/b.txt", "b")), 0U);
    EXPECT_EQ(m_conversion.LogLines().size(), 2U);
    EXPECT_EQ(m_conversion.Folder().ReadFile("out"), "a file where the folder should be");
}

TEST(ExportsTest, BadArgumentsAreRefusedBeforeAnythingHappens) {
    GUID* guids = reinterpret_cast<GUID*>(1);
    std::uint32_t count = 7;
    const std::basic_string<OrvChar> empty;
    const auto fail = [](const OrvProgress*) -> std::uint32_t {
        ADD_FAILURE() << "progress of a refused call";
        return 0;
    };
    EXPECT_EQ(CasToOrvW(nullptr, HostText(u"out.orv").c_str(), nullptr, &guids, &count, fail), 87U);
    EXPECT_EQ(guids, nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(
        CasToOrvW(HostText(u"a.xml").c_str(), empty.c_str(), empty.c_str(), &guids, &count, fail),
        87U);
    EXPECT_EQ(CasToOrvW(HostText(u"a/b").c_str(), HostText(u"out.orv").c_str(), nullptr, &guids,
                        &count, fail),
              87U);
    void* handle = &count;
    EXPECT_EQ(InitCasTargetInformation(empty.c_str(), &handle), 87U);
    EXPECT_EQ(InitCasTargetInformation(HostText(u"missing").c_str(), &handle), 2U);
    EXPECT_EQ(handle, &count);
}

TEST(ExportsTest, EnumerationHandsOutEveryTargetOnce) {
    CTempFolder folder;
    CTestPackage()
        .Target(
            CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9").Elements("<Name>First~000d</Name>"))
        .Target(CTestTarget("11111111-2222-3333-4444-555555555555"))
        .Write(folder.Path());
    void* handle = nullptr;
    ASSERT_EQ(InitCasTargetInformation(HostText(folder.Name("Sample.profile")).c_str(), &handle),
              0U);
    OrvChar* guid = nullptr;
    OrvChar* name = nullptr;
    ASSERT_EQ(GetNextCasTargetInformation(handle, &guid, &name), 0U);
    EXPECT_EQ(TextOfHost(guid), kGuid);
    EXPECT_EQ(TextOfHost(name), "First\r");
    std::free(guid);
    std::free(name);
    ASSERT_EQ(GetNextCasTargetInformation(handle, &guid, &name), 0U);
    EXPECT_EQ(TextOfHost(guid), kOtherGuid);
    EXPECT_EQ(name, nullptr);
    std::free(guid);
    guid = nullptr;
    EXPECT_EQ(GetNextCasTargetInformation(handle, &guid, &name), 259U);
    EXPECT_EQ(GetNextCasTargetInformation(handle, &guid, &name), 259U);
    EXPECT_EQ(guid, nullptr);
    EXPECT_EQ(ReleaseCasTargetInformation(handle), 0U);
}

}  // namespace
