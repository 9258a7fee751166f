#include "orvpackage/action_collections.h"

#include <string>

#include "orvpackage/package_fixture.h"
#include "support/text.h"

namespace {

class ActionTest : public PackageTest {
protected:
    COrvPreActionsCollection& m_actions = m_package.Get<COrvPreActionsCollection>();

    void RemoveAt(std::uint64_t number) { EXPECT_TRUE(m_actions.Remove(COrvPreAction(number))); }
    // The paths of the written actions, each with a semicolon.
    std::string SavedPaths() {
        const std::string text = SavedItems();
        const std::string mark = "Path=\"";
        std::string paths;
        for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at + 1)) {
            const std::size_t start = at + mark.size();
            paths += text.substr(start, text.find('"', start) - start) + ';';
        }
        return paths;
    }
};

TEST_F(ActionTest, StandInTheirSequenceWhateverTheTablesOrderIs) {
    std::string expected;
    for (int i = 0; i < 12; ++i) {
        const std::string path = std::to_string(i);
        m_actions.AddAction(CStrW(Utf16(path)), u"");
        expected += path + ';';
    }
    EXPECT_EQ(SavedPaths(), expected);
}

TEST_F(ActionTest, CountingPassesOverGapsAndEndsBeforeTheLast) {
    for (const char16_t* path : {u"0", u"1", u"", u"3", u"4"}) {
        m_actions.AddAction(path, u"");
    }
    EXPECT_EQ(SavedPaths(), "0;1;3;4;");
    RemoveAt(1);
    EXPECT_EQ(SavedPaths(), "0;3;");
}

TEST_F(ActionTest, InsertingAppendsOrMeetsTheNumberThatIsThere) {
    EXPECT_NE(m_actions.InsertAt(7), nullptr);
    COrvAction* const second = m_actions.InsertAt(1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->GetHash(), 1U);
    EXPECT_EQ(m_actions.InsertAt(1), nullptr);
    EXPECT_EQ(second->Position, 2U);
    EXPECT_EQ(second->GetHash(), 1U);
    EXPECT_EQ(m_actions.GetCount(), 2U);
}

TEST_F(ActionTest, RefusedActionTakesItsPayloadAlongButNeverItsOwnPath) {
    m_actions.AddAction(u"0", u"");
    m_actions.AddAction(u"1", u"");
    RemoveAt(0);  // now the next number is taken
    m_folder.WriteFile("out/InstallActions/a.cmd");
    EXPECT_EQ(m_actions.AddAction(CStrW(m_folder.Name("out/InstallActions/a.cmd")),
                                  uR"(InstallActions\a.cmd)"),
              nullptr);
    EXPECT_TRUE(m_folder.Exists("out/InstallActions/a.cmd"));
    EXPECT_EQ(m_actions.AddAction(u"Target_a.cmd", uR"(InstallActions\a.cmd)"), nullptr);
    EXPECT_FALSE(m_folder.Exists("out/InstallActions/a.cmd"));
}

}  // namespace
