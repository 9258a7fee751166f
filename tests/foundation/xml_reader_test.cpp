#include "foundation/xml_reader.h"

#include "foundation/file_path.h"
#include "foundation/xml_escape.h"
#include "support/test.h"

using platform::EXmlNode;

namespace {

class XmlReaderTest : public testing::Test {
protected:
    void Open(std::string_view document) {
        const std::u16string name = m_folder.WriteFile("a.xml", document);
        ASSERT_EQ(m_reader.Open(CFilePathW(CStrW(std::u16string_view(name)))), S_OK);
    }

    // Each token with the path at that time.
    std::string Tokens(std::string_view document) {
        Open(document);
        std::string shown;
        EXmlToken token = XmlTokenNone;
        do {
            token = m_reader.ReadNext();
            shown += std::to_string(token) + Utf8(m_reader.GetPath()) + " ";
        } while (token != XmlTokenNone);
        EXPECT_EQ(m_reader.ReadNext(), XmlTokenNone);
        return shown;
    }

    std::u16string_view Value() {
        EXPECT_EQ(m_reader.GetValue(m_value), S_OK);
        return m_value;
    }

    CTempFolder m_folder;
    CXmlReader m_reader;
    CStrW m_value;
};

TEST_F(XmlReaderTest, GivesStartsTextsAndEndsWithTheirPaths) {
    EXPECT_EQ(Tokens("<?xml version='1.0'?><a><b/></a>"), "1 2/a 2/a/b 4/a/b 4/a 0 ");
    EXPECT_EQ(Tokens("<a><b></b></a>"), "2/a 2/a/b 4/a/b 4/a 0 ");
    EXPECT_EQ(Tokens("<p:a xmlns:p='u'/>"), "2/p:a 4/p:a 0 ");
    // Text after text is not seen, and faults end the tokens.
    EXPECT_EQ(Tokens("<a>x<!--c-->y<![CDATA[z]]>w</a>"), "2/a 3/a 4/a 0 ");
    EXPECT_EQ(Tokens("<a>x<b/>y</a>"), "2/a 3/a 2/a/b 4/a/b 3/a 4/a 0 ");
    EXPECT_EQ(Tokens("<?p q?><a> <![CDATA[z]]> </a>"), "2/a 4/a 0 ");
    EXPECT_EQ(Tokens("<a><b>x</b><c>"), "2/a 2/a/b 3/a/b 4/a/b 2/a/c 0/a/c ");
    EXPECT_EQ(Tokens("<a><b></a>"), "2/a 2/a/b 0/a/b ");
    EXPECT_EQ(Tokens("<!DOCTYPE a><a/>"), "0 ");
}

TEST_F(XmlReaderTest, ComparesThePathInTwoParts) {
    Open("<Abc><d\u00C4/></Abc>");
    EXPECT_EQ(m_reader.ReadNext(), XmlTokenElement);
    EXPECT_TRUE(m_reader.PathEquals(u"", u"/ABC"));
    EXPECT_TRUE(m_reader.PathEquals(u"/a", u"bc"));
    EXPECT_FALSE(m_reader.PathEquals(u"/x", u"bc"));
    EXPECT_FALSE(m_reader.PathEquals(u"/Abc", u"/d"));
    EXPECT_EQ(m_reader.ReadNext(), XmlTokenElement);
    EXPECT_TRUE(m_reader.PathEquals(u"/abc", u"/D\u00E4"));
    EXPECT_FALSE(m_reader.PathEquals(u"/abc", u"/d\u00E9"));
    EXPECT_EQ(m_reader.ReadNext(), XmlTokenEndElement);
    // That end was made up, and has no value.
    EXPECT_TRUE(m_reader.IsSyntheticEnd());
    EXPECT_EQ(m_reader.GetNodeType(), EXmlNode::Element);
    m_value = u"former";
    EXPECT_EQ(m_reader.GetValueChunked(m_value), E_FAIL);
    EXPECT_TRUE(m_value.IsEmpty());
    // Another file starts anew.
    EXPECT_EQ(Tokens("<c/>"), "2/c 4/c 0 ");
    EXPECT_EQ(m_reader.Open(CFilePathW(CStrW(uR"(Z:\missing\a.xml)"))),
              HresultFromError(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(m_reader.ReadNext(), XmlTokenNone);
}

}  // namespace
