#include "platform/status.h"

#include "platform/windows/win.h"

namespace platform {

int GetLastError() { return static_cast<int>(::GetLastError()); }

int SetLastError(int status) {
    ::SetLastError(static_cast<DWORD>(status));
    return status;
}

}  // namespace platform
