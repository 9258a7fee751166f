// What a conversion makes of failures that only a machine in trouble has.

#include <algorithm>

#include "conversion/conversion.h"
#include "platform/machine_report.h"
#include "platform/text.h"
#include "support/windows/import.h"

namespace {

using Lines = std::vector<std::string>;

class WindowsConversionTest : public ConversionTest {
protected:
    // Two files, of which the first cannot be copied.
    std::uint32_t ConvertOnAFullDisk() {
        const auto copy = ReplaceImport<decltype(CopyFileW)>(
            "CopyFileW", [](LPCWSTR source, LPCWSTR destination, BOOL keep) {
                return std::wstring_view(source).ends_with(L"a.txt")
                           ? FailWith(ERROR_DISK_FULL, FALSE)
                           : CopyFileW(source, destination, keep);
            });
        return Convert(TestTarget().File("C/a.txt", "a").File("C/b.txt", "b"));
    }
};

TEST_F(WindowsConversionTest, AFileThatCannotBeCopiedIsLoggedAndTheWalkGoesOn) {
    ASSERT_EQ(ConvertOnAFullDisk(), 0U);
    const std::string reason = Utf8(platform::SystemErrorText(ERROR_DISK_FULL));
    EXPECT_THAT(m_logLines, testing::ElementsAre(Line("Error: Failed to copy file ",
                                                      "a.txt' from CAS package.  " +
                                                          reason.substr(0, reason.find('\r')))));
    EXPECT_EQ(Payload(), Lines{"SystemDrive/b.txt"});
    EXPECT_TRUE(Holds("CreateFiles", "RelativeSource=\"SystemDrive\\a.txt\""));
}

TEST_F(WindowsConversionTest, AHostWithoutTextsGetsALineForEachFailure) {
    const auto load = ReplaceImport<decltype(LoadStringW)>(
        "LoadStringW", [](auto...) { return FailWith(ERROR_RESOURCE_TYPE_NOT_FOUND, 0); });
    ASSERT_EQ(ConvertOnAFullDisk(), 0U);
    EXPECT_EQ(m_logLines, Lines{"Error: "});
    EXPECT_EQ(Payload(), Lines{"SystemDrive/b.txt"});
}

TEST_F(WindowsConversionTest, ALogThatCannotBeWrittenEndsNothing) {
    {
        const auto create = ReplaceImport<decltype(CreateFileW)>("CreateFileW", [](auto...) {
            return FailWith(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
        });
        ASSERT_EQ(ConvertOnAFullDisk(), 0U);
    }
    EXPECT_FALSE(m_folder.Exists("log.html"));
    const auto write = ReplaceImport<decltype(WriteFile)>(
        "WriteFile", [](auto...) { return FailWith(ERROR_DISK_FULL, FALSE); });
    ASSERT_EQ(ConvertOnAFullDisk(), 0U);
    EXPECT_EQ(m_folder.ReadFile("log.html"), "");
    EXPECT_EQ(Payload(), Lines{"SystemDrive/b.txt"});
}

// Only the form of the hive is another one, where Wine loads it.
TEST_F(WindowsConversionTest, TheDescriptionOfTheRunningMachineConvertsAsThatDoes) {
    CTestHive hive;
    hive.Key(uR"(REGISTRY\USER\CurrentUser\Software\App)")
        .String(u"path", uR"(C:\windows\a;C:\Program Files\App;%TEMP%)")
        .Key(uR"(REGISTRY\MACHINE\HARDWARE\App)");
    const auto convert = [&] {
        EXPECT_EQ(Convert(TestTarget(hive).File("C/windows/a.txt").File("C/ProgramData/a.txt")),
                  0U);
        return Manifest() + testing::PrintToString(Payload());
    };
    UseMachineFile("");
    const std::string description = platform::DescribeMachine();
    const std::string live = convert();
    UseMachine(description);
    EXPECT_EQ(platform::DescribeMachine(), description);
    EXPECT_EQ(convert(), live);
}

TEST_F(WindowsConversionTest, AManifestThatCannotBeMovedLeavesThePayload) {
    const auto move = ReplaceImport<decltype(MoveFileW)>(
        "MoveFileW", [](LPCWSTR, LPCWSTR) { return FailWith(ERROR_ACCESS_DENIED, FALSE); });
    ASSERT_EQ(Convert(TestTarget().File("C/b.txt", "b")), 0U);
    EXPECT_FALSE(m_folder.Exists("out/" + kGuid + "/app.orv"));
    const Lines payload = Payload();
    EXPECT_EQ(std::ranges::count(payload, "SystemDrive/b.txt"), 1);
}

}  // namespace
