// host/system.h - what the program needs from its operating system: the terminal, files in use, the
// signals that end it. Each system has a folder of sources.
//
// Arguments and output are bytes: UTF-8 on Windows, any bytes on POSIX.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "orvcasconv/orvcasconv.h"

namespace host {

// Sets a variable of the environment, as the library reads it. False when there is no memory.
[[nodiscard]] bool SetVariable(const char* name, const std::string& value);

// What follows takes paths of any length, and does not follow a link at their end.

// Whether there is something of that name.
[[nodiscard]] bool Exists(const std::filesystem::path& path);

// Makes a folder, whose parent must exist. A name that is taken is an error. On POSIX only this
// user can enter a private one. On Windows it has the rights of its parent and does not show,
// because what is moved out of it later keeps the rights it has got there.
[[nodiscard]] std::error_code MakeFolder(const std::filesystem::path& folder, bool isPrivate);

// Removes what has that name, a folder with all that is in it, also what is read-only. Returns
// whether nothing of that name is left.
bool RemoveTree(const std::filesystem::path& folder);

// Renames a folder, within a file system. It takes the place of nothing but an empty folder, and on
// Windows not even of that one.
[[nodiscard]] std::error_code MoveFolder(const std::filesystem::path& from,
                                         const std::filesystem::path& to);

// Exchanges two folders in one step. False, with both as they were, where the system cannot.
[[nodiscard]] bool ExchangeFolders(const std::filesystem::path& left,
                                   const std::filesystem::path& right);

// The full path of what may not exist yet, with links followed. For comparing: on Windows it has
// the prefix of long paths.
[[nodiscard]] std::filesystem::path FullPath(const std::filesystem::path& path);

// Whether a log is to be written into this file as it is, because another file cannot take its
// place: a device, a pipe, or the file that stdout is.
[[nodiscard]] bool IsSpecialFile(const std::filesystem::path& file);

// Takes some of the files that the process may have open, so that it can still remove what it has
// made when all others are in use. Free for use after GiveBack. Windows has no such limit.
class CReservedFiles {
public:
    CReservedFiles() = default;
    ~CReservedFiles() { GiveBack(); }
    CReservedFiles(const CReservedFiles&) = delete;
    CReservedFiles& operator=(const CReservedFiles&) = delete;

    // False when there are too few.
    [[nodiscard]] bool Take();
    void GiveBack();

private:
    std::vector<int> m_files;
};

// A file that one process at a time can hold. It is held until Release, or until the process ends,
// however it ends.
class CHeldFile {
public:
    CHeldFile() = default;
    ~CHeldFile() { Release(); }
    CHeldFile(const CHeldFile&) = delete;
    CHeldFile& operator=(const CHeldFile&) = delete;

    // Makes the file where it is missing, and holds it. The result is
    // std::errc::resource_unavailable_try_again when another process holds it, and
    // std::errc::no_lock_available when the file system has no such locks.
    // Not called any more once it has succeeded.
    [[nodiscard]] std::error_code Hold(const std::filesystem::path& file);
    // Removes the file. False when it stays.
    bool Release();
    // The system's number of the open file; -1 when none is held.
    [[nodiscard]] std::intptr_t GetHandle() const { return m_handle; }

private:
    std::filesystem::path m_file;
    std::intptr_t m_handle = -1;
};

// What changes whenever a file does, as far as the system tells. Times are in units of the system.
struct SFileState {
    std::uint64_t size = 0;
    std::int64_t written = 0;  // when its bytes were last written
    std::int64_t changed = 0;  // the same, or when its name or rights were
    // Whether it changed so recently that another change need not show in the times.
    bool isYoung = true;
};

// The state of a file; that of a link itself. None when there is no such file.
[[nodiscard]] std::optional<SFileState> GetFileState(const std::filesystem::path& file);

// From now on `end` is called when the process is told to end (SIGINT, SIGTERM and SIGHUP; on
// Windows Ctrl-C, Ctrl-Break, a closed console and a shutdown), on a thread of its own and with the
// exit status for it, 128 and the signal's number. The process goes on when it returns. What the
// parent process has the program ignore stays ignored. Call it before other threads are started.
void CatchEndingSignals(void (*end)(int status));

// Ends the process at once: no destructor runs.
[[noreturn]] void EndProcess(int status);

struct STerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

// Whether stderr is a terminal on which the cursor can be moved.
[[nodiscard]] bool HasTerminal();
[[nodiscard]] STerminalSize GetTerminalSize();
// Writes to stderr at once. A failure is ignored, because there is no other place to report it.
void WriteTerminal(std::string_view bytes);

// What stdout is.
struct SOutput {
    bool isTerminal = false;
    bool takesEscapes = false;  // a terminal that understands colours
    STerminalSize size;         // of a terminal
};
[[nodiscard]] SOutput GetOutput();

// Free what the library has returned: the array of targets, and a text of an enumeration.
void FreeTargets(GUID* targets);
void FreeText(OrvChar* text);

}  // namespace host
