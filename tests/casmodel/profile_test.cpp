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
        <Version>5</Version>
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
    ASSERT_EQ(ReadDocument(R"(<package><VERSION>1</VERSION>
        <Other><Version>2</Version><Targets><a/></Targets><Package><Version>3</Version></Package>
        </Other><Version><Version>4</Version></Version></package>)"),
              0);
    EXPECT_EQ(m_model.Version, 1U);
    EXPECT_TRUE(m_model.Targets.empty());
}

TEST_F(ProfileTest, RepeatedElementsOverwriteOrAppendAndEmptyOnesChangeNothing) {
    Read(R"(<Version>1</Version><Version>2</Version><Version/><Version></Version>
            <Scripts><a/></Scripts><Scripts/><Scripts><b/></Scripts>)");
    EXPECT_EQ(m_model.Version, 2U);
    EXPECT_EQ(m_model.Scripts.size(), 2U);
}

TEST_F(ProfileTest, TextIsTakenOutOfItsEscapesOnce) {
    Read(R"(<Scripts><s><Filename>~007E~~|a~b|~007E0041| ~41</Filename></s></Scripts>)");
    ASSERT_EQ(m_model.Scripts.size(), 1U);
    EXPECT_EQ(m_model.Scripts[0]->Filename, CStrW(u"~~|a~b|~0041| ~41"));
}

TEST_F(ProfileTest, WithoutItsRootADocumentIsNotFound) {
    for (const char* xml : {"", "no xml", "<Other><Package/></Other>", "<Packages/>",
                            "<!DOCTYPE Package><Package/>"}) {
        SCOPED_TRACE(xml);
        EXPECT_EQ(ReadDocument(xml), ERROR_NOT_FOUND);
    }
    EXPECT_EQ(ReadMissingDocument(), HresultFromError(ERROR_FILE_NOT_FOUND));
}

TEST_F(ProfileTest, KeepsWhatStandsAheadOfABreakTheUnfinishedItemToo) {
    for (const char* end : {"", "</wrong>", "\xFF\xFF"}) {
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

}  // namespace
