// How manifests are read item by item, be they laid out as a conversion writes them or otherwise.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/manifest_items.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Describe(const host::SItemPart& part) {
    std::string text = Utf8(part.element);
    for (const auto& [name, value] : part.attributes) {
        text += ' ' + Utf8(name) + '=' + Utf8(value);
    }
    return part.text.empty() ? text : text + " '" + Utf8(part.text) + "'";
}

std::string Describe(const host::SItem& item) {
    std::string text = Utf8(item.collection) + ": " + Describe(static_cast<host::SItemPart>(item));
    for (const host::SItemPart& part : item.parts) {
        text += " {" + Describe(part) + '}';
    }
    return text;
}

class ManifestItemsTest : public testing::Test {
protected:
    // Reads bytes as a manifest; at most `most` items.
    std::string Read(const std::string& bytes, std::size_t most = 1000) {
        m_folder.WriteFile("app.orv", bytes);
        m_items.clear();
        m_lines.clear();
        return host::ReadItems(m_folder.Path("app.orv"), [&](const host::SItem& item) {
            m_items.push_back(Describe(item));
            m_lines.push_back(item.line);
            return m_items.size() < most;
        });
    }
    // The same with these lines in the root element, the first of them in line 3.
    std::string ReadLines(const std::vector<std::string>& lines, std::size_t most = 1000) {
        std::string text = "<?xml version=\"1.0\" encoding=\"utf-16\"?>\r\n";
        text += "<Package Version=\"1\">\r\n";
        for (const std::string& line : lines) {
            text += line + "\r\n";
        }
        return Read(Utf16Bytes(text + "</Package>\r\n"), most);
    }

    CTempFolder m_folder;
    std::vector<std::string> m_items;
    std::vector<std::uint32_t> m_lines;
};

const std::vector<std::string> kItems = {
    "Properties: Name 'a<b'",
    "CreateFiles: File Target=%Temp%\\\"~\xC3\xA9& RelativeSource=T",
    "CreateValues: Value Target=K Type=REG_SZ '   '",
    "CreateValues: Value Target=K Value=A Type=REG_SZ",
    "CreateShortcuts: Shortcut Target=s {Data Signature=0x1 '0A'} {Data Signature=0x2}",
};

TEST_F(ManifestItemsTest, LayoutOfTheFileMakesNoDifference) {
    EXPECT_EQ(ReadLines({"<Properties>", "<Name>a&lt;b</Name>", "</Properties>", "<CreateFiles>",
                         R"(<File Target="%Temp%\&quot;~~~00e9&amp;" RelativeSource="T" />)",
                         "</CreateFiles>", "<CreateKeys>", "</CreateKeys>", "<DeleteKeys />",
                         "<CreateValues>", R"(<Value Target="K" Type="REG_SZ">   </Value>)",
                         R"(<Value Target="K" Value="A" Type="REG_SZ"></Value>)", "</CreateValues>",
                         "<CreateShortcuts>",
                         R"(<Shortcut Target="s"><Data Signature="0x1">0A</Data>)"
                         R"(<Data Signature="0x2" /></Shortcut>)",
                         "</CreateShortcuts>"}),
              "");
    EXPECT_EQ(m_items, kItems);
    EXPECT_THAT(m_lines, ElementsAre(4, 7, 13, 14, 17));

    EXPECT_EQ(
        Read("<Package  Version='1'>\n <Properties><Name><![CDATA[a<]]>b</Name></Properties>\n"
             "  <!-- none --><CreateFiles>\n<File\nTarget='%Temp%\\&#34;&#x7E;~\xC3\xA9&#38;'"
             " RelativeSource=\"&#84;\"></File>\n</CreateFiles><CreateKeys/>\n<CreateValues>"
             "<Value Target=\"K\" Type=\"REG_SZ\">   </Value>\n"
             "<Value Target=\"K\" Value=\"&#65;\" Type=\"REG_SZ\"/></CreateValues>\n"
             "<CreateShortcuts><Shortcut Target=\"s\">\n  <Data Signature=\"0x1\">0A</Data>\n"
             "  <Data Signature=\"0x2\"/>\n </Shortcut></CreateShortcuts></Package>"),
        "");
    EXPECT_EQ(m_items, kItems);
}

