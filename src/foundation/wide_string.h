// foundation/wide_string.h - the text class CStrW, and small functions that return texts.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/text.h"

// The two ways to write a format: with printf placeholders, or with the inserts "%1", "%2".
enum EFormatMode : std::uint32_t {
    PrintfStyle = 0,
    FormatMessageStyle = 1,
};

// Means "up to the end" as a count, and "not found" as an index.
constexpr std::size_t kAllCharacters = static_cast<std::size_t>(-1);

// A growable, NUL-terminated text in UTF-16 units. Unpaired surrogates are kept as they are.
// Storage comes from malloc and grows to exactly the size that is needed. Running out of memory
// never throws; each operation says what the text is then, and NoteLostMemory is told.
// CompareNoCase and EqualsNoCase use the machine's locale. A text whose first unit is NUL counts as
// empty, whatever its length. One thread at a time.
//
// INVARIANT: a capacity of 0 means that the buffer is the shared empty one, which is never written
// or freed. Otherwise this text owns the buffer, and a NUL follows its last unit.
//
// The host reads a text in place inside a progress record, so the order of the fields is fixed.
class CStrW {
public:
    CStrW() noexcept;
    CStrW(const CStrW& other);
    CStrW(CStrW&& other) noexcept;
    CStrW(const char16_t* text);  // null gives an empty text
    CStrW(std::u16string_view text);
    CStrW(EFormatMode mode, const char16_t* format, ...);
    // A string resource of `module`, formatted; null is the main module of the program.
    CStrW(EFormatMode mode, std::uint32_t resourceId, const void* module, ...);
    virtual ~CStrW();

    CStrW& operator=(const CStrW& other);
    CStrW& operator=(CStrW&& other) noexcept;

    // Makes room for exactly `capacity` units, including the terminator, if there is less. False,
    // with the text unchanged, when there is no memory.
    virtual bool Reserve(std::size_t capacity);
    // Frees the storage.
    virtual void Clear();

    // Replaces the text by a copy of `text`, which may be a part of this text. An empty `text`
    // keeps the storage. Without memory the text is empty.
    void Assign(std::u16string_view text);
    // Replaces the text by `count` units of `source` from `start` on, or by fewer if it ends
    // before.
    void AssignMid(std::u16string_view source, std::size_t start, std::size_t count);

    // Without memory these leave the text unchanged.
    void Prepend(std::u16string_view text);
    void Append(std::u16string_view text);
    void Append(char16_t unit);
    // Inserts one unit. An index at or past the end appends. A NUL changes nothing. Returns the new
    // length.
    std::size_t Insert(std::size_t index, char16_t unit);
    // Inserts a text at `index`, which must not be past the end.
    void Insert(std::size_t index, std::u16string_view text);
    // Removes `count` units from `index` on, or fewer if the text ends before.
    void Delete(std::size_t index, std::size_t count);
    // Turns "\\server\share" into "\\?\UNC\server\share". Returns the new length.
    std::size_t InsertUncPrefix();

    // Removes every occurrence, comparing units. Returns how many there were.
    std::size_t Remove(std::u16string_view text);
    // Replaces every occurrence from left to right; the replacements are not searched again.
    // Returns how many there were. 0, with the text unchanged, also when there is no memory.
    std::size_t Replace(std::u16string_view from, std::u16string_view to, bool ignoreCase);

    void Trim();
    void TrimLeftQuotes();
    void TrimRightQuotes();
    void Truncate(std::size_t length);
    // Lower-cases every unit by itself, as platform::FoldText does.
    void Fold();

    [[nodiscard]] const char16_t* Get() const { return m_pBuffer; }
    [[nodiscard]] std::size_t GetLength() const { return m_length; }
    [[nodiscard]] bool IsEmpty() const { return m_length == 0 || m_pBuffer[0] == 0; }
    [[nodiscard]] std::u16string_view View() const { return {m_pBuffer, m_length}; }
    operator std::u16string_view() const { return View(); }

