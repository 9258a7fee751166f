#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/posix/file_access.h"
#include "platform/status.h"
#include "support/machine.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class PosixFilesTest : public testing::Test {
protected:
    ~PosixFilesTest() override { platform::SetPackageFolder(nullptr); }

    [[nodiscard]] int Find(const std::u16string& name) {
        return platform::FindEntry(name.c_str(), m_found);
    }

    [[nodiscard]] static std::vector<std::u16string> Search(const std::u16string& folder) {
        std::vector<std::u16string> names;
        platform::CFindHandle search;
        platform::SFindData found;
        const std::u16string pattern = folder + uR"(\*)";
        for (int status = search.First(pattern.c_str(), found); status == ERROR_SUCCESS;
             status = search.Next(found)) {
            if (found.name != u"." && found.name != u"..") {
                names.push_back(found.name);
            }
        }
        return names;
    }

    int Copy(const std::u16string& source, const std::u16string& destination) {
        return platform::CopyFile(source.c_str(), destination.c_str());
    }

    // What OpenForReading says, and the file's text when it worked.
    static std::string Read(const std::u16string& name) {
        platform::CFileDescriptor file;
        if (const int status = platform::OpenForReading(name.c_str(), file)) {
            return "status " + std::to_string(status);
        }
        char text[100];
        const ssize_t count = read(file.Get(), text, sizeof(text));
        return {text, static_cast<std::size_t>(count)};
    }

    CTempFolder m_folder;
    platform::SFindData m_found;
};

TEST_F(PosixFilesTest, AnExactNameGoesBeforeOneInOtherLetterCase) {
    m_folder.WriteFile("f/NAME", "upper");
    m_folder.WriteFile("f/name", "lower");
    EXPECT_EQ(Read(m_folder.Name("f/name")), "lower");
    EXPECT_EQ(Read(m_folder.Name("f/NAME")), "upper");
    EXPECT_EQ(Read(m_folder.Name("F/Name")), "upper");
    EXPECT_THAT(Search(m_folder.Name("f")), ElementsAre(u"NAME", u"name"));
    m_folder.WriteFile(Utf8(u"f/\u00E4\u0151\u0131"), "folded");
    EXPECT_EQ(Read(m_folder.Name(Utf8(u"f/\u00C4\u0150\u0131"))), "folded");
    EXPECT_EQ(Read(m_folder.Name(Utf8(u"f/\u00C4\u0150I"))), "status 2");
}

