#include "traversal/mounted_keys.h"

#include "foundation/reg_access.h"
#include "support/system.h"
#include "support/test.h"
#include "traversal/cas_registry_reader.h"

namespace {

constexpr const char16_t* kSid = u"S-1-5-21-1-2-3-1000";

// What a captured hive may hold, below the mount, and the key that it is; among them names that
// folding takes for parts of its own upper levels.
constexpr std::pair<const char16_t*, const char*> kCases[] = {
    {uR"()", "HKEY_LOCAL_MACHINE"},
    {uR"(\REGISTRY)", "HKEY_LOCAL_MACHINE"},
    {uR"(\REGISTRY\MACHINE)", "HKEY_LOCAL_MACHINE"},
    {uR"(\REGISTRY\MACHINE\SOFTWARE)", R"(HKEY_LOCAL_MACHINE\SOFTWARE)"},
    {uR"(\REGISTRY\MACHINE\SOFTWARE\App)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\App)"},
    {uR"(\REGISTRY\MACHINE\SOFTWARE\_OW6432node)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node)"},
    {uR"(\REGISTRY\MACHINE\SOFTWARE\_ow6432Node\App)",
     R"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\App)"},
    {uR"(\REGISTRY\USER\CurrentUser\Software)", R"(HKEY_USERS\S-1-5-21-1-2-3-1000\Software)"},
    {uR"(\REGISTRY\USER\CurrentUser_Classes)", R"(HKEY_USERS\S-1-5-21-1-2-3-1000_Classes)"},
    {uR"(\REGISTRY\USER\currentuser)", R"(HKEY_USERS\S-1-5-21-1-2-3-1000)"},
    {uR"(\user\App)", R"(HKEY_USERS\user\App)"},
    {uR"(\Users\App)", R"(HKEY_USERS\Users\App)"},
    // Inside of names.
    {uR"(\REGISTRY\MACHINE\A\MACHINERY\B)", R"(HKEY_LOCAL_MACHINE\ARY\B)"},
    {uR"(\REGISTRY\MACHINE\A\MyCurrentUsers\B)",
     R"(HKEY_LOCAL_MACHINE\A\MyS-1-5-21-1-2-3-1000s\B)"},
    {uR"(\REGISTRY\MACHINE\A\xCasToOrvConversionx)", R"(HKEY_LOCAL_MACHINE\A\xx)"},
    {uR"(\REGISTRY\MACHINE\A\CurrentU\REGISTRYser\B)",
     R"(HKEY_LOCAL_MACHINE\A\S-1-5-21-1-2-3-1000\B)"},
    // What is no path any more is no key, and neither is what is below.
    {uR"(\REGISTRY\MACHINE\A\CasToOrvConversion\B)", "HKEY_LOCAL_MACHINE"},
    {uR"(\REGISTRY\MACHINE\A\CasToOrvConversion\B\C)", "HKEY_LOCAL_MACHINE"},
    {uR"(\HKLM\A)", "HKEY_LOCAL_MACHINE"},
    {uR"(\registry\machine)", "HKEY_LOCAL_MACHINE"},
    {uR"(\registry\machine\A)", "HKEY_LOCAL_MACHINE"},
};

SRealKey Map(CMountedKeys& keys, const std::u16string& below) {
    return keys.MapHivePath(CRegPathW(uR"(HKEY_LOCAL_MACHINE\CasToOrvConversion)" + below));
}

std::string MapText(CMountedKeys& keys, const std::u16string& below) {
    return Utf8(Map(keys, below).path.ToString());
}

TEST(MountedKeysTest, FoldsTheSameWhateverWasAskedForBefore) {
    for (const auto& [asked, real] : kCases) {
        for (const auto& [before, ignored] : kCases) {
            CMountedKeys keys{CStrW(kSid)};
            MapText(keys, before);
            ASSERT_EQ(MapText(keys, asked), real) << "behind " << Utf8(before);
            // The second time the parent is known.
            ASSERT_EQ(MapText(keys, asked), real) << "behind " << Utf8(before);
        }
    }
}

TEST(MountedKeysTest, ASubKeyIsTheSameFromItsParent) {
    CMountedKeys keys{CStrW(kSid)};
    for (const auto& [asked, real] : kCases) {
        CRegPathW path(std::u16string(uR"(HKEY_LOCAL_MACHINE\CasToOrvConversion)") + asked);
        CRegPathW parent = path;
        parent.RemoveLast(1);
        keys.MapHivePath(parent);
        EXPECT_EQ(Utf8(keys.MapSubKey(path).path.ToString()), real);
    }
}

TEST(MountedKeysTest, OnlyTheMachinesKeyAndWhatIsBelowHasVariables) {
    CMountedKeys keys{CStrW(kSid)};
    const std::u16string manager =
        uR"(\REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Control\Session Manager)";
    EXPECT_FALSE(Map(keys, manager).isEnvironment);
    EXPECT_FALSE(Map(keys, manager + uR"(\Power)").isEnvironment);
    EXPECT_TRUE(Map(keys, manager + uR"(\environment)").isEnvironment);
    EXPECT_TRUE(Map(keys, manager + uR"(\environment\Below)").isEnvironment);
    EXPECT_FALSE(Map(keys, uR"(\REGISTRY\USER\CurrentUser\Environment)").isEnvironment);
}

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
