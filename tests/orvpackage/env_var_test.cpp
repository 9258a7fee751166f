#include "orvpackage/env_var_collections.h"

#include "orvpackage/package_fixture.h"

namespace {

using EnvVarTest = PackageTest;

TEST_F(EnvVarTest, OneVariableOfANameForEachScope) {
    auto& variables = m_package.Get<COrvCreateEnvVarsCollection>();
    EXPECT_NE(variables.AddItem(u"PATH", false), nullptr);
    EXPECT_EQ(variables.AddItem(u"path", false), nullptr);
    EXPECT_NE(variables.AddItem(u"PATH", true), nullptr);
    EXPECT_EQ(SavedItems(), "<CreateEnvVars>\n</CreateEnvVars>\n");  // no values
}

TEST_F(EnvVarTest, ValueIsPortableAndTheNameStandsAsItIs) {
    COrvCreateEnvVar* const variable =
        m_package.Get<COrvCreateEnvVarsCollection>().AddItem(u"100%|C:\\Program Files", true);
    variable->SetValue(uR"(%SystemDrive%\bin;C:\Program Files\a;50%)");
    variable->InstallMode = 255;
    m_package.Get<COrvDeleteEnvVarsCollection>().AddItem(u"OLD", false);
    EXPECT_EQ(SavedItems(),
              "<CreateEnvVars>\n<EnvVar Variable=\"100%|C:\\Program Files\" User=\"1\" "
              "Value=\"%SystemDrive%\\bin;%CSIDL_PROGRAM_FILES%\\a;50|%\" InstallMode=\"255\" />\n"
              "</CreateEnvVars>\n<DeleteEnvVars>\n<EnvVar Variable=\"OLD\" User=\"0\" />\n"
              "</DeleteEnvVars>\n");
}

TEST_F(EnvVarTest, ReadsScopeAndModeByTheirRules) {
    const struct {
        const char* attributes;
        const char* written;
    } kCases[] = {
        {R"()", R"(User="0" Value="v" InstallMode="0")"},
        {R"(User="" InstallMode="1a")", R"(User="1" Value="v" InstallMode="20")"},
        {R"(User="00" InstallMode="300")", R"(User="1" Value="v" InstallMode="44")"},
        {R"(User="0" InstallMode="x")", R"(User="0" Value="v" InstallMode="33")"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.attributes);
        m_package.Get<COrvCreateEnvVarsCollection>().Clear();
        Read(std::string(R"(<CreateEnvVars><EnvVar Variable="a" Value="v" )") + test.attributes +
             "/></CreateEnvVars>");
        EXPECT_EQ(SavedItems(), std::string("<CreateEnvVars>\n<EnvVar Variable=\"a\" ") +
                                    test.written + " />\n</CreateEnvVars>\n");
    }
}

}  // namespace
