#include "orvpackage/value_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "foundation/hex.h"
#include "foundation/number_text.h"
#include "foundation/xml_writer.h"
#include "orvpackage/multi_string.h"
#include "orvpackage/sanitizer.h"
#include "orvpackage/value_items.h"

namespace {

// The names of types in the manifest, by the number of the type in the registry.
constexpr const char16_t* kTypeNames[] = {
    u"REG_NONE",
    u"REG_SZ",
    u"REG_EXPAND_SZ",
    u"REG_BINARY",
    u"REG_DWORD",
    u"REG_DWORD_BIG_ENDIAN",
    u"REG_LINK",
    u"REG_MULTI_SZ",
    u"REG_RESOURCE_LIST",
    u"REG_FULL_RESOURCE_DESCRIPTOR",
    u"REG_RESOURCE_REQUIREMENTS_LIST",
    u"REG_QWORD",
};

constexpr std::size_t kHexPiece = 256;  // bytes; most data has fewer

// Bytes of the two types of numbers.
std::size_t NumberSize(std::uint32_t type) {
    return type == OrvValueDword ? sizeof(std::uint32_t) : sizeof(std::uint64_t);
}

std::uint64_t ReadNumber(const COrvCreateValue& value) {
    // The registry has the low byte first, as this processor does. Missing bytes stay 0.
    std::uint64_t number = 0;
    const std::size_t size =
        std::min<std::size_t>(value.GetDataSize(), NumberSize(value.GetType()));
    if (size != 0) {
        std::memcpy(&number, value.GetData(), size);
    }
    return number;
}

// Each string goes through the sanitizer by itself: a token never reaches across two of them.
void WriteMultiString(const COrvCreateValue& value, const COrvSanitizer& sanitizer,
                      CXmlWriter& writer) {
    CMultiStringText text;
    std::u16string buffer;
    ForEachStringOfUnits(value.GetUnits(), [&](std::u16string_view string) {
        text.Add(sanitizer.Sanitize(string, SanitizeAll, buffer));
    });
    writer.WriteText(text.Finish());
}

// In pieces, because the text has four times the bytes of the data.
void WriteHex(const COrvCreateValue& value, CXmlWriter& writer) {
    std::array<char16_t, 2 * kHexPiece> digits;
    std::size_t start = 0;
    // At least one round, so that a value without bytes has an empty text.
    do {
        const std::size_t count = std::min(value.GetDataSize() - start, kHexPiece);
        WriteHexDigits(value.GetData() + start, count, digits.data());
        writer.WritePlainText({digits.data(), 2 * count});
        start += count;
    } while (start < value.GetDataSize());
}

}  // namespace

const char16_t* ValueTypeName(std::uint32_t type) {
    return type < std::size(kTypeNames) ? kTypeNames[type] : nullptr;
}

void ParseValueType(const CStrW& name, std::uint32_t& type) {
    const auto* const found =
        std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                     [&name](const char16_t* known) { return name.EqualsNoCase(known); });
    if (found != std::end(kTypeNames)) {
        type = static_cast<std::uint32_t>(found - std::begin(kTypeNames));
    }
}

void WriteValueData(const COrvCreateValue& value, const COrvSanitizer& sanitizer,
                    CXmlWriter& writer) {
    switch (value.GetType()) {
        case OrvValueString:
        case OrvValueExpandString: {
            std::u16string buffer;
            writer.WriteText(sanitizer.Sanitize(value.GetString(), SanitizeAll, buffer));
            break;
        }
        case OrvValueDword:
        case OrvValueQword:
            writer.WritePlainText(NumberToHex(ReadNumber(value)));
            break;
        case OrvValueMultiString:
            WriteMultiString(value, sanitizer, writer);
            break;
        default:
            WriteHex(value, writer);
            break;
    }
}

void ParseValueData(const CStrW& text, std::uint32_t type, const COrvSanitizer& sanitizer,
                    COrvCreateValue& value) {
    switch (type) {
        case OrvValueString:
            value.SetString(sanitizer.Desanitize(text, SanitizeAll));
            break;
        case OrvValueExpandString:
            value.SetExpandString(sanitizer.Desanitize(text, SanitizeAll));
            break;
        case OrvValueBinary:
            value.SetBinaryFromHex(text);
            break;
        case OrvValueDword:
        case OrvValueQword: {
            // A number too large for its type keeps its low bits, because these come first.
            const std::uint64_t number = ReadCheckedNumber64(text);
            value.SetData(&number, static_cast<std::uint32_t>(NumberSize(type)), type);
            break;
        }
        case OrvValueMultiString:
            value.SetMultiString(ParseMultiString(sanitizer.Desanitize(text, SanitizeAll)));
            break;
        default:
            if (const auto bytes = ParseHex(text); bytes && ValueTypeName(type) != nullptr) {
                value.SetData(bytes->data(), static_cast<std::uint32_t>(bytes->size()), type);
            }
            break;
    }
}
