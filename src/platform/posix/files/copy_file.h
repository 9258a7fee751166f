// platform/posix/files/copy_file.h - one copy of a file, step by step.
#pragma once

#include <sys/stat.h>

#include <string_view>

#include "platform/files.h"
#include "platform/posix/files/file_access.h"
#include "platform/posix/files/output.h"

namespace platform {

// A copy that has begun. One thread at a time uses it: the owner's, or in MoveData any other.
struct SFileCopy {
    CFileDescriptor source;
    struct stat sourceInfo {};
    SOutput output;
    bool isPlaced = false;   // the output is still to be made
    int error = 0;           // errno
    int timeError = 0;       // errno, of a copy that is whole but for its time
    bool isChanged = false;  // the source changed meanwhile

    // Closes both files and makes this new, but for what the next copy sets before it reads it:
    // texts, which keep their memory, and the data of files.
    void Clear();

    [[nodiscard]] mode_t GetMode() const {
        return (sourceInfo.st_mode & S_IWUSR) == 0 ? 0444 : 0666;
    }
};

// Opens the source and finds the place for a new output, which MoveData creates. ERROR_FILE_EXISTS
// when there may be one already; then BeginCopy finds out. Sets no last error.
[[nodiscard]] int PlaceCopy(std::u16string_view from, std::u16string_view to, SFileCopy& copy);

// Opens both files, and empties one that is to be replaced. The statuses of CopyFile; sets no last
// error.
[[nodiscard]] int BeginCopy(std::u16string_view from, std::u16string_view to, EExisting existing,
                            SFileCopy& copy);

// Copies everything and closes both files. For any thread, because it touches no CFolder. Throws
// nothing.
void MoveData(SFileCopy& copy);

// Gives the copy's status, and removes what a failure left unfinished, but not a copy that only
// lacks its time. ERROR_FILE_EXISTS when another file has taken the place.
[[nodiscard]] int EndCopy(SFileCopy& copy);

}  // namespace platform
