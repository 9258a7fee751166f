// foundation/hex.h - binary values as hexadecimal text.
#pragma once

#include <cstddef>
#include <string_view>

#include "foundation/wide_string.h"

// Two upper-case digits for each byte, nothing between them.
[[nodiscard]] CStrW BytesToHex(const void* bytes, std::size_t count);

// Whether every unit is a hexadecimal digit, in either case; so is an empty text.
[[nodiscard]] bool IsHexString(std::u16string_view text);

// Writes one byte for each pair of units, and one for a unit left over, so `bytes` needs room for
// (length + 1) / 2 of them; `count` is the number of pairs. Letters count up to "z", a byte keeps
// the low 8 bits, and any other unit ends its pair: ask IsHexString first when the text is not
// trusted.
void HexToBytes(std::u16string_view text, void* bytes, std::size_t& count);
