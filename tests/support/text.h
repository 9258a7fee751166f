// tests/support/text.h - text in test code: UTF-8 for what a failure prints, and back.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "foundation/wide_string.h"
#include "platform/utf8.h"
#include "support/little_endian.h"

// UTF-8 for people: unpaired surrogates show as U+FFFD.
inline std::string Utf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }
inline std::u16string Utf16(std::string_view text) { return platform::Utf8ToUtf16(text); }

// UTF-16 in little-endian bytes with its mark, as the library writes its files.
inline std::string Utf16Bytes(std::string_view text) { return "\xFF\xFE" + UnitBytes(Utf16(text)); }

template <class T = char>
std::basic_string<T> Repeat(const std::type_identity_t<std::basic_string_view<T>>& text,
                            std::size_t count) {
    std::basic_string<T> all;
    all.reserve(text.size() * count);
    while (count-- != 0) {
        all += text;
    }
    return all;
}

// Lets a failed comparison of texts show them.
inline void PrintTo(const CStrW& text, std::ostream* stream) {
    *stream << '"' << Utf8(text) << '"';
}
