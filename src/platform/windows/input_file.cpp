#include "platform/input_file.h"

#include <algorithm>
#include <limits>

#include "platform/status.h"
#include "platform/win.h"

namespace platform {

// Others may read and delete the file meanwhile, but not write to it, because its content must stay
// the same while it is read. A folder is refused with ERROR_ACCESS_DENIED.
struct CInputFile::SState {
    explicit SState(const char16_t* name)
        : file(CreateFileW(ToWide(name), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    ~SState() {
        if (IsOpen()) {
            CloseHandle(file);
        }
    }
    SState(const SState&) = delete;
    SState& operator=(const SState&) = delete;

    [[nodiscard]] bool IsOpen() const { return file != INVALID_HANDLE_VALUE; }

    HANDLE file;
    std::uint64_t size = 0;
};

CInputFile::CInputFile() = default;
CInputFile::~CInputFile() = default;

int CInputFile::Open(const char16_t* name) {
    m_state.reset();
    auto state = std::make_unique<SState>(name);
    LARGE_INTEGER size{};
    if (!state->IsOpen() || GetFileSizeEx(state->file, &size) == FALSE) {
        return GetLastError();
    }
    state->size = static_cast<std::uint64_t>(size.QuadPart);
    m_state = std::move(state);
    return ERROR_SUCCESS;
}

std::uint64_t CInputFile::GetSize() const { return m_state ? m_state->size : 0; }

int CInputFile::Read(std::uint64_t offset, std::span<std::byte> bytes, std::size_t& count) const {
    // With its own position each call is independent of the others, so any thread may read.
    constexpr std::size_t kMaxPiece = std::numeric_limits<std::int32_t>::max();
    count = 0;
    if (!m_state) {
        return SetLastError(ERROR_INVALID_HANDLE);
    }
    while (count < bytes.size()) {
        const std::uint64_t place = offset + count;
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(place);
        at.OffsetHigh = static_cast<DWORD>(place >> 32);
        DWORD read = 0;
        const auto piece = static_cast<DWORD>(std::min(bytes.size() - count, kMaxPiece));
        if (ReadFile(m_state->file, bytes.data() + count, piece, &read, &at) == FALSE) {
            const int status = GetLastError();
            // With a position given, the end of the file is a failure of the call.
            return status == ERROR_HANDLE_EOF ? ERROR_SUCCESS : status;
        }
        // The end may also be a success without bytes.
        if (read == 0) {
            break;
        }
        count += read;
    }
    return ERROR_SUCCESS;
}

}  // namespace platform
