#include "casmodel/isolation_environment.h"

#include "casmodel/document_test.h"
#include "platform/status.h"

namespace {

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
        SCOPED_TRACE(xml);
        EXPECT_EQ(ReadDocument(xml), ERROR_NOT_FOUND);
    }
    EXPECT_LT(ReadMissingDocument(), 0);
}

}  // namespace
