#include "platform/shell_link.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/status.h"
#include "support/link_builder.h"
#include "support/machine.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

constexpr std::uint32_t kKnownFolder = 0xA000000BU;

TEST(DescribedShellLinkTest, FoldersAreThoseOfTheMachine) {
    const CTestMachine machine = CTestMachine()
                                     .Folder(u"FOLDERID_LocalAppDataLow", uR"(C:\Low)")
                                     .Environment(u"PUBLIC", uR"(D:\All)");
    const CTempFolder folder;
    const std::pair<std::string, const char*> cases[] = {
        {{"\xA4\xA1\x20\xA5\x80\x17\xF6\x4F\xBD\x18\x16\x73\x43\xC5\xAF\x16", 16}, R"(C:\Low)"},
        {{"\xA2\x76\xDF\xDF\x2A\xC8\x63\x4D\x90\x6A\x56\x44\xAC\x45\x73\x85", 16}, R"(D:\All)"},
    };
    for (const auto& [id, path] : cases) {
        const std::string bytes =
            CTestLink().Block(kKnownFolder, id + std::string(4, '\0')).Bytes();
        platform::SShellLink link;
        EXPECT_EQ(platform::ReadShellLink(folder.WriteFile("a.lnk", bytes).c_str(), link), S_OK);
        EXPECT_EQ(Utf8(*link.path), path);
    }
}

TEST(DescribedShellLinkTest, RefusesAFileOfMoreThan64Megabytes) {
    constexpr std::uintmax_t kLimit = std::uintmax_t{64} << 20;
    const CTestMachine machine;
    const CTempFolder folder;
    const std::u16string name = folder.WriteFile("a.lnk", CTestLink().Bytes());
    platform::SShellLink link;
    for (const std::uintmax_t size : {kLimit, kLimit + 1}) {
        std::filesystem::resize_file(folder.Path("a.lnk"), size);
        EXPECT_EQ(platform::ReadShellLink(name.c_str(), link), size == kLimit ? S_OK : E_FAIL);
    }
}

}  // namespace
