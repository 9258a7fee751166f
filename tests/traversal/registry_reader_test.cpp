#include "traversal/cas_registry_reader.h"

#include <gtest/gtest.h>

#include "foundation/reg_access.h"
#include "platform/status.h"
#include "support/system.h"

namespace {

TEST(RegistryReaderTest, WithoutOnePrivilegeTheOtherIsStillTurnedOn) {
    if (!RunsOnWindows()) {
        GTEST_SKIP() << "every privilege is always held";
    }
    ASSERT_TRUE(DisablePrivilege(u"SeRestorePrivilege"));
    ASSERT_TRUE(RemovePrivilege(u"SeBackupPrivilege"));
    CAssemblyProcessor assemblies;
    CServiceProcessor services;
    CProgressEvent progress(1, nullptr);
    COrvPackage package;
    CCasRegistryReader reader(assemblies, services, progress);
    int thrown = 0;
    try {
        reader.Read(package, CFilePathW(uR"(C:\none.dat)"), true);
    } catch (const int status) {
        thrown = status;
    }
    EXPECT_EQ(thrown, ERROR_PRIVILEGE_NOT_HELD);
    EXPECT_EQ(EnablePrivilege(u"SeRestorePrivilege"), 0) << "It is on already.";
}

}  // namespace
