// orvpackage/value_text.h - the data of registry values as the manifest has it.
#pragma once

#include <cstdint>

#include "foundation/wide_string.h"

class COrvCreateValue;
class COrvSanitizer;
class CXmlWriter;

// The name of a type of data, such as "REG_SZ"; null for one that the manifest has no name for.
[[nodiscard]] const char16_t* ValueTypeName(std::uint32_t type);
// Sets `type` by its name, in any letter case; another text leaves it as it was.
void ParseValueType(const CStrW& name, std::uint32_t& type);

// Writes the text of a value's data, by its type: the string, "0x" and a number, the text form of a
// multi-string, or the bytes as hexadecimal digits. Of a number that is cut off the missing bytes
// count as 0. The type has a name. Throws std::bad_alloc rather than to write another text.
void WriteValueData(const COrvCreateValue& value, const COrvSanitizer& sanitizer,
                    CXmlWriter& writer);
// Gives a value the data of such a text. A text that is no number counts as 0. Malformed digits,
// except those of "REG_BINARY", and a type without a name leave the value unchanged.
void ParseValueData(const CStrW& text, std::uint32_t type, const COrvSanitizer& sanitizer,
                    COrvCreateValue& value);
