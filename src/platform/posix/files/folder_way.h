// platform/posix/files/folder_way.h - paths between folders that are many levels apart.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/files/file_descriptor.h"
#include "platform/posix/files/folder_entry.h"

namespace platform {

// Opens the folder that `names`, with backslashes between them, lead to from the folder `start`, in
// one system call: by exact names, through no link and into no other file system. `way` is then
// the names on disk, with slashes. A closed descriptor says nothing: the system may not have the
// call, the way may be too long for it, or the names differ in letter case.
[[nodiscard]] CFileDescriptor OpenFar(int start, std::u16string_view names, std::string& way);

// The ids of a folder and of all above it. Empty when one of them cannot be opened.
[[nodiscard]] std::vector<FileId> GetWayUp(int folder);

}  // namespace platform
