#include "platform/machine.h"

#include "platform/answers.h"
#include "platform/described/description_in_effect.h"
#include "support/machine.h"
#include "support/system.h"
#include "support/test.h"

namespace {

using platform::SMachineDescription;

class MachineDescriptionTest : public testing::Test {
protected:
    // The problem with a description, without the file's name; empty when it was read.
    std::string Read(std::string_view toml) {
        m_folder.WriteFile("m.toml", toml);
        const std::string file = m_folder.Path("m.toml").string();
        std::u16string problem;
        if (platform::ReadMachineDescription(file, m_read, problem)) {
            return {};
        }
        const std::string text = Utf8(problem);
        EXPECT_TRUE(text.starts_with(file + ":")) << text;
        return text.substr(file.size());
    }

    CTempFolder m_folder;
    SMachineDescription m_read;
};

TEST_F(MachineDescriptionTest, WhatIsWrittenReadsBack) {
    SMachineDescription machine = platform::GetBuiltInMachine();
    EXPECT_EQ(Read(platform::FormatMachineDescription(machine)), "");
    EXPECT_EQ(m_read, machine);

    machine.version = {6, 1, false};
    machine.locale.clear();
    machine.folders = {{u"CSIDL_FONTS", uR"(D:\it's so\)"},
                       {u"CSIDL_PROFILE", uR"(\\s\h\ü)"},
                       {u"CSIDL_RECENT", uR"(\\?\D:\)"},
                       {u"CSIDL_SENDTO", uR"(\\?\unc\s)"}};
    machine.environment = {{u"a b'\"\\=", u"x"},
                           {u"Temp", uR"(it's "so")"},
                           {u"Tmp", u"\t\n\r\x1B\x7F' \u2028\U0001F600"}};
    machine.environment.erase(machine.environment.begin());
    machine.drives = {{u'C', "/mnt/c \"d\""}, {u'Z', "/"}};
    machine.shares = {{uR"(\\server\Ö$)", "/mnt/ö"}};
    machine.volatileHives.clear();
    EXPECT_EQ(Read(platform::FormatMachineDescription(machine)), "");
    EXPECT_EQ(m_read, machine);
}

TEST_F(MachineDescriptionTest, WhatIsLeftOutIsAsOnTheBuiltInMachine) {
    EXPECT_EQ(Read(""), "");
    EXPECT_EQ(m_read, platform::GetBuiltInMachine());

    SMachineDescription expected = platform::GetBuiltInMachine();
    expected.version = {6, 3, true};
    expected.folders = {{u"CSIDL_FONTS", uR"(D:\F)"}};
    expected.drives.clear();
    EXPECT_EQ(Read("[system]\nversion = \"6.3\"\n[folders]\nCSIDL_FONTS = 'D:\\F'\n[drives]\n"),
              "");
    EXPECT_EQ(m_read, expected);
}

TEST_F(MachineDescriptionTest, WhatIsWrongIsNamedWithItsLineAndKey) {
    const std::vector<std::pair<std::string, std::string>> problems = {
        {"\n[machine]\n", ":2: [machine]: is no section"},
        {"folders = 1\n", ":1: [folders]: must be a section"},
        {"[system]\nname = 1\n", ":2: [system] \"name\": is no key"},
        {"[system]\nversion = 10.0\n", ":2: [system] \"version\": must be a text"},
        {"[system]\nversion = \"10\"\n", ":2: [system] \"version\": must be two numbers"},
        {"[system]\nversion = \"10.-1\"\n", ":2: [system] \"version\": must be two numbers"},
        {"[system]\nworkstation = \"yes\"\n", ":2: [system] \"workstation\": must be true"},
        {"[system]\nlocale = \"en US\"\n", ":2: [system] \"locale\": must be a locale"},
        {"[system]\nwindows = 'Windows'\n", ":2: [system] \"windows\": must be a full"},
        {"[user]\nsid = 'S-1-5-x'\n", ":2: [user] \"sid\": must be a SID"},
        {"[folders]\nCSIDL_FONT = 'C:\\F'\n", ":2: [folders] \"CSIDL_FONT\": is no special"},
        {"[folders]\nCSIDL_FONTS = 'C:F'\n", ":2: [folders] \"CSIDL_FONTS\": must be a full"},
        {"[folders]\nCSIDL_FONTS = 'C:\\a/b'\n", ":2: [folders] \"CSIDL_FONTS\": must be a full"},
        {"[folders]\nCSIDL_FONTS = 'C:\\\\'\n", ":2: [folders] \"CSIDL_FONTS\": must be a full"},
        {"[system]\nwindows = '\\\\s:\\h'\n", ":2: [system] \"windows\": must be a full"},
        {"[system]\nwindows = '\\\\?\\C:a'\n", ":2: [system] \"windows\": must be a full"},
        {"[environment]\nA = \"x\\u0000\"\n", ":2: [environment] \"A\": must not hold"},
        {"[environment]\n'A=B' = 'x'\n", ":2: [environment] \"A=B\": is no name"},
        {"[environment]\nTmp = 'x'\nTMP = 'x'\n", "differs only in letter case"},
        {"[drives]\n'Z:\\' = '/'\n", ":2: [drives] \"Z:\\\": must be a letter"},
        {"[drives]\n'Z:' = 'mnt'\n", ":2: [drives] \"Z:\": must be a folder"},
        {"[drives]\n'Z:' = '/'\n'z:' = '/'\n", "differs only in letter case"},
        {"[shares]\n'\\\\s' = '/'\n", ":2: [shares] \"\\\\s\": must be \\\\server\\share"},
        {"[shares]\n'\\\\s,t\\u' = '/'\n", "must be \\\\server\\share"},
        {"[shares]\n'\\\\s\\h\\a' = '/'\n", ":2: [shares] \"\\\\s\\h\\a\": must be"},
        {"[shares]\n'\\\\s\\h' = '/'\n'\\\\S\\h' = '/'\n", "differs only in letter case"},
        {"[registry]\nhivelist = 'x'\n", ":2: [registry] \"hivelist\": must be a list"},
        {"[registry]\nhivelist = ['x']\n", ":2: [registry] \"hivelist\": every name"},
        {"[user]\n\nsid = S\n", ":3: "},
        {"[user]\nsid = \"\xFF\"\n", ":2: "},
    };
    for (const auto& [toml, problem] : problems) {
        SCOPED_TRACE(toml);
        m_read = SMachineDescription();
        EXPECT_NE(Read(toml).find(problem), std::string::npos) << Read(toml);
        EXPECT_EQ(m_read, SMachineDescription());
    }
}

// Depth and size that would exhaust the stack or the memory.
TEST_F(MachineDescriptionTest, HostileFilesAreRefused) {
    const std::string dots = "a" + Repeat(".a", 200000);
    for (const std::string& toml :
         {dots + " = 1\n", "[" + dots + "]\n", "a = " + std::string(200000, '['),
          std::string(std::size_t{2} << 20, '\n')}) {
        EXPECT_NE(Read(toml), "");
    }
    std::u16string problem;
    EXPECT_FALSE(platform::ReadMachineDescription(m_folder.Path().string(), m_read, problem));
    EXPECT_FALSE(platform::ReadMachineDescription("/dev/zero", m_read, problem));
}

class LoadMachineDescriptionTest : public MachineDescriptionTest {
protected:
    ~LoadMachineDescriptionTest() override { Load(""); }

