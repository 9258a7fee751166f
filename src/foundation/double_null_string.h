// foundation/double_null_string.h - the registry's multi-string value.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

// Strings one behind the other, each with its NUL, and one more NUL at the end; none of them is
// empty. Storage comes from malloc. After a failure to get some the buffer is null: such a list is
// only fit to be cleared, assigned to or destroyed. One thread at a time.
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

    // Append a copy; null and empty texts are ignored. A view has no NUL in it.
    void Add(const char16_t* text);
    void Add(std::u16string_view text);
    void Assign(const CDoubleNullStringW& other);
    void Clear();

    // The strings, GetCount() of them, as pointers into the buffer; null when there are none, or no
    // memory.
    [[nodiscard]] StringArray GetStrings() const;

    // All strings with their NULs and the closing one; an empty list is two NULs.
    [[nodiscard]] const char16_t* Get() const { return m_pBuffer; }
    // In units, all NULs included.
    [[nodiscard]] std::size_t GetLength() const { return m_length; }
    [[nodiscard]] std::size_t GetCount() const { return m_count; }

private:
    char16_t* m_pBuffer;
    std::size_t m_length;
    std::size_t m_count;  // 0 also says that the buffer is not owned
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
