#include "foundation/double_null_string.h"

#include <bit>
#include <cstring>
#include <string>
#include <utility>

#include "foundation/lost_memory.h"

namespace {

// The buffer of every empty list; never written.
char16_t g_noStrings[2] = {0, 0};

// The units to allocate for a list of `length` units. A power of two, so that adding n strings
// takes linear time.
std::size_t CapacityFor(std::size_t length) { return std::bit_ceil(length); }

}  // namespace

CDoubleNullStringW::CDoubleNullStringW() noexcept
    : m_pBuffer(g_noStrings), m_length(std::size(g_noStrings)), m_count(0) {}

CDoubleNullStringW::CDoubleNullStringW(const CDoubleNullStringW& other) : CDoubleNullStringW() {
    Assign(other);
}

CDoubleNullStringW::CDoubleNullStringW(CDoubleNullStringW&& other) noexcept : CDoubleNullStringW() {
    *this = std::move(other);
}

CDoubleNullStringW::~CDoubleNullStringW() { Clear(); }

CDoubleNullStringW& CDoubleNullStringW::operator=(const CDoubleNullStringW& other) {
    if (this != &other) {
        Assign(other);
    }
    return *this;
}

CDoubleNullStringW& CDoubleNullStringW::operator=(CDoubleNullStringW&& other) noexcept {
    // Swapped, so that nothing is allocated and nothing can fail. `other` frees what this list had.
    std::swap(m_pBuffer, other.m_pBuffer);
    std::swap(m_length, other.m_length);
    std::swap(m_count, other.m_count);
    return *this;
}

void CDoubleNullStringW::Add(const char16_t* text) {
    if (text != nullptr) {
        Add(std::u16string_view(text));
    }
}

void CDoubleNullStringW::Add(std::u16string_view text) {
    if (text.empty() || m_pBuffer == nullptr) {
        return;
    }
    // The first string replaces one of the two NULs of the empty list, a later one the closing NUL.
    const std::size_t start = m_count == 0 ? 0 : m_length - 1;
    // With the NUL of the text and the closing one.
    const std::size_t length = start + text.size() + 2;
    char16_t* buffer = m_count == 0 ? nullptr : m_pBuffer;
    // INVARIANT: a list that is not empty has room for CapacityFor(m_length) units.
    if (m_count == 0 || CapacityFor(length) != CapacityFor(m_length)) {
        buffer =
            static_cast<char16_t*>(std::realloc(buffer, CapacityFor(length) * sizeof(char16_t)));
    }
    if (buffer == nullptr) {
        NoteLostMemory();
        Clear();
        // Not 0, so that the null buffer counts as owned and Clear() makes the list empty again.
        m_pBuffer = nullptr;
        m_count = 1;
        return;
    }
    std::memcpy(buffer + start, text.data(), text.size() * sizeof(char16_t));
    buffer[length - 2] = 0;
    buffer[length - 1] = 0;
    m_pBuffer = buffer;
    m_length = length;
    ++m_count;
}

void CDoubleNullStringW::Assign(const CDoubleNullStringW& other) {
    if (this == &other) {
        return;
    }
    Clear();
    if (other.m_count == 0) {
        return;
    }
    // Without memory the count is taken over too: the null buffer then counts as owned, as in Add.
    m_pBuffer =
        other.m_pBuffer == nullptr
            ? nullptr
            : static_cast<char16_t*>(std::malloc(CapacityFor(other.m_length) * sizeof(char16_t)));
    m_count = other.m_count;
    if (m_pBuffer == nullptr) {
        NoteLostMemory();
    } else {
        std::memcpy(m_pBuffer, other.m_pBuffer, other.m_length * sizeof(char16_t));
        m_length = other.m_length;
    }
}

void CDoubleNullStringW::Clear() {
    if (m_count != 0) {
        std::free(m_pBuffer);
    }
    m_pBuffer = g_noStrings;
    m_length = std::size(g_noStrings);
    m_count = 0;
}

CDoubleNullStringW::StringArray CDoubleNullStringW::GetStrings() const {
    if (m_count == 0 || m_pBuffer == nullptr) {
        return nullptr;
    }
    StringArray strings(static_cast<const char16_t**>(std::calloc(m_count, sizeof(char16_t*))));
    if (!strings) {
        return strings;
    }
    const char16_t* text = m_pBuffer;
    // No string is empty, so a NUL at the start of one is the end of the list.
    for (std::size_t i = 0; i < m_count && *text != 0; ++i) {
        strings[i] = text;
        text += std::char_traits<char16_t>::length(text) + 1;
    }
    return strings;
}
