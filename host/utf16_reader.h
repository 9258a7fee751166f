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
// INVARIANT: `m_piece` is the `m_size` bytes of the stream from `m_pieceStart` on, and `m_next` is
// the index of the next unit in it.
class CUtf16Reader {
public:
    static constexpr int kEnd = -1;

    // A stream without the mark counts as empty.
    explicit CUtf16Reader(std::istream& bytes);
    // Starts at byte `start`, which must be even and after the mark.
    CUtf16Reader(std::istream& bytes, std::uint64_t start);

    [[nodiscard]] int Next() {
        if (m_next + 1 >= m_size && !Fill()) {
            return kEnd;
        }
        const unsigned low = m_piece[m_next];
        const unsigned high = m_piece[m_next + 1];
        m_next += 2;
        return static_cast<int>(high << 8 | low);
    }

    // The position of the next unit in the stream, in bytes.
    [[nodiscard]] std::uint64_t GetPosition() const { return m_pieceStart + m_next; }

    // Reads a line and gives its first units, at most `limit`, without CR and LF. False when no
    // further line ends.
    [[nodiscard]] bool NextLine(std::u16string& start, std::size_t limit);

private:
    bool Fill();
    [[nodiscard]] std::size_t FindLineFeed() const;

    std::istream& m_bytes;
    std::vector<unsigned char> m_piece;
    std::uint64_t m_pieceStart = 0;
    std::size_t m_size = 0;
    std::size_t m_next = 0;
};

}  // namespace host
