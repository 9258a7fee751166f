// platform/posix/files/file_access.h - finds the file that a Windows name means, and opens it for
// reading.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/posix/files/file_descriptor.h"
#include "platform/posix/files/folder.h"

namespace platform {

// Opens a regular file for reading, by its Windows name and under the rules of platform/files.h,
// and gives the descriptor at the file's start. ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND,
// ERROR_ACCESS_DENIED for a folder and for a file that may not be read, ERROR_CANT_ACCESS_FILE for
// a link below the package folder, a pipe, a socket or a device, none of which is opened at all. A
// failure is also the last error and leaves `file` as it was.
[[nodiscard]] int OpenForReading(const char16_t* name, CFileDescriptor& file);

// A name in a folder that exists.
struct SFilePlace {
    std::shared_ptr<CFolder> folder;
    std::u16string name;    // as it was asked for; empty for a root, which is found as its own "."
    std::u16string stream;  // as it was asked for; empty for the file itself
    SEntry entry;           // what FindEntryAt, or FindFile, found
};

// These set no last error.

// Opens the folder of `path`. ERROR_PATH_NOT_FOUND when there is none.
[[nodiscard]] int FindFolder(std::u16string_view path, SFilePlace& place);

// Looks place.name up in the folder. ERROR_FILE_NOT_FOUND leaves in entry.name the name that a new
// file gets.
[[nodiscard]] int FindEntryAt(SFilePlace& place);

// Both. ERROR_INVALID_NAME for a path with a stream.
[[nodiscard]] int FindFile(std::u16string_view path, SFilePlace& place);

// Opens what was found, for reading. ERROR_ACCESS_DENIED and ERROR_CANT_ACCESS_FILE mean what they
// mean for OpenForReading. On success `info` is of the open file.
[[nodiscard]] int OpenEntry(const SFilePlace& place, CFileDescriptor& file, struct stat& info);

// The same for an entry that is known to be a regular file: a look at what was opened is left to
// the caller.
[[nodiscard]] int OpenUnseen(const SFilePlace& place, CFileDescriptor& file);

// FindFile and OpenEntry in one. Needs neither when the file is kept open (CKeptFile).
[[nodiscard]] int OpenFile(std::u16string_view path, CFileDescriptor& file, struct stat& info);

}  // namespace platform
