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

TEST_F(ActionTest, EveryTypeHasItsPlaceForThePath) {
    const struct {
        std::uint32_t type;
        const char* written;
    } kTypes[] = {
        {0, R"(ActionType="0" Path="%SystemDrive%\50|%" ActionMode="0" Wait="1" />)"},
        {1, R"(ActionType="1" Path="%SystemDrive%\50|%" ActionMode="0" Wait="1" />)"},
        {2, R"(ActionType="2" ActionMode="0" Wait="1">%SystemDrive%\50%</Action>)"},
        {5, R"(ActionType="5" ActionMode="0" Wait="1" />)"},
    };
    COrvAction* const action = m_actions.InsertAt(0);
    for (const auto& test : kTypes) {
        SCOPED_TRACE(test.type);
        action->SetPath(uR"(%SystemDrive%\50%)", test.type);
        EXPECT_EQ(SavedItems(),
                  std::string("<PreActions>\n<Action ") + test.written + "\n</PreActions>\n");
        // What is not written of the last one cannot come back, and leaves it invalid.
        EXPECT_EQ(SavedItemsAgain(),
                  test.type == 5 ? "<PreActions>\n</PreActions>\n" : SavedItems());
    }
}

TEST_F(ActionTest, WritesAllItsAttributes) {
    COrvAction* const action =
        m_package.Get<COrvPostActionsCollection>().AddAction(u"Target_a.cmd", u"InstallActions\\%");
    action->SetArguments(uR"(-f %SystemDrive%\x 5%)");
    action->ActionMode = 7;
    action->Wait = false;
    EXPECT_EQ(SavedItems(),
              "<PostActions>\n<Action ActionType=\"0\" Path=\"Target_a.cmd\" "
              "RelativeSource=\"InstallActions\\|%\" Arguments=\"-f %SystemDrive%\\x 5|%\" "
              "ActionMode=\"7\" Wait=\"0\" />\n</PostActions>\n");
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