    int Load(const std::string& file) {
        SetEnvironment("ORVCASCONV_MACHINE", file);
        return platform::LoadMachine(m_problem);
    }

    std::u16string m_problem;
};

TEST_F(LoadMachineDescriptionTest, TheEnvironmentNamesTheDescription) {
    const std::string file = m_folder.Path("m.toml").string();
    const std::u16string before = platform::GetUserSid();
    m_folder.WriteFile("m.toml", "[user]\nsid = 'S-1-5-18'\n");
    ASSERT_EQ(Load(file), ERROR_SUCCESS);
    EXPECT_EQ(platform::GetUserSid(), u"S-1-5-18");

    // What was answered from an unchanged description stays true.
    const std::uint64_t generation = platform::GetMachineGeneration();
    ASSERT_EQ(Load(file), ERROR_SUCCESS);
    EXPECT_EQ(platform::GetMachineGeneration(), generation);

    m_folder.WriteFile("m.toml", "[user]\nsid = 18\n");
    EXPECT_EQ(Load(file), ERROR_INVALID_DATA);
    EXPECT_EQ(platform::GetLastError(), ERROR_INVALID_DATA);
    EXPECT_NE(Utf8(m_problem).find("m.toml:2: [user] \"sid\""), std::string::npos);
    EXPECT_EQ(platform::GetUserSid(), u"S-1-5-18");

    // On Windows too, where otherwise the running machine answers.
    for (const char* name : {"built-in", ""}) {
        ASSERT_EQ(Load(name), ERROR_SUCCESS);
        EXPECT_EQ(platform::GetUserSid(),
                  *name == 0 ? before : platform::GetBuiltInMachine().userSid);
        EXPECT_NE(platform::GetMachineGeneration(), generation);
    }
    const std::filesystem::path folder = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.Path());
    m_folder.WriteFile("built-in", "[user]\nsid = 'S-1-5-19'\n");
    ASSERT_EQ(Load("./built-in"), ERROR_SUCCESS);
    std::filesystem::current_path(folder);
    EXPECT_EQ(platform::GetUserSid(), u"S-1-5-19");
}

