#include "foundation/xml_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/file_path.h"
#include "foundation/xml_escape.h"
#include "platform/status.h"
#include "support/system.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

TEST(XmlWriterTest, LineEndsStandOnlyWhereCallersAskForThem) {
    const CTempFolder folder;
    const std::u16string name = folder.Name("a.xml");
    CXmlWriter writer;
    writer.SetTextFilter(EscapeXmlText);
    ASSERT_EQ(writer.Open(CFilePathW(CStrW(std::u16string_view(name)))), S_OK);
    writer.StartDocument();
    writer.StartElement(u"P", false);
    writer.WriteAttribute(u"V", u"1\n");
    writer.WriteNewLine();
    writer.StartElement(u"C", true);
    writer.StartElement(u"I", false);
    writer.WriteText(u"plain");
    writer.EndElement(true);
    writer.StartElement(u"E", false);
    writer.EndElement(true);
    writer.EndElement(true);
    writer.EndElement(true);
    writer.EndDocument();
    EXPECT_EQ(writer.WriteText(u"x"), E_FAIL);

    const std::string bytes = folder.ReadFile("a.xml");
    const std::u16string text(reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / 2);
    const std::string firstEnd = RunsInWine() ? "" : "\r\n";  // Wine refuses it
    EXPECT_EQ(Utf8(text),
              "\uFEFF<?xml version=\"1.0\" encoding=\"utf-16\"?>" + firstEnd +
                  "<P V=\"1~000a\">\r\n<C>\r\n<I>plain</I>\r\n<E />\r\n</C>\r\n</P>\r\n");
}

TEST(XmlWriterTest, WritesNothingWithoutAFile) {
    CXmlWriter writer;
    EXPECT_EQ(writer.Open(CFilePathW(CStrW(uR"(Z:\missing\a.xml)"))),
              HresultFromError(ERROR_PATH_NOT_FOUND));
    writer.StartDocument();
    EXPECT_EQ(writer.StartElement(u"a", true), E_FAIL);
    writer.EndDocument();
}

}  // namespace
