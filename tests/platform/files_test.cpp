#include <chrono>
#include <filesystem>
#include <fstream>

#include "platform/files_fixture.h"
#include "support/system.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;

class FilesTest : public FilesFixture {
protected:
    void MakeReadOnly(std::string_view name) {
        EXPECT_EQ(
            platform::SetAttributes(m_folder.Name(name).c_str(), platform::kAttributeReadOnly),
            ERROR_SUCCESS);
    }

    // Wine leaves that to the permissions of the system below, which do not bind root.
    bool MindsReadOnly() {
        const fs::path file = m_folder.Path("tried");
        m_folder.WriteFile("tried");
        MakeReadOnly("tried");
        return !RunsInWine() || !std::ofstream(file);
    }
};

TEST_F(FilesTest, TellsAMissingNameFromAMissingFolder) {
    m_folder.WriteFile("folder/file.txt");
    const std::pair<const char*, int> cases[] = {
        {"folder", ERROR_SUCCESS},
        {"folder/file.txt", ERROR_SUCCESS},
        {"folder/none", ERROR_FILE_NOT_FOUND},
        {"none/file.txt", ERROR_PATH_NOT_FOUND},
        {"folder/file.txt/more", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& [path, expected] : cases) {
        SCOPED_TRACE(path);
        const std::u16string name = m_folder.Name(path);
        std::u16string longName;
        platform::SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(Find(name), expected);
        EXPECT_EQ(platform::GetLastError(), expected);
        // Wine has one number for both.
        EXPECT_EQ(platform::GetLongName(name.c_str(), longName),
                  RunsInWine() && expected != 0 ? ERROR_FILE_NOT_FOUND : expected);
        EXPECT_EQ(longName, expected == ERROR_SUCCESS ? name : u"");
    }
}

TEST_F(FilesTest, GivesEntriesByUpperCasedNameAsTheyAre) {
    // In lower case "_" would come before the letters; by bytes "b" would come last.
    for (const char* name : {"s/b.txt", "s/_.txt", "s/C.txt", "s/a.txt", "s/A-folder/x"}) {
        m_folder.WriteFile(name);
    }
    EXPECT_EQ(Find(m_folder.Name("S/c.TXT")), ERROR_SUCCESS);
    EXPECT_EQ(m_found.name, u"C.txt");
    EXPECT_FALSE(m_found.IsFolder());
    const std::pair<const char*, std::vector<std::u16string>> searches[] = {
        {"s/*", {u"A-folder/", u"a.txt", u"b.txt", u"C.txt", u"_.txt"}},
        {"s/?.TXT", {u"a.txt", u"b.txt", u"C.txt", u"_.txt"}},
        {"s/*a*", {u"A-folder/", u"a.txt"}},
        {"s/none*", {u"status 2"}},
        {"none/*", {u"status 3"}},
        {"s/a.txt/*", {u"status 3"}},
    };
    for (const auto& [pattern, names] : searches) {
        EXPECT_EQ(Search(m_folder.Name(pattern)), names) << pattern;
        // Passing the files gives the same number of them, and the same folders.
        const auto isFolder = [](const std::u16string& name) { return name.back() == u'/'; };
        const bool isFound = names[0].find(u"status") != 0;
        const auto folders = std::count_if(names.begin(), names.end(), isFolder);
        const auto files = isFound ? static_cast<std::ptrdiff_t>(names.size()) - folders : 0;
        EXPECT_EQ(Count(m_folder.Name(pattern)), (std::pair{folders, files})) << pattern;
    }
    // A caller tells a folder that is empty from one that cannot be read by the first status.
    m_folder.MakeFolder("empty");
    platform::CFindHandle search;
    EXPECT_EQ(search.First(m_folder.Name("empty/*").c_str(), m_found), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("empty/*")), ElementsAre());
}

TEST_F(FilesTest, SeesWhatOthersDo) {
    m_folder.WriteFile("f/one");
    EXPECT_EQ(Find(m_folder.Name("f/TWO")), ERROR_FILE_NOT_FOUND);
    m_folder.WriteFile("f/two");
    EXPECT_EQ(Find(m_folder.Name("f/TWO")), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre(u"one", u"two"));
    fs::remove(m_folder.Path("f/one"));
    EXPECT_EQ(Find(m_folder.Name("f/ONE")), ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre(u"two"));
    // The same way leads to another folder, and then to none.
    fs::rename(m_folder.Path("f"), m_folder.Path("g"));
    EXPECT_EQ(Find(m_folder.Name("f/two")), ERROR_PATH_NOT_FOUND);
    m_folder.WriteFile("f/three");
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre(u"three"));
    fs::remove_all(m_folder.Path("f"));
    EXPECT_EQ(Find(m_folder.Name("f/three")), ERROR_PATH_NOT_FOUND);
}

