// platform/posix/files/file_io.h - reads and writes through a descriptor, whatever interrupts them.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace platform {

// Signals are rare. A file system that is interrupted this often in a row will never answer, and
// without a limit the thread would hang.
constexpr int kMaxInterruptions = 1000;

// Makes a system call, and makes it again after a signal interrupted it. Gives the call's result;
// after kMaxInterruptions that is -1, with EINTR in errno.
template <class TCall>
auto Retry(TCall call) {
    auto result = call();
    for (int i = 1; result < 0 && errno == EINTR && i < kMaxInterruptions; ++i) {
        result = call();
    }
    return result;
}

// How many of `most` descriptors may be kept open, where `most` is right for the usual limit of a
// process. At least 1.
[[nodiscard]] std::size_t ShareOfDescriptors(std::size_t most);

// All of these work on any thread.

// Reads at the position. The number of bytes, 0 at the end of the file, or -1 with errno.
[[nodiscard]] ssize_t ReadSome(int file, void* buffer, std::size_t size);

// How far a reading came: all that was wanted, or up to the end of the file or an error.
struct SRead {
    std::size_t count = 0;
    int error = 0;  // errno
};

// Reads `size` bytes from `start` on. Leaves the position where it is.
[[nodiscard]] SRead ReadAt(int file, std::byte* bytes, std::size_t size, off_t start);

// Writes all of it at the position. 0, or errno.
[[nodiscard]] int WriteAll(int file, const void* bytes, std::size_t count);

}  // namespace platform
