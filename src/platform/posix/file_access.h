// platform/posix/file_access.h - files of the POSIX side that are read by more than the file
// operations.
#pragma once

#include "platform/posix/file_descriptor.h"

namespace platform {

// Opens a regular file for reading, by its Windows name and under the rules of platform/files.h,
// and gives the descriptor at the file's start. ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND,
// ERROR_ACCESS_DENIED for a folder and for a file that may not be read, ERROR_CANT_ACCESS_FILE for
// a link below the package folder, a pipe, a socket or a device, none of which is opened at all. A
// failure is also the last error and leaves `file` as it was.
[[nodiscard]] int OpenForReading(const char16_t* name, CFileDescriptor& file);

}  // namespace platform
