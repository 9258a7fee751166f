// casmodel/value_readers.h - the forms of the values in a package's XML.
//
// Each operation reads the text node that the reader stands on. No text is an error: a malformed
// one gives what its rule makes of it.
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

// The text as it stands.
void ReadString(CXmlReader& reader, CStrW& field);
// By the plain number rule.
void ReadUInt32(CXmlReader& reader, std::uint32_t& field);
// Whether such a number is not 0; so "false" is true, since its letters are digits.
void ReadBool(CXmlReader& reader, bool& field);
// Seconds since 1970. A text that is no number is 0 seconds, and not the file time 0.
void ReadTimeT(CXmlReader& reader, SFileTime& field);
// A GUID without braces; any other text, one in braces too, leaves the field as it is.
void ReadGuid(CXmlReader& reader, GUID& field);
// A byte for each two digits, and one for a last single one. Their number is not kept.
void ReadHexBytes(CXmlReader& reader, std::unique_ptr<std::uint8_t[]>& field);
// The number at the start of the text, decimal or behind "0x"; 0 when there is none. The decimal
// point is a dot on every machine.
void ReadDouble(CXmlReader& reader, double& field);
