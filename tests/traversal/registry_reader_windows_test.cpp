#include <gtest/gtest.h>

#include "foundation/reg_access.h"
#include "platform/status.h"
#include "platform/windows/process_token.h"
#include "traversal/cas_registry_reader.h"

namespace {

// Takes a privilege away from this process for good.
bool RemovePrivilege(const char16_t* name) {
    const platform::CProcessToken token(TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY);
    TOKEN_PRIVILEGES change{1, {{{}, SE_PRIVILEGE_REMOVED}}};
    return ::LookupPrivilegeValueW(nullptr, platform::ToWide(name), &change.Privileges[0].Luid) !=
               0 &&
           ::AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr) != 0;
}

TEST(RegistryReaderTest, WithoutOnePrivilegeTheOtherIsStillTurnedOn) {
    ASSERT_TRUE(DisablePrivilege(u"SeRestorePrivilege"));
    ASSERT_TRUE(RemovePrivilege(u"SeBackupPrivilege"));
    CAssemblyProcessor assemblies;
    CServiceProcessor services;
    CProgressEvent progress(1, nullptr);
    COrvPackage package;
    CCasRegistryReader reader(assemblies, services, progress);
    int thrown = 0;
    try {
        static_cast<void>(reader.Read(package, CFilePathW(uR"(C:\none.dat)"), true));
    } catch (const int status) {
        thrown = status;
    }
    EXPECT_EQ(thrown, ERROR_PRIVILEGE_NOT_HELD);
    EXPECT_EQ(EnablePrivilege(u"SeRestorePrivilege"), 0) << "It is on already.";
}

}  // namespace
