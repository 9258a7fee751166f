#include "platform/posix/output.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/posix/errno_status.h"
#include "platform/status.h"

namespace platform {

namespace {

// Opening a pipe must not wait for its reader.
constexpr int kWrite = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

int OpenNew(SOutput& output, mode_t mode) {
    CFolder& folder = *output.place.folder;
    const std::string& name = output.place.entry.name;
    output.file = CFileDescriptor(
        openat(folder.GetDescriptor(), name.c_str(), kWrite | O_CREAT | O_EXCL, mode));
    if (!output.file.IsOpen()) {
        return StatusFromErrno(errno);
    }
    output.isNew = true;
    folder.NoteAdded(name);
    return ERROR_SUCCESS;
}

int OpenExisting(SOutput& output) {
    const CFolder& folder = *output.place.folder;
    const SEntry& entry = output.place.entry;
    if (entry.IsUnfollowed()) {
        return ERROR_CANT_ACCESS_FILE;
    }
    if (!entry.IsRegular() || entry.IsReadOnly()) {
        return ERROR_ACCESS_DENIED;
    }
    const int follow = folder.IsSealed() ? O_NOFOLLOW : 0;
    output.file =
        CFileDescriptor(openat(folder.GetDescriptor(), entry.name.c_str(), kWrite | follow));
    if (!output.file.IsOpen() || fstat(output.file.Get(), &output.info) != 0) {
        return StatusFromErrno(errno);
    }
    // Asked again because it may be another file by now, and because a link says nothing of this.
    const bool isWritable = S_ISREG(output.info.st_mode) && (output.info.st_mode & S_IWUSR) != 0;
    return isWritable ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

}  // namespace

int OpenOutput(std::u16string_view name, mode_t mode, SOutput& output) {
    const int status = FindPlace(name, output.place);
    if (status == ERROR_FILE_NOT_FOUND) {
        return OpenNew(output, mode);
    }
    return status == ERROR_SUCCESS ? OpenExisting(output) : status;
}

void DiscardOutput(SOutput& output) {
    CFolder& folder = *output.place.folder;
    const std::string& name = output.place.entry.name;
    output.file.Close();
    if (unlinkat(folder.GetDescriptor(), name.c_str(), 0) == 0) {
        folder.NoteRemoved(name);
    }
}

int WriteAll(int file, const void* bytes, std::size_t count) {
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = write(file, next, count);
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        if (written > 0) {
            next += written;
            count -= static_cast<std::size_t>(written);
        }
    }
    return 0;
}

}  // namespace platform
