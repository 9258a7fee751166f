#include "casmodel/value_readers.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>

#include "foundation/hex.h"
#include "foundation/number_text.h"
#include "foundation/wide_string.h"
#include "foundation/xml_reader.h"
#include "platform/com.h"

namespace {

// Times of the document count from 1970, file times from 1601.
constexpr std::uint64_t kSecondsFrom1601To1970 = 11644473600U;
constexpr std::uint64_t kStepsPerSecond = 10000000U;  // of 100 nanoseconds

CStrW GetText(CXmlReader& reader) {
    CStrW text;
    ReadString(reader, text);
    return text;
}

// Removes the first character if it is one of `units`; otherwise returns false.
bool TakeOneOf(std::string_view& text, std::string_view units) {
    if (text.empty() || units.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// The number at the start of a text after its sign. Too large a number is infinite, too small a one
// is 0, as strtod has it.
double ToUnsignedDouble(std::string_view text) {
    auto format = std::chars_format::general;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        format = std::chars_format::hex;
    }
    double number = 0;
    // from_chars takes a second sign, which is not part of a number.
    if (text.starts_with('-')) {
        return number;
    }
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, format);
    if (error == std::errc::result_out_of_range) {
        const std::string_view digits(text.data(), end);
        // from_chars gives no number when it is out of range. A negative exponent tells the small
        // from the large.
        const bool isTiny = digits.find('-') != std::string_view::npos;
        return isTiny ? 0 : std::numeric_limits<double>::infinity();
    }
    return number;
}

// White space, one sign, then the number, as strtod has it. What follows the number is ignored.
double ToDouble(std::u16string_view text) {
    // Only ASCII can be part of a number, so the first other unit ends it.
    const auto isAscii = [](char16_t unit) { return unit < 0x80; };
    const auto end = std::find_if_not(text.begin(), text.end(), isAscii);
    std::string ascii;
    std::transform(text.begin(), end, std::back_inserter(ascii),
                   [](char16_t unit) { return static_cast<char>(unit); });
    std::string_view rest = ascii;
    while (TakeOneOf(rest, " \t\n\v\f\r")) {
    }
    const bool isNegative = rest.starts_with('-');
    TakeOneOf(rest, "+-");
    const double number = ToUnsignedDouble(rest);
    return isNegative ? -number : number;
}

}  // namespace

void ReadString(CXmlReader& reader, CStrW& field) {
    // It cannot fail on a text node.
    static_cast<void>(reader.GetValue(field));
}

void ReadUInt32(CXmlReader& reader, std::uint32_t& field) {
    field = ReadPlainNumber32(GetText(reader));
}

void ReadBool(CXmlReader& reader, bool& field) { field = ReadPlainNumber32(GetText(reader)) != 0; }

void ReadTimeT(CXmlReader& reader, SFileTime& field) {
    const std::uint64_t seconds = ReadPlainNumber64(GetText(reader));
    // Wraps around for times that a file time cannot express.
    const std::uint64_t steps = (kSecondsFrom1601To1970 + seconds) * kStepsPerSecond;
    field.Low = static_cast<std::uint32_t>(steps);
    field.High = static_cast<std::uint32_t>(steps >> 32);
}

void ReadGuid(CXmlReader& reader, GUID& field) {
    // The document has a GUID without braces, and the system takes only one with them. A text with
    // braces gets two pairs, so it is refused and the field stays.
    platform::TextToGuid(u'{' + GetText(reader) + u'}', field);
}

void ReadHexBytes(CXmlReader& reader, std::unique_ptr<std::uint8_t[]>& field) {
    const CStrW text = GetText(reader);
    // HexToBytes writes a byte for a single last digit too.
    field = std::make_unique<std::uint8_t[]>((text.GetLength() + 1) / 2);
    std::size_t count = 0;
    HexToBytes(text, field.get(), count);
}

void ReadDouble(CXmlReader& reader, double& field) { field = ToDouble(GetText(reader)); }
