#include "casmodel/profile.h"

#include <cmath>

#include "casmodel/document_test.h"
#include "platform/status.h"

namespace {

class ProfileTest : public CDocumentTest<CCasProfile> {
protected:
    void Read(const std::string& elements) {
        ASSERT_EQ(ReadDocument("<Package>" + elements + "</Package>"), 0);
    }
    // Reads a further target.
    const CCasTarget& ReadTarget(const std::string& elements) {
        Read("<Targets><Target>" + elements + "</Target></Targets>");
        return *m_model.Targets.back();
    }
};

std::uint64_t Seconds(const SFileTime& time) {
    const std::uint64_t steps = (static_cast<std::uint64_t>(time.High) << 32) | time.Low;
    return steps / 10000000U - 11644473600U;
}

std::string Repeat(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST_F(ProfileTest, ReadsEachElementIntoItsField) {
    Read(R"(
        <Guid>0a1b2c3d-0000-0000-0000-000000000001</Guid>
        <CreateTime>1000</CreateTime><ModifyTime>4294967296</ModifyTime>
        <UserrootExecuteRestricted>1</UserrootExecuteRestricted>
        <SupportLegacyClients>0</SupportLegacyClients><AsyncFontImport>7</AsyncFontImport>
        <HashOfHashes>0aFf3</HashOfHashes><HashOfHashes256>1g</HashOfHashes256>
        <CreatePkgrVer><MajorUpper>1</MajorUpper><MajorLower>2</MajorLower></CreatePkgrVer>
        <ModifyPkgrVer><MinorUpper>3</MinorUpper><MinorLower>4</MinorLower></ModifyPkgrVer>
        <Version>0</Version><Version>5</Version>
        <Targets><a/><b><Ver>2</Ver></b></Targets><Apps><a/></Apps><Scripts><a/></Scripts>
        <PreLaunchAnalysis><Enabled>1</Enabled></PreLaunchAnalysis>
        <DigitalSignature><Enabled>1</Enabled><SignatureType>6</SignatureType></DigitalSignature>)");
    EXPECT_EQ(m_model.Guid.Data1, 0x0A1B2C3DU);
    EXPECT_EQ(m_model.Guid.Data4[7], 1);
    EXPECT_EQ(Seconds(m_model.CreateTime), 1000U);
    EXPECT_EQ(Seconds(m_model.ModifyTime), 4294967296U);
    EXPECT_TRUE(m_model.UserrootExecuteRestricted);
    EXPECT_FALSE(m_model.SupportLegacyClients);
    EXPECT_TRUE(m_model.AsyncFontImport);
    EXPECT_EQ(m_model.HashOfHashes[0], 0x0A);
    EXPECT_EQ(m_model.HashOfHashes[2], 3);
    EXPECT_EQ(m_model.HashOfHashes256[0], 32);
    EXPECT_EQ((Numbers{m_model.CreatePkgrVer.MajorUpper, m_model.CreatePkgrVer.MajorLower,
                       m_model.ModifyPkgrVer.MinorUpper, m_model.ModifyPkgrVer.MinorLower,
                       m_model.Version, m_model.DigitalSignature.SignatureType}),
              (Numbers{1, 2, 3, 4, 5, 6}));
    ASSERT_EQ(m_model.Targets.size(), 2U);
    EXPECT_EQ(m_model.Targets[1]->Ver, 2U);
    EXPECT_EQ(m_model.Apps.size(), 1U);
    EXPECT_EQ(m_model.Scripts.size(), 1U);
    EXPECT_TRUE(m_model.PreLaunchAnalysis.Enabled);
    EXPECT_TRUE(m_model.DigitalSignature.Enabled);
}

TEST_F(ProfileTest, ValuesThatDoNotParseGiveWhatTheirRuleMakesOfThem) {
    Read(R"(<Version>0x10</Version><AsyncFontImport>false</AsyncFontImport>
            <Guid>{0a1b2c3d-0000-0000-0000-000000000001}</Guid>
            <CreateTime>abc</CreateTime><ModifyTime>-1</ModifyTime>)");
    EXPECT_EQ(m_model.Version, 3310U);
    EXPECT_TRUE(m_model.AsyncFontImport);
    EXPECT_EQ(m_model.Guid.Data1, 0U);
    EXPECT_EQ(Seconds(m_model.CreateTime), 1122U);
    EXPECT_EQ(Seconds(m_model.ModifyTime), 0U);
}

TEST_F(ProfileTest, ReadsFloatingTextUpToWhatIsNoNumber) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {"40123.5", 40123.5}, {" -2.5e2x", -250},  {"+1,5", 1},   {"soon", 0},      {"--1", 0},
        {"0x1.8p1", 3},       {"1e999", HUGE_VAL}, {"1e-999", 0}, {"7\xC3\xA9", 7},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        Read("<DigitalSignature><ExpirationDate>" + std::string(each.text) +
             "</ExpirationDate></DigitalSignature>");
        EXPECT_EQ(m_model.DigitalSignature.ExpirationDate, each.value);
    }
}

