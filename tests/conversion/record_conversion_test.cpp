// What the record tells of conversions that lose something, though the log and the status are the
// same as ever.

#include <regex>

#include "conversion/conversion.h"
#include "support/system.h"

namespace {

class RecordConversionTest : public ConversionTest {
protected:
    void SetUp() override {
        ConversionTest::SetUp();
        SetEnvironment("ORVCASCONV_RECORD", m_folder.Path("record").string());
        SetEnvironment("ORVCASCONV_RECORD_LEVEL", "problems");
    }
    void TearDown() override {
        SetEnvironment("ORVCASCONV_RECORD", "");
        SetEnvironment("ORVCASCONV_RECORD_LEVEL", "");
        ConversionTest::TearDown();
    }

    // Converts a package and gives the reasons of the record, sorted, without those of targets that
    // were converted.
    std::vector<std::string> ReasonsOf(const CTestPackage& package) {
        static_cast<void>(Convert(package));
        m_record = m_folder.ReadFile("record");
        std::vector<std::string> reasons;
        const std::regex line(R"re("reason":"([a-z-]+)")re");
        for (std::sregex_iterator match(m_record.begin(), m_record.end(), line), last;
             match != last; ++match) {
            reasons.push_back((*match)[1]);
        }
        std::erase(reasons, "converted");
        std::ranges::sort(reasons);
        m_head = m_record.substr(0, m_record.find('\n'));
        return reasons;
    }

    std::string m_record;
    std::string m_head;
};

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(RecordConversionTest, WhatIsLostHasALineAndTheHeadCounts) {
    EXPECT_THAT(ReasonsOf(CTestPackage().Target(TestTarget().File("C/a.txt"))), IsEmpty());
    EXPECT_THAT(m_head, HasSubstr(R"("state":"whole","status":0,"losses":0,"missing":0})"));

    // The manifest and a script take the places of captured files; one shortcut is none.
    EXPECT_THAT(ReasonsOf(CTestPackage().Target(TestTarget()
                                                    .File("Odd/SystemDrive/a.txt")
                                                    .File("C/a.txt")
                                                    .File("Odd/app.orv")
                                                    .File("Odd/InstallActions/Target_go.cmd")
                                                    .Script("go.cmd", "x")
                                                    .File("C/bad.lnk", "no link"))),
                ElementsAre("place-taken", "place-taken", "place-taken", "shortcut-failed"));
    EXPECT_THAT(m_head, HasSubstr(R"("losses":4,"missing":0})"));
    EXPECT_THAT(m_record, HasSubstr(R"("items":{"CreateFiles":4,"PostActions":1}})"));

    EXPECT_THAT(ReasonsOf(CTestPackage().Target(OtherTarget())),
                ElementsAre("files-missing", "hive-missing", "rules-unread"));
    EXPECT_THAT(m_head, HasSubstr(R"("losses":1,"missing":2})"));
}

TEST_F(RecordConversionTest, ProfilesAndHivesThatAreNotWholeAreTold) {
    EXPECT_THAT(ReasonsOf(CTestPackage()), ElementsAre("no-target"));
    EXPECT_THAT(ReasonsOf(CTestPackage().Profile("<Package><Targets></Targets><T")),
                ElementsAre("no-target", "profile-broken"));
    EXPECT_THAT(ReasonsOf(CTestPackage().Profile("<Other/>")), ElementsAre("profile-unread"));
    EXPECT_THAT(m_head, HasSubstr(R"("state":"whole","status":1168)"));
    EXPECT_THAT(ReasonsOf(CTestPackage().Target(TestTarget()).Target(TestTarget())),
                ElementsAre("files-missing", "files-missing", "same-guid"));
    CTestHive dirty;
    dirty.Sequences(7, 6);
    for (const auto& [bytes, reason] :
         {std::pair(dirty.Bytes(), "hive-dirty"), std::pair(std::string("none"), "hive-unread")}) {
        EXPECT_THAT(ReasonsOf(CTestPackage().Target(TestTarget().File("C/a.txt").Hive(bytes))),
                    ElementsAre(reason));
    }
}

}  // namespace
