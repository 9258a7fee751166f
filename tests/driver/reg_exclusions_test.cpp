#include "driver/reg_exclusions.h"

#include <memory>

#include "driver/target_information.h"
#include "orvcasconv/orvcasconv.h"
#include "support/machine.h"
#include "support/test.h"

namespace {

class RegExclusionsTest : public testing::Test {
protected:
    CTestMachine m_machine = CTestMachine()
                                 .Sid(u"S-1-5-21-7")
                                 .Hive(uR"(\REGISTRY\MACHINE\HARDWARE)")
                                 .Hive(uR"(\Registry\User\Memory)");
    CRegExclusions m_exclusions;
};

TEST_F(RegExclusionsTest, TellsNoiseFromTheApplicationsOwn) {
    const std::pair<const char16_t*, bool> paths[] = {
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet002\Services\x)", true},
        {uR"(hkey_local_machine\system\controlset001\enum\x)", true},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\{x)", true},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\x)", false},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Session Manager)", true},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Session Manager\Memory)", false},
        {uR"(HKEY_LOCAL_MACHINE\SAMPLE)", true},
        {uR"(HKEY_LOCAL_MACHINE\SA)", false},
        {uR"(HKEY_CURRENT_USER\x\SOFTWARE\microsoft\Windows\Shell\Bags\1)", true},
        {uR"(HKEY_CURRENT_USER\Software\App)", false},
        {uR"(HKEY_USERS\S-1-5-21-1-2-3-1000\Software\x)", true},
        {uR"(HKEY_USERS\s-1-5-21-7\Software\x)", false},
        {uR"(HKEY_USERS\S-1-5-21-7_Classes\x)", false},
        {uR"(HKEY_USERS\.DEFAULT\Software\x)", false},
        {uR"(HKEY_USERS)", false},
        {uR"(\registry\MACHINE\x)", true},
        {u"", false},
    };
    for (const auto& [path, isExcluded] : paths) {
        EXPECT_EQ(m_exclusions.IsExcluded(path), isExcluded) << Utf8(path);
    }
    // Without a SID nobody is another user.
    m_machine.Sid(u"");
    EXPECT_FALSE(CRegExclusions().IsExcluded(uR"(HKEY_USERS\S-1-5-21-1\Software\x)"));
}

TEST_F(RegExclusionsTest, RefusesARuleThatIsThere) {
    EXPECT_FALSE(m_exclusions.AddRule(
        uR"(hkey_users\.default\software\microsoft\windows\shell\muicache)", MatchPrefix, false));
    EXPECT_FALSE(m_exclusions.AddRule(uR"(HKEY_LOCAL_MACHINE\hardware)", MatchSuffix, false));
    EXPECT_FALSE(m_exclusions.AddRule(uR"(HKEY_USERS\Memory)", MatchPrefix, false));
    EXPECT_TRUE(m_exclusions.AddRule(u"Tail", MatchSuffix, false));
    EXPECT_TRUE(m_exclusions.IsExcluded(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\aTAIL)"));
    EXPECT_FALSE(m_exclusions.IsExcluded(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Tails)"));
    // One that has nothing in common with the others of its kind.
    EXPECT_TRUE(m_exclusions.AddRule(u"Part", MatchContains, false));
    EXPECT_TRUE(m_exclusions.IsExcluded(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\aparts)"));
    EXPECT_TRUE(
        m_exclusions.IsExcluded(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\Shell\Bags)"));
    EXPECT_FALSE(m_exclusions.IsExcluded(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\par)"));
}

// More than can be moved one place forward for each.
TEST(TargetInformationTest, AnyNumberOfTargetsIsHandedOut) {
    constexpr std::size_t kTargets = 1000000;
    auto list = std::make_unique<CasTargetInformationList>();
    list->Items.resize(kTargets);
    void* const handle = list.release();
    OrvChar* guid = nullptr;
    OrvChar* name = nullptr;
    std::size_t count = 0;
    while (GetNextCasTargetInformation(handle, &guid, &name) == 0) {
        ++count;
    }
    EXPECT_EQ(count, kTargets);
    EXPECT_EQ(ReleaseCasTargetInformation(handle), 0U);
}

}  // namespace
