#include "platform/assemblies.h"

#include "support/machine.h"
#include "support/module_builder.h"
#include "support/test.h"

namespace {

using platform::CAssemblyCache;

constexpr const char* kStore = "Windows/WinSxS";

std::u16string Identity(const char* name, const char* version, const char* more) {
    return Utf16(std::string(name) + ",type=\"win32\",version=\"" + version + "\"" + more +
                 ",publicKeyToken=\"1fc8\",processorArchitecture=\"X86\"");
}

// A machine whose Windows folder is one of the test.
class AssemblyStoreTest : public testing::Test {
protected:
    // The place of an assembly from the store on; "-" when there is none.
    std::string Find(const char* name, const char* version, const char* more = "") const {
        CAssemblyCache cache;
        std::u16string place;
        EXPECT_TRUE(cache.Open());
        const bool isFound = cache.FindAssembly(Identity(name, version, more), place);
        return isFound ? Utf8(place).substr(Utf8(m_folder.Name(kStore)).size() + 1) : "-";
    }

    CTempFolder m_folder;
    CTestMachine m_machine = CTestMachine().WindowsFolder(m_folder.Name("Windows"));
};

TEST_F(AssemblyStoreTest, FindsTheComponentOfAnIdentity) {
    // The long names have 43, 40 and 41 characters.
    const std::tuple<const char*, const char*, const char*, std::string> assemblies[] = {
        {"Microsoft.VC90.CRT", "9.0", "", "x86_microsoft.vc90.crt_1fc8_9.0_none_508ff82e"},
        {"microsoft.vc90.crt", "9.0", R"(,language="neutral")",
         "x86_microsoft.vc90.crt_1fc8_9.0_none_508ff82e"},
        {"Microsoft.Windows.Common-Controls.Resources", "6.0", R"(,language="en-US")",
         "x86_microsoft.windows.c..-controls.resources_1fc8_6.0_en-us_d9"},
        {"a.name.of.exactly.forty.characters.aaaaa", "1.0", "",
         "x86_a.name.of.exactly.forty.characters.aaaaa_1fc8_1.0_none_1"},
        {"a.name.of.exactly.forty.characters.aaaaab", "1.0", "",
         "x86_a.name.of.exactly.f..y.characters.aaaaab_1fc8_1.0_none_2"},
        {"Two (Words)", "1.0", "", "x86_twowords_1fc8_1.0_none_3"},
        {"Microsoft.VC80.CRT", "8.0", "", "x86_Microsoft.VC80.CRT_1fc8_8.0_x-ww_6b128700"},
    };
    m_folder.MakeFolder("Windows/winsxs/x86_nohash_1fc8_1.0_none");
    for (const auto& [name, version, more, component] : assemblies) {
        m_folder.MakeFolder("Windows/winsxs/" + component);
    }
    for (const auto& [name, version, more, component] : assemblies) {
        EXPECT_EQ(Find(name, version, more), component);
    }
    EXPECT_EQ(Find("Microsoft.VC90.CRT", "9.1"), "-");
    EXPECT_EQ(Find("Microsoft.VC90.CRT", "9.0", R"(,language="de-DE")"), "-");
    EXPECT_EQ(Find("NoHash", "1.0"), "-");
    EXPECT_EQ(Find("", ""), "-");
}

TEST_F(AssemblyStoreTest, ManifestTellsShortenedNamesApartAndStandsForAMissingFolder) {
    const std::string first = "x86_app_1fc8_1.0_sr-..-rs_1";
    const std::string second = "x86_app_1fc8_1.0_sr-..-rs_2";
    m_folder.MakeFolder("Windows/WinSxS/" + first);
    m_folder.MakeFolder("Windows/WinSxS/" + second);
    m_folder.WriteFile("Windows/WinSxS/Manifests/" + first + ".manifest", "DCM\x01 compressed");
    EXPECT_EQ(Find("App", "1.0", R"(,language="sr-Latn-RS")"), first);
    m_folder.WriteFile("Windows/WinSxS/Manifests/" + second + ".manifest",
                       R"(<a><assemblyIdentity name="App" language="sr-Latn-RS"/></a>)");
    EXPECT_EQ(Find("App", "1.0", R"(,language="sr-Latn-RS")"), second);
    EXPECT_EQ(Find("App", "1.0", R"(,language="sr-Cyrl-RS")"), first);
    m_folder.WriteFile("Windows/WinSxS/Manifests/x86_policy.9.0.app_1fc8_9.0_none_77.Manifest");
    EXPECT_EQ(Find("policy.9.0.App", "9.0"),
              R"(Manifests\x86_policy.9.0.app_1fc8_9.0_none_77.manifest)");
}

TEST_F(AssemblyStoreTest, NeedsAStoreToReadManagedAssembliesFromTheirFiles) {
    CAssemblyCache cache;
    m_folder.WriteFile("Windows/WinSxS", "a file");
    EXPECT_FALSE(cache.Open());
    m_machine.WindowsFolder(m_folder.Name("none/Windows"));
    EXPECT_FALSE(cache.Open());
    std::u16string place;
    EXPECT_FALSE(cache.FindAssembly(u"a", place));
    m_machine.WindowsFolder(m_folder.Name("machine"));
    m_folder.MakeFolder("machine/WinSxS");
    const std::u16string file = m_folder.WriteFile("a.dll", MakeModule(1));
    EXPECT_FALSE(cache.IsManagedAssembly(file.c_str()));
    ASSERT_TRUE(cache.Open());
    EXPECT_TRUE(cache.IsManagedAssembly(file.c_str()));
    EXPECT_FALSE(cache.IsManagedAssembly(m_folder.WriteFile("b.dll", MakeModule(0)).c_str()));
    EXPECT_FALSE(cache.IsManagedAssembly(m_folder.MakeFolder("folder").c_str()));
}

}  // namespace
