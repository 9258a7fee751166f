#include "traversal/file_traverse.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "support/test.h"
#include "traversal/cas_file_traverse_manager.h"

namespace {

// Notes what it visits by its path below the root; a folder's ends in a backslash.
class CNotingWalk : public CFileTraverse {
public:
    explicit CNotingWalk(const CFilePathW& root) : m_root(root) {
        SetPattern(CFilePathSegmentW(u"*"));
        AddRoot(root);
    }
    ~CNotingWalk() override { Stop(true); }

    std::vector<std::string> Walk() {
        Start();
        Wait();
        return std::exchange(m_visited, {});
    }
    [[nodiscard]] std::uint32_t Count() const { return CountEntries(); }

    std::function<bool(const std::string&)> m_goOn = [](const std::string&) { return true; };
    bool m_isFinished = false;
    std::vector<std::string> m_empty;

protected:
    void OnListed(const CFilePathW& folder, std::size_t entries) override {
        if (entries == 0) {
            m_empty.push_back(Utf8(folder.GetLastSegment().GetText()));
        }
    }
    void OnFinish() override { m_isFinished = true; }
    bool VisitFolder(const CFilePathW& path, const platform::SFindData&) override {
        return Note(path, "\\");
    }
    bool VisitFile(const CFilePathW& path, const platform::SFindData&,
                   platform::CFindHandle&) override {
        return Note(path, "");
    }

private:
    bool Note(CFilePathW path, const char* end) {
        path.RemoveFirst(m_root.GetSegmentCount());
        m_visited.push_back(Utf8(path.ToString()) + end);
        return m_goOn(m_visited.back());
    }

    CFilePathW m_root;
    std::vector<std::string> m_visited;
};

class FileTraverseTest : public testing::Test {
protected:
    FileTraverseTest() {
        for (const char* file : {"b/2", "b/1", "b/C/deep", "a", "D/x", "c"}) {
            m_folder.WriteFile(file);
        }
        m_folder.MakeFolder("empty");
    }
    CTempFolder m_folder;
    CFilePathW m_root{m_folder.Name()};
};

TEST_F(FileTraverseTest, VisitsAFolderWholeBeforeItsSubfolders) {
    CNotingWalk walk(m_root);
    const std::uint32_t count = walk.Count();
    const std::vector<std::string> visited = walk.Walk();
    EXPECT_EQ(visited, (std::vector<std::string>{"a", "b\\", "c", "D\\", "empty\\", "b\\1", "b\\2",
                                                 "b\\C\\", "D\\x", "b\\C\\deep"}));
    EXPECT_EQ(count, visited.size());
    EXPECT_EQ(walk.m_empty, std::vector<std::string>{"empty"});
}

TEST_F(FileTraverseTest, TellsOfAFolderThatLosesItsContentAfterTheVisit) {
    CNotingWalk walk(m_root);
    walk.m_goOn = [this](const std::string& path) {
        return path != "D\\" || std::filesystem::remove(m_folder.Path("D/x"));
    };
    walk.Walk();
    EXPECT_EQ(walk.m_empty, (std::vector<std::string>{"D", "empty"}));
}

TEST_F(FileTraverseTest, LeavesOutExcludedFoldersInAnyCaseAndMissingRoots) {
    CNotingWalk walk(m_root);
    walk.AddRoot(CFilePathW(m_folder.Name("none")));
    walk.AddExcluded(CFilePathW(m_root, CFilePathSegmentW(u"B")));
    EXPECT_EQ(walk.Count(), 5U);
    EXPECT_EQ(walk.Walk(), (std::vector<std::string>{"a", "c", "D\\", "empty\\", "D\\x"}));
}

TEST_F(FileTraverseTest, FolderPrunesAndFileEndsTheWalk) {
    CNotingWalk walk(m_root);
    walk.m_goOn = [](const std::string& path) { return path != "b\\"; };
    EXPECT_EQ(walk.Walk().size(), 6U);
    for (const bool isThrown : {false, true}) {
        CNotingWalk stopped(m_root);
        stopped.m_goOn = [isThrown](const std::string& path) -> bool {
            if (path == "b\\1" && isThrown) {
                throw std::runtime_error(path);
            }
            return path != "b\\1";
        };
        if (isThrown) {  // which reaches whoever waits
            EXPECT_THROW(stopped.Walk(), std::runtime_error);
        } else {
            EXPECT_EQ(stopped.Walk().back(), "b\\1");
        }
        EXPECT_TRUE(stopped.m_isFinished);
        // What was not reached is walked by the next start.
        stopped.m_goOn = [](const std::string&) { return true; };
        EXPECT_EQ(stopped.Walk().back(), "D\\x");
    }
}

TEST(PayloadNameTest, KeepsTheTokensNameOrTheDrivesLetter) {
    const std::pair<const char16_t*, const char*> names[] = {
        {uR"(%ProgramFiles%\App\a.exe)", R"(ProgramFiles\App\a.exe)"},
        {uR"(C:\Data\a.txt)", R"(C\Data\a.txt)"},
        {uR"(%ProgramFiles%)", "ProgramFiles"},
        {uR"(%odd\a)", R"(odd\a)"},
        {uR"(100%\x.txt)", R"(100\x.txt)"},
        {uR"(rest\a)", R"(rest\a)"},
        {u"", ""},
        {u"%", ""},
        {uR"(%..%\a.txt)", ""},
        {uR"(%.%\a.txt)", ""},
        {uR"(..%\a.txt)", ""},
    };
    for (const auto& [collapsed, name] : names) {
        EXPECT_EQ(Utf8(MakePayloadName(collapsed).ToString()), name) << Utf8(collapsed);
    }
}

}  // namespace
