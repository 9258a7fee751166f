#include "discovery/assembly_processor.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "orvpackage/assembly_collections.h"
#include "support/machine.h"
#include "support/module_builder.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

constexpr std::uint32_t kCreate = 1;
constexpr std::uint32_t kDelete = 3;
const std::string kComponent = "x86_app_ff00_1.0_none_123";
const std::string kManifest =
    R"(<assembly><assemblyIdentity name="App" version="1.0" publicKeyToken="ff00" )"
    R"(processorArchitecture="x86"/>)";

// A machine with a store, all of which is shown to processors as a capture.
class AssemblyProcessorTest : public testing::Test {
protected:
    AssemblyProcessorTest() { m_package.SetManifestPath(CFilePathW(m_folder.Name("out/app.orv"))); }

    [[nodiscard]] CFilePathW InWindows(std::string_view path) const {
        return CFilePathW(m_folder.Name(std::string("Windows/").append(path)));
    }
    // Writes a file of the store and shows it to a processor.
    void Capture(CAssemblyProcessor& processor, const std::string& name, const std::string& bytes) {
        const CFilePathW path(m_folder.WriteFile("Windows/WinSxS/" + name, bytes));
        EXPECT_FALSE(processor.CheckFile(path, kCreate));
    }
    void CaptureAssembly(CAssemblyProcessor& processor) {
        Capture(processor, "Manifests/App.manifest", kManifest + "<file name='a.dll'/></assembly>");
        Capture(processor, kComponent + "/A.dll", "a");
    }
    // The assembly that was added; null when there is none.
    const COrvCreateAssembly* Add(CAssemblyProcessor& processor) {
        auto& assemblies = m_package.Get<COrvCreateAssembliesCollection>();
        assemblies.Clear();
        processor.AddAssemblies(m_package, m_package.GetFolder());
        EXPECT_LE(assemblies.GetCount(), 1U);
        return COrvItemCItr<COrvCreateAssembly>(assemblies).Get();
    }

    CTempFolder m_folder;
    CTestMachine m_machine = CTestMachine().WindowsFolder(m_folder.Name("Windows"));
    COrvPackage m_package;
};

TEST_F(AssemblyProcessorTest, ClaimsWhatLiesInTheStores) {
    CAssemblyProcessor processor;
    for (const char* path : {"WinSxS/Manifests/x86_a.manifest", "winsxs/a/b.dll", "WinSxS"}) {
        EXPECT_FALSE(processor.CheckFile(InWindows(path), kDelete)) << path;
    }
    for (const char* path : {"WinSxS2/a.dll", "Device/C/Windows/WinSxS/a.dll",
                             "assembly/GAC_MSIL/a/1.0.0.0__b/a.dll"}) {
        EXPECT_TRUE(processor.CheckFile(InWindows(path), kCreate)) << path;
    }
    for (const char16_t* key : {uR"(HKEY_LOCAL_MACHINE\COMPONENTS\DerivedData\Components\x)",
                                uR"(HKLM\Software\Microsoft\Windows\CurrentVersion\SideBySide)"}) {
        EXPECT_FALSE(processor.CheckValue(CRegPathW(key), u"v", kDelete)) << Utf8(key);
    }
    for (const char16_t* key :
         {uR"(HKEY_LOCAL_MACHINE\COMPONENTSX)",
          uR"(HKEY_LOCAL_MACHINE\CasToOrvConversion\REGISTRY\MACHINE\COMPONENTS)"}) {
        EXPECT_TRUE(processor.CheckValue(CRegPathW(key), u"v", kCreate)) << Utf8(key);
    }
}

TEST_F(AssemblyProcessorTest, ComponentRegistryNamesTheCatalogOnNewerSystems) {
    const CRegPathW catalogs(uR"(HKEY_LOCAL_MACHINE\COMPONENTS\CanonicalData\Catalogs\4f5e)");
    const CRegPathW component(uR"(HKLM\COMPONENTS\DerivedData\Components\)" + Utf16(kComponent));
    for (const std::uint32_t version : {5U, 6U}) {
        m_machine.Version(version, 1, true);
        CAssemblyProcessor processor;
        CaptureAssembly(processor);
        Capture(processor, "Catalogs/1111.cat", "another");
        Capture(processor, "Catalogs/4f5e.cat", "catalog");
        EXPECT_FALSE(processor.CheckValue(component, u"C!12ab", kCreate));
        // No other value of the catalog's key is its name, nor is one that is deleted.
        EXPECT_FALSE(processor.CheckValue(catalogs, u"b!12ab", kCreate));
        EXPECT_FALSE(processor.CheckValue(catalogs, u"c!12AB", kDelete));
        EXPECT_EQ(Add(processor), nullptr);
        EXPECT_FALSE(m_folder.Exists("out"));
        EXPECT_FALSE(processor.CheckValue(catalogs, u"c!12AB", kCreate));
        const COrvCreateAssembly* const assembly = Add(processor);
        ASSERT_EQ(assembly != nullptr, version == 6);
        if (assembly != nullptr) {
            const std::string payload = "Assemblies\\" + kComponent + "\\";
            EXPECT_EQ(Utf8(assembly->GetContent().catalog), payload + "4f5e.cat");
            ASSERT_EQ(assembly->GetContent().files.size(), 1U);
            EXPECT_EQ(Utf8(*assembly->GetContent().files.begin()), payload + "A.dll");
        }
    }
}

TEST_F(AssemblyProcessorTest, AssemblyUnknownToTheMachineNeedsNoFiles) {
    CAssemblyProcessor processor;
    m_folder.MakeFolder("Windows/WinSxS");
    for (const char* name : {"B", "C"}) {
        Capture(processor, std::string(name) + ".manifest", kManifest + "</assembly>");
        Capture(processor, std::string(name) + ".cat", "catalog");
    }
    // The first manifest of an identity wins, and no component gives its files a folder.
    const COrvCreateAssembly* const assembly = Add(processor);
    ASSERT_NE(assembly, nullptr);
    EXPECT_EQ(Utf8(assembly->GetContent().manifest), R"(Assemblies\B.manifest)");
}

TEST_F(AssemblyProcessorTest, GlobalAssembliesAreManagedModules) {
    CAssemblyProcessor processor;
    const std::string module = "Windows/Microsoft.NET/assembly/GAC_MSIL/App/v4.0_1.0__b7/App.dll";
    processor.AddManifest(CFilePathW(m_folder.Name(module)), true);
    m_folder.MakeFolder("Windows/WinSxS");
    m_folder.WriteFile(module, MakeModule(0));
    EXPECT_EQ(Add(processor), nullptr);
    m_folder.WriteFile(module, MakeModule(1));
    const COrvCreateAssembly* const assembly = Add(processor);
    ASSERT_NE(assembly, nullptr);
    EXPECT_EQ(assembly->GetContent().type, 1U);
    EXPECT_EQ(Utf8(assembly->GetContent().manifest),
              R"(Assemblies\GAC_MSIL\App\v4.0_1.0__b7\App.dll)");
    EXPECT_TRUE(m_folder.Exists("out/Assemblies/GAC_MSIL/App/v4.0_1.0__b7/App.dll"));
}

}  // namespace
