#include <utility>

#include "platform/files.h"
#include "platform/win.h"
#include "platform/windows/live/answers.h"
#include "platform/windows/live/process_token.h"
// Need windows.h before them.
#include <objbase.h>
#include <sddl.h>
#include <shlobj.h>

namespace platform {

namespace {

// Its values have the kernel names of the hives as names, and the paths of their files as data.
constexpr wchar_t kHiveList[] = LR"(SYSTEM\ControlSet001\Control\hivelist)";

// {A520A1A4-1780-4FF6-BD18-167343C5AF16}
constexpr GUID kLocalAppDataLow = {
    0xA520A1A4, 0x1780, 0x4FF6, {0xBD, 0x18, 0x16, 0x73, 0x43, 0xC5, 0xAF, 0x16}};

// Whether a value of the hive list means a hive without a file. Such a value has an empty text.
bool IsVolatile(HKEY list, const std::u16string& name) {
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExW(list, ToWide(name.c_str()), nullptr, &type, nullptr, &size) != 0) {
        return false;
    }
    // One byte more, so that a value without data has an end as well.
    std::vector<BYTE> data(size + 1);
    const bool isRead =
        RegQueryValueExW(list, ToWide(name.c_str()), nullptr, &type, data.data(), &size) == 0;
    // Only the first byte decides, or a name of at most one unit. This decides which keys a
    // conversion leaves out, so it has to stay.
    return isRead && type == REG_SZ && (data[0] == 0 || name.size() <= 1);
}

std::vector<std::u16string> ReadVolatileHives(HKEY list) {
    std::vector<std::u16string> hives;
    DWORD longest = 0;
    if (RegQueryInfoKeyW(list, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                         &longest, nullptr, nullptr, nullptr) != 0) {
        return hives;
    }
    std::u16string buffer(longest + 1, u'\0');
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(buffer.size());
        // No room for a name that was added meanwhile ends the list, as does its real end.
        if (RegEnumValueW(list, index, ToWide(buffer.data()), &length, nullptr, nullptr, nullptr,
                          nullptr) != 0) {
            return hives;
        }
        std::u16string name = buffer.substr(0, length);
        if (IsVolatile(list, name)) {
            hives.push_back(std::move(name));
        }
    }
}

class CLiveMachine final : public CMachineAnswers {
public:
    bool GetSpecialFolder(int csidl, std::u16string& path) const override;
    bool GetLocalAppDataLow(std::u16string& path) const override;
    bool GetWindowsFolder(std::u16string& path) const override;
    bool GetEnvironmentText(const char16_t* name, std::u16string& value) const override;
    SSystemVersion GetSystemVersion() const override;
    std::u16string GetLocaleName() const override;
    std::u16string GetUserSid() const override;
    std::vector<std::u16string> GetVolatileHives() const override;
};

bool CLiveMachine::GetSpecialFolder(int csidl, std::u16string& path) const {
    std::u16string buffer(MAX_PATH, u'\0');
    // The call needs room for MAX_PATH units. S_FALSE means that the folder does not exist.
    return SHGetFolderPathW(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, ToWide(buffer.data())) ==
               S_OK &&
           GetLongName(buffer.c_str(), path) == ERROR_SUCCESS;
}

bool CLiveMachine::GetLocalAppDataLow(std::u16string& path) const {
    wchar_t* folder = nullptr;
    const bool isRead =
        SHGetKnownFolderPath(kLocalAppDataLow, 0, nullptr, &folder) == S_OK && folder[0] != 0;
    if (isRead) {
        path = FromWide(folder);
    }
    // Also after a failure; null does no harm.
    CoTaskMemFree(folder);
    return isRead;
}

bool CLiveMachine::GetWindowsFolder(std::u16string& path) const {
    std::u16string buffer(MAX_PATH, u'\0');
    const UINT length = GetWindowsDirectoryW(ToWide(buffer.data()), MAX_PATH);
    // A length of MAX_PATH or more is the room that would be needed.
    return length != 0 && length < MAX_PATH && GetLongName(buffer.c_str(), path) == ERROR_SUCCESS;
}

bool CLiveMachine::GetEnvironmentText(const char16_t* name, std::u16string& value) const {
    // The size includes the NUL, so it is 0 only for a variable that is not set. If the value grows
    // between the two calls, there is no answer.
    const DWORD size = GetEnvironmentVariableW(ToWide(name), nullptr, 0);
    std::u16string buffer(size, u'\0');
    const DWORD length = GetEnvironmentVariableW(ToWide(name), ToWide(buffer.data()), size);
    if (size == 0 || length >= size) {
        return false;
    }
    buffer.resize(length);
    value = std::move(buffer);
    return true;
}

SSystemVersion CLiveMachine::GetSystemVersion() const {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    if (GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)) == FALSE) {
        return {};
    }
    return {version.dwMajorVersion, version.dwMinorVersion,
            version.wProductType == VER_NT_WORKSTATION};
}

std::u16string CLiveMachine::GetLocaleName() const {
    std::u16string name(LOCALE_NAME_MAX_LENGTH, u'\0');
    const int size =
        LCIDToLocaleName(GetThreadLocale(), ToWide(name.data()), LOCALE_NAME_MAX_LENGTH, 0);
    // The size includes the NUL; 0 is a failure.
    name.resize(size > 0 ? static_cast<std::size_t>(size) - 1 : 0);
    return name;
}

std::u16string CLiveMachine::GetUserSid() const {
    // The record points to a SID in the same bytes.
    const std::vector<std::byte> user = CProcessToken(TOKEN_QUERY).Read(TokenUser);
    wchar_t* buffer = nullptr;
    if (user.empty() ||
        ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid,
                               &buffer) == FALSE) {
        return {};
    }
    std::u16string sid(FromWide(buffer));
    LocalFree(buffer);
    return sid;
}

std::vector<std::u16string> CLiveMachine::GetVolatileHives() const {
    HKEY list = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kHiveList, 0, KEY_READ, &list) != 0) {
        return {};
    }
    std::vector<std::u16string> hives = ReadVolatileHives(list);
    RegCloseKey(list);
    return hives;
}

}  // namespace

const CMachineAnswers& GetLiveMachine() {
    static const CLiveMachine s_machine;
    return s_machine;
}

const SAnswers* GetLiveAnswers() {
    static const SAnswers s_answers = {GetLiveMachine(), GetLiveRegistry(), ReadLiveLink,
                                       OpenLiveStore, OpenLiveXml};
    return &s_answers;
}

}  // namespace platform
