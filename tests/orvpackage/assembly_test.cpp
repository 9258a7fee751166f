#include "orvpackage/assembly_collections.h"

#include "orvpackage/package_fixture.h"
#include "support/system.h"
#include "support/text.h"

namespace {

using AssemblyTest = PackageTest;

TEST_F(AssemblyTest, WritesAnAssemblyWithItsSortedFilesOnOneLine) {
    if (RunsInWine()) {
        GTEST_SKIP() << "Wine writes the quotes of an attribute as they are";
    }
    COrvCreateAssembly* const assembly =
        m_package.Get<COrvCreateAssembliesCollection>().AddItem(u"a,type=\"win32\",50%");
    assembly->AssemblyType = 1;
    assembly->SetManifestRelativeSource(uR"(Assemblies\50%\m)");
    assembly->SetCatalogRelativeSource(uR"(Assemblies\c)");
    assembly->SetPrivate(uR"(%CSIDL_PROGRAM_FILES%\App)");
    for (const char16_t* file : {u"B", u"a", u"A", u"C:\\x"}) {
        assembly->AddFile(file);
    }
    EXPECT_EQ(
        SavedItems(),
        "<CreateAssemblies>\n<Assembly Id=\"a,type=&quot;win32&quot;,50%\" AssemblyType=\"1\" "
        "ManifestRelativeSource=\"Assemblies\\50|%\\m\" "
        "CatalogRelativeSource=\"Assemblies\\c\" Private=\"%CSIDL_PROGRAM_FILES%\\App\">"
        "<File RelativeSource=\"a\" /><File RelativeSource=\"B\" />"
        "<File RelativeSource=\"C:\\x\" /></Assembly>\n</CreateAssemblies>\n");
}

TEST_F(AssemblyTest, WithoutAManifestItStaysOut) {
    auto& assemblies = m_package.Get<COrvCreateAssembliesCollection>();
    EXPECT_NE(assemblies.AddItem(u"a"), nullptr);
    EXPECT_EQ(assemblies.AddItem(u"A"), nullptr);
    EXPECT_EQ(SavedItems(), "<CreateAssemblies>\n</CreateAssemblies>\n");
}

TEST_F(AssemblyTest, FilesOfOneElementDoNotReachTheNext) {
    Read(R"(<CreateAssemblies><Assembly Id="x" AssemblyType="1" ManifestRelativeSource="m">)"
         R"(<File RelativeSource="b"/><file relativesource="a"></file></Assembly>)"
         R"(<Assembly Id="y" ManifestRelativeSource="n"/></CreateAssemblies>)");
    const std::string text = SavedItems();
    EXPECT_NE(text.find(R"("m"><File RelativeSource="a" /><File RelativeSource="b" /></Assembly>)"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(R"(<Assembly Id="y" AssemblyType="0" ManifestRelativeSource="n" />)"),
              std::string::npos)
        << text;
}

TEST_F(AssemblyTest, DeletedAssemblyHasANameAndNoId) {
    auto& assemblies = m_package.Get<COrvDeleteAssembliesCollection>();
    assemblies.AddItem(u"50%");
    EXPECT_EQ(SavedItems(), "<DeleteAssemblies>\n<Assembly Name=\"50%\" />\n</DeleteAssemblies>\n");
    assemblies.Clear();
    Read(R"(<DeleteAssemblies><Assembly Id="a"/></DeleteAssemblies>)");
    EXPECT_EQ(assemblies.GetCount(), 1U);
    EXPECT_EQ(SavedItems(), "<DeleteAssemblies>\n</DeleteAssemblies>\n");
}

}  // namespace
