// platform/posix/file_place.h - finds the file that a Windows name means.
#pragma once

#include <memory>
#include <string_view>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/file_location.h"
#include "platform/posix/folder.h"

namespace platform {

// A file or folder, there or not, in a folder that is there.
struct SFilePlace {
    std::shared_ptr<CFolder> folder;
    SEntry entry;
};

// Finds where `location` leads, its stream aside. ERROR_FILE_NOT_FOUND, with `place` telling where
// a new file goes, when only the last name is missing. A root is the entry "." of itself. These set
// no last error.
[[nodiscard]] int FindPlace(const SFileLocation& location, SFilePlace& place);
// The same from the name. ERROR_INVALID_NAME for one with a stream.
[[nodiscard]] int FindPlace(std::u16string_view name, SFilePlace& place);

// Opens what FindPlace has found, for reading. ERROR_ACCESS_DENIED, ERROR_CANT_ACCESS_FILE as
// OpenForReading has them; otherwise `info` is of the open file.
[[nodiscard]] int OpenPlace(const SFilePlace& place, CFileDescriptor& file, struct stat& info);

}  // namespace platform
