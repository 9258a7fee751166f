#include <stdexcept>

#include "reporting/logger.h"
#include "reporting/progress_event.h"
#include "support/test.h"

namespace {

std::vector<std::string> g_seen;

// Notes every level that is alive, as a host sees it: "1/2 message".
std::uint32_t Note(const OrvProgress* root) {
    std::string line;
    for (const OrvProgress* level = root; level != nullptr; level = level->child) {
        line += line.empty() ? "" : " > ";
        line += std::to_string(level->current) + "/" + std::to_string(level->total) + " " +
                Utf8({reinterpret_cast<const char16_t*>(level->message), level->messageLength});
    }
    g_seen.push_back(line);
    return 0;
}

class ProgressTest : public testing::Test {
protected:
    void SetUp() override {
        g_seen.clear();
        m_root.SetCallback(&Note);
    }
    CProgressEvent m_root{1, nullptr};
};

TEST_F(ProgressTest, EveryStepShowsTheWholeChainFromTheRoot) {
    m_root.SetMessage(u"all");
    {
        CProgressEvent child(2, &m_root);
        child.SetMessage(u"part");
        EXPECT_TRUE(g_seen.empty());
        child.Step();
        CProgressEvent grandchild(1, &child);
        grandchild.Step();
    }
    m_root.Step();
    EXPECT_EQ(g_seen, (std::vector<std::string>{"0/1 all > 1/2 part", "0/1 all > 1/2 part > 1/1 ",
                                                "1/1 all"}));
}

TEST_F(ProgressTest, StepsPastTheTotalAreSilentButFinishIsNot) {
    m_root.Step();
    m_root.Step();
    EXPECT_EQ(g_seen.size(), 1U);
    m_root.Finish();
    EXPECT_EQ(g_seen.size(), 2U);
    CProgressEvent empty(0, &m_root);
    empty.Step();
    EXPECT_EQ(g_seen.size(), 2U);
    empty.Finish();
    EXPECT_EQ(g_seen.back(), "1/1  > 0/0 ");
    CProgressEvent(1, nullptr).Step();  // without a callback
}

constexpr const char* kError =
    "<font color=\"#FF0000\"><span style=\"font-weight: bold\">Error:</span></font> ";
constexpr const char* kWarning =
    "<font color=\"#C0C000\"><span style=\"font-weight: bold\">Warning:</span></font> ";

TEST(LoggerTest, OnlyTheSignOfAStatusMakesAnError) {
    CLogger logger;
    logger.LogStatus(2, ReadFailedText(uR"(C:\100% 1.xml)"));
    logger.LogStatus(HresultFromError(2), ReadFailedText(uR"(C:\100% 1.xml)"));
    const std::string text = R"(Failed to read the file 'C:\100% 1.xml' .  .  )" +
                             Utf8(GetSystemErrorMessage(2)) + "<br>";
    ASSERT_EQ(logger.GetLines().size(), 2U);
    EXPECT_EQ(Utf8(logger.GetLines()[0]), kWarning + text);
    EXPECT_EQ(Utf8(logger.GetLines()[1]), kError + text);
}

TEST(LoggerTest, ExceptionsAndMissingTextsGiveALineEach) {
    CLogger logger;
    logger.LogException(std::runtime_error("list<T> too long " + std::string(300, 'x')));
    logger.LogMessage(999, nullptr);
    logger.LogWarning(u"%1 %2", u"100%", u"%s");
    ASSERT_EQ(logger.GetLines().size(), 3U);
    EXPECT_TRUE(Utf8(logger.GetLines()[0])
                    .starts_with(std::string(kError) +
                                 "Exception occurred converting from CAS package.  list<T>"));
    EXPECT_LT(logger.GetLines()[0].GetLength(), 400U);
    EXPECT_EQ(Utf8(logger.GetLines()[1]), std::string(kError) + "<br>");
    EXPECT_EQ(Utf8(logger.GetLines()[2]), std::string(kWarning) + "100% %s<br>");
}

}  // namespace
