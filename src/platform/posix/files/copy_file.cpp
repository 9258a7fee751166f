#include "platform/posix/files/copy_file.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "platform/files.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_io.h"
#include "platform/status.h"

namespace platform {

namespace {

// Bytes. Up to the first, a file goes through a buffer on the stack, with one read and one write.
constexpr std::size_t kSmall = 65536;
constexpr std::size_t kLargeBuffer = 262144;
constexpr off_t kNoLimit = std::numeric_limits<off_t>::max();

// Whether an error means that no file of a pair of file systems can share the data of another.
bool IsOfFileSystem(int error) {
    return error == EOPNOTSUPP || error == EXDEV || error == ENOTTY || error == ENOSYS;
}

// Tries to let `to`, which is on `device`, share the data of `from`, which is `info`. Two file
// systems that have just refused this are asked again for large files only, which are worth a
// system call: so a wrong guess costs space and no data.
// Gain: one of eight system calls of the copy of a small file where data cannot be shared.
bool ShareData(int from, const struct stat& info, int to, dev_t device) {
    thread_local std::pair<dev_t, dev_t> refusing;
    const std::pair devices(info.st_dev, device);
    if (devices == refusing && info.st_size <= static_cast<off_t>(kSmall)) {
        return false;
    }
    const bool isShared = ioctl(to, FICLONE, from) == 0;
    if (!isShared && IsOfFileSystem(errno)) {
        refusing = devices;
    }
    return isShared;
}

// Copies from the positions on, at most `limit` bytes.
int CopyThrough(int from, int to, char* buffer, std::size_t size, off_t limit) {
    while (limit > 0) {
        const auto wanted = static_cast<std::size_t>(std::min(limit, static_cast<off_t>(size)));
        const ssize_t count = ReadSome(from, buffer, wanted);
        if (count <= 0) {
            return count == 0 ? 0 : errno;
        }
        if (const int error = WriteAll(to, buffer, static_cast<std::size_t>(count))) {
            return error;
        }
        limit -= count;
    }
    return 0;
}

// For small files a read and a write cost less than a copy by the kernel.
int CopySmall(int from, const struct stat& info, int to) {
    std::array<char, kSmall> buffer;
    const ssize_t count = ReadSome(from, buffer.data(), buffer.size());
    if (count < 0) {
        return errno;
    }
    if (const int error = WriteAll(to, buffer.data(), static_cast<std::size_t>(count))) {
        return error;
    }
    // Another size than that of a moment ago means that someone is writing: then go on to the end.
    const bool isWhole = count == info.st_size && count < static_cast<ssize_t>(kSmall);
    return isWhole ? 0 : CopyThrough(from, to, buffer.data(), buffer.size(), kNoLimit);
}

// Copies a range to the same place in the other file, or as much of it as there is.
int CopyRange(int from, int to, off_t start, off_t length) {
    if (lseek(from, start, SEEK_SET) < 0 || lseek(to, start, SEEK_SET) < 0) {
        return errno;
    }
    while (length > 0) {
        const ssize_t count = Retry([=] {
            return copy_file_range(from, nullptr, to, nullptr, static_cast<std::size_t>(length), 0);
        });
        if (count <= 0) {
            break;
        }
        length -= count;
    }
    if (length == 0) {
        return 0;
    }
    // Not every file system supports this, and some only answer that there is nothing to copy. To
    // read and write the rest either works or gives the real error.
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[kLargeBuffer]);
    if (buffer == nullptr) {
        return ENOMEM;
    }
    return CopyThrough(from, to, buffer.get(), kLargeBuffer, length);
}

int CopyAllButHoles(int from, const struct stat& info, int to) {
    off_t at = 0;
    // Every round ends after where it began, because a hole starts after the data before it.
    while (at < info.st_size) {
        off_t start = lseek(from, at, SEEK_DATA);
        if (start < 0 && errno == ENXIO) {
            break;
        }
        start = std::max(start, at);
        const off_t hole = lseek(from, start, SEEK_HOLE);
        const off_t end = hole > start ? hole : info.st_size;
        if (const int error = CopyRange(from, to, start, end - start)) {
            return error;
        }
        at = std::max(end, at + 1);
    }
    // A hole at the end has nothing after it that would set the size.
    return ftruncate(to, info.st_size) == 0 ? 0 : errno;
}

// Copies all of `from`, which is `info` and is at its start, into the empty file `to`, which is on
// `device`: by sharing the data if the file system can, and without filling holes. 0, or errno;
// then part of the data may be copied.
int CopyFileData(int from, const struct stat& info, int to, dev_t device) {
    constexpr off_t kBlock = 512;
    if (info.st_size > 0 && ShareData(from, info, to, device)) {
        return 0;
    }
    if (info.st_size <= static_cast<off_t>(kSmall)) {
        return CopySmall(from, info, to);
    }
    const bool hasHoles = info.st_blocks < info.st_size / kBlock;
    return hasHoles ? CopyAllButHoles(from, info, to) : CopyRange(from, to, 0, info.st_size);
}

// Fills an empty output. 0, or errno.
int Fill(SFileCopy& copy) {
    SOutput& output = copy.output;
    const struct stat& info = copy.sourceInfo;
    const int to = output.file.Get();
    if (output.isNew && fstat(to, &output.info) != 0) {
        return errno;
    }
    if (const int error = CopyFileData(copy.source.Get(), info, to, output.info.st_dev)) {
        return error;
    }
    // A new file was created with the right mode. One that is replaced gets the attribute only
    // after the data is in it, so that a failure leaves it writable.
    constexpr mode_t kAllWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    if (!output.isNew && (info.st_mode & S_IWUSR) == 0 &&
        fchmod(to, output.info.st_mode & 07777 & ~kAllWrite) != 0) {
        return errno;
    }
    const struct timespec times[2] = {{0, UTIME_OMIT}, info.st_mtim};
    // Only the owner of a file may set its time, while others may be allowed to write to it.
    copy.timeError = futimens(to, times) == 0 ? 0 : errno;
    // Some file systems write only now, and tell only now that they could not.
    return close(output.file.Release()) == 0 ? 0 : errno;
}

// Whether someone has written to the source since it was opened.
bool HasChanged(const SFileCopy& copy) {
    struct stat now {};
    const struct stat& before = copy.sourceInfo;
    return fstat(copy.source.Get(), &now) == 0 &&
           (now.st_size != before.st_size || now.st_mtim.tv_sec != before.st_mtim.tv_sec ||
            now.st_mtim.tv_nsec != before.st_mtim.tv_nsec);
}

int Copy(std::u16string_view from, std::u16string_view to, EExisting existing) {
    SFileCopy copy;
    try {
        if (const int status = BeginCopy(from, to, existing, copy)) {
            return status;
        }
        MoveData(copy);
        return EndCopy(copy);
    } catch (const std::bad_alloc&) {
        // A file that was made before memory lacked has no data yet.
        if (copy.output.isNew) {
            DiscardOutput(copy.output);
        }
        throw;
    }
}

}  // namespace

