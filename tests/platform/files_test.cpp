#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/status.h"
#include "support/system.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;

class FilesTest : public testing::Test {
protected:
    [[nodiscard]] int Find(std::u16string_view name) {
        return platform::FindEntry(std::u16string(name).c_str(), m_found);
    }

    // The names that a search gives, without "." and ".."; how it ends shows as a last name.
    static std::vector<std::string> Search(const std::u16string& pattern) {
        std::vector<std::string> names;
        platform::CFindHandle search;
        platform::SFindData found;
        int status = search.First(pattern.c_str(), found);
        for (; status == ERROR_SUCCESS; status = search.Next(found)) {
            if (found.name != u"." && found.name != u"..") {
                names.push_back(Utf8(found.name) + (found.IsFolder() ? "/" : ""));
            }
        }
        if (status != ERROR_NO_MORE_FILES) {
            names.push_back("status " + std::to_string(status));
        }
        return names;
    }

    int Copy(std::string_view source, std::string_view destination) {
        return platform::CopyFile(m_folder.Name(source).c_str(),
                                  m_folder.Name(destination).c_str());
    }

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

    CTempFolder m_folder;
    platform::SFindData m_found;
};

TEST_F(FilesTest, TellsAMissingNameFromAMissingFolder) {
    m_folder.WriteFile("folder/file.txt");
    const struct {
        const char* name;
        int status;
    } cases[] = {
        {"folder", ERROR_SUCCESS},
        {"folder/file.txt", ERROR_SUCCESS},
        {"folder/none", ERROR_FILE_NOT_FOUND},
        {"none/file.txt", ERROR_PATH_NOT_FOUND},
        {"folder/file.txt/more", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::u16string name = m_folder.Name(c.name);
        std::u16string longName;
        platform::SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(Find(name), c.status);
        EXPECT_EQ(platform::GetLastError(), c.status);
        const int status = platform::GetLongName(name.c_str(), longName);
        // Wine has one number for both.
        EXPECT_EQ(status, RunsInWine() && c.status != 0 ? ERROR_FILE_NOT_FOUND : c.status);
        EXPECT_EQ(longName, c.status == ERROR_SUCCESS ? name : u"");
    }
}

TEST_F(FilesTest, FindsANameInAnyLetterCaseAndGivesItAsItIs) {
    m_folder.WriteFile("Folder/File.TXT");
    EXPECT_EQ(Find(m_folder.Name("FOLDER/file.txt")), ERROR_SUCCESS);
    EXPECT_EQ(m_found.name, u"File.TXT");
    EXPECT_FALSE(m_found.IsFolder());
}

TEST_F(FilesTest, GivesEntriesByUpperCasedName) {
    // In lower case "_" would come before the letters; by bytes "b" would come last.
    for (const char* name : {"s/b.txt", "s/_.txt", "s/C.txt", "s/a.txt", "s/A-folder/x"}) {
        m_folder.WriteFile(name);
    }
    EXPECT_THAT(Search(m_folder.Name("s/*")),
                ElementsAre("A-folder/", "a.txt", "b.txt", "C.txt", "_.txt"));
    EXPECT_THAT(Search(m_folder.Name("s/?.TXT")), ElementsAre("a.txt", "b.txt", "C.txt", "_.txt"));
    EXPECT_THAT(Search(m_folder.Name("s/*a*")), ElementsAre("A-folder/", "a.txt"));
    EXPECT_THAT(Search(m_folder.Name("s/none*")), ElementsAre("status 2"));
    EXPECT_THAT(Search(m_folder.Name("none/*")), ElementsAre("status 3"));
    EXPECT_THAT(Search(m_folder.Name("s/a.txt/*")), ElementsAre("status 3"));
}

TEST_F(FilesTest, SearchingAnEmptyFolderIsNoFailure) {
    m_folder.MakeFolder("empty");
    platform::CFindHandle search;
    const int status = search.First(m_folder.Name("empty/*").c_str(), m_found);
    // A caller tells a folder that is empty from one that cannot be read by this.
    EXPECT_EQ(status, ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("empty/*")), ElementsAre());
}

