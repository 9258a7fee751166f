// host/system.h - what the program asks of its operating system: the terminal, a place for
// temporary files. One folder of sources for each system.
//
// Arguments and output are bytes: UTF-8 on Windows, on POSIX whatever they are.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "orvcasconv/orvcasconv.h"

namespace host {

// Whether files can be put into a folder.
[[nodiscard]] bool IsWritable(const std::filesystem::path& folder);

// Makes `file` the machine description of this process, for the library too. False where the
// machine is always the one that the program runs on.
[[nodiscard]] bool UseMachineFile(const std::string& file);

// The environment variable that names the place for temporary files.
extern const char* const kTemporaryVariable;

// A folder that no other user can enter, with room for one file. It goes when the object does, and
// when the process is told to end. At most one at a time.
class CPrivateFolder {
public:
    CPrivateFolder() = default;
    ~CPrivateFolder();
    CPrivateFolder(const CPrivateFolder&) = delete;
    CPrivateFolder& operator=(const CPrivateFolder&) = delete;

    // Makes the folder and the file, which holds `content`. False with `problem` telling why not,
    // and what to do.
    [[nodiscard]] bool Create(std::string_view content, std::string& problem);
    // The file's full path.
    [[nodiscard]] const std::string& GetFile() const { return m_file; }

private:
    std::string m_folder;
    std::string m_file;
};

struct STerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

// Whether stderr is a terminal whose cursor can be moved.
[[nodiscard]] bool HasTerminal();
[[nodiscard]] STerminalSize GetTerminalSize();
// Writes to stderr at once. A failure is ignored: there is nowhere to tell it.
void WriteTerminal(std::string_view bytes);

// Free what the library has handed out: the array of targets, and the texts of an enumeration.
void FreeTargets(GUID* targets);
void FreeText(OrvChar* text);

}  // namespace host
