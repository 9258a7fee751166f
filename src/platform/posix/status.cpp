#include "platform/status.h"

namespace platform {

namespace {

// One for each thread, as on Windows: a helper thread must not change what a stage reads after a
// failure of its own.
thread_local int t_lastError = ERROR_SUCCESS;

}  // namespace

int GetLastError() { return t_lastError; }

int SetLastError(int status) {
    t_lastError = status;
    return status;
}

}  // namespace platform
