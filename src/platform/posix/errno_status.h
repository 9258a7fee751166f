// platform/posix/errno_status.h - what errno means in Windows error numbers.
#pragma once

namespace platform {

// The Windows error number for an errno value; ERROR_GEN_FAILURE for one that has no better.
[[nodiscard]] int StatusFromErrno(int error);

// The status of the system call that just failed, made the thread's last error.
int FailWithErrno();

}  // namespace platform
