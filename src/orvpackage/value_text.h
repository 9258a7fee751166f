// orvpackage/value_text.h - the data of registry values as the manifest has it.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/wide_string.h"

class COrvCreateValue;
class COrvSanitizer;

// The name of a type of data, such as "REG_SZ"; null for one that the manifest has no name for.
[[nodiscard]] const char16_t* ValueTypeName(std::uint32_t type);
// Sets `type` by its name, in any letter case; another text leaves it as it was.
void ParseValueType(const CStrW& name, std::uint32_t& type);

// The text of a value's data, by its type: the string, "0x" and a number, the text form of a
// multi-string, or the bytes as hexadecimal digits. Of a number that is cut off the missing bytes
// count as 0. Empty for a type without a name.
// The result is a part of the value, or `buffer`.
[[nodiscard]] std::u16string_view FormatValueData(const COrvCreateValue& value,
                                                  const COrvSanitizer& sanitizer, CStrW& buffer);
// Gives a value the data that such a text stands for. A number that is none counts as 0. Malformed
// digits, but for those of "REG_BINARY", and a type without a name leave the value as it is.
void ParseValueData(const CStrW& text, std::uint32_t type, const COrvSanitizer& sanitizer,
                    COrvCreateValue& value);
