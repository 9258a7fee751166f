// platform/text.h - collation, letter case and message composition as the machine does them.
//
// Text is UTF-16 in 16-bit units and may contain unpaired surrogates. Nothing here throws on bad
// text. Safe on any thread.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace platform {

// The collation order of two texts in the machine's locale: -1, 0 or 1. With `ignoreCase` only
// letter case is ignored. Neither text may be empty: for empty texts each caller has its own rule.
[[nodiscard]] int CompareText(std::u16string_view left, std::u16string_view right, bool ignoreCase);

// Whether CompareText gives 0 with `ignoreCase`. Much cheaper than CompareText.
[[nodiscard]] bool EqualText(std::u16string_view left, std::u16string_view right);

// Whether two texts begin, or end, with different ASCII letters or digits. No locale takes such
// texts for equal, whatever the rest.
[[nodiscard]] inline bool DifferClearly(std::u16string_view left, std::u16string_view right) {
    const auto isPlain = [](char16_t unit) {
        const auto small = static_cast<char16_t>(unit | 0x20);
        return (small >= u'a' && small <= u'z') || (unit >= u'0' && unit <= u'9');
    };
    const auto differ = [isPlain](char16_t one, char16_t other) {
        return ((one ^ other) & ~0x20) != 0 && isPlain(one) && isPlain(other);
    };
    return !left.empty() && !right.empty() &&
           (differ(left.front(), right.front()) || differ(left.back(), right.back()));
}

// Whether two texts have the same units. Faster than ==, which compares one unit at a time.
[[nodiscard]] inline bool HasSameUnits(std::u16string_view left, std::u16string_view right) {
    // An empty text may have a null address, which memcmp does not accept.
    return left.size() == right.size() &&
           (left.empty() ||
            std::memcmp(left.data(), right.data(), left.size() * sizeof(char16_t)) == 0);
}

// The lower-case form of one unit. A unit without one is returned unchanged, and so is a unit whose
// lower-case form has another upper-case form, such as U+0130 and U+212A.
[[nodiscard]] char16_t FoldUnit(char16_t unit);

// Lower-cases `length` units in place, each as FoldUnit does.
void FoldText(char16_t* text, std::size_t length);
[[nodiscard]] inline std::u16string FoldedText(std::u16string_view text) {
    std::u16string folded(text);
    FoldText(folded.data(), folded.size());
    return folded;
}

// Whether `unit` is white space for iswspace of the Windows C run-time.
[[nodiscard]] bool IsSpace(char16_t unit);

// Formats with printf placeholders ("%s" takes const char16_t*) into `buffer`, which has room for
// `capacity` units. The result ends in a NUL unless `capacity` is 0. Returns the number of units
// without the terminator, or -1 when they do not fit. For a bad format POSIX returns -1; Windows
// copies an unknown placeholder as text.
[[nodiscard]] int FormatPrintf(char16_t* buffer, std::size_t capacity, const char16_t* format,
                               std::va_list arguments);

// Composes a message with the inserts "%1" to "%99" (each a const char16_t*, or "%1!format!") and
// the escapes "%%", "%n", "%r", "%t", "%b", "%." and "%!"; "%0" ends the text. A "!format!" is
// handled as by FormatPrintf. False, with `text` unchanged, when the format is otherwise bad.
[[nodiscard]] bool ComposeMessage(std::u16string& text, const char16_t* format,
                                  std::va_list arguments);

// The string resource `id` of `module`; null is the main module of the program. False, with `text`
// unchanged, when there is none. POSIX has no modules: a built-in table answers for all of them.
[[nodiscard]] bool LoadResourceText(std::uint32_t id, const void* module, std::u16string& text);

// The system's message for an error number or HRESULT, with its line breaks; empty for an unknown
// one.
[[nodiscard]] std::u16string SystemErrorText(std::uint32_t code);

}  // namespace platform
