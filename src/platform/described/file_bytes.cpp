#include "platform/described/file_bytes.h"

#include <algorithm>
#include <future>
#include <new>

#include "platform/input_file.h"
#include "platform/status.h"

namespace platform {

namespace {

constexpr std::size_t kLargeFile = std::size_t{1} << 20;  // bytes; less is not worth a thread

struct SRead {
    std::size_t count = 0;
    int status = ERROR_SUCCESS;
};

SRead ReadPart(const CInputFile& file, std::byte* bytes, std::size_t start, std::size_t size) {
    SRead read;
    read.status = file.Read(start, {bytes + start, size}, read.count);
    return read;
}

// Copying a large file takes as long as looking through it: so two threads do it, each a half.
SRead ReadAll(const CInputFile& file, std::byte* bytes, std::size_t size) {
    if (size < kLargeFile) {
        return ReadPart(file, bytes, 0, size);
    }
    const std::size_t half = size / 2;
    // Without a thread to be had it runs when it is asked for.
    std::future<SRead> second = std::async(&ReadPart, std::cref(file), bytes, half, size - half);
    const SRead first = ReadPart(file, bytes, 0, half);
    const SRead rest = second.get();
    return first.count < half ? first : SRead{half + rest.count, rest.status};
}

}  // namespace

int ReadFileBytes(const char16_t* name, std::size_t limit, SFileBytes& file) {
    CInputFile input;
    if (const int status = input.Open(name)) {
        return status;
    }
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(input.GetSize(), limit));
    // `new` without parentheses does not set the bytes to zero, so each page is touched only once.
    std::unique_ptr<std::byte[]> bytes(new (std::nothrow) std::byte[size]);
    if (bytes == nullptr) {
        return SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    const SRead read = ReadAll(input, bytes.get(), size);
    if (read.status != ERROR_SUCCESS) {
        return SetLastError(read.status);
    }
    file = {std::move(bytes), read.count};
    return ERROR_SUCCESS;
}

}  // namespace platform
