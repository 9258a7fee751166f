// host/system.h - what the program needs from its operating system: the terminal, temporary files.
// Each system has a folder of sources.
//
// Arguments and output are bytes: UTF-8 on Windows, any bytes on POSIX.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "orvcasconv/orvcasconv.h"

namespace host {

// Whether files can be created in a folder.
[[nodiscard]] bool IsWritable(const std::filesystem::path& folder);

// Makes `file` the machine description of this process and of the library. False on Windows, where
// the machine is always the one that the program runs on.
[[nodiscard]] bool UseMachineFile(const std::string& file);

// The name of the environment variable for the place of temporary files.
extern const char* const kTemporaryVariable;

// A folder that only this user (on Windows also the system) can enter, with one file. Both are
// deleted with the object, and when the process is told to end. At most one object at a time.
class CPrivateFolder {
public:
    CPrivateFolder() = default;
    ~CPrivateFolder();
    CPrivateFolder(const CPrivateFolder&) = delete;
    CPrivateFolder& operator=(const CPrivateFolder&) = delete;

    // Makes the folder, and the file with `content`. On failure false, and `problem` says why, and
    // what to do.
    [[nodiscard]] bool Create(std::string_view content, std::string& problem);
    // The full path of the file.
    [[nodiscard]] const std::string& GetFile() const { return m_file; }

private:
    std::string m_folder;
    std::string m_file;
};

struct STerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

// Whether stderr is a terminal on which the cursor can be moved.
[[nodiscard]] bool HasTerminal();
[[nodiscard]] STerminalSize GetTerminalSize();
// Writes to stderr at once. A failure is ignored, because there is no other place to report it.
void WriteTerminal(std::string_view bytes);

// Free what the library has returned: the array of targets, and a text of an enumeration.
void FreeTargets(GUID* targets);
void FreeText(OrvChar* text);

}  // namespace host
