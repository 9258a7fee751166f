// platform/posix/files/output.h - opens files to write them.
#pragma once

#include <string_view>

#include "platform/files.h"
#include "platform/posix/files/file_access.h"
#include "platform/posix/files/file_descriptor.h"

namespace platform {

// A file that is open for writing.
struct SOutput {
    SFilePlace place;
    CFileDescriptor file;
    bool isNew = false;   // otherwise it still holds what it held
    struct stat info {};  // of a new file only when it is asked for
};

// Opens a file for writing; a new one gets the permissions `mode`. ERROR_FILE_EXISTS where one is
// kept, otherwise ERROR_ACCESS_DENIED for a folder, a read-only file and what is no regular file,
// ERROR_CANT_ACCESS_FILE for a link that may not be followed or leads nowhere. Sets no last error.
[[nodiscard]] int OpenOutput(std::u16string_view name, mode_t mode, EExisting existing,
                             SOutput& output);

// Finds the place for a new file, which CreateOutput then makes. ERROR_FILE_EXISTS when something
// may be there already; then OpenOutput finds out. Sets no last error.
[[nodiscard]] int PlaceOutput(std::u16string_view name, SOutput& output);

// Makes a new file in its place. 0, or errno. Any thread may do this.
[[nodiscard]] int CreateOutput(mode_t mode, SOutput& output);

// Removes the file `output.info`, which a failure left unfinished. Another one in its place stays.
void DiscardOutput(SOutput& output);

}  // namespace platform