TEST_F(PosixFilesTest, OutputsGoToTheNameThatIsThere) {
    m_folder.WriteFile("source", "new");
    m_folder.WriteFile("Out/File.txt", "old");
    EXPECT_EQ(Copy(m_folder.Name("source"), m_folder.Name("OUT/FILE.TXT")), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("Out/File.txt"), "new");
    // What this side makes and deletes is known by then, without another look at the folder.
    EXPECT_EQ(Copy(m_folder.Name("source"), m_folder.Name("out/Second")), ERROR_SUCCESS);
    EXPECT_EQ(Copy(m_folder.Name("source"), m_folder.Name("out/SECOND")), ERROR_SUCCESS);
    EXPECT_EQ(platform::CreateFolder(m_folder.Name("out/second").c_str()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(platform::DeleteFile(m_folder.Name("out/SeconD").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(platform::CreateFolder(m_folder.Name("out/second").c_str()), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("Out")), ElementsAre(u"File.txt", u"second"));
}

TEST_F(PosixFilesTest, EveryNameOnDiskIsSeenAndFoundAgain) {
    const struct {
        const char* bytes;
        std::u16string text;
    } cases[] = {
        {"a:b", u"a\uF03Ab"},
        {"\\*?\"<>|", u"\uF05C\uF02A\uF03F\uF022\uF03C\uF03E\uF07C"},
        {"\x01\n\x1F\x7F", u"\uF001\uF00A\uF01F\x7F"},
        {"..\\..\\x", u"..\uF05C..\uF05Cx"},
        {"\xC3\xA9\xF0\x9F\x98\x80", u"\u00E9\U0001F600"},
        {"\xFF\xC3(", u"\xDCFF\xDCC3("},
        {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},            // a surrogate is no UTF-8
        {"\xC0\xAE\xC0\xAE", u"\xDCC0\xDCAE\xDCC0\xDCAE"},  // nor is ".." the long way
        {"...", u"..."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        const CTempFolder folder;
        std::ofstream(folder.Path() / c.bytes) << c.bytes;
        ASSERT_THAT(Search(folder.Name()), ElementsAre(c.text));
        EXPECT_EQ(Read(folder.Name() + u'\\' + c.text), c.bytes);
    }
}

TEST_F(PosixFilesTest, NamesThatLookAlikeStayApart) {
    for (const char* name : {"a:b",
                             "a\xEF\x80\xBA"
                             "b"}) {
        std::ofstream(m_folder.Path() / name) << name;
    }
    const std::vector<std::u16string> names = Search(m_folder.Name());
    ASSERT_EQ(names.size(), 2U);
    EXPECT_THAT((std::vector{Read(m_folder.Name() + u'\\' + names[0]),
                             Read(m_folder.Name() + u'\\' + names[1])}),
                UnorderedElementsAre("a:b",
                                     "a\xEF\x80\xBA"
                                     "b"));
}

TEST_F(PosixFilesTest, ANewNameKeepsItsCharacters) {
    const std::u16string source = m_folder.WriteFile("source", "x");
    EXPECT_EQ(Copy(source, m_folder.Name() + u"\\a\uF03Ab\xD800"), ERROR_SUCCESS);
    EXPECT_TRUE(
        m_folder.Exists("a\xEF\x80\xBA"
                        "b\xED\xA0\x80"));
    for (const std::u16string name :
         {u"a:b", u"a*", u"a?", u"a/b", u"/", u"a\"", u"a|", u"a\x1F"}) {
        SCOPED_TRACE(Utf8(name));
        EXPECT_EQ(platform::CreateFolder((m_folder.Name() + u'\\' + name).c_str()),
                  ERROR_INVALID_NAME);
        EXPECT_NE(Copy(source, m_folder.Name() + u'\\' + name), ERROR_SUCCESS);
    }
    EXPECT_EQ(platform::CreateFolder((m_folder.Name() + u'\\' + std::u16string(256, u'n')).c_str()),
              ERROR_FILENAME_EXCED_RANGE);
}

TEST_F(PosixFilesTest, AFileBesideMayBeAStream) {
    m_folder.WriteFile("f/File");
    m_folder.WriteFile("f/File:Mark");
    m_folder.WriteFile("f/alone:Mark");
    m_folder.MakeFolder("f/sub");
    m_folder.WriteFile("f/sub:mark");
    const std::u16string f = m_folder.Name("f");
    EXPECT_THAT(Search(f), ElementsAre(u"alone\uF03AMark", u"File", u"sub"));
    EXPECT_EQ(Find(f + uR"(\FILE:MARK)"), ERROR_SUCCESS);
    EXPECT_FALSE(m_found.IsFolder());
    EXPECT_EQ(Find(f + uR"(\File:Mark:$DATA)"), ERROR_SUCCESS);
    EXPECT_EQ(Find(f + uR"(\sub:MARK)"), ERROR_SUCCESS);
    EXPECT_TRUE(m_found.IsFolder());
    EXPECT_EQ(Find(f + uR"(\File:Other)"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Find(f + uR"(\alone:Mark)"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Find(f + uR"(\File:)"), ERROR_INVALID_NAME);
    EXPECT_EQ(Find(f + uR"(\sub:mark\x)"), ERROR_INVALID_NAME);
    EXPECT_EQ(platform::DeleteFile((f + uR"(\File:Mark)").c_str()), ERROR_INVALID_NAME);
}

TEST_F(PosixFilesTest, AnExtendedAttributeMayBeAStream) {
    const std::u16string file = m_folder.WriteFile("file");
    const std::u16string folder = m_folder.MakeFolder("folder");
    if (setxattr(m_folder.Path("file").c_str(), "user.Plain", "", 0, 0) != 0) {
        GTEST_SKIP() << "the file system of " << m_folder.Path() << " keeps no such attributes";
    }
    const std::string many(200, 'n');
    for (int i = 0; i < 10; ++i) {  // more than a first guess at their size holds
        const std::string name = "user." + many + std::to_string(i);
        setxattr(m_folder.Path("file").c_str(), name.c_str(), "", 0, 0);
    }
    setxattr(m_folder.Path("file").c_str(), "user.DosStream.Dos:$DATA", "", 0, 0);
    setxattr(m_folder.Path("folder").c_str(), "user.Plain", "", 0, 0);
    EXPECT_EQ(Find(file + u":PLAIN"), ERROR_SUCCESS);
    EXPECT_EQ(Find(file + u":dos"), ERROR_SUCCESS);
    EXPECT_EQ(Find(file + u":lain"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Find(file + u":user.Plain"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Find(folder + u":Plain"), ERROR_SUCCESS);
    EXPECT_TRUE(m_found.IsFolder());
    // The look at the attributes leaves the file ready for its copy.
    std::ofstream(m_folder.Path("file")) << "text";
    EXPECT_EQ(Copy(file, m_folder.Name("copy")), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("copy"), "text");
}

TEST_F(PosixFilesTest, AStreamAloneIsOneOfTheCurrentFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Path());
    EXPECT_EQ(Find(u":Mark"), ERROR_FILE_NOT_FOUND);
    m_folder.WriteFile(":Mark");
    EXPECT_EQ(Find(u":Mark"), ERROR_SUCCESS);
    EXPECT_FALSE(m_found.IsFolder());
    fs::current_path(before);
}

// A package that reaches out of itself by links to "secret", and files outside it.
class PackageLinksTest : public PosixFilesTest {
protected:
    PackageLinksTest() {
        m_folder.WriteFile("secret/file", "secret");
        m_folder.WriteFile("real/package/Device/file", "own");
        fs::create_symlink("real", m_folder.Path("way"));
        fs::create_symlink("../../../secret/file", m_folder.Path(kDevice + "link"));
        fs::create_symlink("../../../secret", m_folder.Path(kDevice + "folder"));
        fs::create_symlink("..", m_folder.Path(kDevice + "loop"));
        platform::SetPackageFolder(m_folder.Name("way/package").c_str());
    }

    const std::string kDevice = "real/package/Device/";
};

TEST_F(PackageLinksTest, NoLinkOfAPackageIsFollowed) {
    for (const std::string way : {"way/package/Device", "real/package/Device",
                                  "REAL/Package/device", "real/none/../package/Device"}) {
        SCOPED_TRACE(way);
        const std::u16string device = m_folder.Name(way);
        EXPECT_THAT(Search(device), ElementsAre(u"file", u"folder", u"link", u"loop"));
        EXPECT_EQ(Read(device + uR"(\file)"), "own");
        for (const char16_t* link : {uR"(\link)", uR"(\folder)", uR"(\loop)", uR"(\LINK)"}) {
            SCOPED_TRACE(Utf8(link));
            ASSERT_EQ(Find(device + link), ERROR_SUCCESS);
            EXPECT_EQ(m_found.attributes, platform::kAttributeNormal);
            EXPECT_EQ(Copy(device + link, m_folder.Name("copy")), ERROR_CANT_ACCESS_FILE);
            EXPECT_EQ(Read(device + link), "status 1920");
            EXPECT_EQ(Copy(m_folder.Name("secret/file"), device + link), ERROR_CANT_ACCESS_FILE);
        }
        EXPECT_EQ(Find(device + uR"(\folder\file)"), ERROR_PATH_NOT_FOUND);
        EXPECT_EQ(platform::CreateFolder((device + uR"(\folder\new)").c_str()),
                  ERROR_PATH_NOT_FOUND);
        EXPECT_FALSE(m_folder.Exists("copy"));
    }
    EXPECT_EQ(m_folder.ReadFile("secret/file"), "secret");
}

TEST_F(PackageLinksTest, OtherWaysIntoAPackageFollowNoneEither) {
    fs::create_symlink("real/package/Device", m_folder.Path("shortcut"));
    const CTestMachine machine = CTestMachine().Drive(u'P', m_folder.Path(kDevice).native());
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Path(kDevice));
    for (const std::u16string& device :
         {m_folder.Name("shortcut"), std::u16string(u"P:"), std::u16string(u".")}) {
        SCOPED_TRACE(Utf8(device));
        EXPECT_EQ(Read(device + uR"(\link)"), "status 1920");
        EXPECT_EQ(Read(device + uR"(\folder\file)"), "status 3");
    }
    fs::current_path(before);
}

TEST_F(PackageLinksTest, ElsewhereLinksWorkAsUsual) {
    fs::create_symlink("secret", m_folder.Path("out"));
    fs::create_symlink("secret/file", m_folder.Path("file"));
    fs::create_symlink("nowhere", m_folder.Path("broken"));
    EXPECT_EQ(Copy(m_folder.Name(kDevice + "file"), m_folder.Name("out/copy")), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("secret/copy"), "own");
    ASSERT_EQ(Find(m_folder.Name("out")), ERROR_SUCCESS);
    EXPECT_TRUE(m_found.IsFolder());
    EXPECT_EQ(Read(m_folder.Name("file")), "secret");
    EXPECT_EQ(Read(m_folder.Name("broken")), "status 2");
    // To delete a link is not to delete what it leads to.
    EXPECT_EQ(platform::DeleteFile(m_folder.Name("file").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(platform::DeleteFile(m_folder.Name("broken").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(platform::DeleteFile(m_folder.Name("out").c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(m_folder.ReadFile("secret/file"), "secret");
    // And once no package is read, its links lead somewhere again.
    platform::SetPackageFolder(nullptr);
    EXPECT_EQ(Read(m_folder.Name(kDevice + "folder/file")), "secret");
}

TEST_F(PosixFilesTest, ASpecialFileIsNeitherOpenedNorDeleted) {
    const std::u16string pipe = m_folder.Name("pipe");
    ASSERT_EQ(mkfifo(m_folder.Path("pipe").c_str(), 0666), 0);
    const std::u16string source = m_folder.WriteFile("source", "x");
    ASSERT_EQ(Find(pipe), ERROR_SUCCESS);
    EXPECT_FALSE(m_found.IsFolder());
    EXPECT_EQ(Find(pipe + u":Mark"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Copy(pipe, m_folder.Name("copy")), ERROR_CANT_ACCESS_FILE);
    EXPECT_EQ(Find(pipe + uR"(\below)"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Copy(source, pipe), ERROR_ACCESS_DENIED);
    EXPECT_EQ(platform::DeleteFile(pipe.c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(platform::COutputFile().Create(u"Z:\\dev\\null"), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(m_folder.Exists("pipe"));
    EXPECT_FALSE(m_folder.Exists("copy"));
}

TEST_F(PosixFilesTest, DrivesAndSharesLieWhereTheMachineSays) {
    m_folder.WriteFile("c/file", "on c");
    m_folder.WriteFile("share/file", "on share");
    const CTestMachine machine = CTestMachine()
                                     .Drive(u'C', m_folder.Path("c").native())
                                     .Share(uR"(\\server\Data)", m_folder.Path("share").native());
    for (const char16_t* name :
         {uR"(C:\file)", uR"(c:file)", uR"(C:\..\.\file)", uR"(\\?\C:\FILE)"}) {
        EXPECT_EQ(Read(name), "on c") << Utf8(name);
    }
    for (const char16_t* name : {uR"(\\server\data\file)", uR"(\\?\UNC\SERVER\data\file)"}) {
        EXPECT_EQ(Read(name), "on share") << Utf8(name);
    }
    for (const char16_t* name : {uR"(D:\file)", uR"(\\other\data\file)", uR"(\\server\x)",
                                 uR"(\\server)", uR"(\\?\x)", u"D:", u""}) {
        SCOPED_TRACE(Utf8(name));
        std::u16string longName;
        EXPECT_EQ(Find(name), ERROR_PATH_NOT_FOUND);
        EXPECT_EQ(platform::GetLongName(name, longName), ERROR_PATH_NOT_FOUND);
        EXPECT_EQ(platform::CreateFolder(name), ERROR_PATH_NOT_FOUND);
    }
    for (const char16_t* root : {uR"(C:\)", u"C:", uR"(\\server\data)", uR"(\)", u"."}) {
        EXPECT_EQ(Find(root), ERROR_SUCCESS) << Utf8(root);
        EXPECT_TRUE(m_found.IsFolder());
    }
    EXPECT_EQ(Read(m_folder.Name("c/file").substr(2)), "on c");
}

TEST_F(PosixFilesTest, ATreeMayBeDeeperThanThePathsOfTheSystem) {
    const std::u16string source = m_folder.WriteFile("source", "deep");
    std::u16string name = uR"(\\?\)" + m_folder.Name();
    for (int i = 0; i < 50; ++i) {
        name += u'\\' + std::u16string(100, u'n');
        ASSERT_EQ(platform::CreateFolder(name.c_str()), ERROR_SUCCESS);
    }
    ASSERT_EQ(Copy(source, name + uR"(\copy)"), ERROR_SUCCESS);
    EXPECT_EQ(Read(name + uR"(\COPY)"), "deep");
    EXPECT_THAT(Search(name), ElementsAre(u"copy"));
}

TEST_F(PosixFilesTest, FoldersInUseAreBoundedAndSeenAsTheyAre) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const int next = dup(STDERR_FILENO);
    close(next);
    const rlimit tight = {static_cast<rlim_t>(next) + 80, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &tight);
    const std::u16string source = m_folder.WriteFile("source", "x");
    for (int i = 0; i < 200; ++i) {
        const std::u16string folder = m_folder.Name(std::to_string(i));
        ASSERT_EQ(platform::CreateFolder(folder.c_str()), ERROR_SUCCESS);
        ASSERT_EQ(Copy(source, folder + uR"(\copy)"), ERROR_SUCCESS);
    }
    for (int i = 0; i < 200; ++i) {
        const std::string folder = std::to_string(i);
        EXPECT_THAT(Search(m_folder.Name(folder)), ElementsAre(u"copy"));
        m_folder.WriteFile(folder + "/other");
    }
    for (int i = 0; i < 200; ++i) {
        const std::u16string folder = m_folder.Name(std::to_string(i));
        EXPECT_THAT(Search(folder), ElementsAre(u"copy", u"other"));
        EXPECT_EQ(Find(folder + uR"(\OTHER)"), ERROR_SUCCESS);
    }
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(PosixFilesTest, AFailedCopyLeavesNothing) {
    const std::u16string source = m_folder.WriteFile("source", std::string(300'000, 'x'));
    m_folder.WriteFile("old", "old");
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tight = {100'000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &tight);
    EXPECT_EQ(Copy(source, m_folder.Name("new")), ERROR_FILE_TOO_LARGE);
    EXPECT_EQ(Copy(source, m_folder.Name("old")), ERROR_FILE_TOO_LARGE);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_THAT(Search(m_folder.Name()), ElementsAre(u"source"));
}

// The memory of a process is a regular file that opens and cannot be read from its start.
TEST_F(PosixFilesTest, ACopierTellsLateFailuresInOrderAndLeavesNothing) {
    const std::u16string broken = uR"(Z:\proc\self\mem)";
    m_folder.MakeFolder("to");
    const std::u16string good = m_folder.WriteFile("good", "text");
    std::vector<std::string> told;
    {
        platform::CFileCopier copier([&told](const std::u16string& source, int status) {
            told.push_back(Utf8(source.substr(source.rfind(u'\\') + 1)) + ' ' +
                           std::to_string(status));
        });
        for (int i = 0; i < 200; ++i) {
            const std::u16string name = m_folder.Name("to/" + std::to_string(i));
            const bool fails = i % 90 == 0;
            ASSERT_EQ(copier.Copy((fails ? broken : good).c_str(), name.c_str(),
                                  platform::EExisting::Keep),
                      0);
        }
        // Someone else takes the place of a file that is still to be made.
        const std::u16string taken = m_folder.Name("to/taken");
        ASSERT_EQ(copier.Copy(good.c_str(), taken.c_str(), platform::EExisting::Keep), 0);
        m_folder.WriteFile("to/taken", "of another");
        copier.Finish();
    }
    EXPECT_THAT(told, ElementsAre("mem 1117", "mem 1117", "mem 1117"));
    EXPECT_FALSE(m_folder.Exists("to/90"));
    EXPECT_EQ(m_folder.ReadFile("to/91"), "text");
    EXPECT_EQ(m_folder.ReadFile("to/taken"), "text");
}

TEST_F(PosixFilesTest, HolesStayHoles) {
    constexpr off_t kSize = 8'000'000;
    const std::u16string source = m_folder.WriteFile("source", "start");
    std::ofstream(m_folder.Path("source"), std::ios::in).seekp(kSize / 2) << "middle";
    ASSERT_EQ(truncate(m_folder.Path("source").c_str(), kSize), 0);
    ASSERT_EQ(Copy(source, m_folder.Name("copy")), ERROR_SUCCESS);
    struct stat info {};
    ASSERT_EQ(stat(m_folder.Path("copy").c_str(), &info), 0);
    EXPECT_EQ(info.st_size, kSize);
    EXPECT_LT(info.st_blocks, kSize / 512 / 2);
    EXPECT_TRUE(m_folder.ReadFile("copy") == m_folder.ReadFile("source"));
}

TEST_F(PosixFilesTest, PermissionsOfOthersAreRespected) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may do everything";
    }
    m_folder.WriteFile("closed/file", "x");
    fs::permissions(m_folder.Path("closed"), fs::perms::owner_exec);
    // A folder that may only be passed through still gives what is named exactly.
    EXPECT_EQ(Read(m_folder.Name("closed/file")), "x");
    EXPECT_EQ(Read(m_folder.Name("closed/FILE")), "status 2");
    platform::CFindHandle search;
    EXPECT_EQ(search.First(m_folder.Name("closed/*").c_str(), m_found), ERROR_ACCESS_DENIED);
    fs::permissions(m_folder.Path("closed"), fs::perms::none);
    EXPECT_EQ(Read(m_folder.Name("closed/file")), "status 5");
}

}  // namespace
