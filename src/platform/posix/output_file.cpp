#include <unistd.h>

#include <cerrno>

#include "platform/files.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/output.h"
#include "platform/status.h"

namespace platform {

namespace {

// The handle is the descriptor plus one, since 0 stands for none.
int Descriptor(std::intptr_t handle) { return static_cast<int>(handle - 1); }

}  // namespace

COutputFile::~COutputFile() { Close(); }

int COutputFile::Create(const char16_t* name) {
    Close();
    SOutput output;
    if (const int status = OpenOutput(name, 0666, output)) {
        return SetLastError(status);
    }
    if (!output.isNew && ftruncate(output.file.Get(), 0) != 0) {
        return FailWithErrno();
    }
    m_handle = output.file.Release() + 1;
    return ERROR_SUCCESS;
}

int COutputFile::Rewind() {
    return lseek(Descriptor(m_handle), 0, SEEK_SET) < 0 ? FailWithErrno() : ERROR_SUCCESS;
}

int COutputFile::Write(const void* bytes, std::size_t count) {
    const int error = WriteAll(Descriptor(m_handle), bytes, count);
    return error == 0 ? ERROR_SUCCESS : SetLastError(StatusFromErrno(error));
}

int COutputFile::SetEnd() {
    const off_t position = lseek(Descriptor(m_handle), 0, SEEK_CUR);
    const bool isSet = position >= 0 && ftruncate(Descriptor(m_handle), position) == 0;
    return isSet ? ERROR_SUCCESS : FailWithErrno();
}

void COutputFile::Close() {
    if (IsOpen()) {
        close(Descriptor(m_handle));
        m_handle = 0;
    }
}

}  // namespace platform
