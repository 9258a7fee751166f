#include "platform/status.h"

#include "platform/win.h"

namespace platform {

// The system's own last error serves, so a failed call of Windows has set it already. It belongs to
// the calling thread.
int GetLastError() { return static_cast<int>(::GetLastError()); }

int SetLastError(int status) {
    ::SetLastError(static_cast<DWORD>(status));
    return status;
}

}  // namespace platform
