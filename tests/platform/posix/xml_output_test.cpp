#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <string>

#include "platform/status.h"
#include "platform/xml.h"
#include "support/temp_folder.h"

namespace {

// A limit on the size of files stands in for a full disk.
TEST(XmlOutputTest, AFailedWriteIsRemembered) {
    const CTempFolder folder;
    platform::CXmlOutput output;
    ASSERT_EQ(output.Open(folder.Name("a.xml").c_str()), S_OK);
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10000, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);

    EXPECT_EQ(output.WriteStartElement(u"a"), S_OK);
    const int failure = output.WriteText(std::u16string(100000, u'x'));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &former), 0);
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_EQ(failure, HresultFromError(ERROR_FILE_TOO_LARGE));
    EXPECT_EQ(output.WriteText(u"y"), failure);
    EXPECT_EQ(output.Flush(), failure);
}

}  // namespace
