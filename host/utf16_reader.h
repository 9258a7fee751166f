// host/utf16_reader.h - reads UTF-16 files unit by unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace host {

// Reads the units of a little-endian UTF-16 stream after its byte order mark. A single last byte is
// ignored. One thread at a time.
//
// INVARIANT: `m_piece` has `m_size` bytes of the stream, and `m_next` is the index of the next unit
// in it.
class CUtf16Reader {
public:
    static constexpr int kEnd = -1;

    // A stream without the mark counts as empty.
    explicit CUtf16Reader(std::istream& bytes);

    [[nodiscard]] int Next() {
        if (m_next + 1 >= m_size && !Fill()) {
            return kEnd;
        }
        const unsigned low = m_piece[m_next];
        const unsigned high = m_piece[m_next + 1];
        m_next += 2;
        return static_cast<int>(high << 8 | low);
    }

    // Reads a line and gives it without CR and LF. False when no further line ends.
    [[nodiscard]] bool NextLine(std::u16string& line);

private:
    bool Fill();
    [[nodiscard]] std::size_t FindLineFeed() const;

    std::istream& m_bytes;
    std::vector<unsigned char> m_piece;
    std::size_t m_size = 0;
    std::size_t m_next = 0;
};

}  // namespace host
