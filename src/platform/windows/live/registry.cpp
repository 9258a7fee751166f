#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "platform/files.h"
#include "platform/status.h"
#include "platform/win.h"
#include "platform/windows/live/answers.h"
#include "platform/windows/live/process_token.h"

namespace platform {

namespace {

// Units of a buffer for a name, its terminator included: nearly all names fit into the first, and
// no call takes more than the second.
constexpr std::size_t kShortName = 256;
constexpr std::size_t kMostUnits = 32767;

constexpr DWORD kTokenAccess = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;

// The handle of a predefined key by its number, which is extended to 64 bits with its sign.
HKEY PredefinedHandle(std::uint32_t number) {
    const auto handle = static_cast<std::intptr_t>(static_cast<std::int32_t>(number));
    return reinterpret_cast<HKEY>(handle);
}

// The functions of the registry return their errors and do not change the thread's last error,
// which the contract promises. So it is set here.
int Result(LSTATUS status) {
    return status == NO_ERROR ? ERROR_SUCCESS : SetLastError(static_cast<int>(status));
}

// A name ends before its first NUL, although the registry allows one in it.
template <typename TBuffer, typename TEnumerate>
LSTATUS TryName(TBuffer&& buffer, std::u16string& name, const TEnumerate& enumerate) {
    auto size = static_cast<DWORD>(buffer.size());
    const LSTATUS status = enumerate(ToWide(buffer.data()), size);
    if (status == NO_ERROR) {
        name = buffer.data();
    }
    return status;
}

// Calls `enumerate` with room for a short name. For a longer one it is called again with the length
// that the key gives in `longest`. If that is too small, because the key has changed meanwhile, the
// third call has room for any name.
template <typename TEnumerate>
int EnumName(const COpenKey& key, std::uint32_t SKeyInfo::*longest, std::u16string& name,
             const TEnumerate& enumerate) {
    LSTATUS status = TryName(std::array<char16_t, kShortName>{}, name, enumerate);
    if (status == ERROR_MORE_DATA) {
        SKeyInfo info;
        static_cast<void>(key.QueryInfo(info));  // then the most is asked for
        const std::size_t units = std::min(std::size_t{info.*longest} + 1, kMostUnits);
        status = TryName(std::vector<char16_t>(units), name, enumerate);
    }
    if (status == ERROR_MORE_DATA) {
        status = TryName(std::vector<char16_t>(kMostUnits), name, enumerate);
    }
    return Result(status);
}

// ERROR_SUCCESS for a file that may be given to RegLoadKeyW, which would create a missing file and
// fill an empty one. A package must not be changed.
int CheckHiveFile(const char16_t* name) {
    SFindData found;
    if (const int status = FindEntry(name, found)) {
        return status;
    }
    WIN32_FILE_ATTRIBUTE_DATA data;
    const bool isEmpty = ::GetFileAttributesExW(ToWide(name), GetFileExInfoStandard, &data) != 0 &&
                         !found.IsFolder() && data.nFileSizeHigh == 0 && data.nFileSizeLow == 0;
    return isEmpty ? SetLastError(ERROR_BADDB) : ERROR_SUCCESS;
}

bool IsThere(HKEY parent, const char16_t* name) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(parent, ToWide(name), 0, KEY_READ, &key) != NO_ERROR) {
        return false;
    }
    ::RegCloseKey(key);
    return true;
}

// Looks up the number of a privilege on this machine.
bool FindPrivilege(const char16_t* name, LUID& number) {
    return ::LookupPrivilegeValueW(nullptr, ToWide(name), &number) != 0;
}

// Only these two exact values count. A privilege with both flags is turned on once more.
bool IsOn(const LUID_AND_ATTRIBUTES& entry, const LUID& number) {
    return entry.Luid.LowPart == number.LowPart && entry.Luid.HighPart == number.HighPart &&
           (entry.Attributes == SE_PRIVILEGE_ENABLED_BY_DEFAULT ||
            entry.Attributes == SE_PRIVILEGE_ENABLED);
}

bool Adjust(const CProcessToken& token, const LUID& number, DWORD attributes) {
    TOKEN_PRIVILEGES change{};
    change.PrivilegeCount = 1;
    change.Privileges[0].Luid = number;
    change.Privileges[0].Attributes = attributes;
    ::SetLastError(NO_ERROR);
    ::AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr);
    // The call also succeeds if the token does not have the privilege. Then the last error shows
    // it.
    return ::GetLastError() == NO_ERROR;
}

class CLiveKey final : public COpenKey {
public:
    CLiveKey() = default;
    ~CLiveKey() override {
        if (m_handle != nullptr) {
            ::RegCloseKey(m_handle);
        }
    }
    CLiveKey(const CLiveKey&) = delete;
    CLiveKey& operator=(const CLiveKey&) = delete;

    // For a call that opens a key; this one has none yet.
    [[nodiscard]] HKEY* Receive() { return &m_handle; }

    int LoadHive(const char16_t* mountName, const char16_t* fileName) override;
    int UnloadHive(const char16_t* mountName) override {
        return Result(::RegUnLoadKeyW(m_handle, ToWide(mountName)));
    }
    int OpenSubKey(std::u16string_view name, KeyHandle& key) const override;
    int QueryInfo(SKeyInfo& info) const override;
    int EnumKey(std::uint32_t index, std::u16string& name) const override;
    int EnumValue(std::uint32_t index, std::u16string& name, std::uint32_t& type) const override;
    int QueryValue(std::u16string_view name, std::uint32_t& type, void* data,
                   std::uint32_t& size) const override;

private:
    HKEY m_handle = nullptr;
};

