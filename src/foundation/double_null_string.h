// foundation/double_null_string.h - the registry's multi-string value.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

// A list of strings in one buffer: each string with its NUL, and one more NUL at the end. No string
// is empty. Storage comes from malloc. If an allocation fails, the buffer is null; such a list may
// only be cleared, assigned to or destroyed. One thread at a time.
class CDoubleNullStringW {
public:
    struct SFree {
        void operator()(void* block) const { std::free(block); }
    };
    using StringArray = std::unique_ptr<const char16_t*[], SFree>;

    CDoubleNullStringW() noexcept;
    CDoubleNullStringW(const CDoubleNullStringW& other);
    CDoubleNullStringW(CDoubleNullStringW&& other) noexcept;
    virtual ~CDoubleNullStringW();

    CDoubleNullStringW& operator=(const CDoubleNullStringW& other);
    CDoubleNullStringW& operator=(CDoubleNullStringW&& other) noexcept;

    // Append a copy. Null and empty texts are ignored. A view must not contain a NUL.
    void Add(const char16_t* text);
    void Add(std::u16string_view text);
    void Assign(const CDoubleNullStringW& other);
    void Clear();

    // An array of GetCount() pointers into the buffer, which the caller owns; the pointers are
    // valid until the list changes. Null when the list is empty or there is no memory.
    [[nodiscard]] StringArray GetStrings() const;

    // All strings with their NULs and the closing one. An empty list is two NULs.
    [[nodiscard]] const char16_t* Get() const { return m_pBuffer; }
    // In UTF-16 units, with all NULs.
    [[nodiscard]] std::size_t GetLength() const { return m_length; }
    [[nodiscard]] std::size_t GetCount() const { return m_count; }

private:
    char16_t* m_pBuffer;
    std::size_t m_length;
    std::size_t m_count;  // 0: the buffer is the shared empty one, not owned
};

// Calls `each` with every string in turn; with none when there was no memory for them.
template <class TEach>
void ForEachString(const CDoubleNullStringW& strings, const TEach& each) {
    const char16_t* string = strings.Get();
    while (string != nullptr && *string != u'\0') {
        each(string);
        string += std::char_traits<char16_t>::length(string) + 1;
    }
}
