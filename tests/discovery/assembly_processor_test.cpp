#include "discovery/assembly_processor.h"

#include "discovery/assembly_info.h"
#include "orvpackage/assembly_collections.h"
#include "support/machine.h"
#include "support/module_builder.h"
#include "support/test.h"

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
    const std::pair<const char*, bool> paths[] = {
        {"WinSxS/Manifests/x86_a.manifest", false},
        {"winsxs/a/b.dll", false},
        {"WinSxS", false},
        {"WinSxS2/a.dll", true},
        {"Device/C/Windows/WinSxS/a.dll", true},
        {"assembly/GAC_MSIL/a/1.0.0.0__b/a.dll", true},
    };
    for (const auto& [path, isLeft] : paths) {
        EXPECT_EQ(processor.CheckFile(InWindows(path), isLeft ? kCreate : kDelete), isLeft) << path;
    }
    const std::pair<const char16_t*, bool> keys[] = {
        {uR"(HKEY_LOCAL_MACHINE\COMPONENTS\DerivedData\Components\x)", false},
        {uR"(HKLM\Software\Microsoft\Windows\CurrentVersion\SideBySide)", false},
        {uR"(HKEY_LOCAL_MACHINE\COMPONENTSX)", true},
        {uR"(HKEY_LOCAL_MACHINE\CasToOrvConversion\REGISTRY\MACHINE\COMPONENTS)", true},
    };
    for (const auto& [key, isLeft] : keys) {
        EXPECT_EQ(processor.CheckValue(CRegPathW(key), u"v", isLeft ? kCreate : kDelete), isLeft);
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

class AssemblyInfoTest : public testing::Test {
protected:
    CAssemblyInfo ReadText(std::string_view xml) {
        return Read(CFilePathW(m_folder.WriteFile("a.manifest", xml)), false);
    }
    static CAssemblyInfo Read(const CFilePathW& path, bool isGlobal) {
        CAssemblyInfo assembly(path, isGlobal);
        assembly.ReadManifest();
        assembly.MakeIdentity();
        return assembly;
    }
    static std::vector<std::string> Files(const CAssemblyInfo& assembly) {
        std::vector<std::string> files;
        for (const auto& [name, path] : assembly.GetFiles()) {
            files.push_back(Utf8(path.IsEmpty() ? name : path.ToString()));
        }
        return files;
    }

    CTempFolder m_folder;
    CTestMachine m_machine = CTestMachine().WindowsFolder(uR"(C:\Windows)");
};

TEST_F(AssemblyInfoTest, ReadsIdentityAndFilesOfAManifest) {
    const CAssemblyInfo assembly = ReadText(
        R"(<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
           <assemblyIdentity name="old" type="t" version="1"/>
           <AssemblyIdentity publickeytoken="b" NAME="a~~b" version="1.0" culture="de" x="y"/>
           <dependency><assemblyIdentity name="other"/></dependency>
           <file name="B.dll" hash="1"><hash name="not a file"/></file><file name="a\c.dll"/>
           <file name="b.DLL"/><file/></assembly>)");
    EXPECT_EQ(Utf8(assembly.GetIdentity()), R"(a~b,type="t",version="1.0",publicKeyToken="b")");
    EXPECT_EQ(Files(assembly), (std::vector<std::string>{R"(a\c.dll)", "B.dll"}));
    for (const char* xml : {"", "no XML", "<assembly><assemblyIdentity name='a",
                            "<!DOCTYPE a []><assembly><assemblyIdentity name='a'/></assembly>"}) {
        EXPECT_TRUE(ReadText(xml).GetIdentity().IsEmpty()) << xml;
    }
}

TEST_F(AssemblyInfoTest, PathOfAModuleIsItsIdentity) {
    const std::pair<const char16_t*, const char*> paths[] = {
        {uR"(C:\Windows\assembly\GAC_MSIL\App\2.0.0.0__b77a\App.dll)",
         R"(App,version="2.0.0.0",culture="neutral",publicKeyToken="b77a",processorArchitecture="MSIL")"},
        {uR"(c:\windows\Microsoft.NET\Assembly\gac_64\App\v4.0_1.0_de_b7\App.dll)",
         R"(App,version="v4.0",culture="1.0_de",publicKeyToken="b7",processorArchitecture="AMD64")"},
        {uR"(C:\Windows\assembly\GAC_32\App\1.0_de_\App.dll)",
         R"(App,version="1.0",culture="de",processorArchitecture="x86")"},
        {uR"(C:\Windows\assembly\GAC\App\_b7\App.dll)",
         R"(App,culture="neutral",publicKeyToken="b7")"},
        {uR"(C:\Windows\assembly\GAC\App\plain\App.dll)", "App"},
        {uR"(D:\App\1.0__b7)", R"(App,version="1.0",culture="neutral",publicKeyToken="b7")"},
    };
    for (const auto& [path, identity] : paths) {
        const CAssemblyInfo assembly = Read(CFilePathW(path), true);
        EXPECT_EQ(Utf8(assembly.GetIdentity()), identity);
        EXPECT_TRUE(assembly.IsComplete());
    }
    EXPECT_FALSE(Read(CFilePathW(uR"(C:\Windows\assembly)"), true).IsComplete());
}

TEST_F(AssemblyInfoTest, IsCompleteWithACatalogAndAllFilesOfItsFolder) {
    CAssemblyInfo assembly = ReadText(
        "<assembly><assemblyIdentity name='a'/><file name='a.dll'/><file "
        "name='b.dll'/></assembly>");
    assembly.SetPlace(uR"(C:\M\x86_b.MANIFEST)");
    EXPECT_EQ(Utf8(assembly.GetComponentKey()), "x86_b");
    assembly.SetPlace(uR"(C:\WinSxS\x86_a\\)");
    EXPECT_EQ(Utf8(assembly.GetComponentKey()), "x86_a");
    for (const char16_t* path : {uR"(C:\WINSXS\x86_a\B.DLL)", uR"(C:\WinSxS\x86_other\a.dll)",
                                 uR"(C:\WinSxS\x86_a\undeclared.dll)"}) {
        assembly.AddMemberFile(CFilePathW(path), true);
    }
    assembly.SetCatalogPath(CFilePathW(uR"(C:\a.cat)"));
    EXPECT_EQ(Files(assembly), (std::vector<std::string>{"a.dll", R"(C:\WINSXS\x86_a\B.DLL)"}));
    EXPECT_FALSE(assembly.IsComplete());
    assembly.AddMemberFile(CFilePathW(uR"(C:\WinSxS\x86_a\a.dll)"), true);
    EXPECT_TRUE(assembly.IsComplete());
    assembly.SetCatalogPath(CFilePathW());
    EXPECT_FALSE(assembly.IsComplete());
}

TEST_F(AssemblyInfoTest, NoFileButACapturedOneAnswersForADeclaredName) {
    for (const char* name : {R"(Z:\etc\hostname)", R"(C:\WinSxS\x86_a\a.dll)", R"(\\s\x\a.dll)",
                             "C:a.dll", R"(\a.dll)", R"(.\a.dll)", "x/a.dll", ""}) {
        CAssemblyInfo assembly = ReadText("<assembly><assemblyIdentity name='a'/><file name='" +
                                          std::string(name) + "'/></assembly>");
        assembly.SetPlace(uR"(C:\WinSxS\x86_a)");
        assembly.SetCatalogPath(CFilePathW(uR"(C:\a.cat)"));
        assembly.AddMemberFile(CFilePathW(uR"(C:\WinSxS\x86_a\a.dll)"), true);
        EXPECT_FALSE(assembly.IsComplete()) << name;
    }
}

}  // namespace
