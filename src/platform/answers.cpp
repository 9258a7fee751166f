#include "platform/answers.h"

#include "platform/assemblies.h"
#include "platform/described/description_in_effect.h"
#include "platform/machine_report.h"
#include "platform/status.h"
#include "platform/xml.h"

namespace platform {

// A description goes before the running Windows, so that a conversion on Windows can be made for
// another machine. Chosen anew for each call, because LoadMachine may change it between two calls.
const SAnswers& GetAnswers() {
    const SAnswers* const live = GetLiveAnswers();
    return live == nullptr || IsMachineDescribed() ? GetDescribedAnswers() : *live;
}

int LoadMachine(std::u16string& problem) { return LoadMachineDescription(problem); }

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

// The description may know more than the operations ask for, such as other variables.
std::string DescribeMachine() {
    const SAnswers& answers = GetAnswers();
    if (&answers == &GetDescribedAnswers()) {
        return FormatMachineDescription(GetMachineDescription());
    }
    // Only the base part is replaced. The drives and shares are those of the built-in machine.
    SMachineDescription live = GetBuiltInMachine();
    static_cast<SMachineAnswers&>(live) = AskMachine(answers.machine);
    return FormatMachineDescription(live);
}

int ConnectMachine(KeyHandle& machine) { return GetAnswers().registry.ConnectMachine(machine); }

// These and the operations of keys need an open key. Only CloseKey takes null.
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

int OpenSubKey(KeyHandle parent, std::u16string_view name, KeyHandle& key) {
    return parent->OpenSubKey(name, key);
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

CXmlOutput::CXmlOutput() = default;

CXmlOutput::CXmlOutput(std::unique_ptr<COpenXmlOutput> open) : m_open(std::move(open)) {}

CXmlOutput::~CXmlOutput() = default;

// The former output is closed first: it may be the same file, and would write its rest into the new
// one.
int CXmlOutput::Open(const char16_t* name) {
    Close();
    return GetAnswers().openXmlOutput(name, m_open);
}

void CXmlOutput::Close() { m_open.reset(); }

// Without an open file every call answers E_FAIL. So a caller that goes on after a failed Open gets
// a status.
int CXmlOutput::WriteStartDocument() { return IsOpen() ? m_open->WriteStartDocument() : E_FAIL; }

int CXmlOutput::WriteStartElement(std::u16string_view name) {
    return IsOpen() ? m_open->WriteStartElement(name) : E_FAIL;
}

int CXmlOutput::WriteAttribute(std::u16string_view name, std::u16string_view value, EXmlText kind) {
    return IsOpen() ? m_open->WriteAttribute(name, value, kind) : E_FAIL;
}

int CXmlOutput::WriteText(std::u16string_view text, EXmlText kind) {
    return IsOpen() ? m_open->WriteText(text, kind) : E_FAIL;
}

int CXmlOutput::WriteWhitespace(std::u16string_view text) {
    return IsOpen() ? m_open->WriteWhitespace(text) : E_FAIL;
}

int CXmlOutput::WriteEndElement() { return IsOpen() ? m_open->WriteEndElement() : E_FAIL; }

int CXmlOutput::WriteEndDocument() { return IsOpen() ? m_open->WriteEndDocument() : E_FAIL; }

int CXmlOutput::WriteElements(std::size_t count, const ElementWriter& write) {
    return IsOpen() ? m_open->WriteElements(*this, count, write) : E_FAIL;
}

int CXmlOutput::Flush() { return IsOpen() ? m_open->Flush() : E_FAIL; }

}  // namespace platform
