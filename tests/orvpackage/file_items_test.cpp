#include <set>
#include <sstream>
#include <vector>

#include "orvpackage/file_collections.h"
#include "orvpackage/package_fixture.h"

namespace {

using namespace std::string_view_literals;

class FileItemsTest : public PackageTest {
protected:
    // The written elements of files, which are added in that order.
    std::set<std::string> LinesOf(const std::vector<SOrvFile>& files) {
        COrvPackage package;
        package.SetManifestPath(Manifest());
        for (const SOrvFile& file : files) {
            EXPECT_NE(package.Get<COrvCreateFilesCollection>().AddFile(file, FilePathRelative),
                      nullptr);
        }
        EXPECT_EQ(package.Save(), S_OK);
        std::istringstream manifest(ReadManifestFile(m_folder.ReadFile("out/app.orv")));
        std::set<std::string> lines;
        for (std::string line; std::getline(manifest, line);) {
            if (line.starts_with("<File ")) {
                lines.insert(line);
            }
        }
        return lines;
    }
};

// A file alone shares nothing, and its texts are made portable as a whole.
TEST_F(FileItemsTest, FilesOfAFolderAreWrittenAsEachAlone) {
    m_machine.Folder(u"CSIDL_FONTS", uR"(C:\App\Data)").Environment(u"SystemRoot", uR"(E:\)");
    const std::u16string_view names[] = {
        u"a.exe",  u"Data", u"data.txt", u"50%",  u"%x%",        u"%SID%",  u"%SystemDrive%",
        u"a|b",    u"~",    u"a\0b"sv,   u"\x1f", u"<&>\"",      u"\xd800", u"S-1-5-21-7",
        u"S-1-5-", u"b:c",  u"\xc4.TXT", u"",     u"HKEY_USERS", u".."};
    for (const std::u16string_view folder :
         {uR"(C:\)"sv, uR"(E:\)"sv, uR"(C:\Program Files\)"sv, uR"(c:\program files\x y\)"sv,
          uR"(C:\Program)"sv, uR"(C:\App\)"sv, uR"(C:\App\Data\)"sv, uR"(C:\50%\)"sv,
          uR"(C:\a|b\)"sv, uR"(C:\S-1-5-21-7\)"sv, uR"(C:\~<\)"sv, uR"(C:\a\\b\)"sv, uR"(D:\C:\)"sv,
          uR"(\\server\share\)"sv, uR"(\\?\C:\App\)"sv, uR"(dir\)"sv, u""sv}) {
        SCOPED_TRACE(Utf8(folder));
        std::vector<SOrvFile> files;
        std::set<std::string> alone;
        for (const std::u16string_view name : names) {
            const std::u16string last(name);
            files.push_back({CStrW(std::u16string(folder) + last), CStrW(u"S-1-5-21-7\\" + last)});
            alone.merge(LinesOf({files.back()}));
        }
        EXPECT_GE(alone.size(), std::size(names) - 2);  // "" and "C:" are not written
        EXPECT_EQ(LinesOf(files), alone);
    }
}

TEST_F(FileItemsTest, NamesThatDifferAreKept) {
    const std::vector<SOrvFile> files = {{uR"(C:\d\a)", uR"(d\a)"},
                                         {uR"(C:\d\b)", uR"(d\c)"},
                                         {uR"(C:\d\c)", u"c"},
                                         {uR"(C:\d\d)", u"xd"},
                                         {uR"(C:\d\e)", uR"(d\e)"}};
    EXPECT_EQ(LinesOf(files), (std::set<std::string>{
                                  R"(<File Target="%SystemDrive%\d\a" RelativeSource="d\a" />)",
                                  R"(<File Target="%SystemDrive%\d\b" RelativeSource="d\c" />)",
                                  R"(<File Target="%SystemDrive%\d\c" RelativeSource="c" />)",
                                  R"(<File Target="%SystemDrive%\d\d" RelativeSource="xd" />)",
                                  R"(<File Target="%SystemDrive%\d\e" RelativeSource="d\e" />)"}));
}

TEST_F(FileItemsTest, AClearedCollectionTakesFilesOfTheSameFolder) {
    auto& files = m_package.Get<COrvCreateFilesCollection>();
    for (int round = 0; round < 2; ++round) {
        files.Clear();
        for (const std::u16string name : {u"a", u"b", u"c"}) {
            const COrvCreateFile* const added =
                files.AddFile({uR"(C:\Program Files\)", uR"(p\)"}, name);
            ASSERT_NE(added, nullptr);
            EXPECT_EQ(Utf8(added->GetName()), R"(C:\Program Files\)" + Utf8(name));
            EXPECT_EQ(Utf8(added->GetRelativeSource()), R"(p\)" + Utf8(name));
        }
        EXPECT_EQ(files.AddFile(CFilePathW(uR"(c:\PROGRAM FILES\B)"), CFilePathW(u"q")), nullptr);
        m_folder.WriteFile("out/p/A", "payload");
        EXPECT_EQ(files.AddFile({uR"(C:\program files\)", uR"(p\)"}, u"A"), nullptr);
        EXPECT_FALSE(m_folder.Exists("out/p/A"));
    }
    const std::string saved = SavedItems();
    EXPECT_EQ(SavedItemsAgain(), saved);
}

}  // namespace
