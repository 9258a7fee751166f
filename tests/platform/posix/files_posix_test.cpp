#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "platform/described/file_bytes.h"
#include "platform/files_fixture.h"
#include "platform/posix/files/file_access.h"
#include "platform/shell_link.h"
#include "platform/xml.h"
#include "support/machine.h"
#include "support/posix/system_calls.h"

namespace fs = std::filesystem;

namespace {

using testing::Contains;
using testing::ElementsAre;

// Holds a limit of the process down while it lives.
class CTightLimit {
public:
    using Resource = decltype(RLIMIT_NOFILE);

    CTightLimit(Resource resource, rlim_t limit) : m_resource(resource) {
        getrlimit(resource, &m_former);
        const rlimit tight = {limit, m_former.rlim_max};
        setrlimit(resource, &tight);
    }
    ~CTightLimit() { setrlimit(m_resource, &m_former); }
    CTightLimit(const CTightLimit&) = delete;
    CTightLimit& operator=(const CTightLimit&) = delete;

private:
    Resource m_resource;
    rlimit m_former{};
};

class PosixFilesTest : public FilesFixture {
protected:
    ~PosixFilesTest() override { platform::SetPackageFolder(nullptr); }

    // What OpenForReading says, and the file's text when it worked.
    static std::string Read(const std::u16string& name) {
        platform::CFileDescriptor file;
        if (const int status = platform::OpenForReading(name.c_str(), file)) {
            return "status " + std::to_string(status);
        }
        char text[100];
        return {text, static_cast<std::size_t>(read(file.Get(), text, sizeof(text)))};
    }
};

TEST_F(PosixFilesTest, AnExactNameGoesBeforeOneInOtherLetterCase) {
    m_folder.WriteFile("f/NAME", "upper");
    m_folder.WriteFile("f/name", "lower");
    EXPECT_EQ(Read(m_folder.Name("f/name")), "lower");
    EXPECT_EQ(Read(m_folder.Name("f/NAME")), "upper");
    EXPECT_EQ(Read(m_folder.Name("F/Name")), "upper");
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre(u"NAME", u"name"));
    m_folder.WriteFile(Utf8(u"f/\u00E4\u0151\u0131"), "folded");
    EXPECT_EQ(Read(m_folder.Name(Utf8(u"f/\u00C4\u0150\u0131"))), "folded");
    EXPECT_EQ(Read(m_folder.Name(Utf8(u"f/\u00C4\u0150I"))), "status 2");
}

