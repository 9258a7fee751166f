#include <filesystem>

#include "conversion/conversion.h"

namespace {

constexpr const char* kHead = "\" ServiceType=\"16\" StartType=\"0\" ErrorControl=\"0\" ";
constexpr const char* kBinary = "Binary=\"%CSIDL_WINDOWS%\\svc.exe\"";

std::string Service(const std::string& name, const std::string& elements = {},
                    const std::string& account = "LocalSystem") {
    return "<Name>" + name + "</Name><Type>16</Type><VirtualPath>\"C:\\Windows\\svc.exe\"" +
           "</VirtualPath><AccountName>" + account + "</AccountName>" + elements;
}

class ServiceScriptConversionTest : public ConversionTest {
protected:
    // The element of a service to create; empty when there is none.
    [[nodiscard]] std::string Created(const std::string& name) const {
        const std::string all = Collection("CreateServices");
        const std::size_t start = all.find("<Service Name=\"" + name + "\"");
        return start == std::string::npos ? "" : all.substr(start, all.find('\n', start) - start);
    }
};

TEST_F(ServiceScriptConversionTest, ProfilesServicesAreCreatedAndDeleted) {
    CTestTarget target = TestTarget();
    target
        .Service(Service("Full",
                         "<DisplayName>The service</DisplayName><Description>It serves"
                         "</Description><StartType>2</StartType><ErrorControl>3</ErrorControl>"))
        .Service(Service("full", "<Description>a double</Description>"))
        .Service(Service("Checked",
                         "<Type>288</Type><StartType>5</StartType><ErrorControl>4"
                         "</ErrorControl><DisplayName>" +
                             std::string(257, 'n') + "</DisplayName>"))
        .Service(Service("Unknown", "<Type>4</Type>"))
        .Service(Service("Gone", "<DeleteFlag>1</DeleteFlag><Type>4</Type>"));
    const std::vector<std::pair<std::string, std::string>> kAccounts = {
        {R"(CORP\svc)", R"(CORP\svc)"},
        {R"(CORP\)", R"(CORP\)"},
        {"svc", R"(.\svc)"},
        {"", R"(.\)"},
        {"LOCALSYSTEM", ""},
        {R"(NT AUTHORITY\LocalSystem)", ""},
        {R"(a\b\LocalSystem)", R"(a\b\LocalSystem)"},
    };
    for (const auto& [account, user] : kAccounts) {
        target.Service(Service("of " + account, "", account));
    }
    ASSERT_EQ(Convert(target), 0U);
    EXPECT_TRUE(m_logLines.empty());
    EXPECT_EQ(Created("Full"),
              "<Service Name=\"Full\" ServiceType=\"16\" StartType=\"2\" ErrorControl=\"3\" "
              "DisplayName=\"The service\" Description=\"It serves\" " +
                  std::string(kBinary) + " />");
    EXPECT_EQ(Created("Checked"),
              "<Service Name=\"Checked\" ServiceType=\"288\" StartType=\"4\" ErrorControl=\"1\" " +
                  std::string(kBinary) + " />");
    for (const auto& [account, user] : kAccounts) {
        EXPECT_EQ(Created("of " + account), "<Service Name=\"of " + account + kHead + kBinary +
                                                (user.empty() ? "" : " Username=\"" + user + "\"") +
                                                " />");
    }
    EXPECT_EQ(Created("full") + Created("Unknown"), "");
    EXPECT_EQ(Collection("DeleteServices"),
              "<DeleteServices>\n<Service Name=\"Gone\" />\n</DeleteServices>\n");
    EXPECT_TRUE(WasSeen("|5/10 Processing services.|5/12 Processing service Gone|"));
    EXPECT_TRUE(WasSeen("|5/10 Processing services.|12/12 Processing service of a\\b"));
}

TEST_F(ServiceScriptConversionTest, CapturedServiceKeysAreClaimedAndTheirValuesStay) {
    CTestHive hive;
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Services\both)").Dword(u"Start", 3);
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Services\Only)").Dword(u"Type", 16);
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Services\Only\Parameters)");
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Control\App)");
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\ServicesX\App)");
    const CTestTarget target = TestTarget(hive).Service(Service("Both"));
    ASSERT_EQ(Convert(target), 0U);
    // Known by its name alone, the other one is no service that could be created.
    EXPECT_EQ(Collection("CreateServices"), "<CreateServices>\n<Service Name=\"Both" +
                                                std::string(kHead) + kBinary +
                                                " />\n</CreateServices>\n");
    for (const char* key :
         {"", R"(\Control)", R"(\Control\App)", R"(\ServicesX)", R"(\ServicesX\App)"}) {
        EXPECT_TRUE(Holds("CreateKeys", "CurrentControlSet" + std::string(key) + '"')) << key;
    }
    EXPECT_FALSE(Holds("CreateKeys", R"(Services")") || Holds("CreateKeys", R"(Services\)"));
    const std::string values = Collection("CreateValues");
    EXPECT_NE(values.find(R"(Services\both" Value="Start")"), std::string::npos);
    EXPECT_NE(values.find(R"(Services\Only" Value="Type")"), std::string::npos);
}

TEST_F(ServiceScriptConversionTest, ScriptsOfBothScopesBecomeActions) {
    CTestPackage package;
    package.Script("setup.cmd", "of the profile")
        .Script("off.cmd", "off", "<Disabled>1</Disabled>")
        .Script("lost.cmd", "lost")
        .Script("a/b", "no name", "<Prelaunch>1</Prelaunch>")
        .Script("last 5%.cmd", "last", "<Isolated>1</Isolated><Cmdline>-x</Cmdline>")
        .Target(TestTarget()
                    .Script("setup.cmd", "of the target")
                    .Script("before.cmd", "before", "<Prelaunch>1</Prelaunch>"))
        .Target(OtherTarget());
    Write(package);
    std::filesystem::remove(m_folder.Path("package/Scripts/lost.cmd"));
    ASSERT_EQ(ConvertFile(), 0U);
    const auto action = [](const std::string& name, const std::string& source) {
        return "<Action ActionType=\"0\" Path=\"" + name + "\" RelativeSource=\"InstallActions" +
               source + "\" ActionMode=\"0\" Wait=\"1\" />\n";
    };
    const std::string ofProfile = action("Profile_setup.cmd", "\\Profile_setup.cmd") +
                                  action("Profile_lost.cmd", "\\Profile_lost.cmd") +
                                  action("Profile_last 5|%.cmd", "\\Profile_last 5|%.cmd");
    EXPECT_EQ(Collection("PreActions"), "<PreActions>\n" + action("Profile_a/b", "") +
                                            action("Target_before.cmd", "\\Target_before.cmd") +
                                            "</PreActions>\n");
    EXPECT_EQ(Collection("PostActions"), "<PostActions>\n" + ofProfile +
                                             action("Target_setup.cmd", "\\Target_setup.cmd") +
                                             "</PostActions>\n");
    const std::string folder = "InstallActions/";
    EXPECT_EQ(Payload(), (std::vector<std::string>{
                             folder + "Profile_last 5%.cmd", folder + "Profile_setup.cmd",
                             folder + "Target_before.cmd", folder + "Target_setup.cmd"}));
    EXPECT_EQ(m_folder.ReadFile("out/" + kGuid + "/" + folder + "Target_setup.cmd"),
              "of the target");
    // The package's scripts go with every target.
    EXPECT_EQ(Collection("PostActions", kOtherGuid),
              "<PostActions>\n" + ofProfile + "</PostActions>\n");
    const std::string copy = "Error: Failed to copy file '";
    const auto reason = [](int error) {
        return "' from CAS package.  " + Utf8(GetSystemErrorMessage(error));
    };
    EXPECT_THAT(m_logLines, testing::IsSupersetOf(
                                {Line(copy, "Scripts\\lost.cmd" + reason(ERROR_FILE_NOT_FOUND)),
                                 Line(copy, "Scripts" + reason(ERROR_ACCESS_DENIED))}));
    EXPECT_TRUE(WasSeen("|6/10 Processing scripts.|2/7 Processing profile script off.cmd|"));
    EXPECT_TRUE(WasSeen("|6/10 Processing scripts.|7/7 Processing target script before.cmd|"));
}

}  // namespace