TEST_F(FilesTest, KeepsManyNamesInOrderInWhateverOrderTheyCome) {
    m_folder.MakeFolder("f");
    const auto name = [](int number) { return "f/" + std::to_string(10000 + number); };
    constexpr int kCount = 1600;
    constexpr int kFirstKept = 600;
    for (int i = 0; i < kCount; ++i) {
        platform::COutputFile file;
        EXPECT_EQ(file.Create(m_folder.Name(name(i * 617 % kCount)).c_str()), ERROR_SUCCESS);
    }
    for (int i = 0; i < kFirstKept; ++i) {
        EXPECT_EQ(platform::DeleteFile(m_folder.Name(name(i)).c_str()), ERROR_SUCCESS);
    }
    std::vector<std::u16string> expected;
    for (int i = kFirstKept; i < kCount; ++i) {
        expected.push_back(Utf16(name(i).substr(2)));
    }
    EXPECT_EQ(Search(m_folder.Name("f/*")), expected);
    // A file by someone else has all names read again.
    m_folder.WriteFile("f/last");
    expected.push_back(u"last");
    EXPECT_EQ(Search(m_folder.Name("f/*")), expected);
}

TEST_F(FilesTest, DeletesFilesButNeitherFoldersNorReadOnlyFiles) {
    const std::u16string file = m_folder.WriteFile("f/file");
    MakeReadOnly("f/file");
    EXPECT_EQ(Find(file), ERROR_SUCCESS);
    EXPECT_TRUE(m_found.IsReadOnly());
    EXPECT_EQ(platform::DeleteFile(file.c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(platform::DeleteFile(m_folder.Name("f").c_str()), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(m_folder.Exists("f/file"));
    EXPECT_EQ(platform::SetAttributes(file.c_str(), platform::kAttributeNormal), ERROR_SUCCESS);
    EXPECT_EQ(platform::DeleteFile(file.c_str()), ERROR_SUCCESS);
    EXPECT_FALSE(m_folder.Exists("f/file"));
    EXPECT_EQ(platform::DeleteFile(file.c_str()), ERROR_FILE_NOT_FOUND);
}

TEST_F(FilesTest, CopiesEveryByteWhateverTheSize) {
    std::string bytes;
    for (int i = 0; i < 3'000'001; ++i) {
        bytes += static_cast<char>(i % 251);
    }
    for (const std::size_t size : {3'000'001U, 65537U, 65536U, 65535U, 1U, 0U}) {
        bytes.resize(size);
        m_folder.WriteFile("source", bytes);
        // What stood there was longer.
        m_folder.WriteFile("copy", bytes + "rest");
        ASSERT_EQ(Copy("source", "copy"), ERROR_SUCCESS);
        EXPECT_TRUE(m_folder.ReadFile("copy") == bytes) << size;
    }
}

TEST_F(FilesTest, ACopyKeepsTimeAndReadOnlyAttribute) {
    m_folder.WriteFile("source", "new");
    const auto time = fs::file_time_type::clock::now() - std::chrono::hours(1000);
    fs::last_write_time(m_folder.Path("source"), time);
    MakeReadOnly("source");
    m_folder.WriteFile("replaced", "older and longer");
    for (const char* copy : {"copy", "replaced"}) {
        SCOPED_TRACE(copy);
        ASSERT_EQ(Copy("source", copy), ERROR_SUCCESS);
        EXPECT_EQ(m_folder.ReadFile(copy), "new");
        EXPECT_EQ(fs::last_write_time(m_folder.Path(copy)),
                  fs::last_write_time(m_folder.Path("source")));
        ASSERT_EQ(Find(m_folder.Name(copy)), ERROR_SUCCESS);
        // Wine gives no attributes to a file that was there.
        EXPECT_TRUE(m_found.IsReadOnly() || (RunsInWine() && copy[0] == 'r'));
    }
}

TEST_F(FilesTest, ARefusedCopyTouchesNothing) {
    m_folder.WriteFile("source", "source");
    m_folder.WriteFile("locked", "locked");
    m_folder.MakeFolder("folder");
    MakeReadOnly("locked");
    const std::tuple<const char*, const char*, int> cases[] = {
        // Where a file may be written that is read-only, a folder is refused all the same.
        {MindsReadOnly() ? "source" : "folder", "locked", ERROR_ACCESS_DENIED},
        {"source", "folder", ERROR_ACCESS_DENIED},
        {"folder", "new", ERROR_ACCESS_DENIED},
        {"none", "source", ERROR_FILE_NOT_FOUND},
        {"none/none", "source", ERROR_PATH_NOT_FOUND},
        {"source", "none/new", ERROR_PATH_NOT_FOUND},
        {"source", "source", ERROR_SHARING_VIOLATION},
    };
    for (const auto& [source, destination, status] : cases) {
        SCOPED_TRACE(testing::Message() << source << " to " << destination);
        EXPECT_EQ(Copy(source, destination), status);
        EXPECT_EQ(platform::GetLastError(), status);
        EXPECT_EQ(m_folder.ReadFile("source"), "source");
        EXPECT_EQ(m_folder.ReadFile("locked"), "locked");
        EXPECT_FALSE(m_folder.Exists("new"));
    }
}

// More than fit into one batch of a copier that works by the batch.
TEST_F(FilesTest, ACopierCopiesManyFilesAndTheLastOfAPlaceStays) {
    constexpr int kFiles = 300;
    m_folder.MakeFolder("to");
    m_folder.WriteFile("to/kept", "old");
    platform::CFileCopier copier(
        [](const std::u16string& source, int /*status*/) { ADD_FAILURE() << Utf8(source); });
    const auto copy = [&](const std::string& from, const std::string& to, bool isKept = true) {
        return copier.Copy(m_folder.Name("from/" + from).c_str(), m_folder.Name("to/" + to).c_str(),
                           isKept ? platform::EExisting::Keep : platform::EExisting::Replace);
    };
    for (int i = 0; i < kFiles; ++i) {
        m_folder.WriteFile("from/" + std::to_string(i), std::string(1000, 'a') + std::to_string(i));
        EXPECT_EQ(copy(std::to_string(i), std::to_string(i)), 0);
        EXPECT_EQ(copy(std::to_string(i), "last", false), 0);
    }
    EXPECT_EQ(copy("1", "kept"), ERROR_FILE_EXISTS);
    EXPECT_EQ(copy("1", "LAST"), ERROR_FILE_EXISTS);
    EXPECT_EQ(copy("1", "no/file"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(copy("missing", "new"), ERROR_FILE_NOT_FOUND);
    copier.Finish();
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = std::to_string(i);
        ASSERT_EQ(m_folder.ReadFile("to/" + name), m_folder.ReadFile("from/" + name));
    }
    EXPECT_EQ(m_folder.ReadFile("to/last"), m_folder.ReadFile("from/299"));
    EXPECT_EQ(m_folder.ReadFile("to/kept"), "old");
    EXPECT_FALSE(m_folder.Exists("to/new"));
}

TEST_F(FilesTest, MovesAFileWithoutReplacingAny) {
    m_folder.WriteFile("f/from", "from");
    m_folder.WriteFile("f/taken", "taken");
    m_folder.MakeFolder("g");
    const auto move = [this](const char* from, const char* to) {
        return platform::MoveFile(m_folder.Name(from).c_str(), m_folder.Name(to).c_str());
    };
    EXPECT_EQ(move("f/from", "f/taken"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(move("f/from", "none/x"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(move("f/from", "f/FROM"), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("f/*")),
                ElementsAre(RunsInWine() ? u"from" : u"FROM", u"taken"));
    EXPECT_EQ(move("f/from", "g/to"), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("g/to"), "from");
    EXPECT_EQ(m_folder.ReadFile("f/taken"), "taken");
    EXPECT_EQ(move("f/from", "g/x"), ERROR_FILE_NOT_FOUND);
}

TEST_F(FilesTest, MakesAFolderWhereTheNameIsFreeAndKnowsItByAnyName) {
    m_folder.WriteFile("file");
    const std::pair<const char*, int> cases[] = {
        {"new", ERROR_SUCCESS},           {"new", ERROR_ALREADY_EXISTS},
        {"NEW", ERROR_ALREADY_EXISTS},    {"file", ERROR_ALREADY_EXISTS},
        {"none/x", ERROR_PATH_NOT_FOUND}, {"file/x", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& [name, status] : cases) {
        EXPECT_EQ(platform::CreateFolder(m_folder.Name(name).c_str()), status) << name;
    }
    EXPECT_TRUE(fs::is_directory(m_folder.Path("new")));
    // It is known by any of its names.
    const auto isSame = [](const std::u16string& left, const std::u16string& right) {
        return platform::IsSameFolder(left.c_str(), right.c_str());
    };
    const std::u16string other = m_folder.WriteFile("a/b/file");
    EXPECT_TRUE(isSame(m_folder.Name("a/b"), m_folder.Name("A") + uR"(\.\B\)"));
    EXPECT_FALSE(isSame(m_folder.Name("a/b"), m_folder.Name("a")));
    EXPECT_FALSE(isSame(other, other));
    EXPECT_FALSE(isSame(m_folder.Name("missing"), m_folder.Name("missing")));
}

TEST_F(FilesTest, WritesAFileFromItsStart) {
    const std::u16string name = m_folder.WriteFile("out", "something longer");
    platform::COutputFile file;
    for (const bool isCut : {false, true}) {
        ASSERT_EQ(file.Create(name.c_str()), ERROR_SUCCESS);
        EXPECT_EQ(m_folder.ReadFile("out"), "");
        EXPECT_EQ(file.Write("first", 5), ERROR_SUCCESS);
        EXPECT_EQ(file.Rewind(), ERROR_SUCCESS);
        EXPECT_EQ(file.Write("2nd", 3), ERROR_SUCCESS);
        EXPECT_EQ(isCut ? file.SetEnd() : ERROR_SUCCESS, ERROR_SUCCESS);
        file.Close();
        EXPECT_FALSE(file.IsOpen());
        EXPECT_EQ(m_folder.ReadFile("out"), isCut ? "2nd" : "2ndst");
    }
    EXPECT_EQ(file.Create(m_folder.MakeFolder("folder").c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(file.Create(m_folder.Name("none/x").c_str()), ERROR_PATH_NOT_FOUND);
    MakeReadOnly("out");
    if (!MindsReadOnly()) {
        GTEST_SKIP() << "root may write to a file that is read-only in Wine";
    }
    EXPECT_EQ(file.Create(name.c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(m_folder.ReadFile("out"), "2nd");
}

TEST_F(FilesTest, TakesLongNamesBehindTheirPrefix) {
    std::u16string name = uR"(\\?\)" + m_folder.Name();
    // Deeper than the paths of Linux, which Wine has to keep to.
    const int depth = RunsOnWindows() ? 4 : 50;
    for (int i = 0; i < depth; ++i) {
        name += u'\\' + std::u16string(100, u'n');
        ASSERT_EQ(platform::CreateFolder(name.c_str()), ERROR_SUCCESS);
    }
    const std::u16string source = m_folder.WriteFile("source", "deep");
    EXPECT_EQ(platform::CopyFile(source.c_str(), (name + uR"(\copy)").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(Find(name + uR"(\COPY)"), ERROR_SUCCESS);
    EXPECT_THAT(Search(name + uR"(\*)"), ElementsAre(u"copy"));
    const std::u16string tooLong = m_folder.Name() + u'\\' + std::u16string(300, u'n');
    EXPECT_NE(platform::CreateFolder(tooLong.c_str()), ERROR_SUCCESS);
}

// Paths are read by blocks of units, so the odd name comes at each distance from their start.
TEST_F(FilesTest, ResolvesDotsWhereverTheyAre) {
    for (std::size_t length = 1; length < 20; ++length) {
        const std::string name(length, 'n');
        m_folder.WriteFile(name + "/.d/file");
        const std::u16string start = m_folder.Name(name) + u'\\';
        for (const char16_t* rest :
             {uR"(.d\file)", uR"(.\.d\file)", uR"(no\..\.d\file)", uR"(.d\.\file)"}) {
            EXPECT_EQ(Find(start + rest), ERROR_SUCCESS) << length << Utf8(rest);
        }
        for (const char16_t* rest : {uR"(..\.d\file)", uR"(.d\..\file)"}) {
            EXPECT_NE(Find(start + rest), ERROR_SUCCESS) << length << Utf8(rest);
        }
        // Windows itself takes a slash for a backslash.
        EXPECT_EQ(Find(start + u".d/file") == ERROR_SUCCESS, RunsOnWindows()) << length;
    }
}

TEST_F(FilesTest, ReadsRelativeNamesFromTheCurrentFolder) {
    m_folder.WriteFile("a/b/file");
    const CCurrentFolder current(m_folder.Path("a/b"));
    EXPECT_EQ(Find(u"file"), ERROR_SUCCESS);
    EXPECT_EQ(Find(uR"(..\b\file)"), ERROR_SUCCESS);
    EXPECT_EQ(Find(uR"(..\..\a\none\..\b\.\file)"), ERROR_SUCCESS);
    // The same names lead elsewhere from elsewhere.
    fs::current_path(m_folder.Path("a"));
    EXPECT_EQ(Find(u"file"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Find(uR"(..\b\file)"), ERROR_PATH_NOT_FOUND);
}

}  // namespace