TEST_F(ProfileTest, NamesMatchInAnyCaseAndAtTheirPlaceOnly) {
    ASSERT_EQ(ReadDocument(R"(<package><VERSION>1</VERSION><Version/><Version></Version>
        <Other><Version>2</Version><Targets><a/></Targets><Package><Version>3</Version></Package>
        </Other><Version><Version>4</Version></Version>
        <Scripts><a/></Scripts><Scripts/>
        <Scripts><s><Filename>~007E~~|a~b|~007E0041| ~41</Filename></s></Scripts></package>)"),
              0);
    EXPECT_EQ(m_model.Version, 1U);
    EXPECT_TRUE(m_model.Targets.empty());
    // Repeated collections append, and a text is taken out of its escapes once.
    ASSERT_EQ(m_model.Scripts.size(), 2U);
    EXPECT_EQ(m_model.Scripts[1]->Filename, CStrW(u"~~|a~b|~0041| ~41"));
}

TEST_F(ProfileTest, WithoutItsRootADocumentIsNotFound) {
    for (const char* xml : {"", "no xml", "<Package", "<Other><Package/></Other>", "<Packages/>",
                            "<!DOCTYPE Package><Package/>"}) {
        SCOPED_TRACE(xml);
        EXPECT_EQ(ReadDocument(xml), ERROR_NOT_FOUND);
    }
    EXPECT_EQ(ReadMissingDocument(), HresultFromError(ERROR_FILE_NOT_FOUND));
}

TEST_F(ProfileTest, KeepsWhatStandsAheadOfABreakTheUnfinishedItemToo) {
    for (const char* end : {"", "</wrong>", "\xFF\xFF", "</s></Scripts></b><c"}) {
        SCOPED_TRACE(end);
        CCasProfile profile;
        const std::string xml =
            "<Package><Targets><a><Ver>1</Ver></a><b><Ver>2</Ver><Scripts><s>"
            "<Filename>x</Filename>";
        ASSERT_EQ(profile.ReadFromFile(CFilePathW(m_folder.WriteFile("b.profile", xml + end))), 0);
        ASSERT_EQ(profile.Targets.size(), 2U);
        EXPECT_EQ(profile.Targets[1]->Ver, 2U);
        ASSERT_EQ(profile.Targets[1]->Scripts.size(), 1U);
        EXPECT_EQ(profile.Targets[1]->Scripts[0]->Filename, CStrW(u"x"));
    }
}

TEST_F(ProfileTest, TheFirstSubProfileTakesAllThatFollows) {
    Read(R"(<SubProfiles/><Apps><a/></Apps>
            <SubProfiles>
                <x><Version>1</Version></x>
                <other><Version>2</Version><Targets><a/></Targets></other>
                <X><CreatePkgrVer><MajorUpper>3</MajorUpper></CreatePkgrVer></X>
            </SubProfiles>
            <Version>4</Version><Targets><a/></Targets>
            <SubProfiles><x><Scripts><a/></Scripts></x></SubProfiles>)");
    EXPECT_EQ(m_model.Version, 0U);
    EXPECT_EQ(m_model.Apps.size(), 1U);
    EXPECT_TRUE(m_model.Targets.empty());
    ASSERT_EQ(m_model.SubProfiles.size(), 1U);
    const CCasProfile& nested = *m_model.SubProfiles[0];
    EXPECT_EQ(nested.Version, 1U);
    EXPECT_EQ(nested.CreatePkgrVer.MajorUpper, 3U);
    EXPECT_EQ(nested.Scripts.size(), 1U);
    EXPECT_TRUE(nested.Targets.empty());
}

TEST_F(ProfileTest, ProfilesNestAsDeepAsTheirDocument) {
    constexpr int kDepth = 50000;
    Read(Repeat("<SubProfiles><x>", kDepth) + "<Version>1</Version>" +
         Repeat("</x><x><Version>2</Version>", 1000) + Repeat("</x></SubProfiles>", kDepth));
    const CCasProfile* profile = &m_model;
    int depth = 0;
    for (; !profile->SubProfiles.empty(); ++depth) {
        profile = profile->SubProfiles[0].get();
    }
    EXPECT_EQ(depth, kDepth);
    EXPECT_EQ(profile->Version, 2U);
}

