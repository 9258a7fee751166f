// platform/text.h - what the machine knows about text: collation, letter case, message composition.
//
// Text is UTF-16 in 16-bit units, unpaired surrogates included. Nothing here throws on bad text.
// Safe on any thread.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace platform {

// The collation order of two texts in the machine's locale: -1, 0 or 1. With `ignoreCase` nothing
// but letter case is ignored. Neither text may be empty: callers settle that case by rules of their
// own.
[[nodiscard]] int CompareText(std::u16string_view left, std::u16string_view right, bool ignoreCase);

// Whether CompareText gives 0 with `ignoreCase`; far cheaper where only that is asked.
[[nodiscard]] bool EqualText(std::u16string_view left, std::u16string_view right);

// Whether two texts hold the same units: std::u16string_view compares one unit at a time.
[[nodiscard]] inline bool HasSameUnits(std::u16string_view left, std::u16string_view right) {
    // An empty text may have no address, and memcmp wants one.
    return left.size() == right.size() &&
           (left.empty() ||
            std::memcmp(left.data(), right.data(), left.size() * sizeof(char16_t)) == 0);
}

// The lower-case form of one unit, by itself. What has none comes back as it is, and so does what
// is not the upper-case form of it, such as U+0130 and U+212A.
[[nodiscard]] char16_t FoldUnit(char16_t unit);

// Lower-cases `length` units in place, each by itself as FoldUnit does.
void FoldText(char16_t* text, std::size_t length);

// Whether `unit` is white space, as the C run-time's iswspace has it on Windows.
[[nodiscard]] bool IsSpace(char16_t unit);

// Formats with printf placeholders ("%s" takes const char16_t*) into `buffer`, which has room for
// `capacity` units. The result is terminated whenever `capacity` is not 0. Returns the number of
// units without the terminator, or -1 when they do not fit. A bad format gives -1 on POSIX; Windows
// takes a placeholder that it does not know for text.
[[nodiscard]] int FormatPrintf(char16_t* buffer, std::size_t capacity, const char16_t* format,
                               std::va_list arguments);

// Composes a message with the inserts "%1" to "%99" (each a const char16_t*, or "%1!format!") and
// the escapes "%%", "%n", "%r", "%t", "%b", "%." and "%!"; "%0" ends the text. False, with `text`
// untouched, when the format is bad, but a "!format!" as FormatPrintf has it.
[[nodiscard]] bool ComposeMessage(std::u16string& text, const char16_t* format,
                                  std::va_list arguments);

// The string resource `id` of `module`, where null means the program's main module; false, with
// `text` untouched, when there is none. POSIX has no modules: a built-in table answers for all.
[[nodiscard]] bool LoadResourceText(std::uint32_t id, const void* module, std::u16string& text);

// The system's words for an error number or HRESULT, line breaks included; empty for an unknown
// one.
[[nodiscard]] std::u16string SystemErrorText(std::uint32_t code);

}  // namespace platform