    [[nodiscard]] CStrW Mid(std::size_t start, std::size_t count) const;

    // The text as a boolean: only "0" is false; an empty text is true.
    [[nodiscard]] bool IsTrue() const;
    // -1, 0 or 1 in the order of the machine's locale. An empty text is less than every other.
    [[nodiscard]] int CompareNoCase(std::u16string_view other) const;
    // The same for the first `count` units of each side.
    [[nodiscard]] int CompareN(std::u16string_view other, std::size_t count, bool ignoreCase) const;
    [[nodiscard]] bool EqualsNoCase(std::u16string_view other) const;
    // Whether the first prefix.size() units equal `prefix`, ignoring case. False for a shorter
    // text.
    [[nodiscard]] bool StartsWithNoCase(std::u16string_view prefix) const;
    // Whether this is a GUID of 38 units, in braces and in either letter case.
    [[nodiscard]] bool IsGuid() const;

    // Replace the text by a formatted one. A null format, a missing resource or a failure leaves
    // the text empty and returns false.
    bool Format(const char16_t* format, ...);
    bool FormatV(const char16_t* format, std::va_list arguments);
    bool FormatMessage(const char16_t* format, std::va_list arguments);
    bool LoadFormatMessage(std::uint32_t resourceId, const void* module, std::va_list arguments);

    // Gives the storage to the caller, who frees it with free(). Null when the text never owned
    // any. The text is empty afterwards.
    [[nodiscard]] char16_t* Detach();

    // Takes ownership of a buffer from malloc with room for `capacity` units. The text ends at its
    // first NUL; the last unit is overwritten by one.
    void Attach(char16_t* buffer, std::size_t capacity);

private:
    void SetLength(std::size_t length);

    char16_t* m_pBuffer;
    std::size_t m_capacity;
    std::size_t m_length;
};

[[nodiscard]] CStrW operator+(const CStrW& left, const CStrW& right);
[[nodiscard]] CStrW operator+(const CStrW& left, const char16_t* right);
[[nodiscard]] CStrW operator+(const char16_t* left, const CStrW& right);
[[nodiscard]] CStrW operator+(const CStrW& left, char16_t right);
[[nodiscard]] CStrW operator+(char16_t left, const CStrW& right);

// Whether two texts have the same units.
[[nodiscard]] inline bool operator==(const CStrW& left, const CStrW& right) {
    return platform::HasSameUnits(left, right);
}

// Whether a text contains a unit. Faster than find() for most texts that do not.
[[nodiscard]] bool HasUnit(std::u16string_view text, char16_t unit);

// CStrW::CompareNoCase and EqualsNoCase for views.
[[nodiscard]] int CompareNoCase(std::u16string_view left, std::u16string_view right);
[[nodiscard]] bool EqualsNoCase(std::u16string_view left, std::u16string_view right);

// The first match of `needle`, or null; an empty needle matches at the start. The second and third
// fold each unit by itself, so that a match is as long as the needle. The third returns the index,
// or kAllCharacters.
[[nodiscard]] const char16_t* FindSubstring(const char16_t* haystack, std::size_t haystackLength,
                                            const char16_t* needle, std::size_t needleLength);
[[nodiscard]] const char16_t* FindSubstringNoCase(const char16_t* haystack,
                                                  std::size_t haystackLength,
                                                  const char16_t* needle, std::size_t needleLength);
[[nodiscard]] std::size_t FindSubstringNoCaseIndex(std::u16string_view haystack,
                                                   std::u16string_view needle);

[[nodiscard]] CStrW UnsignedToText(std::uint32_t value);
// The value of an environment variable; empty when it is not set or has no value.
[[nodiscard]] CStrW GetEnvironmentVariable(const char16_t* name);
// A new GUID as 38 units in braces.
[[nodiscard]] CStrW CreateGuidString();
// The system's message for a status, on one line; empty for an unknown status.
[[nodiscard]] CStrW GetSystemErrorMessage(int status);
