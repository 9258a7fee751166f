// What only a POSIX file system can hold, and what only a described machine can be.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "conversion/conversion.h"
#include "support/hive_builder.h"

namespace {

constexpr const char* kGuid = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
constexpr const char* kOtherGuid = "{11111111-2222-3333-4444-555555555555}";

CTestTarget TestTarget() {
    return CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9")
        .Sandbox()
        .Hive(CTestHive().LoadableBytes());
}

class PosixConversionTest : public testing::Test {
protected:
    std::uint32_t Convert(CTestTarget target) {
        return m_conversion.Convert(CTestPackage().Target(std::move(target)));
    }

    void SetUp() override {
        m_conversion.UseMachine("[folders]\n[environment]\nSystemDrive = 'C:'\n");
    }

    CTestConversion m_conversion;
};

TEST_F(PosixConversionTest, WhatCannotBeReadIsLoggedAndTheWalkGoesOn) {
    m_conversion.Folder().WriteFile("secret", "outside");
    CTestPackage package;
    package.Target(TestTarget()
                       .File("C/a.txt", "a")
                       .File("C/bad.lnk", "no link")
                       .File("stray.txt", "below Device itself"));
    const auto profile = package.Write(m_conversion.Folder().Path("package"), "App.profile");
    const auto device =
        m_conversion.Folder().Path("package/0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1") / "Device";
    std::filesystem::create_symlink(m_conversion.Folder().Path("secret"),
                                    device / "C" / "link.txt");
    std::filesystem::create_directory_symlink("..", device / "C" / "loop");
    ASSERT_EQ(mkfifo((device / "C" / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(m_conversion.ConvertFile("package/App.profile"), 0U);
    EXPECT_EQ(m_conversion.Payload(kGuid), (std::vector<std::string>{"SystemDrive/a.txt"}));
    ASSERT_EQ(m_conversion.LogLines().size(), 5U);
    const struct {
        const char* file;
        const char* reason;
    } kLines[] = {
        {"Failed to copy file 'Z:", "stray.txt' from CAS package.  Access is denied."},
        {"Failed to load shortcut file 'Z:", "bad.lnk'.  Unspecified error"},
        {"Failed to copy file 'Z:", "link.txt' from CAS package.  The file cannot be accessed by"},
        {"Failed to copy file 'Z:", "loop' from CAS package.  The file cannot be accessed by"},
        {"Failed to copy file 'Z:", "pipe' from CAS package.  "},
    };
    for (const auto& line : kLines) {
        EXPECT_TRUE(std::any_of(m_conversion.LogLines().begin(), m_conversion.LogLines().end(),
                                [&line](const std::string& text) {
                                    return text.starts_with(std::string("Error: ") + line.file) &&
                                           text.find(line.reason) != std::string::npos;
                                }))
            << line.reason;
    }
}

TEST_F(PosixConversionTest, OddNamesGetTheirPayload) {
    ASSERT_EQ(Convert(TestTarget()
                          .File("C/colon:star*.txt", "odd")
                          .File("C/\xFF\xFEraw", "no UTF-8")
                          .File("C/tab\there", "control")),
              0U);
    EXPECT_TRUE(m_conversion.LogLines().empty());
    const std::vector<std::string> payload = m_conversion.Payload(kGuid);
    ASSERT_EQ(payload.size(), 3U);
    EXPECT_TRUE(std::find(payload.begin(), payload.end(), "SystemDrive/\xFF\xFEraw") !=
                payload.end());
    EXPECT_NE(m_conversion.Manifest(kGuid).find("colon~f03astar~f02a.txt"), std::string::npos);
}

TEST_F(PosixConversionTest, OutputAmongTheCapturedFilesIsNotCapturedAgain) {
    CTestPackage package;
    package.Target(CTestTarget("11111111-2222-3333-4444-555555555555").File("C/b.txt", "b"))
        .Target(TestTarget().File("C/a.txt", "a").File("C/out/kept.txt", "kept"));
    package.Write(m_conversion.Folder().Path("package"), "App.profile");
    const std::string captured = "package/0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1/Device/C/out";
    // By a link, so that the output's path does not show where it lies.
    std::filesystem::create_directory_symlink(m_conversion.Folder().Path(captured),
                                              m_conversion.Folder().Path("out"));
    for (const char* run : {"first", "second"}) {
        SCOPED_TRACE(run);
        ASSERT_EQ(m_conversion.ConvertFile("package/App.profile"), 0U);
        EXPECT_EQ(m_conversion.Payload(kGuid),
                  (std::vector<std::string>{"SystemDrive/a.txt", "SystemDrive/out/kept.txt"}));
        EXPECT_EQ(m_conversion.Payload(kOtherGuid), std::vector<std::string>{"SystemDrive/b.txt"});
        EXPECT_EQ(m_conversion.Collection(kGuid, "CreateFiles").find("{"), std::string::npos);
    }
    EXPECT_EQ(m_conversion.Folder().ReadFile(captured + "/kept.txt"), "kept");
}

TEST_F(PosixConversionTest, UnusableMachineDescriptionConvertsNothing) {
    m_conversion.UseMachine("[system]\nlocal = \"en-US\"\n");
    EXPECT_NE(Convert(TestTarget().File("C/a.txt")), 0U);
    ASSERT_EQ(m_conversion.LogLines().size(), 1U);
    EXPECT_NE(m_conversion.LogLines()[0].find("machine.toml"), std::string::npos);
    EXPECT_NE(m_conversion.LogLines()[0].find("local"), std::string::npos);
    EXPECT_FALSE(m_conversion.Folder().Exists("out"));
}

}  // namespace
