// What only a POSIX file system can hold, and what only a described machine can be.

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "conversion/conversion.h"
#include "support/posix/system_calls.h"
#include "support/system.h"

namespace {

using testing::ElementsAre;
using PosixConversionTest = ConversionTest;
using Files = std::vector<std::string>;
const std::string kDevice = "package/0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1/Device/";

const std::string kCopy = "Error: Failed to copy file 'Z:";

TEST_F(PosixConversionTest, WhatCannotBeReadIsLoggedAndTheWalkGoesOn) {
    m_folder.WriteFile("secret", "outside");
    Write(CTestPackage().Target(TestTarget()
                                    .File("C/a.txt", "a")
                                    .File("C/colon:star*.txt", "odd")
                                    .File("C/\xFF\xFEraw", "no UTF-8")
                                    .File("C/tab\there", "control")
                                    .File("C/bad.lnk", "no link")
                                    .File("stray.txt", "below Device itself")));
    const auto drive = m_folder.Path(kDevice + "C");
    std::filesystem::create_symlink(m_folder.Path("secret"), drive / "link.txt");
    std::filesystem::create_directory_symlink("..", drive / "loop");
    ASSERT_EQ(mkfifo((drive / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(ConvertFile(), 0U);
    // The payload keeps odd names.
    EXPECT_THAT(Payload(), testing::IsSupersetOf({"SystemDrive/a.txt", "SystemDrive/\xFF\xFEraw"}));
    EXPECT_EQ(Payload().size(), 4U);
    EXPECT_TRUE(Holds("CreateFiles", "colon~f03astar~f02a.txt"));
    const std::string barred = "' from CAS package.  The file cannot be accessed by the system.";
    EXPECT_THAT(m_logLines,
                testing::UnorderedElementsAre(
                    Line(kCopy, "stray.txt' from CAS package.  Access is denied."),
                    Line("Error: Failed to load shortcut file 'Z:", "bad.lnk'.  Unspecified error"),
                    Line(kCopy, "link.txt" + barred), Line(kCopy, "loop" + barred),
                    Line(kCopy, "pipe' from CAS package.  ")));
}

// Only a package on a share has items for its folders.
TEST_F(PosixConversionTest, AFolderThatLosesItsFilesMeanwhileIsAnEmptyOne) {
    const std::filesystem::path drive = m_folder.Path(kDevice + "C");
    UseMachine("[shares]\n'\\\\server\\share' = '" + m_folder.Path("package").string() + "'\n");
    Write(CTestPackage().Target(TestTarget()
                                    .File("C/a/lost.txt", "a")
                                    .File("C/b/lost.txt", "b")
                                    .Placeholder("C/b")
                                    .Placeholder("C/c")
                                    .File("C/d/kept.txt", "d")));
    std::filesystem::create_directory(drive / "e");
    m_onProgress = [&drive](const std::string& line) {
        if (line.ends_with("\\C\\d|")) {
            std::filesystem::remove(drive / "a/lost.txt");
            std::filesystem::remove(drive / "b/lost.txt");
        }
    };
    ASSERT_EQ(ConvertNamed(uR"(\\server\share\App.profile)"), 0U);
    EXPECT_EQ(Payload(), Files{"SystemDrive/d/kept.txt"});
    for (const char* name : {"a", "b", "c", "e"}) {
        EXPECT_TRUE(Holds("CreateFolders", R"(Target="%SystemDrive%\)" + std::string(name) + '"'))
            << name;
    }
    const std::string folders = Collection("CreateFolders");
    EXPECT_EQ(std::ranges::count(folders, '"'), 8) << folders;
}

TEST_F(PosixConversionTest, ALinkThatHidesTheCapturedFilesIsTold) {
    const std::string device = kDevice.substr(0, kDevice.size() - 1);
    for (const std::string& link : {device, device.substr(0, device.rfind('/'))}) {
        SCOPED_TRACE(link);
        Write(CTestPackage().Target(TestTarget().File("C/a.txt", "a")));
        std::filesystem::rename(m_folder.Path(link), m_folder.Path("outside"));
        std::filesystem::create_directory_symlink(m_folder.Path("outside"), m_folder.Path(link));
        ASSERT_EQ(ConvertFile(), 0U);
        EXPECT_EQ(Payload(), Files{});
        EXPECT_THAT(m_logLines,
                    testing::Contains(Line(kCopy, link.substr(link.rfind('/') + 1) +
                                                      "' from CAS package.  The file cannot be")));
        std::filesystem::remove_all(m_folder.Path("package"));
        std::filesystem::remove_all(m_folder.Path("outside"));
        std::filesystem::remove_all(m_folder.Path("out"));
    }
}

TEST_F(PosixConversionTest, AFileWithoutItsTimeOrItsMarkIsTold) {
    const CTestTarget target = TestTarget().File("C/a.txt", "a");
    const std::string file = "a.txt' from CAS package.  ";
    {
        const CFailingCall failing(ESystemCall::FUTimeNs, EPERM);
        ASSERT_EQ(Convert(target), 0U);
        EXPECT_THAT(m_logLines, ElementsAre(Line(kCopy, file + "Access is denied.")));
        EXPECT_EQ(Payload(), Files{"SystemDrive/a.txt"});
    }
    std::filesystem::remove_all(m_folder.Path("out"));
    const CFailingCall failing(ESystemCall::FListXAttr, EIO);
    ASSERT_EQ(Convert(target), 0U);
    EXPECT_THAT(m_logLines, ElementsAre(Line(kCopy, file + "The system cannot read from")));
    EXPECT_EQ(Payload(), Files{});
    EXPECT_FALSE(Holds("CreateFiles", "a.txt"));
}

TEST_F(PosixConversionTest, AFileThatChangesWhileItIsCopiedIsInTheRecordAlone) {
    Write(CTestPackage().Target(TestTarget().File("C/busy.bin", std::string(4 << 20, 'x'))));
    SetEnvironment("ORVCASCONV_RECORD", m_folder.Path("record").string());
    const std::filesystem::path busy = m_folder.Path(kDevice + "C/busy.bin");
    std::atomic<bool> isDone = false;
    std::thread writer([&] {
        for (int seconds = 1; !isDone; ++seconds) {
            std::filesystem::last_write_time(
                busy, std::filesystem::file_time_type(std::chrono::seconds(seconds)));
        }
    });
    bool isTold = false;
    // On a busy machine the other thread may not run during a copy.
    for (int i = 0; i < 1000 && !isTold; ++i) {
        EXPECT_EQ(ConvertFile(), 0U);
        isTold =
            m_folder.ReadFile("record").find(R"("reason":"file-changed")") != std::string::npos;
    }
    isDone = true;
    writer.join();
    SetEnvironment("ORVCASCONV_RECORD", "");
    EXPECT_TRUE(isTold);
    EXPECT_EQ(Payload(), Files{"SystemDrive/busy.bin"});
    EXPECT_TRUE(m_logLines.empty());
}

TEST_F(PosixConversionTest, OutputAmongTheCapturedFilesIsNotCapturedAgain) {
    Write(CTestPackage()
              .Target(OtherTarget().File("C/b.txt", "b"))
              .Target(TestTarget().File("C/a.txt", "a").File("C/out/kept.txt", "kept")));
    // By a link, so that the output's path does not show where it lies.
    std::filesystem::create_directory_symlink(m_folder.Path(kDevice + "C/out"),
                                              m_folder.Path("out"));
    for (const char* run : {"first", "second"}) {
        SCOPED_TRACE(run);
        ASSERT_EQ(ConvertFile(), 0U);
        EXPECT_EQ(Payload(), (Files{"SystemDrive/a.txt", "SystemDrive/out/kept.txt"}));
        EXPECT_EQ(Payload(kOtherGuid), Files{"SystemDrive/b.txt"});
        EXPECT_FALSE(Holds("CreateFiles", "{"));
    }
    EXPECT_EQ(m_folder.ReadFile(kDevice + "C/out/kept.txt"), "kept");
}

TEST_F(PosixConversionTest, UnusableMachineDescriptionConvertsNothing) {
    UseMachine("[system]\nlocal = \"en-US\"\n");
    EXPECT_NE(Convert(TestTarget().File("C/a.txt")), 0U);
    EXPECT_THAT(m_logLines, ElementsAre(testing::ContainsRegex("machine.toml.*local")));
    EXPECT_FALSE(m_folder.Exists("out"));
}

}  // namespace
