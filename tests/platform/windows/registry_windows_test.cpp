#include "platform/registry_fixture.h"
#include "support/machine.h"
#include "support/windows/import.h"

namespace {

constexpr DWORD kMostUnits = 32767;  // for the name of a value, with its terminator

class WindowsRegistryTest : public RegistryFixture {
protected:
    [[nodiscard]] std::vector<std::size_t> LengthsOfNames(std::size_t count) const {
        std::vector<std::size_t> lengths;
        for (std::uint32_t i = 0; i < count; ++i) {
            std::u16string name;
            std::uint32_t type = 0;
            EXPECT_EQ(platform::EnumValue(m_key, i, name, type), ERROR_SUCCESS);
            lengths.push_back(name.size());
        }
        return lengths;
    }
};

TEST_F(WindowsRegistryTest, LoadsNoFileThatWouldBecomeAHiveByThat) {
    m_folder.WriteFile("empty");
    // The system makes a hive of a file that is not there, or has nothing in it.
    const auto load =
        ReplaceImport<decltype(RegLoadKeyW)>("RegLoadKeyW", [](HKEY, LPCWSTR, LPCWSTR file) {
            CloseHandle(CreateFileW(file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
            return LSTATUS{ERROR_SUCCESS};
        });
    const std::pair<const char*, int> cases[] = {{"none", ERROR_FILE_NOT_FOUND},
                                                 {"none/none", ERROR_PATH_NOT_FOUND},
                                                 {"empty", ERROR_BADDB}};
    for (const auto& [name, status] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(LoadFile(m_folder.Name(name)), status);
        EXPECT_EQ(platform::GetLastError(), status);
    }
    EXPECT_FALSE(m_folder.Exists("none"));
}

TEST_F(WindowsRegistryTest, GivesTheSystemsReasonNotToLoad) {
    LSTATUS answer = 0;
    const auto load = ReplaceImport<decltype(RegLoadKeyW)>(
        "RegLoadKeyW", [&](HKEY, LPCWSTR, LPCWSTR) { return answer; });
    const std::u16string file = m_folder.WriteFile("hive", "bytes");
    for (const int reason : {ERROR_SHARING_VIOLATION, ERROR_PRIVILEGE_NOT_HELD, kNotRegistryFile}) {
        answer = reason;
        EXPECT_EQ(LoadFile(file), reason);
        EXPECT_EQ(platform::GetLastError(), reason);
    }
}

TEST_F(WindowsRegistryTest, AFileThatIsNoHiveLeavesTheHiveOfAnotherLoaded) {
    ASSERT_EQ(Load(CTestHive().Key(u"Key").LoadableBytes()), ERROR_SUCCESS);
    const auto load = ReplaceImport<decltype(RegLoadKeyW)>(
        "RegLoadKeyW", [](HKEY, LPCWSTR, LPCWSTR) { return LSTATUS{kNotRegistryFile}; });
    EXPECT_EQ(LoadFile(m_folder.WriteFile("other", "bytes")), kNotRegistryFile);
    EXPECT_EQ(Open(m_mount), ERROR_SUCCESS);
}

TEST_F(WindowsRegistryTest, GivesNamesOfValuesUpToTheLongest) {
    const std::vector<std::size_t> lengths = {1, 255, 256, 300, 16383};
    CTestHive hive;
    for (const std::size_t length : lengths) {
        hive.Dword(std::u16string(length, u'n'), 1);
    }
    ASSERT_EQ(Load(hive.LoadableBytes()), ERROR_SUCCESS);
    ASSERT_EQ(Open(m_mount), ERROR_SUCCESS);
    const auto enumerate = ReplaceImport<decltype(RegEnumValueW)>(
        "RegEnumValueW", [](HKEY key, DWORD index, LPWSTR name, DWORD* size, auto... rest) {
            return *size > kMostUnits ? LSTATUS{ERROR_INVALID_PARAMETER}
                                      : RegEnumValueW(key, index, name, size, rest...);
        });
    EXPECT_THAT(LengthsOfNames(lengths.size()), testing::UnorderedElementsAreArray(lengths));
    // A damaged key has longer names than it says.
    const auto query = ReplaceImport<decltype(RegQueryInfoKeyW)>(
        "RegQueryInfoKeyW", [](auto...) { return LSTATUS{ERROR_SUCCESS}; });
    EXPECT_THAT(LengthsOfNames(lengths.size()), testing::UnorderedElementsAreArray(lengths));
}

TEST_F(WindowsRegistryTest, AKeyStaysWithTheRegistryThatHasOpenedIt) {
    ASSERT_EQ(Load(CTestHive().Key(u"Key").LoadableBytes()), ERROR_SUCCESS);
    ASSERT_EQ(Open(m_mount), ERROR_SUCCESS);
    const CTestMachine described;
    platform::KeyHandle other = nullptr;
    EXPECT_EQ(platform::OpenKey(kLocalMachine, m_mount, other), ERROR_FILE_NOT_FOUND);
    std::u16string name;
    EXPECT_EQ(platform::EnumKey(m_key, 0, name), ERROR_SUCCESS);
    EXPECT_EQ(name, u"Key");
}

}  // namespace
