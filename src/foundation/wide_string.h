// foundation/wide_string.h - the text type of the system, and the small functions that give texts.
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

// Stands for "up to the end" as a count, and for "not found" as an index.
constexpr std::size_t kAllCharacters = static_cast<std::size_t>(-1);

// A growable, NUL-terminated text in UTF-16 units; unpaired surrogates pass through untouched.
// Storage comes from malloc and grows to exactly what is needed. Running out of memory never
// throws: the text is empty then. All comparing goes through the machine's locale. A text whose
// first unit is NUL counts as empty, whatever its length. One thread at a time.
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
    // A string resource of `module`, formatted; null means the program's main module.
    CStrW(EFormatMode mode, std::uint32_t resourceId, const void* module, ...);
    virtual ~CStrW();

    CStrW& operator=(const CStrW& other);
    CStrW& operator=(CStrW&& other) noexcept;

    // Makes room for `capacity` units, the terminator included, and for exactly that many. False,
    // with the text untouched, when there is no memory.
    virtual bool Reserve(std::size_t capacity);
    // Frees the storage.
    virtual void Clear();

    // Copies; an empty text keeps the storage. `text` may be a part of this text.
    void Assign(std::u16string_view text);
    // Takes `count` units of `source` from `start` on, or what there is of them.
    void AssignMid(std::u16string_view source, std::size_t start, std::size_t count);

    // On failure to get memory these leave the text as it was.
    void Prepend(std::u16string_view text);
    void Append(std::u16string_view text);
    void Append(char16_t unit);
    // Puts one unit in; an index at or past the end appends, and a NUL changes nothing. Returns the
    // new length.
    std::size_t Insert(std::size_t index, char16_t unit);
    // Puts a text in at `index`, which must not be past the end.
    void Insert(std::size_t index, std::u16string_view text);
    // Removes `count` units at `index`, or what there is of them.
    void Delete(std::size_t index, std::size_t count);
    // Turns "\\server\share" into "\\?\UNC\server\share". Returns the new length.
    std::size_t InsertUncPrefix();

    // Removes every occurrence, comparing units. Returns how many there were.
    std::size_t Remove(std::u16string_view text);
    // Replaces every occurrence from left to right; what was put in is not searched again. Returns
    // how many there were: 0, with the text as it was, also when there is no memory.
    std::size_t Replace(std::u16string_view from, std::u16string_view to, bool ignoreCase);

    void Trim();
    void TrimLeftQuotes();
    void TrimRightQuotes();
    void Truncate(std::size_t length);
    // Lower-cases every unit by itself.
    void Fold();

    [[nodiscard]] const char16_t* Get() const { return m_pBuffer; }
    [[nodiscard]] std::size_t GetLength() const { return m_length; }
    [[nodiscard]] bool IsEmpty() const { return m_length == 0 || m_pBuffer[0] == 0; }
    [[nodiscard]] std::u16string_view View() const { return {m_pBuffer, m_length}; }
    operator std::u16string_view() const { return View(); }

    [[nodiscard]] CStrW Mid(std::size_t start, std::size_t count) const;

    // The text as a yes or no: everything but "0" is a yes, an empty text too.
    [[nodiscard]] bool IsTrue() const;
    // -1, 0 or 1; an empty text stands before every other.
    [[nodiscard]] int CompareNoCase(std::u16string_view other) const;
    // The same for at most `count` units of each side.
    [[nodiscard]] int CompareN(std::u16string_view other, std::size_t count, bool ignoreCase) const;
    [[nodiscard]] bool EqualsNoCase(std::u16string_view other) const;
    // Whether the first units, as many as `prefix` has, equal it ignoring case; a shorter text does
    // not.
    [[nodiscard]] bool StartsWithNoCase(std::u16string_view prefix) const;
    // Whether this is a GUID in braces, of 38 units, in either letter case.
    [[nodiscard]] bool IsGuid() const;

    // Format in place. A null format, a missing resource and a failure leave the text empty and
    // give false.
    bool Format(const char16_t* format, ...);
    bool FormatV(const char16_t* format, std::va_list arguments);
    bool FormatMessage(const char16_t* format, std::va_list arguments);
    bool LoadFormatMessage(std::uint32_t resourceId, const void* module, std::va_list arguments);

    // Hands the storage over, to be freed with free(); null when the text never owned any. The text
    // is empty afterwards.
    [[nodiscard]] char16_t* Detach();

    // Takes over storage from malloc of `capacity` units; the text ends at its first NUL.
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

// Whether two texts hold the same units.
[[nodiscard]] inline bool operator==(const CStrW& left, const CStrW& right) {
    return platform::HasSameUnits(left, right);
}

// Whether a unit stands in a text: for most texts without it faster than to find it.
[[nodiscard]] bool HasUnit(std::u16string_view text, char16_t unit);

// The rules of CStrW::CompareNoCase and EqualsNoCase for texts that are only looked at.
[[nodiscard]] int CompareNoCase(std::u16string_view left, std::u16string_view right);
[[nodiscard]] bool EqualsNoCase(std::u16string_view left, std::u16string_view right);

// The first match of `needle`, or null; an empty needle matches at the start. The second folds each
// unit by itself, so that a match never changes in length; the third gives the index, or
// kAllCharacters.
[[nodiscard]] const char16_t* FindSubstring(const char16_t* haystack, std::size_t haystackLength,
                                            const char16_t* needle, std::size_t needleLength);
[[nodiscard]] const char16_t* FindSubstringNoCase(const char16_t* haystack,
                                                  std::size_t haystackLength,
                                                  const char16_t* needle, std::size_t needleLength);
[[nodiscard]] std::size_t FindSubstringNoCaseIndex(std::u16string_view haystack,
                                                   std::u16string_view needle);

[[nodiscard]] CStrW UnsignedToText(std::uint32_t value);
// The variable's value; empty when it is unset or empty.
[[nodiscard]] CStrW GetEnvironmentVariable(const char16_t* name);
// A new GUID as 38 units in braces.
[[nodiscard]] CStrW CreateGuidString();
// The system's words for a status on one line; empty for an unknown one.
[[nodiscard]] CStrW GetSystemErrorMessage(int status);
