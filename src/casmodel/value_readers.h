// casmodel/value_readers.h - reads the values in a package's XML.
//
// Each operation reads the current text node of the reader. No text is an error: each operation
// says what it makes of a malformed one.
#pragma once

#include <cstdint>
#include <memory>

#include "orvcasconv/orvcasconv.h"

class CStrW;
class CXmlReader;

// A Windows file time: steps of 100 nanoseconds since the year 1601.
struct SFileTime {
    std::uint32_t Low = 0;
    std::uint32_t High = 0;
};

// The text unchanged.
void ReadString(CXmlReader& reader, CStrW& field);
// A number by the plain rule of number_text.h.
void ReadUInt32(CXmlReader& reader, std::uint32_t& field);
// Whether such a number is not 0. So "false" is true, because its letters are digits. This must
// stay.
void ReadBool(CXmlReader& reader, bool& field);
// Seconds since 1970 as a file time. A text that is not a number counts as 0 seconds, which is not
// the file time 0.
void ReadTimeT(CXmlReader& reader, SFileTime& field);
// A GUID without braces. Any other text, also a GUID in braces, leaves the field unchanged.
void ReadGuid(CXmlReader& reader, GUID& field);
// One byte for each two digits, and one for a single last digit. The number of bytes is not kept.
void ReadHexBytes(CXmlReader& reader, std::unique_ptr<std::uint8_t[]>& field);
// The number at the start of the text, decimal or hexadecimal after "0x"; 0 when there is none. The
// decimal point is a dot in every locale.
void ReadDouble(CXmlReader& reader, double& field);
