// How arguments of a POSIX system become paths of the library, and the way back.

#include <filesystem>
#include <fstream>

#include "platform/local_paths.h"
#include "support/machine.h"
#include "support/test.h"

namespace {

namespace fs = std::filesystem;

class PathArgumentTest : public testing::Test {
protected:
    CTestMachine m_machine;
    CTempFolder m_folder;
    CCurrentFolder m_current{m_folder.Path()};
};

TEST_F(PathArgumentTest, PathsAreSpelledAsWindowsWould) {
    const std::u16string here = m_folder.Name();
    const std::tuple<std::string, std::u16string> kCases[] = {
        {"/a/b", uR"(Z:\a\b)"},
        {"/", uR"(Z:\)"},
        {"//a/./b//", uR"(Z:\a\b)"},
        {"/no/such/../b/../..", uR"(Z:\)"},
        {"a", here + uR"(\a)"},
        {"./a/../b", here + uR"(\b)"},
        {"C:a", here + u"\\C\uF03Aa"},
        {"/a:b|c\\d?\n", u"Z:\\a\uF03Ab\uF07Cc\uF05Cd\uF03F\uF00A"},
        {"/\xC3\xA9\xFF\xE2\x82",
         std::u16string(u"Z:\\\u00E9") + char16_t{0xDCFF} + char16_t{0xDCE2} + char16_t{0xDC82}},
        {R"(c:\a\..\b/c)", uR"(c:\a\..\b/c)"},
        {R"(\\server\share\a)", uR"(\\server\share\a)"},
        {R"(\\?\Z:\a)", uR"(\\?\Z:\a)"},
    };
    for (const auto& [argument, path] : kCases) {
        SCOPED_TRACE(argument);
        EXPECT_EQ(Utf8(platform::LibraryPath(argument).value_or(u"nothing")), Utf8(path));
        EXPECT_EQ(platform::LibraryPath(argument), path);
    }
}

TEST_F(PathArgumentTest, LinksAndDrivesAreAskedWhereTheyLead) {
    m_folder.MakeFolder("real/inner");
    fs::create_symlink("real/inner", m_folder.Path("link"));
    EXPECT_EQ(platform::LibraryPath("link/../x"), m_folder.Name("real/x"));
    EXPECT_EQ(platform::LibraryPath("link/x"), m_folder.Name("link/x"));
    // The root is reached without its drive.
    m_machine.Drive(u'Z', m_folder.Path().native());
    EXPECT_EQ(platform::LibraryPath("/a/b"), uR"(\a\b)");
}

TEST_F(PathArgumentTest, FilesOfTheLibraryAreFoundOnDisk) {
    const fs::path found = m_folder.Path("Dir:1/File\xFF.txt");
    fs::create_directory(found.parent_path());
    std::ofstream(found) << "text";
    EXPECT_EQ(platform::LocalPath(platform::LibraryPath("Dir:1/File\xFF.txt").value()), found);
    EXPECT_EQ(platform::LocalPath(m_folder.Name() + u"\\dir\uF03A1\\FILE\xDCFF.TXT"), found);
    EXPECT_EQ(platform::LocalPath(platform::LibraryPath("dir:1/new/a").value()),
              m_folder.Path("dir\xEF\x80\xBA"
                            "1/new/a"));
    EXPECT_EQ(platform::LocalPath(std::u16string(uR"(Q:\a)")), fs::path());
    EXPECT_EQ(platform::LocalPath(std::string(R"(Z:\a)")), "/a");
    EXPECT_EQ(platform::PathText(found.filename()), u"File\xDCFF.txt");
}

}  // namespace
