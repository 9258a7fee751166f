#include "host/system.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "host/path_rules.h"
#include "platform/utf8.h"
#include "platform/win.h"
// This needs windows.h before it.
#include <objbase.h>

namespace host {

namespace {

void (*s_end)(int status) = nullptr;  // set before OnEnd is called

std::error_code LastError() { return {static_cast<int>(::GetLastError()), std::system_category()}; }

// The number of the POSIX signal for the same event.
int SignalNumber(DWORD kind) {
    constexpr int kHangUp = 1;
    constexpr int kInterrupt = 2;
    constexpr int kTerminate = 15;
    return kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT ? kInterrupt
           : kind == CTRL_CLOSE_EVENT                       ? kHangUp
                                                            : kTerminate;
}

// Called on a thread of the system.
BOOL WINAPI OnEnd(DWORD kind) {
    s_end(128 + SignalNumber(kind));
    if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT) {
        // The system ends the process as soon as this returns, and after some seconds in any case.
        // Meanwhile the program can complete what it has begun to move.
        Sleep(INFINITE);
    }
    return TRUE;
}

constexpr DWORD kNothing = INVALID_FILE_ATTRIBUTES;

DWORD AttributesOf(const std::filesystem::path& deep) { return GetFileAttributesW(deep.c_str()); }

HANDLE Stderr() { return GetStdHandle(STD_ERROR_HANDLE); }

bool IsConsoleWithEscapes(HANDLE console) {
    DWORD mode = 0;
    // An older console refuses this mode, and does not know the escapes of colours and the cursor.
    return GetConsoleMode(console, &mode) != FALSE &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

STerminalSize SizeOf(HANDLE console) {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (GetConsoleScreenBufferInfo(console, &info) == FALSE) {
        return {};
    }
    // The part of the buffer that shows. The buffer itself may have thousands of rows.
    const SMALL_RECT& window = info.srWindow;
    return {static_cast<std::size_t>(window.Right - window.Left + 1),
            static_cast<std::size_t>(window.Bottom - window.Top + 1)};
}

}  // namespace

// The environment of the process itself, which the library reads. A C run-time has a copy of it,
// and the program and the library each have a run-time.
bool SetVariable(const char* name, const std::string& value) {
    return SetEnvironmentVariableW(platform::ToWide(platform::Utf8ToUtf16(name).c_str()),
                                   platform::ToWide(platform::Utf8ToUtf16(value).c_str())) != FALSE;
}

bool Exists(const std::filesystem::path& path) { return AttributesOf(DeepPath(path)) != kNothing; }

std::error_code MakeFolder(const std::filesystem::path& folder, bool isPrivate) {
    const std::filesystem::path deep = DeepPath(folder);
    if (CreateDirectoryW(deep.c_str(), nullptr) == FALSE) {
        return LastError();
    }
    if (isPrivate) {
        SetFileAttributesW(deep.c_str(), FILE_ATTRIBUTE_HIDDEN);  // it serves without, too
    }
    return {};
}

bool RemoveTree(const std::filesystem::path& folder) {
    // A folder comes before its content.
    std::vector<std::filesystem::path> paths = {DeepPath(folder)};
    std::vector<SFolderEntry> entries;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        // A link is removed itself; what it leads to is not looked at.
        constexpr DWORD kLinkOrFolder = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
        const DWORD attributes = AttributesOf(paths[i]);
        if (attributes == kNothing || (attributes & kLinkOrFolder) != FILE_ATTRIBUTE_DIRECTORY) {
            continue;
        }
        entries.clear();
        static_cast<void>(ListFolder(paths[i], entries));  // what stays shows in the end
        const std::filesystem::path parent = paths[i];
        for (const SFolderEntry& entry : entries) {
            paths.push_back(parent / entry.name);
        }
    }
    // Backwards, so that each folder is empty when its turn comes.
    for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
        const DWORD attributes = AttributesOf(*path);
        // Windows does not delete what is read-only.
        if (attributes != kNothing && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
            SetFileAttributesW(path->c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        if (attributes != kNothing && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            RemoveDirectoryW(path->c_str());
        } else {
            DeleteFileW(path->c_str());
        }
    }
    return !Exists(folder);
}

std::error_code MoveFolder(const std::filesystem::path& from, const std::filesystem::path& to) {
    // A scanner may have a new file open for a moment, and no folder above an open file can move.
    constexpr int kMaxTries = 20;
    constexpr DWORD kPause = 100;  // milliseconds
    for (int tries = 1; MoveFileExW(DeepPath(from).c_str(), DeepPath(to).c_str(), 0) == FALSE;
         ++tries) {
        const std::error_code error = LastError();
        // A place that is taken can give the same error. Then there is nothing to wait for.
        const bool isOpen =
            error.value() == ERROR_ACCESS_DENIED || error.value() == ERROR_SHARING_VIOLATION;
        if (!isOpen || tries == kMaxTries || Exists(to)) {
            return error;
        }
        Sleep(kPause);
    }
    return {};
}

bool ExchangeFolders(const std::filesystem::path& /*left*/,
                     const std::filesystem::path& /*right*/) {
    return false;
}

std::filesystem::path FullPath(const std::filesystem::path& path) {
    // Only what exists can be opened and asked for its final path. The rest of the names is added
    // again.
    std::filesystem::path existing = DeepPath(path);
    std::filesystem::path rest;
    // Each round goes up by one name; the root exists.
    while (!Exists(existing) && existing.has_relative_path()) {
        rest = rest.empty() ? existing.filename() : existing.filename() / rest;
        existing = existing.parent_path();
    }
    HANDLE handle =
        // Without any access, which is enough to ask for the path. The flag lets a folder be
        // opened.
        CreateFileW(existing.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        // In units; no path of Windows is longer.
        constexpr DWORD kMaxPath = 32768;
        std::wstring name(kMaxPath, L'\0');
        const DWORD length = GetFinalPathNameByHandleW(handle, name.data(), kMaxPath, 0);
        CloseHandle(handle);
        if (length != 0 && length < kMaxPath) {
            name.resize(length);
            existing = name;
        }
    }
    return rest.empty() ? existing : existing / rest;
}

// Windows gives the full paths of its devices this prefix.
bool IsSpecialFile(const std::filesystem::path& file) {
    return file.native().starts_with(LR"(\\.\)");
}

bool CReservedFiles::Take() { return true; }

void CReservedFiles::GiveBack() {}

std::error_code CHeldFile::Hold(const std::filesystem::path& file) {
    // Shared with nobody, so that a second process gets a sharing violation. The system deletes the
    // file with its last handle, also when the process is killed.
    HANDLE handle =
        CreateFileW(DeepPath(file).c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        const std::error_code error = LastError();
        return error.value() == ERROR_SHARING_VIOLATION
                   ? make_error_code(std::errc::resource_unavailable_try_again)
                   : error;
    }
    m_file = file;
    m_handle = reinterpret_cast<std::intptr_t>(handle);
    return {};
}

bool CHeldFile::Release() {
    if (m_handle != -1) {
        CloseHandle(reinterpret_cast<HANDLE>(m_handle));
        m_handle = -1;
    }
    return true;
}

std::optional<SFileState> GetFileState(const std::filesystem::path& file) {
    HANDLE handle =
        CreateFileW(DeepPath(file).c_str(), FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    FILE_BASIC_INFO times{};
    LARGE_INTEGER size{};
    const bool isKnown =
        GetFileInformationByHandleEx(handle, FileBasicInfo, &times, sizeof times) != FALSE &&
        GetFileSizeEx(handle, &size) != FALSE;
    CloseHandle(handle);
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::int64_t present = (std::int64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
    constexpr std::int64_t kSettled = 2 * 10'000'000;  // two seconds; FAT counts in such
    return isKnown
               ? std::optional(SFileState{static_cast<std::uint64_t>(size.QuadPart),
                                          times.LastWriteTime.QuadPart, times.ChangeTime.QuadPart,
                                          times.ChangeTime.QuadPart + kSettled >= present ||
                                              times.LastWriteTime.QuadPart + kSettled >= present})
               : std::nullopt;
}

void CatchEndingSignals(void (*end)(int status)) {
    s_end = end;
    SetConsoleCtrlHandler(&OnEnd, TRUE);
}

// Not by ExitProcess, which waits for what threads that it has ended may hold.
void EndProcess(int status) {
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    std::abort();
}

bool HasTerminal() { return IsConsoleWithEscapes(Stderr()); }

STerminalSize GetTerminalSize() { return SizeOf(Stderr()); }

SOutput GetOutput() {
    HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return {GetConsoleMode(output, &mode) != FALSE, IsConsoleWithEscapes(output), SizeOf(output)};
}

void WriteTerminal(std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        if (WriteFile(Stderr(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                      nullptr) == FALSE ||
            written == 0) {
            return;
        }
        bytes.remove_prefix(written);
    }
}

void FreeTargets(GUID* targets) { CoTaskMemFree(targets); }

// The text is from the library's own heap, and the library has no function to free it.
void FreeText(OrvChar* /*text*/) {}

}  // namespace host
