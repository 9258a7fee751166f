// platform/answers.h - who answers for the machine: a machine description, or the running Windows.
//
// machine.h, registry.h, shell_link.h, assemblies.h and, for what is written, xml.h declare the
// operations. Each of them calls the answers in effect, and answers.cpp is the only place that
// chooses these: those of platform/described on POSIX, and on Windows while a description is in
// effect; otherwise those of platform/windows/live. Contracts, errors and threads are those of the
// five headers.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine.h"
#include "platform/registry.h"
#include "platform/shell_link.h"
#include "platform/xml.h"

namespace platform {

// The operations of machine.h.
class CMachineAnswers {
public:
    CMachineAnswers() = default;
    CMachineAnswers(const CMachineAnswers&) = delete;
    CMachineAnswers& operator=(const CMachineAnswers&) = delete;

    [[nodiscard]] virtual bool GetSpecialFolder(int csidl, std::u16string& path) const = 0;
    [[nodiscard]] virtual bool GetLocalAppDataLow(std::u16string& path) const = 0;
    [[nodiscard]] virtual bool GetWindowsFolder(std::u16string& path) const = 0;
    [[nodiscard]] virtual bool GetEnvironmentText(const char16_t* name,
                                                  std::u16string& value) const = 0;
    [[nodiscard]] virtual SSystemVersion GetSystemVersion() const = 0;
    [[nodiscard]] virtual std::u16string GetLocaleName() const = 0;
    [[nodiscard]] virtual std::u16string GetUserSid() const = 0;
    [[nodiscard]] virtual std::vector<std::u16string> GetVolatileHives() const = 0;

protected:
    ~CMachineAnswers() = default;
};

// An open key. It answers by itself: an operation that runs for each value costs one indirect call,
// and a key stays with the registry that opened it.
class COpenKey {
public:
    COpenKey() = default;
    virtual ~COpenKey() = default;
    COpenKey(const COpenKey&) = delete;
    COpenKey& operator=(const COpenKey&) = delete;

    // Only for the key that ConnectMachine gives.
    [[nodiscard]] virtual int LoadHive(const char16_t* mountName, const char16_t* fileName) = 0;
    [[nodiscard]] virtual int UnloadHive(const char16_t* mountName) = 0;

    [[nodiscard]] virtual int OpenSubKey(std::u16string_view name, KeyHandle& key) const = 0;
    [[nodiscard]] virtual int QueryInfo(SKeyInfo& info) const = 0;
    [[nodiscard]] virtual int EnumKey(std::uint32_t index, std::u16string& name) const = 0;
    [[nodiscard]] virtual int EnumValue(std::uint32_t index, std::u16string& name,
                                        std::uint32_t& type) const = 0;
    [[nodiscard]] virtual int QueryValue(std::u16string_view name, std::uint32_t& type, void* data,
                                         std::uint32_t& size) const = 0;
};

// The other operations of registry.h.
class CRegistryAnswers {
public:
    CRegistryAnswers() = default;
    CRegistryAnswers(const CRegistryAnswers&) = delete;
    CRegistryAnswers& operator=(const CRegistryAnswers&) = delete;

    [[nodiscard]] virtual int ConnectMachine(KeyHandle& machine) const = 0;
    [[nodiscard]] virtual int OpenKey(std::uint32_t predefinedKey, std::u16string_view subKey,
                                      KeyHandle& key) const = 0;
    [[nodiscard]] virtual EHiveState GetHiveState(const char16_t* mountName) const = 0;
    [[nodiscard]] virtual int EnablePrivilege(const char16_t* name) const = 0;
    virtual bool DisablePrivilege(const char16_t* name) const = 0;

protected:
    ~CRegistryAnswers() = default;
};

// An open store of assemblies, which a CAssemblyCache owns.
class CAssemblyStore {
public:
    CAssemblyStore() = default;
    virtual ~CAssemblyStore() = default;
    CAssemblyStore(const CAssemblyStore&) = delete;
    CAssemblyStore& operator=(const CAssemblyStore&) = delete;

    [[nodiscard]] virtual bool FindAssembly(std::u16string_view identity,
                                            std::u16string& place) const = 0;
    [[nodiscard]] virtual bool IsManagedAssembly(const char16_t* name) const = 0;
};

// An open output of XML, which a CXmlOutput owns. It has the operations of that; the destructor
// flushes and closes the file.
class COpenXmlOutput {
public:
    COpenXmlOutput() = default;
    virtual ~COpenXmlOutput() = default;
    COpenXmlOutput(const COpenXmlOutput&) = delete;
    COpenXmlOutput& operator=(const COpenXmlOutput&) = delete;

    virtual int WriteStartDocument() = 0;
    virtual int WriteStartElement(std::u16string_view name) = 0;
    virtual int WriteAttribute(std::u16string_view name, std::u16string_view value,
                               EXmlText kind) = 0;
    virtual int WriteText(std::u16string_view text, EXmlText kind) = 0;
    virtual int WriteWhitespace(std::u16string_view text) = 0;
    virtual int WriteEndElement() = 0;
    virtual int WriteEndDocument() = 0;
    // `owner` is the output that owns this one.
    virtual int WriteElements(CXmlOutput& owner, std::size_t count,
                              const CXmlOutput::ElementWriter& write) = 0;
    virtual int Flush() = 0;
};

// All answers of one side. The objects live as long as the process.
struct SAnswers {
    const CMachineAnswers& machine;
    const CRegistryAnswers& registry;
    int (&readShellLink)(const char16_t* name, SShellLink& link);
    // Null when the machine has no store.
    std::unique_ptr<CAssemblyStore> (&openAssemblyStore)();
    // As CXmlOutput::Open; `output` is unchanged on failure.
    int (&openXmlOutput)(const char16_t* name, std::unique_ptr<COpenXmlOutput>& output);
};

// The answers of the description in effect; without one, of the built-in machine.
[[nodiscard]] const SAnswers& GetDescribedAnswers();

// The answers of the running machine, whether a description is in effect or not; null if it is not
// Windows.
[[nodiscard]] const SAnswers* GetLiveAnswers();

// The answers in effect.
[[nodiscard]] const SAnswers& GetAnswers();

}  // namespace platform
