// What only a POSIX file system can hold, and what only a described machine can be.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>

#include "conversion/conversion.h"
#include "support/posix/system_calls.h"

namespace {

std::atomic<bool> g_givesThreads = true;

}  // namespace

// The program's own is the one that the libraries call.
extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                             const pthread_attr_t* attributes,
                                                             void* (*body)(void*), void* argument) {
    static const auto real =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return g_givesThreads ? real(thread, attributes, body, argument) : EAGAIN;
}

namespace {

using PosixConversionTest = ConversionTest;
using Files = std::vector<std::string>;
const std::string kDevice = "package/0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1/Device/";

TEST_F(PosixConversionTest, WhatCannotBeReadIsLoggedAndTheWalkGoesOn) {
    m_folder.WriteFile("secret", "outside");
    CTestPackage()
        .Target(TestTarget()
                    .File("C/a.txt", "a")
                    .File("C/bad.lnk", "no link")
                    .File("stray.txt", "below Device itself"))
        .Write(m_folder.Path("package"), "App.profile");
    const auto drive = m_folder.Path(kDevice + "C");
    std::filesystem::create_symlink(m_folder.Path("secret"), drive / "link.txt");
    std::filesystem::create_directory_symlink("..", drive / "loop");
    ASSERT_EQ(mkfifo((drive / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(ConvertFile(), 0U);
    EXPECT_EQ(Payload(), Files{"SystemDrive/a.txt"});
    ASSERT_EQ(m_logLines.size(), 5U);
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
        EXPECT_TRUE(std::any_of(m_logLines.begin(), m_logLines.end(),
                                [&line](const std::string& text) {
                                    return text.starts_with(std::string("Error: ") + line.file) &&
                                           text.find(line.reason) != std::string::npos;
                                }))
            << line.reason;
    }
}

TEST_F(PosixConversionTest, ALinkThatHidesTheCapturedFilesIsTold) {
    const std::string device = kDevice.substr(0, kDevice.size() - 1);
    for (const std::string& link : {device, device.substr(0, device.rfind('/'))}) {
        SCOPED_TRACE(link);
        CTestPackage()
            .Target(TestTarget().File("C/a.txt", "a"))
            .Write(m_folder.Path("package"), "App.profile");
        std::filesystem::rename(m_folder.Path(link), m_folder.Path("outside"));
        std::filesystem::create_directory_symlink(m_folder.Path("outside"), m_folder.Path(link));
        ASSERT_EQ(ConvertFile(), 0U);
        EXPECT_EQ(Payload(), Files{});
        EXPECT_THAT(m_logLines,
                    testing::Contains(testing::AllOf(
                        testing::StartsWith("Error: Failed to copy file 'Z:"),
                        testing::HasSubstr(link.substr(link.rfind('/') + 1) + "' from CAS package"),
                        testing::HasSubstr("The file cannot be accessed by the system."))));
        std::filesystem::remove_all(m_folder.Path("package"));
        std::filesystem::remove_all(m_folder.Path("outside"));
        std::filesystem::remove_all(m_folder.Path("out"));
    }
}

TEST_F(PosixConversionTest, AFileWithoutItsTimeOrItsMarkIsTold) {
    const auto target = [] { return TestTarget().File("C/a.txt", "a"); };
    const auto reason = [](const std::string& text) {
        return testing::ElementsAre(testing::AllOf(
            testing::StartsWith("Error: Failed to copy file 'Z:"), testing::HasSubstr(text)));
    };
    {
        const CFailingCall failing(ESystemCall::FUTimeNs, EPERM);
        ASSERT_EQ(Convert(target()), 0U);
        EXPECT_THAT(m_logLines, reason("a.txt' from CAS package.  Access is denied."));
        EXPECT_EQ(Payload(), Files{"SystemDrive/a.txt"});
    }
    std::filesystem::remove_all(m_folder.Path("out"));
    const CFailingCall failing(ESystemCall::FListXAttr, EIO);
    ASSERT_EQ(Convert(target()), 0U);
    EXPECT_THAT(m_logLines, reason("a.txt' from CAS package.  The system cannot read from"));
    EXPECT_EQ(Payload(), Files{});
    EXPECT_FALSE(Holds("CreateFiles", "a.txt"));
}

TEST_F(PosixConversionTest, OddNamesGetTheirPayload) {
    ASSERT_EQ(Convert(TestTarget()
                          .File("C/colon:star*.txt", "odd")
                          .File("C/\xFF\xFEraw", "no UTF-8")
                          .File("C/tab\there", "control")),
              0U);
    EXPECT_TRUE(m_logLines.empty());
    const Files payload = Payload();
    ASSERT_EQ(payload.size(), 3U);
    EXPECT_EQ(std::count(payload.begin(), payload.end(), "SystemDrive/\xFF\xFEraw"), 1);
    EXPECT_TRUE(Holds("CreateFiles", "colon~f03astar~f02a.txt"));
}

TEST_F(PosixConversionTest, OutputAmongTheCapturedFilesIsNotCapturedAgain) {
    CTestPackage()
        .Target(OtherTarget().File("C/b.txt", "b"))
        .Target(TestTarget().File("C/a.txt", "a").File("C/out/kept.txt", "kept"))
        .Write(m_folder.Path("package"), "App.profile");
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

TEST_F(PosixConversionTest, WithoutAThreadToBeHadEverythingIsConvertedAllTheSame) {
    CTestHive hive;
    CTestTarget target = TestTarget();
    // More than a batch of copies, a batch of values, and what is read or written by one thread.
    for (int i = 0; i < 1000; ++i) {
        const std::string name = std::to_string(i);
        target.File("C/" + name, name);
        hive.Key(uR"(REGISTRY\MACHINE\SOFTWARE\)" + std::u16string(name.begin(), name.end()))
            .Binary(u"value", std::string(1200, '\1'));
    }
    ASSERT_EQ(Convert(target.Hive(hive.Bytes())), 0U);
    const std::string manifest = Manifest();
    const Files payload = Payload();
    ASSERT_EQ(payload.size(), 1000U);
    std::filesystem::remove_all(m_folder.Path("out"));
    g_givesThreads = false;
    const std::uint32_t status = ConvertFile();
    g_givesThreads = true;
    EXPECT_EQ(status, 0U);
    EXPECT_TRUE(m_logLines.empty());
    EXPECT_TRUE(Manifest() == manifest);
    EXPECT_EQ(Payload(), payload);
}

TEST_F(PosixConversionTest, UnusableMachineDescriptionConvertsNothing) {
    UseMachine("[system]\nlocal = \"en-US\"\n");
    EXPECT_NE(Convert(TestTarget().File("C/a.txt")), 0U);
    ASSERT_EQ(m_logLines.size(), 1U);
    EXPECT_NE(m_logLines[0].find("machine.toml"), std::string::npos);
    EXPECT_NE(m_logLines[0].find("local"), std::string::npos);
    EXPECT_FALSE(m_folder.Exists("out"));
}

}  // namespace
