// platform/posix/files/file_stream.h - named streams of files, on file systems that have none.
#pragma once

#include "platform/posix/files/file_access.h"

namespace platform {

// Finds the file that `place` asks for, as FindEntryAt does, and its stream: a file beside it named
// "name:stream", or an extended attribute "user.stream" or "user.DosStream.stream:$DATA". Letter
// case does not count. ERROR_FILE_NOT_FOUND when either is missing, ERROR_READ_FAULT when the
// attributes cannot be asked for though the file can be read. Whatever the result, `file` is the
// file, or the folder, if it is there and could be opened. Sets no last error.
[[nodiscard]] int FindStream(SFilePlace& place, CFileDescriptor& file);

// The same for a file that a search has given: `place.entry` has its name on disk, and that it is a
// regular file. It is opened at once, because that is enough to know that it exists.
[[nodiscard]] int FindStreamOfRegular(SFilePlace& place, CFileDescriptor& file);

}  // namespace platform
