#include "platform/status.h"

namespace platform {

namespace {

thread_local int t_lastError = ERROR_SUCCESS;

}  // namespace

int GetLastError() { return t_lastError; }

int SetLastError(int status) {
    t_lastError = status;
    return status;
}

}  // namespace platform
