#include <gtest/gtest.h>

#include <filesystem>
#include <span>
#include <utility>
#include <vector>

#include "platform/posix/shell_link_parser.h"
#include "platform/status.h"
#include "support/link_builder.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using platform::SShellLink;

constexpr std::size_t kEnvironmentBlock = 2;
constexpr std::size_t kConsoleBlock = 4;

bool Parses(const std::string& bytes, SShellLink& link) {
    return platform::ParseShellLink(std::as_bytes(std::span(bytes)), link);
}

SShellLink Parse(const std::string& bytes) {
    SShellLink link;
    EXPECT_TRUE(Parses(bytes, link));
    return link;
}

std::string PathOf(const CTestLink& link) { return Utf8(Parse(link.Bytes()).path.value_or(u"-")); }

// A link with every section that there is.
CTestLink RichLink() {
    return CTestLink()
        .DriveItem(u'C')
        .FolderItem(u"PROGRA~1", u"Program Files")
        .FileItem(u"a.exe", u"a.exe")
        .Local(uR"(C:\)", uR"(Program Files\a.exe)")
        .Network(uR"(\\server\share)", uR"(Program Files\a.exe)")
        .WideInfo()
        .Description(u"What it is")
        .RelativePath(uR"(..\a.exe)")
        .WorkingDirectory(uR"(C:\Work)")
        .Arguments(u"-a -b")
        .Icon(uR"(C:\a.ico)", -3)
        .Environment(uR"(%ProgramFiles%\a.exe)")
        .IconEnvironment(uR"(%SystemRoot%\a.ico)")
        .Block(0xA0000002U, std::string(196, 'c'));
}

TEST(ShellLinkPathTest, ComesFromTheFirstSectionThatSaysOne) {
    CTestLink link;
    EXPECT_EQ(PathOf(link), "");
    link.DriveItem(u'D').FolderItem(u"DATA~1", u"Data of Zoë").FileItem(u"LIST~1.TXT", u"清单.txt");
    EXPECT_EQ(PathOf(link), R"(D:\Data of Zoë\清单.txt)");
    link.Network(uR"(\\server\share)", u"a.txt");
    EXPECT_EQ(PathOf(link), R"(\\server\share\a.txt)");
    link.Local(uR"(C:\Users\)", uR"(Zoë\a.txt)");
    EXPECT_EQ(PathOf(link), R"(C:\Users\Zoë\a.txt)");
    EXPECT_EQ(PathOf(CTestLink(link).Flags(0x100)), R"(D:\Data of Zoë\清单.txt)");
    EXPECT_EQ(PathOf(link.Environment(u"")), R"(C:\Users\Zoë\a.txt)");
    EXPECT_EQ(PathOf(RichLink()), R"(%ProgramFiles%\a.exe)");
}

TEST(ShellLinkPathTest, IsSpelledFromThePartsOfItsSection) {
    const std::string file = CTestLink().DriveItem(u'C').FileItem(u"a", u"a").Bytes();
    const std::string list = file.substr(0x4E, file.size() - 0x4E - 4);
    const std::pair<CTestLink, const char*> cases[] = {
        // The parts of a LinkInfo are joined by one backslash, and their Unicode forms go first.
        {CTestLink().Local(uR"(C:\a.txt)", u""), R"(C:\a.txt)"},
        {CTestLink().Local(uR"(C:\Data)", u"a.txt"), R"(C:\Data\a.txt)"},
        {CTestLink().Local(uR"(C:\Data)", uR"(\a.txt)"), R"(C:\Data\a.txt)"},
        {CTestLink().Local(u"", u"a.txt").Network(uR"(\\s\x\)", u"a.txt"), R"(\\s\x\a.txt)"},
        {CTestLink().Network(uR"(\\ޓ\C)", uR"(relay\说明.txt)").WideInfo(),
         R"(\\ޓ\C\relay\说明.txt)"},
        {CTestLink().Local(uR"(C:\说明)", u"").WideInfo(), R"(C:\说明)"},
        {CTestLink().Environment(uR"(%X%\说明)"), R"(%X%\说明)"},
        // An item list may lead out of the file system.
        {CTestLink().DriveItem(u'C'), R"(C:\)"},
        {CTestLink().DriveItem(u'C').FolderItem(u"OLD", u"").FileItem(u"A.EXE", u""),
         R"(C:\OLD\A.EXE)"},
        {CTestLink().ShareItem(uR"(\\说明\x)").FileItem(u"a", u"a.txt"), R"(\\说明\x\a.txt)"},
        {CTestLink().RecycleBinItem(), ""},
        {CTestLink().RecycleBinItem().FileItem(u"a", u"a.txt"), ""},
        {CTestLink().DriveItem(u'C').RecycleBinItem(), ""},
        // The alternate list is the last resort.
        {CTestLink().Block(0xA000000CU, list), R"(C:\a)"},
        {CTestLink().DriveItem(u'D').Block(0xA000000CU, list), R"(D:\)"},
    };
    for (const auto& [link, path] : cases) {
        SCOPED_TRACE(path);
        EXPECT_EQ(PathOf(link), path);
    }
}

