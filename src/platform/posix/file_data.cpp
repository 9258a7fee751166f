#include "platform/posix/file_data.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <memory>

#include "platform/posix/output.h"

namespace platform {

namespace {

constexpr std::size_t kSmall = 65536;
constexpr std::size_t kLargeBuffer = 262144;
constexpr off_t kNoLimit = std::numeric_limits<off_t>::max();

// Tries to let `to` share the data of `from`. What one file system refuses another is not asked for
// again with every file.
bool ShareData(int from, dev_t fromDevice, int to, dev_t toDevice) {
    static dev_t refusedFrom = 0;
    static dev_t refusedTo = 0;
    if (fromDevice == refusedFrom && toDevice == refusedTo) {
        return false;
    }
    if (ioctl(to, FICLONE, from) == 0) {
        return true;
    }
    refusedFrom = fromDevice;
    refusedTo = toDevice;
    return false;
}

// Reads at the position. The number of bytes, 0 at the end of the file, or -1 with errno.
ssize_t ReadSome(int file, void* buffer, std::size_t size) {
    ssize_t count = 0;
    do {
        count = read(file, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
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

// The kernel's own copying costs more than it saves here.
int CopySmall(int from, const struct stat& info, int to) {
    std::array<char, kSmall> buffer;
    const ssize_t count = ReadSome(from, buffer.data(), buffer.size());
    if (count < 0) {
        return errno;
    }
    if (const int error = WriteAll(to, buffer.data(), static_cast<std::size_t>(count))) {
        return error;
    }
    const bool isWhole = count == info.st_size && count < static_cast<ssize_t>(kSmall);
    return isWhole ? 0 : CopyThrough(from, to, buffer.data(), buffer.size(), kNoLimit);
}

// Copies a range to the same place in the other file, or as much of it as there is.
int CopyRange(int from, int to, off_t start, off_t length) {
    if (lseek(from, start, SEEK_SET) < 0 || lseek(to, start, SEEK_SET) < 0) {
        return errno;
    }
    while (length > 0) {
        const ssize_t count =
            copy_file_range(from, nullptr, to, nullptr, static_cast<std::size_t>(length), 0);
        if (count <= 0 && !(count < 0 && errno == EINTR)) {
            break;
        }
        length -= std::max<ssize_t>(count, 0);
    }
    if (length == 0) {
        return 0;
    }
    // Not every file system takes part, and some only say that there is nothing to copy. The plain
    // way finds out what is the matter.
    const auto buffer = std::make_unique_for_overwrite<char[]>(kLargeBuffer);
    return CopyThrough(from, to, buffer.get(), kLargeBuffer, length);
}

int CopyAllButHoles(int from, const struct stat& info, int to) {
    off_t at = 0;
    // Every round ends behind where it began: a hole starts behind the data before it.
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
    return ftruncate(to, info.st_size) == 0 ? 0 : errno;
}

}  // namespace

int CopyFileData(int from, const struct stat& info, int to, dev_t toDevice) {
    constexpr off_t kBlock = 512;
    if (info.st_size > 0 && ShareData(from, info.st_dev, to, toDevice)) {
        return 0;
    }
    if (info.st_size <= static_cast<off_t>(kSmall)) {
        return CopySmall(from, info, to);
    }
    const bool hasHoles = info.st_blocks < info.st_size / kBlock;
    return hasHoles ? CopyAllButHoles(from, info, to) : CopyRange(from, to, 0, info.st_size);
}

}  // namespace platform