TEST_F(ProfileTest, ReadsEachElementOfATargetIntoItsField) {
    const CCasTarget& target = ReadTarget(R"(
        <Ver>1</Ver><Name>n</Name><Description>d</Description><CreateTime>1</CreateTime>
        <CodePage>1252</CodePage><Size>3</Size><CreateOS>4</CreateOS><ModifyOS>5</ModifyOS>
        <CreatePkgrVer><MajorUpper>6</MajorUpper></CreatePkgrVer>
        <ModifyPkgrVer><MajorUpper>7</MajorUpper></ModifyPkgrVer>
        <UsePkgLevelScripts>1</UsePkgLevelScripts><BootDrive>C:</BootDrive>
        <IsolationRevision>r</IsolationRevision><Languages>l</Languages>
        <HashOfHashes>01</HashOfHashes><HashOfHashes256>02</HashOfHashes256>
        <OSes><OS><ServicePacks>s</ServicePacks></OS><OS><Enum>8</Enum></OS></OSes>
        <Services><a><Security>s</Security><VirtualPath>""C:\a b\"x".exe"</VirtualPath>
            <DeleteFlag>false</DeleteFlag></a><b><VirtualPath/><Mangled>1</Mangled></b></Services>)");
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
    ASSERT_EQ(target.Services.size(), 2U);
    EXPECT_EQ(Joined({target.Services[0]->Security, target.Services[0]->VirtualPath}),
              R"(s|C:\a b\"x".exe)");
    EXPECT_TRUE(target.Services[0]->DeleteFlag);
    EXPECT_FALSE(target.Services[0]->Mangled);
    EXPECT_TRUE(target.Services[1]->Mangled);
}

TEST_F(ProfileTest, FolderOfATargetIsNamedByGuidAndSignedVersion) {
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
        EXPECT_EQ(ReadTarget(each.elements).GetFolderName(), CStrW(each.name));
    }
    EXPECT_EQ(CCasTarget::MakeFolderName(u"", 7), CStrW(u"_7"));
}

TEST_F(ProfileTest, ReadsApplicationsAndWhatRepeatsInThem) {
    Read(R"(<Targets><Target><Apps><App><Name>n</Name><InitialExe>e</InitialExe>
        <InitialExeVirtual>ev</InitialExeVirtual><WorkingDir>w</WorkingDir>
        <WorkingDirVirtual>wv</WorkingDirVirtual><CommandLine>c</CommandLine>
        <Version>v</Version><IsIE64>1</IsIE64>
        <FTAs><Fta/><Fta><Name>f</Name><Executables/><MimeTypes><m>t</m></MimeTypes>
        <Extensions><x>.a</x><y/>text<x><z>.b</z></x></Extensions></Fta><Fta/></FTAs></App></Apps>
        <PreLaunchAnalysis><File><Path>p</Path><MinVersion>1</MinVersion></File>
        <Application><ID>i</ID><MaxVersion>3</MaxVersion></Application>
        <File><MaxVersion>4</MaxVersion></File></PreLaunchAnalysis></Target></Targets>
        <Apps><App><Icons><Icon><Offset>1</Offset><MultiImage>true</MultiImage></Icon></Icons>
        <Icons3><i><TODO><Name>no</Name></TODO></i><i/></Icons3><Name>m</Name></App></Apps>)");
    ASSERT_EQ(m_model.Targets.size(), 1U);
    ASSERT_EQ(m_model.Targets[0]->Apps.size(), 1U);
    const CCasTargetApplication& application = *m_model.Targets[0]->Apps[0];
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
    // These repeat without a collection around them.
    const CCasPrelaunchAnalysis& analysis = m_model.Targets[0]->PreLaunchAnalysis;
    ASSERT_EQ(analysis.Files.size(), 2U);
    ASSERT_EQ(analysis.Applications.size(), 1U);
    EXPECT_EQ(Joined({analysis.Files[0]->Path, analysis.Files[0]->MinVersion,
                      analysis.Files[1]->MaxVersion, analysis.Applications[0]->ID,
                      analysis.Applications[0]->MaxVersion}),
              "p|1|4|i|3");
    ASSERT_EQ(m_model.Apps.size(), 1U);
    EXPECT_EQ(m_model.Apps[0]->Name, CStrW(u"m"));
    EXPECT_EQ(m_model.Apps[0]->Icons3.size(), 2U);
    ASSERT_EQ(m_model.Apps[0]->Icons.size(), 1U);
    EXPECT_EQ(m_model.Apps[0]->Icons[0]->Offset, 1U);
    EXPECT_EQ(m_model.Apps[0]->Icons[0]->MultiImage, 32014U);
}

}  // namespace