TEST(ShellLinkTest, AnsiTextIsInCodePage1252AndEndsAtItsNul) {
    CTestLink builder = CTestLink().Ansi().Local(u"C:\\\x80", u"\xE9\x9F");
    EXPECT_EQ(PathOf(builder), R"(C:\€\éŸ)");
    builder.Description(u"\x8E\xFF").Arguments({u"a\0b", 3}).Environment(u"%a\x99");
    const SShellLink link = Parse(builder.Bytes());
    EXPECT_EQ(Utf8(*link.description), "Žÿ");
    EXPECT_EQ(Utf8(*link.arguments), "a");
    EXPECT_EQ(Utf8(*link.path), "%a™");
}

TEST(ShellLinkTest, IconBlockCountsWhenItsFlagIsSet) {
    CTestLink link = CTestLink().Icon(uR"(C:\a.ico)", 1);
    const std::string icon = std::string(260, '\0') + std::string("b\0", 2);
    EXPECT_EQ(Utf8(*Parse(link.Block(0xA0000007U, icon).Bytes()).iconLocation), R"(C:\a.ico)");
    EXPECT_EQ(Utf8(*Parse(link.Flags(0x4000).Bytes()).iconLocation), "b");
}

TEST(ShellLinkTest, UnknownShowCommandIsTheNormalOne) {
    for (const std::uint32_t command : {0U, 2U, 4U, 7U, 0x80000003U}) {
        EXPECT_EQ(Parse(CTestLink().ShowCommand(command).Bytes()).showCommand, command == 7 ? 7 : 1)
            << command;
    }
}

TEST(ShellLinkTest, FirstBlockOfASignatureWins) {
    const SShellLink link =
        Parse(CTestLink().Environment(u"%a%").Environment(u"%b%").Block(0xA0000002U, "").Bytes());
    EXPECT_EQ(Utf8(*link.path), "%a%");
    EXPECT_EQ(link.dataBlocks[kEnvironmentBlock].size(), 788U);
    EXPECT_EQ(link.dataBlocks[kConsoleBlock].size(), 8U);
}

TEST(DamagedShellLinkTest, AnotherHeaderIsNoLink) {
    for (const std::size_t offset : {0U, 4U, 19U}) {
        std::string bytes = RichLink().Bytes();
        bytes[offset] ^= 1;
        SShellLink link;
        EXPECT_FALSE(Parses(bytes, link)) << offset;
        EXPECT_FALSE(link.description);
    }
}

TEST(DamagedShellLinkTest, LoadsWhereverItIsCutOffInItsBlocks) {
    const std::string bytes = RichLink().Bytes();
    const std::size_t blocksStart = bytes.size() - (788 + 788 + 204 + 4);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        // A copy of exactly this length lets the sanitizer see a read beyond it.
        const std::vector<char> cut(bytes.data(), bytes.data() + length);
        SShellLink link;
        ASSERT_EQ(platform::ParseShellLink(std::as_bytes(std::span(cut)), link),
                  length >= blocksStart);
        if (length >= blocksStart) {
            const bool isWhole = length >= blocksStart + 788;
            ASSERT_EQ(link.dataBlocks[kEnvironmentBlock].size(), isWhole ? 788U : 0U);
            ASSERT_EQ(Utf8(*link.path),
                      isWhole ? R"(%ProgramFiles%\a.exe)" : R"(C:\Program Files\a.exe)");
        }
    }
}

TEST(DamagedShellLinkTest, LyingNumbersLeaveTextsWithinTheirLimit) {
    EXPECT_EQ(PathOf(CTestLink().Local(std::u16string(1023, u'a'), u"b")).size(), 1023U);
    const std::string bytes = RichLink().Bytes();
    for (std::size_t offset = 0x14; offset + 2 <= bytes.size(); ++offset) {
        for (const char value : {'\x00', '\x01', '\x7F', '\xFF'}) {
            SCOPED_TRACE(offset);
            SShellLink link;
            if (Parses(std::string(bytes).replace(offset, 2, 2, value), link)) {
                ASSERT_LE(link.path->size(), 1023U);
            }
        }
    }
}

TEST(DamagedShellLinkTest, BrokenPlaceOfTheTargetLeavesTheNextOne) {
    std::string bytes = CTestLink().DriveItem(u'D').Local(uR"(C:\a)", u"").Bytes();
    const std::size_t info = bytes.size() - 4 - (0x1C + 17 + 5 + 1);
    bytes[info + 0x12] = '\xFF';  // the local path is said to lie far behind the file
    EXPECT_EQ(Utf8(*Parse(bytes).path), R"(D:\)");
    bytes[0x4E + 20] = '\xFF';  // and the drive's item to be longer than its list
    EXPECT_EQ(Utf8(*Parse(bytes).path), "");
}

TEST(DamagedShellLinkTest, RefusesAFileOfMoreThan64Megabytes) {
    constexpr std::uintmax_t kLimit = std::uintmax_t{64} << 20;
    const CTempFolder folder;
    const std::u16string name = folder.WriteFile("a.lnk", RichLink().Bytes());
    SShellLink link;
    for (const std::uintmax_t size : {kLimit, kLimit + 1}) {
        std::filesystem::resize_file(folder.Path("a.lnk"), size);
        EXPECT_EQ(platform::ReadShellLink(name.c_str(), link), size == kLimit ? S_OK : E_FAIL);
    }
}

}  // namespace
