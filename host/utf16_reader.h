// host/utf16_reader.h - reads UTF-16 files unit by unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace host {

// The units of a little-endian UTF-16 stream behind its byte order mark. Holds one piece of the
// stream at a time. A last byte without a partner is left out.
class CUtf16Reader {
public:
    static constexpr int kEnd = -1;

    // A stream without the mark is at its end at once.
    explicit CUtf16Reader(std::istream& bytes);
    // Begins at a byte behind the mark, at an even place.
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

    // Where in the stream the next unit stands, in bytes.
    [[nodiscard]] std::uint64_t GetPosition() const { return m_pieceStart + m_next; }

    // Gives the start of the next line, of no more than `limit` units, without its CR and LF. False
    // when no further line ends.
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
