#include "host/utf16_reader.h"

#include <cstring>

namespace host {

namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;
constexpr int kByteOrderMark = 0xFEFF;

}  // namespace

CUtf16Reader::CUtf16Reader(std::istream& bytes) : m_bytes(bytes), m_piece(kPiece) {
    if (Next() != kByteOrderMark) {
        m_bytes.setstate(std::ios::eofbit);
        m_size = 0;
        m_next = 0;
    }
}

bool CUtf16Reader::Fill() {
    // A stream that gives less than was asked for is at its end, so the pieces are all even.
    m_bytes.read(reinterpret_cast<char*>(m_piece.data()),
                 static_cast<std::streamsize>(m_piece.size()));
    m_size = static_cast<std::size_t>(m_bytes.gcount());
    m_next = 0;
    return m_size >= 2;
}

// Where the next line feed lies in the piece, or the piece's end.
std::size_t CUtf16Reader::FindLineFeed() const {
    const std::size_t end = m_size - m_size % 2;
    for (std::size_t at = m_next; at < end;) {
        const void* const found = std::memchr(m_piece.data() + at, '\n', end - at);
        if (found == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - m_piece.data());
        if (at % 2 == 0 && m_piece[at + 1] == 0) {
            return at;
        }
        ++at;
    }
    return end;
}

bool CUtf16Reader::NextLine(std::u16string& start, std::size_t limit) {
    start.clear();
    while (m_next + 1 < m_size || Fill()) {
        const std::size_t end = FindLineFeed();
        while (m_next < end && start.size() < limit) {
            const int unit = Next();
            if (unit != u'\r') {
                start += static_cast<char16_t>(unit);
            }
        }
        m_next = end;
        if (end + 1 < m_size) {
            m_next += 2;
            return true;
        }
    }
    return false;
}

}  // namespace host