TEST(MachineTest, OnlyFourSpecialFoldersAreMissingFromTheBuiltInMachine) {
    const CTestMachine machine = CTestMachine::BuiltIn();
    std::u16string path;
    std::string missing;
    for (const platform::SSpecialFolder& folder : platform::kSpecialFolders) {
        if (!platform::GetSpecialFolder(folder.csidl, path)) {
            missing += Utf8(folder.name) + " ";
        }
    }
    EXPECT_EQ(missing,
              "CSIDL_ALTSTARTUP CSIDL_COMMON_OEM_LINKS CSIDL_COMPUTERSNEARME "
              "CSIDL_RESOURCES_LOCALIZED ");
    ASSERT_TRUE(platform::GetSpecialFolder(41, path));
    EXPECT_EQ(path, uR"(C:\Windows\SysWOW64)");
    ASSERT_TRUE(platform::GetLocalAppDataLow(path));
    EXPECT_EQ(path, uR"(C:\Users\User\AppData\LocalLow)");
    for (const char16_t* name : platform::kEnvironmentVariables) {
        EXPECT_TRUE(platform::GetEnvironmentText(name, path)) << Utf8(name);
    }
}

// A live machine is described from its answers alone.
TEST(MachineTest, TheAnswersAreWrittenAsTheDescriptionIs) {
    const CTestMachine machine = CTestMachine::BuiltIn().Drive(u'C', "/mnt/c");
    const std::string answers =
        platform::FormatAnswers(platform::AskMachine(platform::GetAnswers().machine));
    EXPECT_EQ(platform::DescribeMachine(),
              answers + "\n[drives]\n\"C:\" = \"/mnt/c\"\n\"Z:\" = \"/\"\n\n[shares]\n");
    // It answers only what it has.
    const CTestMachine other = CTestMachine().Environment(u"Temp", u"x");
    std::u16string text = u"old";
    EXPECT_TRUE(platform::GetEnvironmentText(u"TEMP", text));
    EXPECT_EQ(text, u"x");
    EXPECT_FALSE(platform::GetEnvironmentText(u"Tmp", text));
    EXPECT_FALSE(platform::GetWindowsFolder(text));
    EXPECT_FALSE(platform::GetSpecialFolder(36, text));
    EXPECT_FALSE(platform::GetSpecialFolder(999, text));
    EXPECT_EQ(text, u"x");
}

}  // namespace
