#include <algorithm>

#include "platform/files.h"
#include "platform/win.h"

namespace platform {

namespace {

// Bytes. One call takes a count of 32 bits.
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;

// The header has a number, because it may not name a type of Windows. 0 means that no file is open;
// CreateFileW never gives it.
HANDLE Handle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

COutputFile::~COutputFile() { Close(); }

int COutputFile::Create(const char16_t* name) {
    Close();
    // Nobody else can open the file while it is written.
    HANDLE file = CreateFileW(ToWide(name), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    m_handle = reinterpret_cast<std::intptr_t>(file);
    return ERROR_SUCCESS;
}

// The operations change the file, though not the object that holds it.
// NOLINTBEGIN(readability-make-member-function-const)
int COutputFile::Rewind() {
    const DWORD position = SetFilePointer(Handle(m_handle), 0, nullptr, FILE_BEGIN);
    return position != INVALID_SET_FILE_POINTER ? ERROR_SUCCESS : GetLastError();
}

int COutputFile::Write(const void* bytes, std::size_t count) {
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min(count, kMostAtOnce));
        if (WriteFile(Handle(m_handle), next, piece, &written, nullptr) == FALSE) {
            return GetLastError();
        }
        // To try again could go on for ever.
        if (written == 0) {
            return SetLastError(ERROR_WRITE_FAULT);
        }
        next += written;
        count -= written;
    }
    return ERROR_SUCCESS;
}

int COutputFile::SetEnd() { return StatusFromCall(SetEndOfFile(Handle(m_handle))); }
// NOLINTEND(readability-make-member-function-const)

void COutputFile::Close() {
    if (IsOpen()) {
        CloseHandle(Handle(m_handle));
        m_handle = 0;
    }
}

}  // namespace platform
