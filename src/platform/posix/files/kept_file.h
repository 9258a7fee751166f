// platform/posix/files/kept_file.h - a file that is open already for whoever reads it next.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "platform/posix/files/file_descriptor.h"

namespace platform {

// The file that the last look-up of a stream has opened. A walk asks each file for its deletion
// mark, which is a stream, and copies the file next. So the file is not found and opened twice.
//
// INVARIANT: if `m_file` is open, it is the file that `m_path` led to when it was kept, and its
// position is its start. It is given out once, and only if it still has a name.
// Threads: those of CFolderCache, which owns it.
// Gain: four system calls fewer for each file, 10 % less CPU (bench files-memory, 12,500 files).
class CKeptFile {
public:
    // Keeps a file that nobody has read from, in place of any former one. Its path is `folder`,
    // with a backslash at its end, and `name`.
    void Keep(std::u16string_view folder, std::u16string_view name, CFileDescriptor file);
    // Gives the file of a path, and what it is now; false when it is not kept, or deleted by now,
    // or is no regular file.
    [[nodiscard]] bool Take(std::u16string_view path, CFileDescriptor& file, struct stat& info);

private:
    CFileDescriptor m_file;
    std::u16string m_path;
};

}  // namespace platform
