#include <span>

#include "formats/link/shell_link.h"
#include "support/link_builder.h"
#include "support/little_endian.h"
#include "support/test.h"

namespace {

using formats::SShellLink;

constexpr std::size_t kEnvironmentBlock = 2;
constexpr std::size_t kConsoleBlock = 4;

constexpr std::byte kFirstOfDocuments{0xD0};

// A machine that has the documents and the folders with numbers.
bool FindFolder(const formats::SLinkFolder& folder, std::u16string& path) {
    path = folder.id.empty() ? uR"(X:\Number)" : uR"(X:\Documents)";
    return folder.id.empty() || (folder.id.size() == 16 && folder.id[0] == kFirstOfDocuments);
}

bool Parses(std::span<const char> bytes, SShellLink& link) {
    return formats::ParseShellLink(std::as_bytes(bytes), &FindFolder, link);
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
    link.Local(uR"(C:\Users\)", uR"(Zoe\a.txt)");
    EXPECT_EQ(PathOf(link), R"(C:\Users\Zoe\a.txt)");
    EXPECT_EQ(PathOf(CTestLink(link).Flags(0x100)), R"(D:\Data of Zoë\清单.txt)");
    EXPECT_EQ(PathOf(link.Environment(u"")), R"(C:\Users\Zoe\a.txt)");
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
        EXPECT_EQ(PathOf(link), path);
    }
}

TEST(ShellLinkPathTest, ListBeatsALinkInfoInAnUnknownCodePage) {
    const CTestLink certain = CTestLink().DriveItem(u'D').FileItem(u"a", u"说.txt");
    const CTestLink guess = CTestLink().DriveItem(u'D').FileItem(u"\xCB\xB5", u"");
    for (const std::u16string_view suffix : {u"\xCB\xB5.txt", u"?.txt"}) {
        EXPECT_EQ(PathOf(CTestLink(certain).Local(u"C:", suffix)), R"(D:\说.txt)");
        EXPECT_EQ(PathOf(CTestLink(certain).Network(suffix, u"a")), R"(D:\说.txt)");
        const std::string path = R"(C:\)" + Utf8(suffix);
        EXPECT_EQ(PathOf(CTestLink(guess).Local(u"C:", suffix)), path);
        EXPECT_EQ(PathOf(CTestLink(certain).RecycleBinItem().Local(u"C:", suffix)), path);
    }
    EXPECT_EQ(PathOf(CTestLink(certain).Local(uR"(C:\é.txt)", u"").WideInfo()), R"(C:\é.txt)");
}

// The data block of a known folder, whose items end at `end` of the item list.
std::string KnownFolder(std::string_view id, unsigned end) {
    std::string block(id);
    AppendNumber(block, end, 4);
    return block;
}

TEST(ShellLinkPathTest, FolderWithoutAPlaceInTheLinkIsWhereTheMachineHasIt) {
    const std::string documents("\xD0\x9A\xD3\xFD\x8F\x23\xAF\x46\xAD\xB4\x6C\x85\x48\x03\x69\xC7",
                                16);
    const std::string fonts("\xB7\x8C\x22\xFD\x11\xAE\xE3\x4A\x86\x4C\x16\xF3\x91\x0A\xB8\xFE", 16);
    constexpr std::uint32_t kKnown = 0xA000000BU;
    constexpr std::uint32_t kSpecial = 0xA0000005U;
    const CTestLink root = CTestLink().RecycleBinItem();  // 20 bytes that spell no path
    const CTestLink file = CTestLink(root).FolderItem(u"A", u"A").FileItem(u"b", u"说.txt");
    const std::string specialFolder("\x1C\0\0\0\x14\0\0\0", 8);  // local application data
    const std::pair<CTestLink, const char*> cases[] = {
        {CTestLink(file).Block(kKnown, KnownFolder(documents, 20)), R"(X:\Documents\A\说.txt)"},
        {CTestLink(root).Block(kKnown, KnownFolder(documents, 20)), R"(X:\Documents)"},
        {CTestLink().Block(kKnown, KnownFolder(documents, 0)), R"(X:\Documents)"},
        {CTestLink(file).Block(kSpecial, specialFolder), R"(X:\Number\A\说.txt)"},
        {CTestLink(file).Block(kSpecial, specialFolder).Block(kKnown, KnownFolder(documents, 20)),
         R"(X:\Documents\A\说.txt)"},
        {CTestLink(root).Block(kKnown, KnownFolder(documents, 20)).Local(u"C:\\\xE9", u""),
         R"(C:\é)"},
        // The items of the folder end in the middle of one or beyond the list; what follows them
        // is no file; the block is cut off; nobody knows the folder; the flag forbids it.
        {CTestLink(file).Block(kKnown, KnownFolder(documents, 21)), ""},
        {CTestLink(file).Block(kKnown, KnownFolder(documents, 0x7FFFFFFF)), ""},
        {CTestLink(file).Block(kKnown, KnownFolder(documents, 0)), ""},
        {CTestLink(file).RecycleBinItem().Block(kKnown, KnownFolder(documents, 20)), ""},
        {CTestLink(file).Block(kKnown, documents), ""},
        {CTestLink(file).Block(kKnown, KnownFolder(fonts, 20)), ""},
        {CTestLink(file).Block(kKnown, KnownFolder(std::string(16, 'x'), 20)), ""},
        {CTestLink(file).Block(kKnown, KnownFolder(documents, 20)).Flags(0x200000), ""},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(PathOf(cases[i].first), cases[i].second) << i;
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

TEST(ShellLinkTest, BlockOfATextCountsWhenItsFlagIsSet) {
    const std::string text = std::string(260, '\0') + std::string("b\0", 2);
    CTestLink link = CTestLink().Local(uR"(C:\a)", u"").Icon(uR"(C:\a.ico)", 1);
    link.Block(0xA0000001U, text).Block(0xA0000007U, text);
    EXPECT_EQ(PathOf(link), R"(C:\a)");
    EXPECT_EQ(Utf8(*Parse(link.Bytes()).iconLocation), R"(C:\a.ico)");
    link.Flags(0x200 | 0x4000);
    EXPECT_EQ(PathOf(link), "b");
    EXPECT_EQ(Utf8(*Parse(link.Bytes()).iconLocation), "b");
    // The first block of a signature wins.
    const SShellLink parsed =
        Parse(CTestLink().Environment(u"%a%").Environment(u"%b%").Block(0xA0000002U, "").Bytes());
    EXPECT_EQ(Utf8(*parsed.path), "%a%");
    EXPECT_EQ(parsed.dataBlocks[kEnvironmentBlock].size(), 788U);
    EXPECT_EQ(parsed.dataBlocks[kConsoleBlock].size(), 8U);
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
        ASSERT_EQ(Parses(cut, link), length >= blocksStart);
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

}  // namespace
