#include "casmodel/isolation_environment.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/file_path.h"
#include "platform/status.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

class IsolationEnvironmentTest : public testing::Test {
protected:
    int ReadDocument(const std::string& xml) {
        return m_environment.ReadFromFile(CFilePathW(m_folder.WriteFile("SandboxData.xml", xml)));
    }
    void Read(const std::string& elements) {
        ASSERT_EQ(ReadDocument("<CitrixAIE><AIE>" + elements + "</AIE></CitrixAIE>"), 0);
    }

    CTempFolder m_folder;
    CCasIsolationEnvironment m_environment;
};

TEST_F(IsolationEnvironmentTest, ReadsEachElementIntoItsField) {
    Read(R"(
        <Applications><Name>no</Name></Applications>
        <Name>n</Name><Description>d</Description>
        <Security><ExeSecurityMode><Enhanced>e</Enhanced></ExeSecurityMode><ExeControlList>
            <a><ExePathName>x</ExePathName></a><b/></ExeControlList></Security>
        <NamedObjectDefaultRule><Description>1</Description></NamedObjectDefaultRule>
        <RegistryDefaultRule><UserRootLocation>2</UserRootLocation>
            <InstallRootLocation>3</InstallRootLocation></RegistryDefaultRule>
        <FileSystemDefaultRule><VirtualizedName>4</VirtualizedName><PhysicalName>5</PhysicalName>
        </FileSystemDefaultRule><Rules/>)");
    EXPECT_EQ(m_environment.Name, CStrW(u"n"));
    EXPECT_EQ(m_environment.Description, CStrW(u"d"));
    EXPECT_EQ(m_environment.Security.ExeSecurityMode.Enhanced, CStrW(u"e"));
    ASSERT_EQ(m_environment.Security.ExeControlList.size(), 2U);
    EXPECT_EQ(m_environment.Security.ExeControlList[0]->ExePathName, CStrW(u"x"));
    EXPECT_EQ(m_environment.NamedObjectDefaultRule.Description, CStrW(u"1"));
    EXPECT_EQ(m_environment.RegistryDefaultRule.UserRootLocation, CStrW(u"2"));
    EXPECT_EQ(m_environment.RegistryDefaultRule.InstallRootLocation, CStrW(u"3"));
    EXPECT_EQ(m_environment.FileSystemDefaultRule.VirtualizedName, CStrW(u"4"));
    EXPECT_EQ(m_environment.FileSystemDefaultRule.PhysicalName, CStrW(u"5"));
    EXPECT_TRUE(m_environment.Rules.empty());
}

TEST_F(IsolationEnvironmentTest, RulesHaveAttributesAndATypeNamedByAChild) {
    Read(R"(<Rules>
        <Rule Origin="~0041" x:TYPE="file" xmlns:x="urn:x" other="o"><RuleType><IsolatePerUser/></RuleType>
            <Description>d</Description><VirtualizedName>v</VirtualizedName></Rule>
        <Rule><RuleType><Redirect/><StrictIsolation>Ignore</StrictIsolation><Unknown/></RuleType></Rule>
        <Rule type="t"/><Rule><RuleType><redirect/></RuleType><RuleType/></Rule></Rules>)");
    ASSERT_EQ(m_environment.Rules.size(), 4U);
    const auto& rules = m_environment.Rules;
    EXPECT_EQ(rules[0]->Origin, CStrW(u"A"));
    EXPECT_EQ(rules[0]->Type, CStrW(u"file"));
    EXPECT_EQ(rules[0]->RuleType, ECasRuleType::IsolatePerUser);
    EXPECT_EQ(rules[0]->Description, CStrW(u"d"));
    EXPECT_EQ(rules[0]->VirtualizedName, CStrW(u"v"));
    EXPECT_TRUE(rules[1]->Origin.IsEmpty());
    EXPECT_EQ(rules[1]->RuleType, ECasRuleType::StrictIsolation);
    EXPECT_EQ(rules[2]->Type, CStrW(u"t"));
    EXPECT_EQ(rules[2]->RuleType, ECasRuleType::Ignore);
    EXPECT_EQ(rules[3]->RuleType, ECasRuleType::Redirect);
}

TEST_F(IsolationEnvironmentTest, AFlagIsSetByATextThatBeginsWithT) {
    Read(R"(<RegistryDefaultRule><AccessFlags><UserExecute>true</UserExecute>
        <InstallExecute>1</InstallExecute><PhysicalExecute>T</PhysicalExecute>
        <InstallCopyOnWrite>false</InstallCopyOnWrite><PhysicalCopyOnWrite/></AccessFlags>
        </RegistryDefaultRule>)");
    const SCasAccessFlags& flags = m_environment.RegistryDefaultRule.AccessFlags;
    EXPECT_TRUE(flags.UserExecute);
    EXPECT_FALSE(flags.InstallExecute);
    EXPECT_TRUE(flags.PhysicalExecute);
    EXPECT_FALSE(flags.InstallCopyOnWrite);
    EXPECT_FALSE(flags.PhysicalCopyOnWrite);
}

TEST_F(IsolationEnvironmentTest, TheRootIsFoundByItsWholePath) {
    EXPECT_EQ(ReadDocument("<citrixaie><Other><AIE><Name>no</Name></AIE></Other><Other/>"
                           "<aie><Name>n</Name></aie><AIE><Name>late</Name></AIE></citrixaie>"),
              0);
    EXPECT_EQ(m_environment.Name, CStrW(u"n"));
    for (const char* xml : {"<AIE/>", "<CitrixAIE/>", "<Other><AIE/></Other>", ""}) {
        SCOPED_TRACE(xml);
        EXPECT_EQ(ReadDocument(xml), ERROR_NOT_FOUND);
    }
    EXPECT_LT(m_environment.ReadFromFile(CFilePathW(m_folder.Name("missing.xml"))), 0);
}

}  // namespace
