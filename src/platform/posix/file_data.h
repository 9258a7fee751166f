// platform/posix/file_data.h - copies what is in a file.
#pragma once

#include <sys/stat.h>

namespace platform {

// Copies all of `from`, which is `info` and stands at its start, into the empty file `to` on the
// file system `toDevice`: as a shared copy where there are such, and without filling holes. 0, or
// errno, with part of the data copied.
[[nodiscard]] int CopyFileData(int from, const struct stat& info, int to, dev_t toDevice);

}  // namespace platform