// Hands out a key that `open` has opened.
template <typename TOpen>
int OpenLiveKey(KeyHandle& key, const TOpen& open) {
    auto opened = std::make_unique<CLiveKey>();
    const int status = Result(open(opened->Receive()));
    if (status == ERROR_SUCCESS) {
        key = opened.release();
    }
    return status;
}

// Opens the key at a path below another one.
int OpenBelow(HKEY parent, std::u16string_view subKey, KeyHandle& key) {
    const std::u16string path(subKey);
    return OpenLiveKey(key, [&](HKEY* handle) {
        return ::RegOpenKeyExW(parent, ToWide(path.c_str()), 0, KEY_READ, handle);
    });
}

int CLiveKey::OpenSubKey(std::u16string_view name, KeyHandle& key) const {
    return OpenBelow(m_handle, name, key);
}

int CLiveKey::LoadHive(const char16_t* mountName, const char16_t* fileName) {
    if (const int status = CheckHiveFile(fileName)) {
        return status;
    }
    // A key of that name belongs to another process, and must not be unloaded.
    const bool wasThere = IsThere(m_handle, mountName);
    const LSTATUS status = ::RegLoadKeyW(m_handle, ToWide(mountName), ToWide(fileName));
    if (status == ERROR_NOT_REGISTRY_FILE && !wasThere) {
        // Wine creates the key before it reads the file. If it stayed, no hive could be loaded
        // under that name any more.
        ::RegUnLoadKeyW(m_handle, ToWide(mountName));
    }
    return Result(status);
}

int CLiveKey::QueryInfo(SKeyInfo& info) const {
    DWORD subKeyCount = 0;
    DWORD longestSubKeyName = 0;
    DWORD valueCount = 0;
    DWORD longestValueName = 0;
    const int status = Result(::RegQueryInfoKeyW(m_handle, nullptr, nullptr, nullptr, &subKeyCount,
                                                 &longestSubKeyName, nullptr, &valueCount,
                                                 &longestValueName, nullptr, nullptr, nullptr));
    if (status == ERROR_SUCCESS) {
        info = {subKeyCount, longestSubKeyName, valueCount, longestValueName};
    }
    return status;
}

int CLiveKey::EnumKey(std::uint32_t index, std::u16string& name) const {
    return EnumName(*this, &SKeyInfo::longestSubKeyName, name, [&](wchar_t* buffer, DWORD& size) {
        return ::RegEnumKeyExW(m_handle, index, buffer, &size, nullptr, nullptr, nullptr, nullptr);
    });
}

int CLiveKey::EnumValue(std::uint32_t index, std::u16string& name, std::uint32_t& type) const {
    DWORD foundType = REG_NONE;
    const int status =
        EnumName(*this, &SKeyInfo::longestValueName, name, [&](wchar_t* buffer, DWORD& size) {
            return ::RegEnumValueW(m_handle, index, buffer, &size, nullptr, &foundType, nullptr,
                                   nullptr);
        });
    if (status == ERROR_SUCCESS) {
        type = foundType;
    }
    return status;
}

int CLiveKey::QueryValue(std::u16string_view name, std::uint32_t& type, void* data,
                         std::uint32_t& size) const {
    const std::u16string valueName(name);
    DWORD foundType = REG_NONE;
    DWORD foundSize = size;
    const int status = Result(::RegQueryValueExW(m_handle, ToWide(valueName.c_str()), nullptr,
                                                 &foundType, static_cast<BYTE*>(data), &foundSize));
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
        type = foundType;
        size = foundSize;
    }
    return status;
}

class CLiveRegistry final : public CRegistryAnswers {
public:
    int ConnectMachine(KeyHandle& machine) const override {
        return OpenLiveKey(machine, [](HKEY* handle) {
            return ::RegConnectRegistryW(nullptr, HKEY_LOCAL_MACHINE, handle);
        });
    }
    int OpenKey(std::uint32_t predefinedKey, std::u16string_view subKey,
                KeyHandle& key) const override {
        return OpenBelow(PredefinedHandle(predefinedKey), subKey, key);
    }
    EHiveState GetHiveState(const char16_t* /*mountName*/) const override {
        return EHiveState::Whole;
    }
    int EnablePrivilege(const char16_t* name) const override;
    bool DisablePrivilege(const char16_t* name) const override;
};

int CLiveRegistry::EnablePrivilege(const char16_t* name) const {
    const CProcessToken token(kTokenAccess);
    LUID number{};
    const std::vector<std::byte> bytes = token.Read(TokenPrivileges);
    if (bytes.empty() || !FindPrivilege(name, number)) {
        return -1;
    }
    // The type declares one entry, and the record has as many as its count says.
    const auto* const held = reinterpret_cast<const TOKEN_PRIVILEGES*>(bytes.data());
    const LUID_AND_ATTRIBUTES* const entries = held->Privileges;
    const bool isOn =
        std::any_of(entries, entries + held->PrivilegeCount,
                    [&](const LUID_AND_ATTRIBUTES& entry) { return IsOn(entry, number); });
    if (isOn) {
        return 0;
    }
    return Adjust(token, number, SE_PRIVILEGE_ENABLED) ? 1 : -1;
}

bool CLiveRegistry::DisablePrivilege(const char16_t* name) const {
    const CProcessToken token(kTokenAccess);
    LUID number{};
    return token.Get() != nullptr && FindPrivilege(name, number) && Adjust(token, number, 0);
}

}  // namespace

const CRegistryAnswers& GetLiveRegistry() {
    static const CLiveRegistry s_registry;
    return s_registry;
}

}  // namespace platform
