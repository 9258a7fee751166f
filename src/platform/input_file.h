// platform/input_file.h - reads a file at any position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace platform {

// A regular file, open for reading. The destructor closes it. Read may be called on several threads
// at once.
class CInputFile {
public:
    CInputFile();
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    // Opens a file by its Windows name and closes any former one. Results as in platform/files.h;
    // ERROR_ACCESS_DENIED for a folder, and on POSIX ERROR_CANT_ACCESS_FILE for a link below the
    // package folder and for anything else that is not a regular file.
    [[nodiscard]] int Open(const char16_t* name);

    // The size in bytes when the file was opened.
    [[nodiscard]] std::uint64_t GetSize() const;

    // Reads from `offset` on until `bytes` is full or the file ends. `count` receives the number of
    // bytes read, also on failure.
    [[nodiscard]] int Read(std::uint64_t offset, std::span<std::byte> bytes,
                           std::size_t& count) const;

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
