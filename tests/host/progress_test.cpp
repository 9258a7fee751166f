#include <chrono>

#include "host/progress_display.h"
#include "host/progress_text.h"
#include "support/test.h"

namespace {

using std::chrono::milliseconds;

// A level with its message. It stays where it is, since levels point at one another.
struct SLevel : OrvProgress {
    SLevel(std::u16string text, std::uint32_t done, std::uint32_t count)
        : OrvProgress{}, words(std::move(text)) {
        current = done;
        total = count;
        Say(words);
    }
    SLevel(const SLevel&) = delete;
    SLevel& operator=(const SLevel&) = delete;

    void Say(std::u16string text) {
        words = std::move(text);
        message = reinterpret_cast<const OrvChar*>(words.c_str());
        messageLength = words.size();
    }

    std::u16string words;
};

TEST(ProgressTextTest, LongTextLosesItsMiddle) {
    const std::tuple<std::u16string, std::size_t, std::u16string> kCases[] = {
        {u"0123456789", 10, u"0123456789"},
        {u"0123456789", 9, u"012...789"},
        {u"0123456789", 8, u"01...789"},
        {u"0123456789", 3, u"..."},
        {u"0123456789", 0, u""},
        {u"\u6F22\u5B57\u6F22\u5B57", 8, u"\u6F22\u5B57\u6F22\u5B57"},  // two columns each
        {u"\u6F22\u5B57\u6F22\u5B57", 7, u"\u6F22...\u5B57"},
        {u"\U0001F600\U0001F600\U0001F600\U0001F600", 6, u"...\U0001F600"},
    };
    for (const auto& [text, columns, cut] : kCases) {
        EXPECT_EQ(Utf8(host::CutMiddle(text, columns)), Utf8(cut));
    }
}

TEST(ProgressTextTest, LineStaysWithinTheTerminal) {
    SLevel level(u"C:\\a long path\\with a name.txt", 1, 3);
    EXPECT_EQ(host::FormatLevel(level, 80),
              "[######--------------]         1/3  C:\\a long path\\with a name.txt");
    for (const std::size_t columns : {0U, 1U, 2U, 20U, 52U, 53U, 60U}) {
        SCOPED_TRACE(columns);
        EXPECT_LE(host::FormatLevel(level, columns).size(), columns == 0 ? 0 : columns - 1);
    }
    level.total = 0;
    EXPECT_EQ(host::FormatLevel(level, 80).substr(0, 24), "[--------------------]  ");
    level.Say(u"\x1B[2J");
    EXPECT_EQ(host::FormatLevel(level, 10), "\xEF\xBF\xBD[2J");
    level.message = nullptr;
    EXPECT_EQ(host::FormatLevel(level, 10), "");
}

// The tree of a conversion of two targets, and what is written of it.
class ProgressDisplayTest : public testing::Test {
protected:
    host::CProgressDisplay MakeDisplay(host::EProgressDisplay kind) {
        return {kind, [this](std::string_view text) { m_written.emplace_back(text); },
                [this] { return m_size; }, [this] { return m_time; }};
    }

    void SetUp() override {
        m_root.child = &m_target;
        m_target.child = &m_stage;
    }

    host::CProgressDisplay::Time m_time;
    host::STerminalSize m_size;
    SLevel m_root{u"All", 0, 1};
    SLevel m_target{u"First", 0, 2};
    SLevel m_stage{u"Files.", 0, 10};
    std::vector<std::string> m_written;
};

TEST_F(ProgressDisplayTest, LinesTellEachTargetAndStageOnce) {
    host::CProgressDisplay display = MakeDisplay(host::EProgressDisplay::Lines);
    display.Show(m_root);
    display.Show(m_root);
    m_stage.Say(u"Saving.");
    display.Show(m_root);
    // The first target is done: its message is still there, its stages are not.
    m_target.child = nullptr;
    m_target.current = 1;
    display.Show(m_root);
    m_target.Say(u"Second");
    m_target.child = &m_stage;
    display.Show(m_root);
    EXPECT_EQ(m_written, (std::vector<std::string>{"First (1 of 2)\n", "  Files.\n", "  Saving.\n",
                                                   "Second (2 of 2)\n", "  Saving.\n"}));
}

TEST_F(ProgressDisplayTest, BlockIsDrawnAtIntervalsInOnePlace) {
    host::CProgressDisplay display = MakeDisplay(host::EProgressDisplay::Block);
    m_time += milliseconds(99);
    display.Show(m_root);
    display.Clear();
    EXPECT_TRUE(m_written.empty());
    m_time += milliseconds(1);
    display.Show(m_root);
    m_time += milliseconds(99);
    display.Show(m_root);
    ASSERT_EQ(m_written.size(), 1U);
    EXPECT_EQ(m_written[0].substr(0, 1), "[");
    m_target.child = nullptr;
    m_time += milliseconds(1);
    display.Show(m_root);
    ASSERT_EQ(m_written.size(), 2U);
    EXPECT_EQ(m_written[1].substr(0, 5), "\r\x1B[3A");
    display.Clear();
    EXPECT_EQ(m_written.back(), "\r\x1B[2A\x1B[J");
}

TEST_F(ProgressDisplayTest, LowTerminalShowsTheDeepestLevels) {
    m_size = {80, 3};
    host::CProgressDisplay display = MakeDisplay(host::EProgressDisplay::Block);
    m_time += milliseconds(100);
    display.Show(m_root);
    ASSERT_EQ(m_written.size(), 1U);
    EXPECT_EQ(m_written[0].find("All"), std::string::npos);
    EXPECT_NE(m_written[0].find("First"), std::string::npos);
}

}  // namespace