TEST_F(PosixFilesTest, OutputsGoToTheNameThatIsThere) {
    m_folder.WriteFile("source", "new");
    m_folder.WriteFile("Out/File.txt", "old");
    EXPECT_EQ(Copy("source", "OUT/FILE.TXT"), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("Out/File.txt"), "new");
    // What this side makes and deletes is known by then, without another look at the folder.
    EXPECT_EQ(Copy("source", "out/Second"), ERROR_SUCCESS);
    EXPECT_EQ(Copy("source", "out/SECOND"), ERROR_SUCCESS);
    EXPECT_EQ(platform::CreateFolder(m_folder.Name("out/second").c_str()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(platform::DeleteFile(m_folder.Name("out/SeconD").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(platform::CreateFolder(m_folder.Name("out/second").c_str()), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("Out/*")), ElementsAre(u"File.txt", u"second/"));
}

TEST_F(PosixFilesTest, EveryNameOnDiskIsSeenAndFoundAgain) {
    const std::pair<std::string, std::u16string> cases[] = {
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
    for (const auto& [bytes, text] : cases) {
        SCOPED_TRACE(bytes);
        std::ofstream(m_folder.Path() / bytes) << bytes;
        EXPECT_THAT(Search(m_folder.Name("*")), Contains(text));
        EXPECT_EQ(Read(m_folder.Name() + u'\\' + text), bytes);
    }
    // Names that look alike stay apart.
    const std::string alike = Utf8(u"a\uF03Ab");
    std::ofstream(m_folder.Path() / alike) << alike;
    std::set<std::string> texts;
    for (const std::u16string& name : Search(m_folder.Name("*"))) {
        texts.insert(Read(m_folder.Name() + u'\\' + name));
    }
    EXPECT_EQ(texts.size(), std::size(cases) + 1);
    EXPECT_TRUE(texts.contains(alike) && texts.contains("a:b"));
}

TEST_F(PosixFilesTest, ANewNameKeepsItsCharacters) {
    const std::u16string source = m_folder.WriteFile("source", "x");
    const std::u16string folder = m_folder.Name() + u'\\';
    EXPECT_EQ(Copy(source, folder + u"a\uF03Ab\xD800"), ERROR_SUCCESS);
    EXPECT_TRUE(m_folder.Exists(Utf8(u"a\uF03Ab") + "\xED\xA0\x80"));
    for (const std::u16string name :
         {u"a:b", u"a*", u"a?", u"a/b", u"/", u"a\"", u"a|", u"a\x1F"}) {
        SCOPED_TRACE(Utf8(name));
        EXPECT_EQ(platform::CreateFolder((folder + name).c_str()), ERROR_INVALID_NAME);
        EXPECT_NE(Copy(source, folder + name), ERROR_SUCCESS);
    }
    EXPECT_EQ(platform::CreateFolder((folder + std::u16string(256, u'n')).c_str()),
              ERROR_FILENAME_EXCED_RANGE);
}

TEST_F(PosixFilesTest, AFileBesideMayBeAStream) {
    for (const char* file : {"f/File", "f/File:Mark", "f/alone:Mark", "f/sub/x", "f/sub:mark"}) {
        m_folder.WriteFile(file);
    }
    const std::u16string f = m_folder.Name("f") + u'\\';
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre(u"alone\uF03AMark", u"File", u"sub/"));
    const std::pair<const char16_t*, int> cases[] = {
        {u"FILE:MARK", ERROR_SUCCESS},         {u"File:Mark:$DATA", ERROR_SUCCESS},
        {u"File:Other", ERROR_FILE_NOT_FOUND}, {u"alone:Mark", ERROR_FILE_NOT_FOUND},
        {u"File:", ERROR_INVALID_NAME},        {uR"(sub:mark\x)", ERROR_INVALID_NAME},
    };
    for (const auto& [name, status] : cases) {
        EXPECT_EQ(Find(f + name), status) << Utf8(name);
    }
    EXPECT_FALSE(m_found.IsFolder());
    // A search asks for streams of files only.
    for (const char16_t* pattern : {u"*", u"FILE"}) {
        EXPECT_THAT(SearchStreams(f + pattern, u"MARK"), ElementsAre(u"File")) << Utf8(pattern);
    }
    EXPECT_THAT(SearchStreams(f + u"*", u"Other"), ElementsAre());
    EXPECT_EQ(Find(f + u"sub:MARK"), ERROR_SUCCESS);
    EXPECT_TRUE(m_found.IsFolder());
    EXPECT_EQ(platform::DeleteFile((f + u"File:Mark").c_str()), ERROR_INVALID_NAME);
    // A stream alone is one of the current folder.
    const CCurrentFolder current(m_folder.Path());
    EXPECT_EQ(Find(u":Mark"), ERROR_FILE_NOT_FOUND);
    m_folder.WriteFile(":Mark");
    EXPECT_EQ(Find(u":Mark"), ERROR_SUCCESS);
}

TEST_F(PosixFilesTest, AnExtendedAttributeMayBeAStream) {
    const std::u16string file = m_folder.WriteFile("file");
    const std::u16string folder = m_folder.MakeFolder("folder");
    const auto set = [this](const char* path, const std::string& attribute) {
        return setxattr(m_folder.Path(path).c_str(), ("user." + attribute).c_str(), "", 0, 0);
    };
    if (set("file", "Plain") != 0) {
        GTEST_SKIP() << "the file system of " << m_folder.Path() << " keeps no such attributes";
    }
    for (int i = 0; i < 10; ++i) {  // more than a first guess at their size holds
        set("file", std::string(200, 'n') + std::to_string(i));
    }
    set("file", "DosStream.Dos:$DATA");
    set("folder", "Plain");
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

TEST_F(PackageLinksTest, NoLinkOfAPackageIsFollowedWhicheverWayLeadsToIt) {
    fs::create_symlink(kDevice, m_folder.Path("shortcut"));
    const CTestMachine machine = CTestMachine().Drive(u'P', m_folder.Path(kDevice).native());
    const CCurrentFolder current(m_folder.Path(kDevice));
    const std::u16string secret = m_folder.Name("secret/file");
    for (const std::u16string& device :
         {m_folder.Name("way/package/Device"), m_folder.Name("REAL/Package/device"),
          m_folder.Name("real/none/../package/Device"), m_folder.Name("shortcut"),
          std::u16string(u"P:"), std::u16string(u".")}) {
        SCOPED_TRACE(Utf8(device));
        EXPECT_THAT(Search(device + uR"(\*)"), ElementsAre(u"file", u"folder", u"link", u"loop"));
        EXPECT_EQ(Read(device + uR"(\file)"), "own");
        for (const char16_t* link : {uR"(\link)", uR"(\folder)", uR"(\loop)", uR"(\LINK)"}) {
            SCOPED_TRACE(Utf8(link));
            ASSERT_EQ(Find(device + link), ERROR_SUCCESS);
            EXPECT_EQ(m_found.attributes, platform::kAttributeNormal);
            EXPECT_EQ(Copy(device + link, m_folder.Name("copy")), ERROR_CANT_ACCESS_FILE);
            EXPECT_EQ(Read(device + link), "status 1920");
            EXPECT_EQ(Copy(secret, device + link), ERROR_CANT_ACCESS_FILE);
        }
        EXPECT_EQ(Read(device + uR"(\folder\file)"), "status 3");
        EXPECT_EQ(platform::CreateFolder((device + uR"(\folder\new)").c_str()),
                  ERROR_PATH_NOT_FOUND);
        EXPECT_FALSE(m_folder.Exists("copy"));
    }
    EXPECT_EQ(m_folder.ReadFile("secret/file"), "secret");
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
    for (const char16_t* name : {uR"(C:\file)", uR"(c:file)", uR"(C:\..\.\file)", uR"(\\?\C:\FILE)",
                                 uR"(\\server\data\file)", uR"(\\?\UNC\SERVER\data\file)"}) {
        const bool isShared = Utf8(name).find("data") != std::string::npos;
        EXPECT_EQ(Read(name), isShared ? "on share" : "on c") << Utf8(name);
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

TEST_F(PosixFilesTest, FoldersInUseAreBoundedAndSeenAsTheyAre) {
    const int next = dup(STDERR_FILENO);
    close(next);
    const CTightLimit limit(RLIMIT_NOFILE, static_cast<rlim_t>(next) + 80);
    const std::u16string source = m_folder.WriteFile("source", "x");
    const auto folder = [this](int number) { return m_folder.Name(std::to_string(number)); };
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(platform::CreateFolder(folder(i).c_str()), ERROR_SUCCESS);
        ASSERT_EQ(Copy(source, folder(i) + uR"(\copy)"), ERROR_SUCCESS);
    }
    for (int i = 0; i < 200; ++i) {
        EXPECT_THAT(Search(folder(i) + uR"(\*)"), ElementsAre(u"copy"));
        m_folder.WriteFile(std::to_string(i) + "/other");
    }
    for (int i = 0; i < 200; ++i) {
        EXPECT_THAT(Search(folder(i) + uR"(\*)"), ElementsAre(u"copy", u"other"));
        EXPECT_EQ(Find(folder(i) + uR"(\OTHER)"), ERROR_SUCCESS);
    }
}

// Makes chains of folders "d", deeper than a recursion has descriptors for.
class DeepFoldersTest : public PosixFilesTest {
protected:
    std::u16string Make(const std::string& top, int depth) {
        std::u16string folder = m_folder.MakeFolder(top);
        for (int i = 0; i < depth; ++i) {
            folder += uR"(\d)";
            EXPECT_EQ(platform::CreateFolder(folder.c_str()), ERROR_SUCCESS);
        }
        return folder;
    }
};

TEST_F(DeepFoldersTest, AFolderIsReachedFromTheNearestOneThatIsOpen) {
    // Longer than what a system call takes at once, where with tops of both lengths a slash is.
    constexpr int kDepth = 2200;
    for (const char* top : {"a", "ab"}) {
        const long before = CountCalls(ESystemCall::OpenAt);
        const std::u16string folder = Make(top, kDepth);
        EXPECT_LT(CountCalls(ESystemCall::OpenAt) - before, 3 * kDepth);
        EXPECT_THAT(Search(folder + uR"(\*)"), ElementsAre());
        RemoveTree(m_folder.Path(top));
        EXPECT_FALSE(m_folder.Exists(top));
    }
}

TEST_F(DeepFoldersTest, ManyNamesArePassedAtOnceButNoLinkAndNoOtherName) {
    const std::u16string folder = Make("package", 1500);
    // Another letter case far down costs a look at some names, not at all.
    std::u16string other = folder;
    other[other.size() - 1001] = u'D';
    // The package is sealed from wherever the way into it begins.
    const std::string link = "package/d/d/d/d/d/d/d/d/d/d/d/d/link";
    m_folder.WriteFile("outside/a/b/c/d/e/f/g/h/i/j/file");
    const fs::path place = m_folder.Path(link);
    fs::create_directory_symlink(fs::relative(m_folder.Path("outside"), place.parent_path()),
                                 place);
    const std::pair<std::u16string, int> cases[] = {
        {folder, ERROR_SUCCESS},
        {folder + uR"(\none)", ERROR_FILE_NOT_FOUND},
        {folder + uR"(\none\none)", ERROR_PATH_NOT_FOUND},
        {other, ERROR_SUCCESS},
        {m_folder.Name(link + "/a"), ERROR_PATH_NOT_FOUND},
        {m_folder.Name(link + "/a/b/c/d/e/f/g/h/i/j/file"), ERROR_PATH_NOT_FOUND},
    };
    for (const auto& [name, status] : cases) {
        // Which forgets all folders.
        platform::SetPackageFolder(m_folder.Name("package").c_str());
        const long before = CountCalls(ESystemCall::OpenAt);
        EXPECT_EQ(Find(name), status);
        EXPECT_LT(CountCalls(ESystemCall::OpenAt) - before, 100);
    }
}

// The memory of a process is a regular file that opens and cannot be read from its start.
TEST_F(PosixFilesTest, ACopierTellsLateFailuresInOrderAndLeavesNothing) {
    m_folder.MakeFolder("to");
    const std::u16string good = m_folder.WriteFile("good", "text");
    const std::u16string bad[] = {uR"(Z:\proc\self\mem)", uR"(Z:\proc\thread-self\mem)",
                                  uR"(Z:\proc\self\.\mem)"};
    std::vector<std::u16string> told;
    platform::CFileCopier copier([&told](const std::u16string& source, int status) {
        told.push_back(source);
        EXPECT_EQ(status, ERROR_IO_DEVICE);
    });
    const auto copy = [&](const std::u16string& source, const std::string& name) {
        ASSERT_EQ(copier.Copy(source.c_str(), m_folder.Name("to/" + name).c_str(),
                              platform::EExisting::Keep),
                  0);
    };
    for (std::size_t i = 0; i < 200; ++i) {
        copy(i % 90 == 0 ? bad[i / 90] : good, std::to_string(i));
    }
    // Someone else takes the place of a file that is still to be made.
    copy(good, "taken");
    m_folder.WriteFile("to/taken", "of another");
    copier.Finish();
    EXPECT_THAT(told, testing::ElementsAreArray(bad));
    EXPECT_FALSE(m_folder.Exists("to/90"));
    EXPECT_EQ(m_folder.ReadFile("to/91"), "text");
    EXPECT_EQ(m_folder.ReadFile("to/taken"), "text");
}

TEST_F(PosixFilesTest, ACopyThatLosesItsTimeAndAStreamThatCannotBeAskedForAreTold) {
    const std::u16string mark = m_folder.WriteFile("file", "text") + u":Mark";
    {
        const CFailingCall failing(ESystemCall::FUTimeNs, EPERM);
        EXPECT_EQ(Copy("file", "copy"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(m_folder.ReadFile("copy"), "text");
    }
    const std::pair<int, int> cases[] = {
        {ENOTSUP, ERROR_FILE_NOT_FOUND},
        {EIO, ERROR_READ_FAULT},
        {E2BIG, ERROR_READ_FAULT},
        {EPERM, ERROR_READ_FAULT},
    };
    for (const auto& [error, status] : cases) {
        const CFailingCall failing(ESystemCall::FListXAttr, error);
        EXPECT_EQ(Find(mark), status) << error;
        const bool isUnknown = status == ERROR_READ_FAULT;
        EXPECT_EQ(SearchStreams(m_folder.Name("*"), u"Mark").size(), isUnknown ? 1 : 0) << error;
    }
    const CTightLimit limit(RLIMIT_NOFILE, 3);
    EXPECT_EQ(Find(mark), ERROR_READ_FAULT);
}

// A file that was asked for a stream is read without looking for it again.
TEST_F(PosixFilesTest, AFileLeftOpenIsNotThatOfAnotherMachine) {
    m_folder.WriteFile("one/a.txt", "one");
    m_folder.WriteFile("two/a.txt", "two");
    CTestMachine machine = CTestMachine().Drive(u'C', m_folder.Path("one").native());
    EXPECT_EQ(Find(uR"(C:\a.txt:MARK)"), ERROR_FILE_NOT_FOUND);
    machine.Drive(u'C', m_folder.Path("two").native());
    EXPECT_EQ(Read(uR"(C:\a.txt)"), "two");
}

// Signals that never end, as some file systems of a program that is gone have them.
TEST_F(PosixFilesTest, WhatIsInterruptedForEverIsNotTriedForEver) {
    const std::u16string file = m_folder.WriteFile("file", "<a/>");
    constexpr int kFailure = HresultFromError(ERROR_IO_DEVICE);
    for (const ESystemCall call : {ESystemCall::Read, ESystemCall::PRead, ESystemCall::Write}) {
        SCOPED_TRACE(static_cast<int>(call));
        const bool isRead = call == ESystemCall::Read;
        const bool isPRead = call == ESystemCall::PRead;
        platform::CXmlInput xml;
        ASSERT_EQ(xml.Open(file.c_str()), S_OK);
        const CFailingCall failing(call, EINTR);
        EXPECT_EQ(Copy(file, m_folder.Name("copy")), isPRead ? ERROR_SUCCESS : ERROR_IO_DEVICE);
        platform::EXmlNode node{};
        EXPECT_EQ(xml.Read(node), isRead ? kFailure : S_OK);
        platform::SShellLink link;
        EXPECT_EQ(platform::ReadShellLink(file.c_str(), link), isPRead ? kFailure : E_FAIL);
        platform::SFileBytes bytes;
        EXPECT_EQ(platform::ReadFileBytes(file.c_str(), 10, bytes),
                  isPRead ? ERROR_IO_DEVICE : ERROR_SUCCESS);
    }
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
