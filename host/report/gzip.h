// host/report/gzip.h - compressed data, and binary data as text.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace host {

// Compresses texts, each to a gzip file of its own. The same text gives the same bytes at any time
// and on every system. One thread at a time.
class CGzip {
public:
    CGzip();
    ~CGzip();
    CGzip(const CGzip&) = delete;
    CGzip& operator=(const CGzip&) = delete;

    // Valid until the next call. Throws std::bad_alloc when there is no memory.
    [[nodiscard]] std::string_view Compress(std::string_view text);

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

// Bytes in base64, with padding and without line ends.
[[nodiscard]] std::string Base64(std::string_view bytes);

}  // namespace host
