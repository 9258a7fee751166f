#include "platform/answers.h"

#include "platform/assemblies.h"
#include "platform/described/description_in_effect.h"
#include "platform/machine_report.h"
#include "platform/status.h"

namespace platform {

const SAnswers& GetAnswers() {
    const SAnswers* const live = GetLiveAnswers();
    return live == nullptr || IsMachineDescribed() ? GetDescribedAnswers() : *live;
}

// A machine that answers for itself does not read the description that users name.
int LoadMachine(std::u16string& problem) {
    return GetLiveAnswers() != nullptr ? ERROR_SUCCESS : LoadMachineDescription(problem);
}

bool GetSpecialFolder(int csidl, std::u16string& path) {
    return GetAnswers().machine.GetSpecialFolder(csidl, path);
}

bool GetLocalAppDataLow(std::u16string& path) {
    return GetAnswers().machine.GetLocalAppDataLow(path);
}

bool GetWindowsFolder(std::u16string& path) { return GetAnswers().machine.GetWindowsFolder(path); }

bool GetEnvironmentText(const char16_t* name, std::u16string& value) {
    return GetAnswers().machine.GetEnvironmentText(name, value);
}

SSystemVersion GetSystemVersion() { return GetAnswers().machine.GetSystemVersion(); }

std::u16string GetLocaleName() { return GetAnswers().machine.GetLocaleName(); }

std::u16string GetUserSid() { return GetAnswers().machine.GetUserSid(); }

std::vector<std::u16string> GetVolatileHives() { return GetAnswers().machine.GetVolatileHives(); }

std::string DescribeMachine() { return GetAnswers().machine.Describe(); }

int ConnectMachine(KeyHandle& machine) { return GetAnswers().registry.ConnectMachine(machine); }

int LoadHive(KeyHandle machine, const char16_t* mountName, const char16_t* fileName) {
    return machine->LoadHive(mountName, fileName);
}

EHiveState GetHiveState(const char16_t* mountName) {
    return GetAnswers().registry.GetHiveState(mountName);
}

int UnloadHive(KeyHandle machine, const char16_t* mountName) {
    return machine->UnloadHive(mountName);
}

int OpenKey(std::uint32_t predefinedKey, std::u16string_view subKey, KeyHandle& key) {
    return GetAnswers().registry.OpenKey(predefinedKey, subKey, key);
}

void CloseKey(KeyHandle key) { delete key; }

int QueryKeyInfo(KeyHandle key, SKeyInfo& info) { return key->QueryInfo(info); }

int EnumKey(KeyHandle key, std::uint32_t index, std::u16string& name) {
    return key->EnumKey(index, name);
}

int EnumValue(KeyHandle key, std::uint32_t index, std::u16string& name, std::uint32_t& type) {
    return key->EnumValue(index, name, type);
}

int QueryValue(KeyHandle key, std::u16string_view name, std::uint32_t& type, void* data,
               std::uint32_t& size) {
    return key->QueryValue(name, type, data, size);
}

int EnablePrivilege(const char16_t* name) { return GetAnswers().registry.EnablePrivilege(name); }

bool DisablePrivilege(const char16_t* name) { return GetAnswers().registry.DisablePrivilege(name); }

int ReadShellLink(const char16_t* name, SShellLink& link) {
    return GetAnswers().readShellLink(name, link);
}

CAssemblyCache::CAssemblyCache() = default;

CAssemblyCache::~CAssemblyCache() = default;

bool CAssemblyCache::Open() {
    Close();
    m_store = GetAnswers().openAssemblyStore();
    return m_store != nullptr;
}

void CAssemblyCache::Close() { m_store.reset(); }

bool CAssemblyCache::FindAssembly(std::u16string_view identity, std::u16string& place) const {
    return m_store != nullptr && m_store->FindAssembly(identity, place);
}

bool CAssemblyCache::IsManagedAssembly(const char16_t* name) const {
    return m_store != nullptr && m_store->IsManagedAssembly(name);
}

}  // namespace platform
