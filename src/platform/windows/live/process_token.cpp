#include "platform/windows/live/process_token.h"

namespace platform {

CProcessToken::CProcessToken(DWORD access) {
    if (OpenProcessToken(GetCurrentProcess(), access, &m_handle) == FALSE) {
        m_handle = nullptr;
    }
}

CProcessToken::~CProcessToken() {
    if (m_handle != nullptr) {
        CloseHandle(m_handle);
    }
}

// Without a token both calls fail.
std::vector<std::byte> CProcessToken::Read(TOKEN_INFORMATION_CLASS record) const {
    DWORD size = 0;
    // Fails because there is no room, but gives the size that is needed.
    static_cast<void>(GetTokenInformation(m_handle, record, nullptr, 0, &size));
    std::vector<std::byte> bytes(size);
    if (GetTokenInformation(m_handle, record, bytes.data(), size, &size) == FALSE) {
        bytes.clear();
    }
    return bytes;
}

}  // namespace platform
