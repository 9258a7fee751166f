#include "support/system.h"

#include <cstdlib>

#include "platform/described/description_in_effect.h"
#include "platform/local_paths.h"
#include "platform/windows/live/process_token.h"
// Behind windows.h.
#include <objbase.h>

namespace {

// `folder` has the prefix of long paths, which the run-time's own way through a tree does not bear.
void RemoveDeepTree(const std::wstring& folder) {
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    for (bool isFound = search != INVALID_HANDLE_VALUE; isFound;
         isFound = FindNextFileW(search, &entry) != FALSE) {
        const std::wstring name = entry.cFileName;
        const std::wstring path = folder + L'\\' + name;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW(path.c_str());
        } else if (name != L"." && name != L"..") {
            RemoveDeepTree(path);
        }
    }
    FindClose(search);
    RemoveDirectoryW(folder.c_str());
}

}  // namespace

void RemoveTree(const std::filesystem::path& folder) {
    RemoveDeepTree(LR"(\\?\)" + folder.native());
}

bool RunsOnWindows() { return true; }

bool RunsInWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

bool AnswersByWine() {
    return RunsInWine() && !platform::IsMachineDescribed() &&
           platform::GetPathVariable("ORVCASCONV_MACHINE").empty();
}

void FreeAsHost(void* memory) { CoTaskMemFree(memory); }

// As a host may do it, of which the C run-time learns nothing.
void SetEnvironment(const std::string& name, const std::string& value) {
    const std::filesystem::path text(value);
    SetEnvironmentVariableW(std::filesystem::path(name).c_str(),
                            value.empty() ? nullptr : text.c_str());
}

bool RemovePrivilege(const char16_t* name) {
    const platform::CProcessToken token(TOKEN_ADJUST_PRIVILEGES);
    TOKEN_PRIVILEGES change{1, {{{}, SE_PRIVILEGE_REMOVED}}};
    return LookupPrivilegeValueW(nullptr, platform::ToWide(name), &change.Privileges[0].Luid) !=
               FALSE &&
           AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr) != FALSE;
}
