#include "platform/shell_link.h"

#include "platform/com.h"
#include "support/link_builder.h"
#include "support/machine.h"
#include "support/system.h"
#include "support/test.h"

namespace {

constexpr std::size_t kEnvironmentBlock = 2;
constexpr std::size_t kConsoleBlock = 4;

class ReadShellLinkTest : public testing::TestWithParam<EMachine> {
protected:
    ReadShellLinkTest() { platform::EnterApartment(); }
    ~ReadShellLinkTest() override { platform::LeaveApartment(); }

    platform::SShellLink Read(const CTestLink& link) {
        platform::SShellLink answers;
        EXPECT_EQ(
            platform::ReadShellLink(m_folder.WriteFile("a.lnk", link.Bytes()).c_str(), answers),
            S_OK);
        return answers;
    }

    std::optional<CTestMachine> m_inEffect = UseMachine(GetParam());
    CTempFolder m_folder;
};

INSTANTIATE_TEST_SUITE_P(Machines, ReadShellLinkTest, testing::ValuesIn(MachinesOfThisSystem()),
                         testing::PrintToStringParamName());

TEST_P(ReadShellLinkTest, GivesEachTextAndNumberFromItsPlace) {
    const platform::SShellLink link = Read(CTestLink()
                                               .Local(uR"(C:\Data\a.exe)", u"")
                                               .Description(u"Zo\u00EB \u8BF4")
                                               .WorkingDirectory(uR"(C:\Work)")
                                               .Arguments(u"-a -b")
                                               .Icon(uR"(C:\a.ico)", -3)
                                               .HotKey(0x0347));
    EXPECT_EQ(link.path, uR"(C:\Data\a.exe)");
    EXPECT_EQ(link.description, u"Zo\u00EB \u8BF4");
    EXPECT_EQ(link.workingDirectory, uR"(C:\Work)");
    EXPECT_EQ(link.arguments, u"-a -b");
    EXPECT_EQ(link.iconLocation, uR"(C:\a.ico)");
    EXPECT_EQ(link.iconIndex, -3);
    EXPECT_EQ(link.hotkey, 0x0347);
}

TEST_P(ReadShellLinkTest, ATextThatIsNotThereIsEmptyAndALongOneIsCut) {
    const platform::SShellLink link = Read(CTestLink()
                                               .Arguments(std::u16string(1023, u'a'))
                                               .WorkingDirectory(std::u16string(1024, u'w')));
    EXPECT_EQ(link.path, u"");
    EXPECT_EQ(link.description, u"");
    EXPECT_EQ(link.iconLocation, u"");
    EXPECT_EQ(link.arguments, std::u16string(1023, u'a'));
    EXPECT_EQ(link.workingDirectory, std::u16string(1023, u'w'));
}

TEST_P(ReadShellLinkTest, GivesTheFlagsAndBlocksAsTheyStand) {
    if (AnswersByWine()) {
        GTEST_SKIP() << "Wine keeps neither the blocks nor the show command";
    }
    const platform::SShellLink link = Read(CTestLink()
                                               .Local(uR"(C:\Data\a.exe)", u"")
                                               .RelativePath(uR"(..\a.exe)")
                                               .Arguments(u"-a")
                                               .Environment(uR"(%ProgramFiles%\a.exe)")
                                               .Block(0xA0000002U, std::string(196, 'c'))
                                               .ShowCommand(3));
    EXPECT_EQ(link.path, uR"(%ProgramFiles%\a.exe)");
    EXPECT_EQ(link.arguments, u"-a");
    EXPECT_EQ(link.showCommand, 3);
    EXPECT_NE(link.flags.value_or(0) & 0x200U, 0U);
    for (std::size_t i = 0; i < link.dataBlocks.size(); ++i) {
        const std::size_t size = i == kEnvironmentBlock ? 788 : i == kConsoleBlock ? 204 : 0;
        EXPECT_EQ(link.dataBlocks[i].size(), size) << i;
    }
    EXPECT_EQ(link.dataBlocks[kConsoleBlock].back(), std::byte{'c'});
}

TEST_P(ReadShellLinkTest, TellsAFileThatCannotBeReadFromOneThatIsNoLink) {
    platform::SShellLink link;
    EXPECT_EQ(platform::ReadShellLink(m_folder.Name("none.lnk").c_str(), link),
              HresultFromError(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(platform::ReadShellLink(m_folder.MakeFolder("a.lnk").c_str(), link),
              HresultFromError(ERROR_ACCESS_DENIED));
    EXPECT_EQ(platform::ReadShellLink(m_folder.WriteFile("b.lnk").c_str(), link), E_FAIL);
    EXPECT_FALSE(link.path);
}

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
        const std::string bytes = CTestLink().Block(0xA000000BU, id + std::string(4, '\0')).Bytes();
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
