#include "host/output_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using host::COutputFolder;
using host::SOutputRequest;

constexpr const char16_t* kGuid = u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
constexpr const char16_t* kOther = u"{11111111-2222-3333-4444-555555555555}";

class OutputFolderTest : public testing::Test {
protected:
    [[nodiscard]] SOutputRequest Request(bool mayReplace) const {
        return {m_folder.Name("out") + u"\\app.orv",
                m_folder.Path("package/App.profile"),
                {},
                {kGuid, kOther},
                mayReplace};
    }
    // Writes a target where the library would.
    static void Fill(const COutputFolder& output, const std::u16string& guid) {
        const fs::path manifest = output.GetHiddenManifest(guid);
        fs::create_directories(manifest.parent_path());
        std::ofstream(manifest) << "new";
    }
    // A target of an earlier conversion, with a file that no later one writes.
    void WriteFormer(const std::string& guid) const {
        m_folder.WriteFile("out/" + guid + "/app.orv", "old");
        m_folder.WriteFile("out/" + guid + "/deep/old.txt");
        fs::permissions(m_folder.Path("out/" + guid + "/deep/old.txt"), fs::perms::owner_read);
    }
    [[nodiscard]] std::vector<std::string> List(const std::string& folder) const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_folder.Path(folder))) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    CTempFolder m_folder;
    const std::string m_guid = fs::path(std::u16string(kGuid)).string();
    const std::string m_other = fs::path(std::u16string(kOther)).string();
};

TEST_F(OutputFolderTest, ReplacesWholeFolders) {
    // Also one whose name is spelled otherwise, which is the same for Windows.
    std::string small = m_guid;
    std::transform(small.begin(), small.end(), small.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    WriteFormer(small);
    WriteFormer(m_other);
    COutputFolder output;
    ASSERT_TRUE(output.Prepare(Request(true)));
    Fill(output, kGuid);
    Fill(output, kOther);
    EXPECT_TRUE(output.Publish({kGuid, kOther}));
    EXPECT_TRUE(output.Remove());
    EXPECT_EQ(List("out"), std::vector({m_guid, m_other}));
    EXPECT_EQ(List("out/" + m_guid), std::vector<std::string>{"app.orv"});
    EXPECT_EQ(List("out/" + m_other), std::vector<std::string>{"app.orv"});
}

TEST_F(OutputFolderTest, MovesAllTargetsOrNone) {
    COutputFolder output;
    ASSERT_TRUE(output.Prepare(Request(false)));
    Fill(output, kGuid);
    Fill(output, kOther);
    WriteFormer(m_other);  // by someone else, in the meantime
    EXPECT_FALSE(output.Publish({kGuid, kOther}));
    EXPECT_TRUE(output.Remove());
    EXPECT_EQ(List("out"), std::vector<std::string>{m_other});
    EXPECT_EQ(m_folder.ReadFile("out/" + m_other + "/app.orv"), "old");
}

TEST_F(OutputFolderTest, ReplacesAllTargetsOrNone) {
    WriteFormer(m_guid);
    COutputFolder output;
    ASSERT_TRUE(output.Prepare(Request(true)));
    Fill(output, kGuid);
    EXPECT_FALSE(output.Publish({kGuid, kOther}));  // the other one was not made
    EXPECT_TRUE(output.Remove());
    EXPECT_EQ(List("out"), std::vector<std::string>{m_guid});
    EXPECT_EQ(m_folder.ReadFile("out/" + m_guid + "/app.orv"), "old");
    EXPECT_TRUE(m_folder.Exists("out/" + m_guid + "/deep/old.txt"));
}

TEST_F(OutputFolderTest, OneConversionAtATimeHasATarget) {
    COutputFolder first;
    ASSERT_TRUE(first.Prepare(Request(true)));
    Fill(first, kGuid);
    COutputFolder second;
    EXPECT_FALSE(second.Prepare(Request(true)));
    second.Remove();
    EXPECT_TRUE(fs::exists(first.GetHiddenManifest(kGuid)));
    first.Remove();
    EXPECT_FALSE(m_folder.Exists("out"));
    EXPECT_TRUE(second.Prepare(Request(true)));
}

TEST_F(OutputFolderTest, PutsBackWhatAKilledOneHadTaken) {
    WriteFormer(".cas2orv-ABCDEF01/old/" + m_guid);
    WriteFormer(".cas2orv-ABCDEF01/old/" + m_other);
    m_folder.WriteFile("out/" + m_other + "/app.orv", "new");
    m_folder.WriteFile("out/.cas2orv-settings", "not of the program");
    COutputFolder output;
    EXPECT_FALSE(output.Prepare(Request(false)));
    output.Remove();
    EXPECT_EQ(List("out"), std::vector<std::string>({".cas2orv-settings", m_guid, m_other}));
    EXPECT_EQ(m_folder.ReadFile("out/" + m_guid + "/app.orv"), "old");
    EXPECT_EQ(m_folder.ReadFile("out/" + m_other + "/app.orv"), "new");
}

TEST_F(OutputFolderTest, NeverReplacesThePackage) {
    SOutputRequest request = Request(true);
    request.profile = m_folder.Path("out/" + m_guid + "/package/App.profile");
    m_folder.WriteFile("out/" + m_guid + "/package/App.profile");
    COutputFolder output;
    EXPECT_FALSE(output.Prepare(request));
}

}  // namespace