TEST_F(FilesTest, SeesWhatOthersDo) {
    m_folder.WriteFile("f/one");
    EXPECT_EQ(Find(m_folder.Name("f/TWO")), ERROR_FILE_NOT_FOUND);
    m_folder.WriteFile("f/two");
    EXPECT_EQ(Find(m_folder.Name("f/TWO")), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre("one", "two"));
    fs::remove(m_folder.Path("f/one"));
    EXPECT_EQ(Find(m_folder.Name("f/ONE")), ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre("two"));
    // The same way leads to another folder, and then to none.
    fs::rename(m_folder.Path("f"), m_folder.Path("g"));
    EXPECT_EQ(Find(m_folder.Name("f/two")), ERROR_PATH_NOT_FOUND);
    m_folder.WriteFile("f/three");
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre("three"));
    fs::remove_all(m_folder.Path("f"));
    EXPECT_EQ(Find(m_folder.Name("f/three")), ERROR_PATH_NOT_FOUND);
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
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 3'000'001U}) {
        SCOPED_TRACE(size);
        std::string bytes(size, 'x');
        for (std::size_t i = 0; i < size; i += 997) {
            bytes[i] = static_cast<char>(i % 251);
        }
        m_folder.WriteFile("source", bytes);
        // What stood there was longer.
        m_folder.WriteFile("copy", bytes + "rest");
        ASSERT_EQ(Copy("source", "copy"), ERROR_SUCCESS);
        EXPECT_TRUE(m_folder.ReadFile("copy") == bytes);
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
    const bool mindsReadOnly = MindsReadOnly();
    const struct {
        const char* source;
        const char* destination;
        int status;
    } cases[] = {
        {"source", "locked", ERROR_ACCESS_DENIED},     {"source", "folder", ERROR_ACCESS_DENIED},
        {"folder", "new", ERROR_ACCESS_DENIED},        {"none", "source", ERROR_FILE_NOT_FOUND},
        {"none/none", "source", ERROR_PATH_NOT_FOUND}, {"source", "none/new", ERROR_PATH_NOT_FOUND},
        {"source", "source", ERROR_SHARING_VIOLATION},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.source << " to " << c.destination);
        if (std::string_view(c.destination) == "locked" && !mindsReadOnly) {
            continue;
        }
        EXPECT_EQ(Copy(c.source, c.destination), c.status);
        EXPECT_EQ(platform::GetLastError(), c.status);
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
    for (int i = 0; i < kFiles; ++i) {
        m_folder.WriteFile("from/" + std::to_string(i), std::string(1000, 'a') + std::to_string(i));
    }
    platform::CFileCopier copier(
        [](const std::u16string& source, int /*status*/) { ADD_FAILURE() << Utf8(source); });
    const auto copy = [&](const std::string& from, const std::string& to,
                          platform::EExisting existing) {
        return copier.Copy(m_folder.Name("from/" + from).c_str(), m_folder.Name("to/" + to).c_str(),
                           existing);
    };
    for (int i = 0; i < kFiles; ++i) {
        EXPECT_EQ(copy(std::to_string(i), std::to_string(i), platform::EExisting::Keep), 0);
        EXPECT_EQ(copy(std::to_string(i), "last", platform::EExisting::Replace), 0);
    }
    EXPECT_EQ(copy("1", "kept", platform::EExisting::Keep), ERROR_FILE_EXISTS);
    EXPECT_EQ(copy("1", "LAST", platform::EExisting::Keep), ERROR_FILE_EXISTS);
    EXPECT_EQ(copy("1", "no/file", platform::EExisting::Keep), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(copy("missing", "new", platform::EExisting::Keep), ERROR_FILE_NOT_FOUND);
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
    const std::u16string from = m_folder.WriteFile("f/from", "from");
    const std::u16string taken = m_folder.WriteFile("f/taken", "taken");
    EXPECT_EQ(platform::MoveFile(from.c_str(), taken.c_str()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(platform::MoveFile(from.c_str(), m_folder.Name("none/x").c_str()),
              ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(platform::MoveFile(from.c_str(), m_folder.Name("f/FROM").c_str()), ERROR_SUCCESS);
    EXPECT_THAT(Search(m_folder.Name("f/*")), ElementsAre(RunsInWine() ? "from" : "FROM", "taken"));
    m_folder.MakeFolder("g");
    EXPECT_EQ(platform::MoveFile(from.c_str(), m_folder.Name("g/to").c_str()), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("g/to"), "from");
    EXPECT_EQ(m_folder.ReadFile("f/taken"), "taken");
    EXPECT_EQ(platform::MoveFile(from.c_str(), m_folder.Name("g/x").c_str()), ERROR_FILE_NOT_FOUND);
}

TEST_F(FilesTest, MakesAFolderWhereTheNameIsFree) {
    m_folder.WriteFile("file");
    const struct {
        const char* name;
        int status;
    } cases[] = {
        {"new", ERROR_SUCCESS},
        {"new", ERROR_ALREADY_EXISTS},
        {"NEW", ERROR_ALREADY_EXISTS},
        {"file", ERROR_ALREADY_EXISTS},
        {"none/new", ERROR_PATH_NOT_FOUND},
        {"file/new", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(platform::CreateFolder(m_folder.Name(c.name).c_str()), c.status);
    }
    EXPECT_TRUE(fs::is_directory(m_folder.Path("new")));
}

TEST_F(FilesTest, KnowsAFolderByAnyOfItsNames) {
    const auto isSame = [](const std::u16string& left, const std::u16string& right) {
        return platform::IsSameFolder(left.c_str(), right.c_str());
    };
    const std::u16string folder = m_folder.MakeFolder("a/b");
    const std::u16string file = m_folder.WriteFile("a/file");
    EXPECT_TRUE(isSame(folder, m_folder.Name("A") + uR"(\.\B\)"));
    EXPECT_FALSE(isSame(folder, m_folder.Name("a")));
    EXPECT_FALSE(isSame(file, file));
    EXPECT_FALSE(isSame(m_folder.Name("missing"), m_folder.Name("missing")));
}

TEST_F(FilesTest, WritesAFileFromItsStart) {
    const std::u16string name = m_folder.WriteFile("out", "something longer");
    platform::COutputFile file;
    ASSERT_EQ(file.Create(name.c_str()), ERROR_SUCCESS);
    EXPECT_EQ(m_folder.ReadFile("out"), "");
    EXPECT_EQ(file.Write("first", 5), ERROR_SUCCESS);
    EXPECT_EQ(file.Rewind(), ERROR_SUCCESS);
    EXPECT_EQ(file.Write("2nd", 3), ERROR_SUCCESS);
    file.Close();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(m_folder.ReadFile("out"), "2ndst");
    ASSERT_EQ(file.Create(name.c_str()), ERROR_SUCCESS);
    EXPECT_EQ(file.Write("longer", 6), ERROR_SUCCESS);
    EXPECT_EQ(file.Rewind(), ERROR_SUCCESS);
    EXPECT_EQ(file.Write("3rd", 3), ERROR_SUCCESS);
    EXPECT_EQ(file.SetEnd(), ERROR_SUCCESS);
    file.Close();
    EXPECT_EQ(m_folder.ReadFile("out"), "3rd");
}

TEST_F(FilesTest, ARefusedOutputTouchesNothing) {
    const std::u16string name = m_folder.WriteFile("out", "old");
    MakeReadOnly("out");
    m_folder.MakeFolder("folder");
    platform::COutputFile file;
    EXPECT_EQ(file.Create(m_folder.Name("folder").c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(file.Create(m_folder.Name("none/x").c_str()), ERROR_PATH_NOT_FOUND);
    if (!MindsReadOnly()) {
        GTEST_SKIP() << "root may write to a file that is read-only in Wine";
    }
    EXPECT_EQ(file.Create(name.c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(m_folder.ReadFile("out"), "old");
}

TEST_F(FilesTest, TakesLongNamesBehindTheirPrefix) {
    std::u16string name = uR"(\\?\)" + m_folder.Name();
    for (int i = 0; i < 4; ++i) {
        name += u'\\' + std::u16string(100, u'n');
        ASSERT_EQ(platform::CreateFolder(name.c_str()), ERROR_SUCCESS);
    }
    const std::u16string source = m_folder.WriteFile("source", "deep");
    EXPECT_EQ(platform::CopyFile(source.c_str(), (name + uR"(\copy)").c_str()), ERROR_SUCCESS);
    EXPECT_THAT(Search(name + uR"(\*)"), ElementsAre("copy"));
    const std::u16string tooLong = m_folder.Name() + u'\\' + std::u16string(300, u'n');
    EXPECT_NE(platform::CreateFolder(tooLong.c_str()), ERROR_SUCCESS);
}

TEST_F(FilesTest, ReadsRelativeNamesFromTheCurrentFolder) {
    m_folder.WriteFile("a/b/file");
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Path("a/b"));
    EXPECT_EQ(Find(u"file"), ERROR_SUCCESS);
    EXPECT_EQ(Find(uR"(..\b\file)"), ERROR_SUCCESS);
    EXPECT_EQ(Find(uR"(..\..\a\none\..\b\.\file)"), ERROR_SUCCESS);
    // The same names lead elsewhere from elsewhere.
    fs::current_path(m_folder.Path("a"));
    EXPECT_EQ(Find(u"file"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Find(uR"(..\b\file)"), ERROR_PATH_NOT_FOUND);
    fs::current_path(before);
}

}  // namespace
