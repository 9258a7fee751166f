#include "platform/com.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

TEST(GuidTextTest, ComesBackInUpperCaseFromAnyCase) {
    GUID guid{};
    ASSERT_TRUE(platform::TextToGuid(u"{0a1b2c3d-4E5f-6071-8293-a4b5c6d7e8f9}", guid));
    EXPECT_EQ(guid.Data1, 0x0A1B2C3DU);
    EXPECT_EQ(guid.Data4[7], 0xF9);
    EXPECT_EQ(Utf8(platform::GuidToText(guid)), "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}");
}

TEST(GuidTextTest, MalformedTextLeavesTheGuidAlone) {
    for (const char16_t* text :
         {u"", u"0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9", u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9",
          u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8G9}", u"{0A1B2C3D04E5F-6071-8293-A4B5C6D7E8F9}"}) {
        SCOPED_TRACE(Utf8(text));
        GUID guid{1, 2, 3, {4}};
        EXPECT_FALSE(platform::TextToGuid(text, guid));
        EXPECT_EQ(guid.Data1, 1U);
    }
}

}  // namespace
