#include "platform/registry_fixture.h"

#include <algorithm>

#include "support/machine.h"
#include "support/registry_tree.h"
#include "support/system.h"

using testing::ElementsAre;

namespace {

class RegistryTest : public RegistryFixture, public testing::WithParamInterface<EMachine> {
protected:
    [[nodiscard]] std::u16string At(std::u16string_view path) const {
        return m_mount + std::u16string(u"\\").append(path);
    }

    std::optional<CTestMachine> m_inEffect = UseMachine(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Machines, RegistryTest, testing::ValuesIn(MachinesOfThisSystem()),
                         testing::PrintToStringParamName());

TEST_P(RegistryTest, LoadsAHiveUnderItsNameUntilItIsUnloaded) {
    const std::string bytes = CTestHive().Key(u"Software\\App").Dword(u"Build", 7).LoadableBytes();
    EXPECT_EQ(platform::UnloadHive(m_machine, m_mount.c_str()), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(Load(bytes), ERROR_SUCCESS);
    EXPECT_EQ(Load(bytes), AnswersByWine() ? ERROR_ALREADY_EXISTS : ERROR_ACCESS_DENIED);
    EXPECT_THAT(ReadRegistryTree(m_mount), ElementsAre("Software\\", "Software\\App\\",
                                                       "Software\\App\\Build: 4 07000000", "\\"));
    if (!AnswersByWine()) {  // which unloads a hive whose keys are open
        ASSERT_EQ(Open(At(u"Software")), ERROR_SUCCESS);
        EXPECT_EQ(platform::UnloadHive(m_machine, m_mount.c_str()), ERROR_ACCESS_DENIED);
        platform::CloseKey(std::exchange(m_key, nullptr));
    }
    EXPECT_EQ(platform::UnloadHive(m_machine, m_mount.c_str()), ERROR_SUCCESS);
    EXPECT_EQ(Open(m_mount), ERROR_FILE_NOT_FOUND);
}

TEST_P(RegistryTest, RefusesWhatIsNoHive) {
    for (const char* file : {"none", "none/hive"}) {
        EXPECT_EQ(LoadFile(m_folder.Name(file)),
                  file[4] == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND);
    }
    EXPECT_EQ(Load("Windows Registry Editor Version 5.00"),
              AnswersByWine() ? kNotRegistryFile : ERROR_BADDB);
    EXPECT_EQ(Open(m_mount), ERROR_FILE_NOT_FOUND);
}

TEST_P(RegistryTest, TellsWhetherAPrivilegeHadToBeTurnedOn) {
    const char16_t* const name = u"SeRestorePrivilege";
    EXPECT_EQ(platform::EnablePrivilege(name), 0);
    EXPECT_TRUE(platform::DisablePrivilege(name));
    if (GetParam() == EMachine::Described) {
        GTEST_SKIP() << "every privilege is always held";
    }
    EXPECT_EQ(Load(CTestHive().LoadableBytes()), ERROR_PRIVILEGE_NOT_HELD);
    EXPECT_EQ(platform::EnablePrivilege(name), 1);
    EXPECT_EQ(platform::EnablePrivilege(u"SeNoSuchPrivilege"), -1);
    EXPECT_FALSE(platform::DisablePrivilege(u"SeNoSuchPrivilege"));
}

TEST_P(RegistryTest, OpensAKeyByAnyCaseAndNothingElse) {
    ASSERT_EQ(Load(CTestHive().Key(u"Software\\\u00C4pp\\Sub").LoadableBytes()), ERROR_SUCCESS);
    for (const char16_t* path :
         {u"", u"software", u"SOFTWARE\\\u00E4PP", u"Software\\\u00C4pp\\Sub\\"}) {
        EXPECT_EQ(Open(At(path)), ERROR_SUCCESS) << Utf8(path);
    }
    for (const char16_t* path : {u"Soft", u"Software2", u"Sub", u"Software\\\u00C4pp\\Sub\\Sub",
                                 u"Software\\\u00C4p", u"Software\\\u00C4pp\\Su"}) {
        EXPECT_EQ(Open(At(path)), ERROR_FILE_NOT_FOUND) << Utf8(path);
    }
    EXPECT_EQ(platform::OpenKey(0, At(u""), m_key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(platform::GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_P(RegistryTest, OpensASubKeyWhateverWasEnumeratedBefore) {
    ASSERT_EQ(Load(CTestHive().Key(u"Abc\\Sub").Key(u"b").LoadableBytes()), ERROR_SUCCESS);
    ASSERT_EQ(Open(At(u"")), ERROR_SUCCESS);
    for (const std::uint32_t enumerated : {0U, 1U, 2U}) {
        std::u16string ignored;
        static_cast<void>(platform::EnumKey(m_key, enumerated, ignored));
        platform::KeyHandle key = nullptr;
        ASSERT_EQ(platform::OpenSubKey(m_key, u"aBC", key), ERROR_SUCCESS);
        platform::KeyHandle none = nullptr;
        EXPECT_EQ(platform::OpenSubKey(key, u"b", none), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(platform::OpenSubKey(m_key, u"Sub", none), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(none, nullptr);
        std::u16string name;
        EXPECT_EQ(platform::EnumKey(key, 0, name), ERROR_SUCCESS);
        EXPECT_EQ(name, u"Sub");
        platform::CloseKey(key);
    }
    platform::KeyHandle root = nullptr;
    EXPECT_EQ(platform::OpenSubKey(m_machine, m_mount, root), ERROR_SUCCESS);
    platform::CloseKey(root);
}

TEST_P(RegistryTest, EnumeratesUpToTheLast) {
    ASSERT_EQ(
        Load(CTestHive().Key(u"A").Key(u"b").Key(u"").Dword(u"x", 1).Dword(u"", 2).LoadableBytes()),
        ERROR_SUCCESS);
    ASSERT_EQ(Open(At(u"")), ERROR_SUCCESS);
    std::u16string name;
    std::uint32_t type = 0;
    EXPECT_EQ(platform::EnumKey(m_key, 1, name), ERROR_SUCCESS);
    EXPECT_EQ(name, u"b");
    EXPECT_EQ(platform::EnumKey(m_key, 2, name), ERROR_NO_MORE_ITEMS);
    // Wine has the values in the order of their names, all others in that of their making.
    EXPECT_EQ(platform::EnumValue(m_key, AnswersByWine() ? 0 : 1, name, type), ERROR_SUCCESS);
    EXPECT_EQ(name, u"");
    EXPECT_EQ(type, 4U);
    EXPECT_EQ(platform::EnumValue(m_key, 2, name, type), ERROR_NO_MORE_ITEMS);
}

TEST_P(RegistryTest, GivesEveryNameTypeAndItsDataAsTheyAre) {
    const std::pair<const char*, std::string> values[] = {
        {"none", "abc"},       {"", ""},
        {"a\\b", {"a\0b", 3}}, {"large", std::string(20000, '\xFE')},
        {"]\"[", "a"},         {"Zo\u00EB \u8BF4\u660E", {"a\0\0\0", 4}},
        {"\x01\r\n", "a"},     {"x00", {"a\0b\0\0\0\0", 7}},
    };
    CTestHive hive;
    RegistryTree expected = {KeyLine("")};
    for (const auto& [name, data] : values) {
        for (const std::uint32_t type : {0U, 1U, 2U, 3U, 4U, 7U, 0xFFFFFFFFU}) {
            const std::string typed = *name == 0 && type == 1 ? "" : name + std::to_string(type);
            hive.Value(Utf16(typed), type, data);
            expected.push_back(ValueLine("", typed, type, data));
        }
    }
    for (const std::string name : {"CasToOrvConversion", "Machine", "]\"[\x7F", "Zo\u00EB"}) {
        hive.Key(Utf16(name + "\\" + name));
        expected.push_back(KeyLine(name));
        expected.push_back(KeyLine(name + "\\" + name));
    }
    std::ranges::sort(expected);
    ASSERT_EQ(Load(hive.LoadableBytes()), ERROR_SUCCESS);
    EXPECT_EQ(ReadRegistryTree(m_mount), expected);
}

TEST_P(RegistryTest, QueriesAsMuchOfAValueAsThereIsRoomFor) {
    ASSERT_EQ(Load(CTestHive().Binary(u"Five", "12345").String(u"", u"d").LoadableBytes()),
              ERROR_SUCCESS);
    ASSERT_EQ(Open(At(u"")), ERROR_SUCCESS);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(platform::QueryValue(m_key, u"five", type, nullptr, size), ERROR_SUCCESS);
    EXPECT_EQ(size, 5U);
    std::string data = "......";
    size = 4;
    EXPECT_EQ(platform::QueryValue(m_key, u"FIVE", type, data.data(), size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(type, 3U);
    data = "......";
    EXPECT_EQ(platform::QueryValue(m_key, u"Five", type, data.data(), size), ERROR_SUCCESS);
    EXPECT_EQ(data, "12345.");
    EXPECT_EQ(platform::QueryValue(m_key, u"", type, data.data(), size), ERROR_SUCCESS);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(platform::QueryValue(m_key, u"Fiv", type, data.data(), size), ERROR_FILE_NOT_FOUND);
}

}  // namespace
