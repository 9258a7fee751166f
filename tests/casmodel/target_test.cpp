#include "casmodel/target.h"

#include "casmodel/document_test.h"
#include "casmodel/profile.h"

namespace {

class TargetTest : public CDocumentTest<CCasProfile> {
protected:
    void ReadProfile(const std::string& elements) {
        ASSERT_EQ(ReadDocument("<Package>" + elements + "</Package>"), 0);
    }
    // Reads a further target.
    const CCasTarget& Read(const std::string& elements) {
        ReadProfile("<Targets><Target>" + elements + "</Target></Targets>");
        return *m_model.Targets.back();
    }
};

TEST_F(TargetTest, ReadsEachElementIntoItsField) {
    const CCasTarget& target = Read(R"(
        <Ver>1</Ver><Name>n</Name><Description>d</Description><CreateTime>1</CreateTime>
        <CodePage>1252</CodePage><Size>3</Size><CreateOS>4</CreateOS><ModifyOS>5</ModifyOS>
        <CreatePkgrVer><MajorUpper>6</MajorUpper></CreatePkgrVer>
        <ModifyPkgrVer><MajorUpper>7</MajorUpper></ModifyPkgrVer>
        <UsePkgLevelScripts>1</UsePkgLevelScripts><BootDrive>C:</BootDrive>
        <IsolationRevision>r</IsolationRevision><Languages>l</Languages>
        <HashOfHashes>01</HashOfHashes><HashOfHashes256>02</HashOfHashes256>
        <OSes><OS><ServicePacks>s</ServicePacks></OS><OS><Enum>8</Enum></OS></OSes>)");
    EXPECT_EQ((Numbers{target.Ver, target.CodePage, target.Size, target.CreateOS, target.ModifyOS,
                       target.CreatePkgrVer.MajorUpper, target.ModifyPkgrVer.MajorUpper}),
              (Numbers{1, 1252, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Joined({target.Name, target.Description, target.BootDrive, target.IsolationRevision,
                      target.Languages}),
              "n|d|C:|r|l");
    EXPECT_NE(target.CreateTime.High, 0U);
    EXPECT_EQ(target.ModifyTime.High, 0U);
    EXPECT_TRUE(target.UsePkgLevelScripts);
    EXPECT_FALSE(target.UsePkgPreLaunchAnalysis);
    EXPECT_EQ(target.HashOfHashes[0], 1);
    EXPECT_EQ(target.HashOfHashes256[0], 2);
    ASSERT_EQ(target.OSes.size(), 2U);
    EXPECT_EQ(target.OSes[0]->Enum, 0U);
    EXPECT_EQ(target.OSes[0]->ServicePacks, CStrW(u"s"));
    EXPECT_EQ(target.OSes[1]->Enum, 8U);
}

TEST_F(TargetTest, FolderIsNamedByGuidAndSignedVersion) {
    const struct {
        const char* elements;
        const char16_t* name;
    } cases[] = {
        {"<Guid>0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9</Guid><Ver>12</Ver>",
         u"0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_12"},
        {"<Ver>4294967295</Ver>", u"00000000-0000-0000-0000-000000000000_-1"},
        {"<Guid>damaged</Guid>", u"00000000-0000-0000-0000-000000000000_0"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.elements);
        EXPECT_EQ(Read(each.elements).GetFolderName(), CStrW(each.name));
    }
}

TEST_F(TargetTest, ReadsServices) {
    const CCasTarget& target = Read(R"(<Services>
        <a><Dependencies><Name>no</Name></Dependencies><Name>n</Name><DisplayName>dn</DisplayName>
           <Description>d</Description><AccountName>an</AccountName><Security>s</Security>
           <VirtualPath>""C:\a b\"x".exe"</VirtualPath><Type>16</Type><StartType>2</StartType>
           <ErrorControl>1</ErrorControl><DeleteFlag>false</DeleteFlag></a>
        <b><VirtualPath/><Mangled>1</Mangled></b></Services>)");
    ASSERT_EQ(target.Services.size(), 2U);
    const CCasService& service = *target.Services[0];
    EXPECT_EQ(Joined({service.Name, service.DisplayName, service.Description, service.AccountName,
                      service.Security, service.VirtualPath}),
              R"(n|dn|d|an|s|C:\a b\"x".exe)");
    EXPECT_EQ((Numbers{service.Type, service.StartType, service.ErrorControl}),
              (Numbers{16, 2, 1}));
    EXPECT_TRUE(service.DeleteFlag);
    EXPECT_FALSE(service.Mangled);
    EXPECT_TRUE(target.Services[1]->Mangled);
}

TEST_F(TargetTest, ReadsApplicationsOfTheTarget) {
    const CCasTarget& target = Read(R"(<Apps><App><Name>n</Name><InitialExe>e</InitialExe>
        <InitialExeVirtual>ev</InitialExeVirtual><WorkingDir>w</WorkingDir>
        <WorkingDirVirtual>wv</WorkingDirVirtual><CommandLine>c</CommandLine>
        <Version>v</Version><IsIE64>1</IsIE64>
        <FTAs><Fta/><Fta><Name>f</Name><Executables/><MimeTypes><m>t</m></MimeTypes>
        <Extensions><x>.a</x><y/>text<x><z>.b</z></x></Extensions></Fta><Fta/></FTAs>
        </App></Apps>)");
    ASSERT_EQ(target.Apps.size(), 1U);
    const CCasTargetApplication& application = *target.Apps[0];
    EXPECT_EQ(Joined({application.Name, application.InitialExe, application.InitialExeVirtual,
                      application.WorkingDir, application.WorkingDirVirtual,
                      application.CommandLine, application.Version}),
              "n|e|ev|w|wv|c|v");
    EXPECT_FALSE(application.IEApp);
    EXPECT_TRUE(application.IsIE64);
    ASSERT_EQ(application.FTAs.size(), 3U);
    const CCasFta& fta = *application.FTAs[1];
    EXPECT_EQ(fta.Name, CStrW(u"f"));
    EXPECT_TRUE(fta.Executables.empty());
    EXPECT_EQ(fta.MimeTypes, std::vector<CStrW>{u"t"});
    EXPECT_EQ(fta.Extensions, (std::vector<CStrW>{u".a", u"", u""}));
}

TEST_F(TargetTest, ReadsApplicationsOfTheProfile) {
    ReadProfile(R"(<Apps><App><Icons><Icon><Offset>1</Offset><Size>2</Size>
        <MultiImage>true</MultiImage><Default>4</Default></Icon></Icons>
        <Icons3><i><TODO><Name>no</Name></TODO></i><i/></Icons3><Name>n</Name></App></Apps>)");
    ASSERT_EQ(m_model.Apps.size(), 1U);
    const CCasProfileApplication& application = *m_model.Apps[0];
    EXPECT_EQ(application.Name, CStrW(u"n"));
    EXPECT_EQ(application.Icons3.size(), 2U);
    ASSERT_EQ(application.Icons.size(), 1U);
    const CCasIcon& icon = *application.Icons[0];
    EXPECT_EQ((Numbers{icon.Offset, icon.Size, icon.MultiImage, icon.Default}),
              (Numbers{1, 2, 32014, 4}));
}

TEST_F(TargetTest, PrelaunchItemsRepeatWithoutACollectionAroundThem) {
    const CCasPrelaunchAnalysis& analysis = Read(R"(<PreLaunchAnalysis>
        <File><Path>p</Path><MinVersion>1</MinVersion></File>
        <Application><ID>i</ID><Name>n</Name><MinVersion>2</MinVersion><MaxVersion>3</MaxVersion>
        </Application><File><MaxVersion>4</MaxVersion></File><Enabled>1</Enabled>
        </PreLaunchAnalysis>)")
                                                .PreLaunchAnalysis;
    EXPECT_TRUE(analysis.Enabled);
    ASSERT_EQ(analysis.Files.size(), 2U);
    EXPECT_EQ(Joined({analysis.Files[0]->Path, analysis.Files[0]->MinVersion,
                      analysis.Files[1]->MaxVersion}),
              "p|1|4");
    ASSERT_EQ(analysis.Applications.size(), 1U);
    const CCasPrelaunchAnalysisApplication& application = *analysis.Applications[0];
    EXPECT_EQ(
        Joined({application.ID, application.Name, application.MinVersion, application.MaxVersion}),
        "i|n|2|3");
}

}  // namespace