void SFileCopy::Clear() {
    source.Close();
    output.file.Close();
    output.place.folder.reset();
    output.isNew = false;
    output.info = {};
    isPlaced = false;
    error = 0;
    timeError = 0;
    isChanged = false;
}

int PlaceCopy(std::u16string_view from, std::u16string_view to, SFileCopy& copy) {
    if (const int status = PlaceOutput(to, copy.output)) {
        return status;
    }
    if (const int status = OpenFile(from, copy.source, copy.sourceInfo)) {
        return status;
    }
    // Last, because only EndCopy ends what this begins.
    copy.output.place.folder->BeginAdding(copy.output.place.entry.name, EEntryKind::Regular);
    copy.isPlaced = true;
    return ERROR_SUCCESS;
}

int BeginCopy(std::u16string_view from, std::u16string_view to, EExisting existing,
              SFileCopy& copy) {
    if (const int status = OpenFile(from, copy.source, copy.sourceInfo)) {
        return status;
    }
    SOutput& output = copy.output;
    if (const int status = OpenOutput(to, copy.GetMode(), existing, output)) {
        return status;
    }
    if (output.isNew) {
        return ERROR_SUCCESS;
    }
    // Emptying it would empty the source too.
    if (GetFileId(output.info) == GetFileId(copy.sourceInfo)) {
        return ERROR_SHARING_VIOLATION;
    }
    return ftruncate(output.file.Get(), 0) == 0 ? ERROR_SUCCESS : StatusFromErrno(errno);
}

void MoveData(SFileCopy& copy) {
    copy.error = copy.isPlaced ? CreateOutput(copy.GetMode(), copy.output) : 0;
    if (copy.error == 0) {
        copy.error = Fill(copy);
        copy.isChanged = HasChanged(copy);
    }
    copy.source.Close();
}

int EndCopy(SFileCopy& copy) {
    SOutput& output = copy.output;
    const bool isTaken = copy.isPlaced && !output.isNew && copy.error == EEXIST;
    if (copy.isPlaced) {
        output.place.folder->EndAdding(output.place.entry.name, output.isNew || isTaken);
    }
    if (copy.error == 0) {
        return copy.timeError == 0 ? ERROR_SUCCESS : StatusFromErrno(copy.timeError);
    }
    // What this copy did not create is not removed either.
    if (copy.isPlaced && !output.isNew) {
        return isTaken ? ERROR_FILE_EXISTS : StatusFromErrno(copy.error);
    }
    DiscardOutput(output);
    return StatusFromErrno(copy.error);
}

int CopyFile(const char16_t* source, const char16_t* destination, EExisting existing) {
    const int status = Copy(source, destination, existing);
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
