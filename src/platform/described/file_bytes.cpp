#include "platform/described/file_bytes.h"

#include <algorithm>
#include <new>

#include "platform/input_file.h"
#include "platform/large_memory.h"
#include "platform/status.h"

namespace platform {

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
    UseLargePages(bytes.get(), size);
    std::size_t count = 0;
    if (const int status = input.Read(0, {bytes.get(), size}, count)) {
        return status;
    }
    file = {std::move(bytes), count};
    return ERROR_SUCCESS;
}

}  // namespace platform
