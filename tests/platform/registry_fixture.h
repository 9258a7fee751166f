// tests/platform/registry_fixture.h - a registry, and a place in it for the hive of a test.
#pragma once

#include "platform/registry.h"
#include "support/hive_builder.h"
#include "support/test.h"

constexpr std::uint32_t kLocalMachine = 0x80000002U;
constexpr int kNotRegistryFile = 1017;

class RegistryFixture : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_GE(platform::EnablePrivilege(u"SeBackupPrivilege"), 0);
        ASSERT_GE(platform::EnablePrivilege(u"SeRestorePrivilege"), 0);
        ASSERT_EQ(platform::ConnectMachine(m_machine), ERROR_SUCCESS);
    }
    void TearDown() override {
        platform::CloseKey(m_key);
        // Not every test loads a hive.
        static_cast<void>(platform::UnloadHive(m_machine, m_mount.c_str()));
        platform::CloseKey(m_machine);
    }

    int LoadFile(const std::u16string& file) {
        return platform::LoadHive(m_machine, m_mount.c_str(), file.c_str());
    }
    int Load(const std::string& bytes) { return LoadFile(m_folder.WriteFile("hive", bytes)); }
    int Open(std::u16string_view path) {
        platform::CloseKey(std::exchange(m_key, nullptr));
        return platform::OpenKey(kLocalMachine, path, m_key);
    }

    CTempFolder m_folder;
    // A name that no other test that runs at the same time has.
    const std::u16string m_mount = m_folder.Path().filename().u16string();
    platform::KeyHandle m_machine = nullptr;
    platform::KeyHandle m_key = nullptr;
};
