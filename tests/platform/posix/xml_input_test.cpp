#include "platform/xml.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/status.h"
#include "support/temp_folder.h"

namespace {

bool IsRefused(const std::string& bytes) {
    const CTempFolder folder;
    platform::CXmlInput input;
    EXPECT_EQ(input.Open(folder.WriteFile("a.xml", bytes).c_str()), S_OK);
    platform::EXmlNode node = platform::EXmlNode::None;
    int result = S_OK;
    while (result == S_OK) {
        result = input.Read(node);
    }
    return result < 0;
}

// libxml2 would compare each with all that are there already.
TEST(XmlInputTest, FloodsOfNamesAreRefusedInsteadOfComparedForHours) {
    std::string attributes = "<a";
    std::string namespaces;
    for (int i = 0; i < 300000; ++i) {
        attributes += " a" + std::to_string(i) + "=''";
        namespaces += "<a xmlns:p" + std::to_string(i) + "='urn:u'>";
    }
    EXPECT_TRUE(IsRefused(attributes + "/>"));
    EXPECT_TRUE(IsRefused(namespaces));
}

}  // namespace
