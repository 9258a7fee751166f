// tests/support/text.h - text in test code: UTF-8 for what a failure prints, and back.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "foundation/wide_string.h"

// UTF-8 for people: unpaired surrogates show as U+FFFD.
std::string Utf8(std::u16string_view text);
std::u16string Utf16(std::string_view text);

// UTF-16 in little-endian bytes with its mark, as the library writes its files.
std::string Utf16Bytes(std::string_view text);

std::string Repeat(std::string_view text, std::size_t count);

// Lets a failed comparison of texts show them.
void PrintTo(const CStrW& text, std::ostream* stream);
