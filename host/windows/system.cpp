#include "host/system.h"

#include <fstream>
#include <mutex>

#include "host/console.h"
#include "platform/answers.h"
#include "platform/com.h"
#include "platform/local_paths.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "platform/windows/win.h"
// These need windows.h before them.
#include <objbase.h>
#include <sddl.h>

namespace host {

const char* const kTemporaryVariable = "TMP";

namespace {

// What OnEnd removes. Empty while there is no private folder. Guarded by s_cleanUpMutex, because
// OnEnd runs on a thread of the system.
struct SCleanUp {
    std::filesystem::path file;
    std::filesystem::path folder;
};
SCleanUp s_cleanUp;
std::mutex s_cleanUpMutex;

void RemoveFolder() {
    const std::lock_guard lock(s_cleanUpMutex);
    if (!s_cleanUp.folder.empty()) {
        DeleteFileW(s_cleanUp.file.c_str());
        RemoveDirectoryW(s_cleanUp.folder.c_str());
        s_cleanUp = {};
    }
}

// Called on a thread of the system. FALSE lets the process end as usual.
BOOL WINAPI OnEnd(DWORD /*kind*/) {
    RemoveFolder();
    return FALSE;
}

// Makes a folder that only the running user and the system can enter. The user of a described
// machine has no meaning here.
bool MakePrivateFolder(const std::filesystem::path& folder) {
    const std::u16string rights = u"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;" +
                                  platform::GetLiveAnswers()->machine.GetUserSid() + u")";
    SECURITY_ATTRIBUTES security{sizeof(security), nullptr, FALSE};
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(
            platform::ToWide(rights.c_str()), SDDL_REVISION_1, &security.lpSecurityDescriptor,
            nullptr) == FALSE) {
        return false;
    }
    const bool isMade = CreateDirectoryW(folder.c_str(), &security) != FALSE;
    LocalFree(security.lpSecurityDescriptor);
    return isMade;
}

std::filesystem::path GetTemporaryFolder() {
    wchar_t buffer[MAX_PATH + 1] = L"";
    GetTempPathW(MAX_PATH + 1, buffer);
    return buffer;
}

HANDLE Stderr() { return GetStdHandle(STD_ERROR_HANDLE); }

}  // namespace

bool IsWritable(const std::filesystem::path& folder) {
    HANDLE handle = CreateFileW(folder.c_str(), FILE_ADD_FILE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return false;
    }
    CloseHandle(handle);
    return true;
}

bool UseMachineFile(const std::string& /*file*/) { return false; }

bool CPrivateFolder::Create(std::string_view content, std::string& problem) {
    const std::filesystem::path parent = GetTemporaryFolder();
    GUID guid{};
    bool isMade = platform::CreateGuid(guid);
    const std::u16string name = u"cas2orv-" + platform::GuidToText(guid);
    const std::filesystem::path folder = parent / platform::ToWide(name.c_str());
    isMade = isMade && MakePrivateFolder(folder);
    if (isMade) {
        const std::filesystem::path log = folder / L"log.html";
        m_folder = platform::PathBytes(folder);
        m_file = platform::PathBytes(log);
        {
            const std::lock_guard lock(s_cleanUpMutex);
            s_cleanUp = {log, folder};
        }
        SetConsoleCtrlHandler(&OnEnd, TRUE);
        std::ofstream file(log, std::ios::binary);
        file << content;
        file.close();
        isMade = !file.fail();
    }
    if (!isMade) {
        problem = "no temporary file can be made in '" + Printable(platform::PathText(parent)) +
                  "'; name another place in the variable " + kTemporaryVariable;
    }
    return isMade;
}

CPrivateFolder::~CPrivateFolder() { RemoveFolder(); }

bool HasTerminal() {
    DWORD mode = 0;
    return GetConsoleMode(Stderr(), &mode) != FALSE &&
           SetConsoleMode(Stderr(), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

STerminalSize GetTerminalSize() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (GetConsoleScreenBufferInfo(Stderr(), &info) == FALSE) {
        return {};
    }
    const SMALL_RECT& window = info.srWindow;
    return {static_cast<std::size_t>(window.Right - window.Left + 1),
            static_cast<std::size_t>(window.Bottom - window.Top + 1)};
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
