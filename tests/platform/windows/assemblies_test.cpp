#include "platform/assemblies.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/com.h"
#include "platform/files.h"
#include "platform/status.h"
#include "support/text.h"

namespace {

const std::u16string kStore = uR"(C:\Windows\WinSxS)";
const std::u16string kControls = u"amd64_microsoft.windows.common-controls_6595b64144ccf1df_";

class AssemblyCacheTest : public testing::Test {
protected:
    AssemblyCacheTest() { platform::EnterApartment(); }
    ~AssemblyCacheTest() override { platform::LeaveApartment(); }
};

std::u16string IdentityOf(std::u16string_view version) {
    return uR"(Microsoft.Windows.Common-Controls,type="win32",version=")" +
           std::u16string(version) +
           uR"(",publicKeyToken="6595b64144ccf1df",processorArchitecture="amd64")";
}

// Every Windows has this assembly, in a version of its own.
TEST_F(AssemblyCacheTest, FindsAnAssemblyOfTheStoreByItsIdentity) {
    platform::CFindHandle search;
    platform::SFindData found;
    ASSERT_EQ(search.First((kStore + u'\\' + kControls + u"6*").c_str(), found), ERROR_SUCCESS);
    const std::u16string_view rest = std::u16string_view(found.name).substr(kControls.size());
    const std::u16string version(rest.substr(0, rest.find(u'_')));
    platform::CAssemblyCache cache;
    std::u16string place = u"untouched";
    EXPECT_FALSE(cache.FindAssembly(IdentityOf(version), place));
    ASSERT_TRUE(cache.Open());
    EXPECT_FALSE(cache.FindAssembly(uR"(No.Such.Assembly,version="1.0")", place));
    EXPECT_FALSE(cache.FindAssembly(u"", place));
    EXPECT_EQ(place, u"untouched");
    ASSERT_TRUE(cache.FindAssembly(IdentityOf(version), place));
    EXPECT_NE(place.find(found.name), std::u16string::npos) << Utf8(place);
}

TEST_F(AssemblyCacheTest, AModuleWithoutMetadataIsNoManagedAssembly) {
    platform::CAssemblyCache cache;
    ASSERT_TRUE(cache.Open());
    EXPECT_FALSE(cache.IsManagedAssembly(uR"(C:\Windows\System32\kernel32.dll)"));
    EXPECT_FALSE(cache.IsManagedAssembly(uR"(C:\no such file)"));
}

}  // namespace
