// platform/posix/files/file_descriptor.h - the owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

class CFileDescriptor {
public:
    CFileDescriptor() = default;
    explicit CFileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~CFileDescriptor() { Close(); }
    CFileDescriptor(CFileDescriptor&& other) noexcept : m_descriptor(other.Release()) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    CFileDescriptor(const CFileDescriptor&) = delete;
    CFileDescriptor& operator=(const CFileDescriptor&) = delete;

    [[nodiscard]] int Get() const { return m_descriptor; }
    [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }

    // Hands the descriptor over to the caller, who closes it.
    [[nodiscard]] int Release() { return std::exchange(m_descriptor, -1); }
    void Reset(int descriptor) {
        Close();
        m_descriptor = descriptor;
    }
    void Close() {
        if (IsOpen()) {
            close(Release());
        }
    }

private:
    int m_descriptor = -1;
};

}  // namespace platform
