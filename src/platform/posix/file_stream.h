// platform/posix/file_stream.h - named streams of files, on file systems that have none.
#pragma once

#include "platform/posix/file_access.h"

namespace platform {

// Whether the file that was found has the stream place.stream: as a file beside it named
// "name:stream", or as an extended attribute "user.stream" or "user.DosStream.stream:$DATA". Letter
// case does not count.
[[nodiscard]] bool HasStream(const SFilePlace& place);

}  // namespace platform
