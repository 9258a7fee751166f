#include "host/utf16_reader.h"

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

}  // namespace host
