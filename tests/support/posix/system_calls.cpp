#include "support/posix/system_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace {

struct SCall {
    std::atomic<int> error = 0;  // 0 while it works
    std::atomic<long> count = 0;
};
std::array<SCall, static_cast<std::size_t>(ESystemCall::Write) + 1> g_calls;

SCall& Call(ESystemCall call) { return g_calls[static_cast<std::size_t>(call)]; }

template <class... TArguments>
long Make(ESystemCall call, long number, TArguments... arguments) {
    ++Call(call).count;
    if (const int error = Call(call).error) {
        errno = error;
        return -1;
    }
    return syscall(number, arguments...);
}

}  // namespace

long CountCalls(ESystemCall call) { return Call(call).count; }

CFailingCall::CFailingCall(ESystemCall call, int error) : m_call(call) { Call(call).error = error; }
CFailingCall::~CFailingCall() { Call(m_call).error = 0; }

extern "C" {

[[gnu::visibility("default")]] ssize_t flistxattr(int file, char* names, size_t size) noexcept {
    return Make(ESystemCall::FListXAttr, SYS_flistxattr, file, names, size);
}

[[gnu::visibility("default")]] int futimens(int file, const struct timespec times[2]) noexcept {
    return static_cast<int>(Make(ESystemCall::FUTimeNs, SYS_utimensat, file, nullptr, times, 0));
}

[[gnu::visibility("default")]] int openat(int folder, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return static_cast<int>(Make(ESystemCall::OpenAt, SYS_openat, folder, name, flags, mode));
}

[[gnu::visibility("default")]] ssize_t pread(int file, void* bytes, size_t size, off_t start) {
    return Make(ESystemCall::PRead, SYS_pread64, file, bytes, size, start);
}

[[gnu::visibility("default")]] ssize_t read(int file, void* bytes, size_t size) {
    return Make(ESystemCall::Read, SYS_read, file, bytes, size);
}

[[gnu::visibility("default")]] ssize_t write(int file, const void* bytes, size_t size) {
    return Make(ESystemCall::Write, SYS_write, file, bytes, size);
}

}  // extern "C"
