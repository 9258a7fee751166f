#include "platform/input_file.h"

#include <sys/stat.h>

#include <limits>

#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_access.h"
#include "platform/posix/files/file_io.h"
#include "platform/status.h"

namespace platform {

struct CInputFile::SState {
    CFileDescriptor file;
    std::uint64_t size = 0;
};

CInputFile::CInputFile() = default;
CInputFile::~CInputFile() = default;

int CInputFile::Open(const char16_t* name) {
    m_state.reset();
    auto state = std::make_unique<SState>();
    if (const int status = OpenForReading(name, state->file)) {
        return status;
    }
    // The size now. Reading gives fewer bytes if the file gets shorter.
    struct stat info {};
    if (fstat(state->file.Get(), &info) != 0) {
        return FailWithErrno();
    }
    state->size = static_cast<std::uint64_t>(info.st_size);
    m_state = std::move(state);
    return ERROR_SUCCESS;
}

std::uint64_t CInputFile::GetSize() const { return m_state ? m_state->size : 0; }

int CInputFile::Read(std::uint64_t offset, std::span<std::byte> bytes, std::size_t& count) const {
    count = 0;
    if (!m_state) {
        return SetLastError(ERROR_INVALID_HANDLE);
    }
    // The offset may come from a file and be any number.
    if (offset > std::uint64_t{std::numeric_limits<off_t>::max()} - bytes.size()) {
        return ERROR_SUCCESS;  // after the end of any file
    }
    const SRead read =
        ReadAt(m_state->file.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    count = read.count;
    return read.error == 0 ? ERROR_SUCCESS : SetLastError(StatusFromErrno(read.error));
}

}  // namespace platform
