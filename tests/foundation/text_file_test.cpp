#include "foundation/text_file.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/file_path.h"
#include "platform/status.h"
#include "support/temp_folder.h"

namespace {

using namespace std::string_literals;

class TextFileTest : public testing::Test {
protected:
    void Create() {
        EXPECT_EQ(m_file.Create(CFilePathW(CStrW(m_folder.Name("a.txt")))), ERROR_SUCCESS);
    }
    std::string Saved() {
        Create();
        EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
        return Read();
    }
    // What the file holds, which nobody else can read before it is closed.
    std::string Read() {
        EXPECT_NE(m_file.Create(CFilePathW()), ERROR_SUCCESS);
        return m_folder.ReadFile("a.txt");
    }

    CTempFolder m_folder;
    CTextFileW m_file;
};

TEST_F(TextFileTest, LinesAreOfTheCodePageOrUnicodeWithAMark) {
    m_file.AddLine(u"\u00E9\u20AC\u0416");
    m_file.SetLineFeedOnly(true);  // in Unicode only
    EXPECT_EQ(Saved(), "\xE9\x80?\r\n");
    m_file.SetCodePage(28591);
    EXPECT_EQ(Saved(), "\xE9??\r\n");
    m_file.SetCodePage(65001);
    EXPECT_EQ(Saved(), "\u00E9\u20AC\u0416\r\n");
    m_file.SetUnicode(true);
    EXPECT_EQ(Saved(), "\xFF\xFE\xE9\0\xAC\x20\x16\x04\n\0"s);
    m_file.SetLineFeedOnly(false);
    EXPECT_EQ(Saved(), "\xFF\xFE\xE9\0\xAC\x20\x16\x04\r\0\n\0"s);
}

TEST_F(TextFileTest, SavingAgainReplacesTheFileUnlessReadOnly) {
    m_file.AddLine(u"a");
    Create();
    EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
    m_file.AddLine(CStrW(std::u16string(100000, u'x')));
    EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
    m_file.AddLine(u"b");
    m_file.SetReadOnly(true);
    EXPECT_EQ(m_file.Save(), ERROR_SUCCESS);
    EXPECT_TRUE(Read() == "a\r\n" + std::string(100000, 'x') + "\r\n");
}

}  // namespace
