#include "casmodel/package.h"

#include <cmath>
#include <cstdint>
#include <initializer_list>

#include "casmodel/isolation_environment.h"
#include "platform/com.h"
#include "reporting/logger.h"
#include "support/test.h"

namespace {

// A model, read from the text of its document.
template <class T>
class CDocumentTest : public testing::Test {
protected:
    int ReadDocument(const std::string& xml) {
        return m_model.ReadFromFile(CFilePathW(m_folder.WriteFile("document.xml", xml)));
    }

    CTempFolder m_folder;
    T m_model;
};

using Numbers = std::vector<std::uint32_t>;

// The texts with "|" between them.
std::string Joined(std::initializer_list<CStrW> texts) {
    std::string all;
    for (const CStrW& text : texts) {
        all += (all.empty() ? "" : "|") + Utf8(text);
    }
    return all;
}

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
    EXPECT_EQ(platform::GuidToText(m_model.Guid), u"{0A1B2C3D-0000-0000-0000-000000000001}");
    EXPECT_EQ(Seconds(m_model.CreateTime), 1000U);
    EXPECT_EQ(Seconds(m_model.ModifyTime), 4294967296U);
    EXPECT_TRUE(m_model.UserrootExecuteRestricted && m_model.AsyncFontImport);
    EXPECT_FALSE(m_model.SupportLegacyClients);
    EXPECT_EQ(
        (Numbers{m_model.HashOfHashes[0], m_model.HashOfHashes[2], m_model.HashOfHashes256[0]}),
        (Numbers{0x0A, 3, 32}));
    EXPECT_EQ((Numbers{m_model.CreatePkgrVer.MajorUpper, m_model.CreatePkgrVer.MajorLower,
                       m_model.ModifyPkgrVer.MinorUpper, m_model.ModifyPkgrVer.MinorLower,
                       m_model.Version, m_model.DigitalSignature.SignatureType}),
              (Numbers{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(m_model.Targets.at(1)->Ver, 2U);
    EXPECT_EQ(m_model.Apps.size(), 1U);
    EXPECT_EQ(m_model.Scripts.size(), 1U);
    EXPECT_TRUE(m_model.PreLaunchAnalysis.Enabled && m_model.DigitalSignature.Enabled);
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
    const std::pair<const char*, double> cases[] = {
        {"40123.5", 40123.5}, {" -2.5e2x", -250},  {"+1,5", 1},   {"soon", 0},      {"--1", 0},
        {"0x1.8p1", 3},       {"1e999", HUGE_VAL}, {"1e-999", 0}, {"7\xC3\xA9", 7},
    };
    for (const auto& [text, value] : cases) {
        Read("<DigitalSignature><ExpirationDate>" + std::string(text) +
             "</ExpirationDate></DigitalSignature>");
        EXPECT_EQ(m_model.DigitalSignature.ExpirationDate, value) << text;
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
        EXPECT_EQ(ReadDocument(xml), ERROR_NOT_FOUND) << xml;
    }
    EXPECT_EQ(m_model.ReadFromFile(CFilePathW(m_folder.Name("missing.xml"))),
              HresultFromError(ERROR_FILE_NOT_FOUND));
}

TEST_F(ProfileTest, KeepsWhatStandsAheadOfABreakTheUnfinishedItemToo) {
    for (const char* end : {"", "</wrong>", "\xFF\xFF", "</s></Scripts></b><c"}) {
        SCOPED_TRACE(end);
        CCasProfile profile;
        const std::string xml =
            "<Package><Targets><a><Ver>1</Ver></a><b><Ver>2</Ver><Scripts><s>"
            "<Filename>x</Filename>";
        ASSERT_EQ(profile.ReadFromFile(CFilePathW(m_folder.WriteFile("b.profile", xml + end))), 0);
        EXPECT_EQ(profile.Targets.at(1)->Ver, 2U);
        EXPECT_EQ(profile.Targets.at(1)->Scripts.at(0)->Filename, CStrW(u"x"));
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
    const CCasProfile& nested = *m_model.SubProfiles.front();
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
    EXPECT_TRUE(target.UsePkgLevelScripts && !target.UsePkgPreLaunchAnalysis);
    ASSERT_EQ(target.OSes.size(), 2U);
    ASSERT_EQ(target.Services.size(), 2U);
    const CCasService& service = *target.Services[0];
    EXPECT_EQ((Numbers{target.HashOfHashes[0], target.HashOfHashes256[0], target.OSes[0]->Enum,
                       target.OSes[1]->Enum}),
              (Numbers{1, 2, 0, 8}));
    EXPECT_EQ(Joined({target.OSes[0]->ServicePacks, service.Security, service.VirtualPath}),
              R"(s|s|C:\a b\"x".exe)");
    EXPECT_TRUE(service.DeleteFlag && !service.Mangled && target.Services[1]->Mangled);
}

TEST_F(ProfileTest, FolderOfATargetIsNamedByGuidAndSignedVersion) {
    const std::pair<const char*, const char16_t*> cases[] = {
        {"<Guid>0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9</Guid><Ver>12</Ver>",
         u"0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_12"},
        {"<Ver>4294967295</Ver>", u"00000000-0000-0000-0000-000000000000_-1"},
        {"<Guid>damaged</Guid>", u"00000000-0000-0000-0000-000000000000_0"},
    };
    for (const auto& [elements, name] : cases) {
        EXPECT_EQ(ReadTarget(elements).GetFolderName(), CStrW(name)) << elements;
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
    const CCasTarget& target = *m_model.Targets.at(0);
    const CCasTargetApplication& application = *target.Apps.at(0);
    EXPECT_EQ(Joined({application.Name, application.InitialExe, application.InitialExeVirtual,
                      application.WorkingDir, application.WorkingDirVirtual,
                      application.CommandLine, application.Version}),
              "n|e|ev|w|wv|c|v");
    EXPECT_TRUE(!application.IEApp && application.IsIE64);
    ASSERT_EQ(application.FTAs.size(), 3U);
    const CCasFta& fta = *application.FTAs[1];
    EXPECT_EQ(fta.Name, CStrW(u"f"));
    EXPECT_TRUE(fta.Executables.empty());
    EXPECT_EQ(fta.MimeTypes, std::vector<CStrW>{u"t"});
    EXPECT_EQ(fta.Extensions, (std::vector<CStrW>{u".a", u"", u""}));
    // These repeat without a collection around them.
    const CCasPrelaunchAnalysis& analysis = target.PreLaunchAnalysis;
    ASSERT_EQ(analysis.Files.size(), 2U);
    ASSERT_EQ(analysis.Applications.size(), 1U);
    EXPECT_EQ(Joined({analysis.Files[0]->Path, analysis.Files[0]->MinVersion,
                      analysis.Files[1]->MaxVersion, analysis.Applications[0]->ID,
                      analysis.Applications[0]->MaxVersion}),
              "p|1|4|i|3");
    ASSERT_EQ(m_model.Apps.size(), 1U);
    EXPECT_EQ(m_model.Apps[0]->Name, CStrW(u"m"));
    EXPECT_EQ(m_model.Apps[0]->Icons3.size(), 2U);
    EXPECT_EQ(m_model.Apps[0]->Icons.at(0)->Offset, 1U);
    EXPECT_EQ(m_model.Apps[0]->Icons.at(0)->MultiImage, 32014U);
}

class IsolationEnvironmentTest : public CDocumentTest<CCasIsolationEnvironment> {
protected:
    void Read(const std::string& elements) {
        ASSERT_EQ(ReadDocument("<CitrixAIE><AIE>" + elements + "</AIE></CitrixAIE>"), 0);
    }
};

TEST_F(IsolationEnvironmentTest, ReadsEachElementIntoItsField) {
    Read(R"(
        <Applications><Name>no</Name></Applications>
        <Name>n</Name><Description>d</Description>
        <Security><ExeSecurityMode><Enhanced>e</Enhanced></ExeSecurityMode><ExeControlList>
            <a><ExePathName>x</ExePathName></a><b/></ExeControlList></Security>
        <NamedObjectDefaultRule><Description>1</Description></NamedObjectDefaultRule>
        <RegistryDefaultRule><UserRootLocation>2</UserRootLocation>
            <InstallRootLocation>3</InstallRootLocation><AccessFlags>
            <UserExecute>true</UserExecute><InstallExecute>1</InstallExecute>
            <PhysicalExecute>T</PhysicalExecute><InstallCopyOnWrite>false</InstallCopyOnWrite>
            </AccessFlags></RegistryDefaultRule>
        <FileSystemDefaultRule><VirtualizedName>4</VirtualizedName><PhysicalName>5</PhysicalName>
        </FileSystemDefaultRule><Rules/>)");
    ASSERT_EQ(m_model.Security.ExeControlList.size(), 2U);
    EXPECT_EQ(Joined({m_model.Name, m_model.Description, m_model.Security.ExeSecurityMode.Enhanced,
                      m_model.Security.ExeControlList[0]->ExePathName}),
              "n|d|e|x");
    EXPECT_EQ(Joined({m_model.NamedObjectDefaultRule.Description,
                      m_model.RegistryDefaultRule.UserRootLocation,
                      m_model.RegistryDefaultRule.InstallRootLocation,
                      m_model.FileSystemDefaultRule.VirtualizedName,
                      m_model.FileSystemDefaultRule.PhysicalName}),
              "1|2|3|4|5");
    EXPECT_TRUE(m_model.Rules.empty());
    // A flag is set by a text that begins with a T.
    const SCasAccessFlags& flags = m_model.RegistryDefaultRule.AccessFlags;
    EXPECT_TRUE(flags.UserExecute && flags.PhysicalExecute);
    EXPECT_FALSE(flags.InstallExecute || flags.InstallCopyOnWrite || flags.PhysicalCopyOnWrite);
}

TEST_F(IsolationEnvironmentTest, RulesHaveAttributesAndATypeNamedByAChild) {
    Read(R"(<Rules>
        <Rule Origin="~0041" x:TYPE="file" xmlns:x="urn:x" other="o">
            <RuleType><IsolatePerUser/></RuleType>
            <Description>d</Description><VirtualizedName>v</VirtualizedName></Rule>
        <Rule><RuleType><Redirect/><StrictIsolation>Ignore</StrictIsolation><Other/></RuleType>
        </Rule>
        <Rule type="t"/><Rule><RuleType><redirect/></RuleType><RuleType/></Rule></Rules>)");
    ASSERT_EQ(m_model.Rules.size(), 4U);
    const auto& rules = m_model.Rules;
    EXPECT_EQ(Joined({rules[0]->Origin, rules[0]->Type, rules[0]->Description,
                      rules[0]->VirtualizedName}),
              "A|file|d|v");
    EXPECT_EQ(rules[0]->RuleType, ECasRuleType::IsolatePerUser);
    EXPECT_TRUE(rules[1]->Origin.IsEmpty());
    EXPECT_EQ(rules[1]->RuleType, ECasRuleType::StrictIsolation);
    EXPECT_EQ(rules[2]->Type, CStrW(u"t"));
    EXPECT_EQ(rules[2]->RuleType, ECasRuleType::Ignore);
    EXPECT_EQ(rules[3]->RuleType, ECasRuleType::Redirect);
}

TEST_F(IsolationEnvironmentTest, TheRootIsFoundByItsWholePath) {
    EXPECT_EQ(ReadDocument("<citrixaie><Other><AIE><Name>no</Name></AIE></Other><Other/>"
                           "<aie><Name>n</Name></aie><AIE><Name>late</Name></AIE></citrixaie>"),
              0);
    EXPECT_EQ(m_model.Name, CStrW(u"n"));
    for (const char* xml : {"<AIE/>", "<CitrixAIE/>", "<Other><AIE/></Other>", ""}) {
        EXPECT_EQ(ReadDocument(xml), ERROR_NOT_FOUND) << xml;
    }
}

TEST(PackageTest, AFailureIsLoggedOnceWithTheFileAndCannotBeRetried) {
    const CTempFolder folder;
    folder.WriteFile("My.Other.profile", "<Other/>");
    const std::size_t lines = GetLogger().GetLines().size();
    CCasPackage package;
    EXPECT_EQ(package.Open(CStrW(folder.Name("My.Other.profile"))), ERROR_NOT_FOUND);
    EXPECT_EQ(package.GetName(), CStrW(u"My.Other"));
    EXPECT_EQ(package.Open(CStrW(folder.Name("My.Other.profile"))), ERROR_ALREADY_ASSIGNED);
    ASSERT_EQ(GetLogger().GetLines().size(), lines + 1);
    const std::string line = Utf8(GetLogger().GetLines().back());
    EXPECT_NE(line.find("Failed to read the file '" + Utf8(folder.Name("My.Other.profile"))),
              std::string::npos)
        << line;
}

}  // namespace
