// platform/input_file.h - a file that is read, at any place in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace platform {

// A regular file, open for reading. Closes itself. Read may be called on any thread, also at once.
class CInputFile {
public:
    CInputFile();
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    // Opens a file by its Windows name, after closing any former one. Results as platform/files.h
    // has them; ERROR_ACCESS_DENIED for a folder, and on POSIX ERROR_CANT_ACCESS_FILE for a link
    // below the package folder and for what is no regular file.
    [[nodiscard]] int Open(const char16_t* name);

    // In bytes, when the file was opened.
    [[nodiscard]] std::uint64_t GetSize() const;

    // Reads from `offset` on until `bytes` are full or the file ends; `count` tells how many bytes
    // there were, also on failure.
    [[nodiscard]] int Read(std::uint64_t offset, std::span<std::byte> bytes,
                           std::size_t& count) const;

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
