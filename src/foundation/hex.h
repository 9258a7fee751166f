// foundation/hex.h - binary values as hexadecimal text.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/wide_string.h"

// Two upper-case digits for each byte, nothing between them. The first one writes 2 * `count`
// units.
void WriteHexDigits(const void* bytes, std::size_t count, char16_t* digits);
[[nodiscard]] CStrW BytesToHex(const void* bytes, std::size_t count);

// Whether every unit is a hexadecimal digit, in either case. True for an empty text.
[[nodiscard]] bool IsHexString(std::u16string_view text);

// The bytes of pairs of digits, in either case. Nothing when a unit is no digit, or one is left
// over.
[[nodiscard]] std::optional<std::vector<std::byte>> ParseHex(std::u16string_view text);

// Writes one byte for each pair of units, and one for a single last unit, so `bytes` needs room for
// (length + 1) / 2 bytes. `count` receives the number of pairs, without that last unit. Letters
// count as digits up to "z" (35) and a byte keeps the low 8 bits; any other unit ends its pair. Ask
// IsHexString first when the text is not trusted.
void HexToBytes(std::u16string_view text, void* bytes, std::size_t& count);
