#include <cerrno>

#include "platform/files.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/file_data.h"
#include "platform/posix/file_place.h"
#include "platform/posix/output.h"
#include "platform/status.h"

namespace platform {

namespace {

struct SSource {
    CFileDescriptor file;
    struct stat info {};

    [[nodiscard]] bool IsReadOnly() const { return (info.st_mode & S_IWUSR) == 0; }
};

int OpenSource(std::u16string_view name, SSource& source) {
    SFilePlace place;
    const int status = FindPlace(name, place);
    return status != ERROR_SUCCESS ? status : OpenPlace(place, source.file, source.info);
}

// Fills an empty output. 0, or errno.
int Fill(const SSource& source, SOutput& output) {
    const int to = output.file.Get();
    if (const int error =
            CopyFileData(source.file.Get(), source.info, to, output.place.folder->GetDevice())) {
        return error;
    }
    if (!output.isNew && source.IsReadOnly() &&
        fchmod(to, output.info.st_mode & 07777 & ~(S_IWUSR | S_IWGRP | S_IWOTH)) != 0) {
        return errno;
    }
    const struct timespec times[2] = {{0, UTIME_OMIT}, source.info.st_mtim};
    // A file that belongs to someone else may be written and yet not be given a time.
    static_cast<void>(futimens(to, times));
    // Some file systems write only now, and tell only now that they could not.
    return close(output.file.Release()) == 0 ? 0 : errno;
}

int Copy(std::u16string_view from, std::u16string_view to) {
    SSource source;
    if (const int status = OpenSource(from, source)) {
        return status;
    }
    SOutput output;
    if (const int status = OpenOutput(to, source.IsReadOnly() ? 0444 : 0666, output)) {
        return status;
    }
    if (!output.isNew) {
        if (output.info.st_dev == source.info.st_dev && output.info.st_ino == source.info.st_ino) {
            return ERROR_SHARING_VIOLATION;
        }
        if (ftruncate(output.file.Get(), 0) != 0) {
            return StatusFromErrno(errno);
        }
    }
    const int error = Fill(source, output);
    if (error != 0) {
        DiscardOutput(output);
    }
    return error == 0 ? ERROR_SUCCESS : StatusFromErrno(error);
}

}  // namespace

int CopyFile(const char16_t* source, const char16_t* destination) {
    const int status = Copy(source, destination);
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
