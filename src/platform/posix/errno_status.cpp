#include "platform/posix/errno_status.h"

#include <cerrno>

#include "platform/status.h"

namespace platform {

// ENOENT does not tell which part of a path is missing. It is taken for the last one: the folders
// above it are opened before, and CFolderCache makes ERROR_PATH_NOT_FOUND of a failure there.
int StatusFromErrno(int error) {
    switch (error) {
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
        case ESTALE:
            return ERROR_PATH_NOT_FOUND;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case EACCES:
        case EPERM:
        case EISDIR:
            return ERROR_ACCESS_DENIED;
        case EBADF:
            return ERROR_INVALID_HANDLE;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EXDEV:
            return ERROR_NOT_SAME_DEVICE;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        case ETXTBSY:
            return ERROR_SHARING_VIOLATION;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        case ENOSPC:
            return ERROR_DISK_FULL;
        case EILSEQ:
            return ERROR_INVALID_NAME;
        case ENOTEMPTY:
            return ERROR_DIR_NOT_EMPTY;
        case EBUSY:
        case EAGAIN:
            return ERROR_BUSY;
        case EEXIST:
            return ERROR_ALREADY_EXISTS;
        case ENAMETOOLONG:
            return ERROR_FILENAME_EXCED_RANGE;
        case EFBIG:
            return ERROR_FILE_TOO_LARGE;
        case EIO:
        case EINTR:  // after kMaxInterruptions of them
            return ERROR_IO_DEVICE;
        case EDQUOT:
            return ERROR_DISK_QUOTA_EXCEEDED;
        // Also for a link that O_NOFOLLOW has met.
        case ELOOP:
            return ERROR_CANT_ACCESS_FILE;
        default:
            return ERROR_GEN_FAILURE;
    }
}

int FailWithErrno() { return SetLastError(StatusFromErrno(errno)); }

}  // namespace platform