TEST_F(ManifestItemsTest, EscapesGiveEveryUnitBack) {
    std::vector<std::u16string> targets;
    std::vector<bool> faults;
    m_folder.WriteFile("a.orv", Utf16Bytes("<?xml version=\"1.0\" encoding=\"utf-16\"?>\r\n"
                                           "<Package Version=\"1\">\r\n<DeleteFiles>\r\n"
                                           "<File Target=\"~d83d~~~d83d~de00~0009~ffff\" />\r\n"
                                           "<File  Target=\"~d83d~~~d83d~de00~0009~ffff\"/>\r\n"
                                           "<File Target=\"~D83D~00~0000|%\" />\r\n"
                                           "</DeleteFiles>\r\n</Package>\r\n"));
    EXPECT_EQ(host::ReadItems(m_folder.Path("a.orv"),
                              [&](const host::SItem& item) {
                                  targets.emplace_back(host::GetAttribute(item, u"Target"));
                                  faults.push_back(item.hasBadEscape);
                                  return true;
                              }),
              "");
    ASSERT_EQ(targets.size(), 3U);
    const char16_t kUnits[] = {0xD83D, u'~', 0xD83D, 0xDE00, 9, 0xFFFF};
    EXPECT_EQ(targets[0], std::u16string(std::begin(kUnits), std::end(kUnits)));
    EXPECT_EQ(targets[1], targets[0]);
    // A tilde that begins no escape stays, and a NUL adds nothing.
    EXPECT_EQ(targets[2], std::u16string(1, 0xD83D) + u"~00|%");
    EXPECT_THAT(faults, ElementsAre(false, false, true));
}

TEST_F(ManifestItemsTest, FaultIsToldAfterWhatIsAheadOfIt) {
    if (RunsInWine()) {
        GTEST_SKIP() << "Wine's XML reader passes over some faults, and counts lines otherwise";
    }
    const std::string first = "<File Target=\"1\" />";
    const std::string second = "<File Target=\"2\" />";
    const std::pair<std::string, const char*> kCases[] = {
        {"<File Target=\"x\" Target=\"y\" />", "line 6: the file is not well-formed"},
        {"<File Target=\"x\"></Folder>", "line 6: the file is not well-formed"},
        {"<File Target=\"&other;\" />", "line 6: the file is not well-formed"},
        {"<File xmlns=\"http://www.w3.org/2000/xmlns/\" />", "line 6: the file is not well-formed"},
        {"<File><A><B /></A></File>", "line 6: the element 'B' is not allowed here"},
    };
    for (const auto& [fault, words] : kCases) {
        SCOPED_TRACE(fault);
        EXPECT_THAT(ReadLines({"<DeleteFiles>", first, second, fault, "</DeleteFiles>"}),
                    HasSubstr(words));
        ASSERT_GE(m_items.size(), 2U);
        EXPECT_EQ(m_items[0] + m_items[1], "DeleteFiles: File Target=1DeleteFiles: File Target=2");
        // The last case is an item, though one with too much in it.
        EXPECT_EQ(m_items.size(), fault.ends_with("</File>") ? 3U : 2U);
    }
    // Cut off, with something after its end, and with half of a pair.
    for (const std::u16string_view rest :
         {u"<File Tar", u"</DeleteFiles>\r\n</Package>\r\nx", u"\xD800x\r\n"}) {
        SCOPED_TRACE(Utf8(rest));
        EXPECT_THAT(Read(Utf16Bytes("<?xml version=\"1.0\" encoding=\"utf-16\"?>\r\n"
                                    "<Package Version=\"1\">\r\n<DeleteFiles>\r\n" +
                                    first + "\r\n" + second + "\r\n") +
                         UnitBytes(rest)),
                    HasSubstr("the file is not well-formed"));
        EXPECT_EQ(m_items.size(), 2U);
    }
}

TEST_F(ManifestItemsTest, WhatIsNoManifestIsTold) {
    if (RunsInWine()) {
        GTEST_SKIP() << "Wine's XML reader passes over some faults, and counts lines otherwise";
    }
    const std::pair<std::string, const char*> kCases[] = {
        {"", "this is no manifest"},
        {"text", "this is no manifest"},
        {"<Other Version=\"1\"/>", "line 1: this is no manifest"},
        {"<Package/>", "line 1: the manifest is of version ''"},
        {"<Package Version='2\x1B'/>", "this is no manifest"},
        {"<Package Version='2'><a><b/></a></Package>", "line 1: the manifest is of version '2'"},
        {"<Package Version='1'>x</Package>", "there is text between the elements"},
    };
    for (const auto& [bytes, words] : kCases) {
        EXPECT_THAT(Read(bytes), HasSubstr(words)) << bytes;
        EXPECT_THAT(m_items, IsEmpty());
    }
    EXPECT_THAT(host::ReadItems(m_folder.Path("gone"), [](const host::SItem&) { return true; }),
                HasSubstr("cannot be read"));
}

TEST_F(ManifestItemsTest, HandlerEndsTheReading) {
    // What follows is not even looked at.
    const std::vector<std::string> lines = {"<DeleteFiles>", "<File Target=\"1\" />",
                                            "<File Target=\"2\" />", "</a>"};
    EXPECT_EQ(ReadLines(lines, 2), "");
    EXPECT_EQ(m_items.size(), 2U);
    EXPECT_EQ(Read("<Package Version='1'><a><b/><b/><b/></a></Package>", 2), "");
    EXPECT_EQ(m_items.size(), 2U);
}

}  // namespace
