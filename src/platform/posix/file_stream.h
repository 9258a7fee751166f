// platform/posix/file_stream.h - named streams of files, on file systems that have none.
#pragma once

#include <string_view>

#include "platform/posix/file_place.h"

namespace platform {

// Whether what FindPlace has found, under the name `name`, has the stream `stream`: as a file
// beside it named "name:stream", or as an extended attribute "user.stream" or
// "user.DosStream.stream:$DATA". Letter case does not count.
[[nodiscard]] bool HasStream(const SFilePlace& place, std::u16string_view name,
                             std::u16string_view stream);

}  // namespace platform
