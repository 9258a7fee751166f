#include "platform/posix/files/file_io.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

namespace platform {

std::size_t ShareOfDescriptors(std::size_t most) {
    constexpr rlim_t kUsual = 1024;
    struct rlimit limit {};
    const bool isKnown = getrlimit(RLIMIT_NOFILE, &limit) == 0;
    const rlim_t count = isKnown ? std::min(limit.rlim_cur, kUsual) : kUsual;
    return std::max<std::size_t>(1, most * static_cast<std::size_t>(count) / kUsual);
}

ssize_t ReadSome(int file, void* buffer, std::size_t size) {
    return Retry([=] { return read(file, buffer, size); });
}

// A call may give fewer bytes than asked for before the end. Only 0 bytes mean the end.
SRead ReadAt(int file, std::byte* bytes, std::size_t size, off_t start) {
    SRead done;
    while (done.count < size) {
        const ssize_t count = Retry([&] {
            return pread(file, bytes + done.count, size - done.count,
                         start + static_cast<off_t>(done.count));
        });
        if (count <= 0) {
            done.error = count < 0 ? errno : 0;
            break;
        }
        done.count += static_cast<std::size_t>(count);
    }
    return done;
}

int WriteAll(int file, const void* bytes, std::size_t count) {
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = Retry([=] { return write(file, next, count); });
        // A write of 0 bytes sets no errno, and to try it again could go on for ever.
        if (written <= 0) {
            return written < 0 ? errno : EIO;
        }
        next += written;
        count -= static_cast<std::size_t>(written);
    }
    return 0;
}

}  // namespace platform
