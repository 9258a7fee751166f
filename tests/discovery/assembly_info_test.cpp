#include "discovery/assembly_info.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/machine.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

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
    const struct {
        const char16_t* path;
        const char* identity;
    } kPaths[] = {
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
    for (const auto& path : kPaths) {
        const CAssemblyInfo assembly = Read(CFilePathW(path.path), true);
        EXPECT_EQ(Utf8(assembly.GetIdentity()), path.identity);
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
        SCOPED_TRACE(name);
        CAssemblyInfo assembly = ReadText("<assembly><assemblyIdentity name='a'/><file name='" +
                                          std::string(name) + "'/></assembly>");
        assembly.SetPlace(uR"(C:\WinSxS\x86_a)");
        assembly.SetCatalogPath(CFilePathW(uR"(C:\a.cat)"));
        assembly.AddMemberFile(CFilePathW(uR"(C:\WinSxS\x86_a\a.dll)"), true);
        EXPECT_FALSE(assembly.IsComplete());
    }
}

}  // namespace
