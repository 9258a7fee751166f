#include "host/utf16_reader.h"

#include <bit>
#include <cstring>

namespace host {

namespace {

static_assert(std::endian::native == std::endian::little, "the units are copied as they are");

// Even, so that no unit is divided between two pieces.
constexpr std::size_t kPiece = std::size_t{64} << 10;  // bytes
constexpr int kByteOrderMark = 0xFEFF;

}  // namespace

CUtf16Reader::CUtf16Reader(std::istream& bytes) : m_bytes(bytes), m_piece(kPiece) {
    if (Next() != kByteOrderMark) {
        // From here on Fill reads nothing, so that only the end is given.
        m_bytes.setstate(std::ios::eofbit);
        m_size = 0;
        m_next = 0;
    }
}

bool CUtf16Reader::Fill() {
    // Only the last piece can have an odd size: a stream gives less than asked for only at its end.
    m_bytes.read(reinterpret_cast<char*>(m_piece.data()),
                 static_cast<std::streamsize>(m_piece.size()));
    m_size = static_cast<std::size_t>(m_bytes.gcount());
    m_next = 0;
    return m_size >= 2;
}

// The index of the next line feed in the piece, or the end of the whole units.
std::size_t CUtf16Reader::FindLineFeed() const {
    const std::size_t end = m_size - m_size % 2;
    for (std::size_t at = m_next; at < end;) {
        const void* const found = std::memchr(m_piece.data() + at, '\n', end - at);
        if (found == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - m_piece.data());
        // The byte may also be one half of another unit.
        if (at % 2 == 0 && m_piece[at + 1] == 0) {
            return at;
        }
        ++at;
    }
    return end;
}

bool CUtf16Reader::NextLine(std::u16string& line) {
    line.clear();
    while (m_next + 1 < m_size || Fill()) {
        const std::size_t end = FindLineFeed();
        // The line may have begun in an earlier piece.
        const std::size_t length = line.size();
        const std::size_t taken = (end - m_next) / 2;
        line.resize(length + taken);
        std::memcpy(line.data() + length, m_piece.data() + m_next, taken * 2);
        m_next = end;
        // There is a line feed at `end`. Without one the line goes on in the next piece.
        if (end + 1 < m_size) {
            m_next += 2;
            if (!line.empty() && line.back() == u'\r') {
                line.pop_back();
            }
            return true;
        }
    }
    return false;
}

}  // namespace host
