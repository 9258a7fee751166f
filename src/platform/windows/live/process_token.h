// platform/windows/live/process_token.h - the token of this process: whose it is and what it may
// do.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/win.h"

namespace platform {

// Opened for the rights in `access`, and closed at the end.
class CProcessToken {
public:
    explicit CProcessToken(DWORD access);
    ~CProcessToken();
    CProcessToken(const CProcessToken&) = delete;
    CProcessToken& operator=(const CProcessToken&) = delete;

    // Null when it could not be opened.
    [[nodiscard]] HANDLE Get() const { return m_handle; }
    // One record of the token as the system lays it out; empty on failure.
    [[nodiscard]] std::vector<std::byte> Read(TOKEN_INFORMATION_CLASS record) const;

private:
    HANDLE m_handle = nullptr;
};

}  // namespace platform
