// orvpackage/attribute_table.h - how the attributes of an element are told by a table.
//
// A table has a row for each attribute, in the order of the manifest. A row has the attribute's
// name and its form: how it is written, how it is read, and how its tokens are expanded when an
// item takes it. An absent attribute leaves its field at the value that the field starts with.
// Where reading is not the reverse of writing, the row names both operations, and says why.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "foundation/file_path_converter.h"
#include "foundation/member_pointer.h"
#include "foundation/number_text.h"
#include "foundation/wide_string.h"
#include "foundation/xml_reader.h"
#include "orvpackage/sanitizer.h"

class COrvPackage;
class CXmlWriter;

// When an attribute is written. "Any" is a text that does not begin with NUL, or a number but 0.
enum EWritten : std::uint8_t {
    Always,
    IfAny,
};

// The attribute that a row writes.
struct SAttributeOutput {
    CXmlWriter& writer;
    const COrvPackage& package;
    std::u16string_view name;

    // Write a text as it is, or through the package's sanitizer. The second one is for a text that
    // is plain, see CXmlWriter.
    void Write(std::u16string_view value, EWritten written = Always) const;
    void WritePlain(std::u16string_view value) const;
    void WritePortable(std::u16string_view value, std::uint32_t flags,
                       EWritten written = Always) const;
};

// The form of an attribute. TWritten is what the element is written from, and TRead what it is read
// into: mostly one record.
template <class TWritten, class TRead = TWritten>
struct SForm {
    void (*write)(const SAttributeOutput& output, const TWritten& from);  // null for never
    void (*read)(TRead& into, const CStrW& value, const COrvSanitizer& sanitizer);
    void (*expand)(TRead& content) = nullptr;  // null for what has no tokens
};

template <class TWritten, class TRead = TWritten>
struct SAttribute {
    std::u16string_view name;
    SForm<TWritten, TRead> form;
};

template <class TWritten, class TRead = TWritten>
using SAttributes = std::span<const SAttribute<TWritten, TRead>>;

// Writes the attributes of an open element.
template <class TWritten, class TRead>
void WriteAttributes(SAttributes<TWritten, TRead> rows, CXmlWriter& writer,
                     const COrvPackage& package, const std::type_identity_t<TWritten>& from) {
    for (const SAttribute<TWritten, TRead>& row : rows) {
        if (row.form.write != nullptr) {
            row.form.write({writer, package, row.name}, from);
        }
    }
}

// Reads the attributes of the element that `reader` is on. Names are compared without case; those
// of no row are ignored.
template <class TWritten, class TRead>
void ReadAttributes(SAttributes<TWritten, TRead> rows, CXmlReader& reader,
                    const COrvSanitizer& sanitizer, std::type_identity_t<TRead>& into) {
    for (int status = reader.MoveToFirstAttribute(); status == 0;
         status = reader.MoveToNextAttribute()) {
        CStrW name;
        CStrW value;
        if (reader.GetLocalName(name) != 0 || reader.GetValue(value) != 0) {
            continue;
        }
        const auto row = std::find_if(rows.begin(), rows.end(), [&name](const auto& candidate) {
            return name.EqualsNoCase(candidate.name);
        });
        if (row != rows.end()) {
            row->form.read(into, value, sanitizer);
        }
    }
}

// Expands the tokens of all fields whose rows say so.
template <class TContent>
void ExpandTokens(SAttributes<TContent> rows, std::type_identity_t<TContent>& content) {
    for (const SAttribute<TContent>& row : rows) {
        if (row.form.expand != nullptr) {
            row.form.expand(content);
        }
    }
}

// The following are the forms of tables: Path<&SOrvService::binary, IfAny>.

inline const CStrW& Whole(const CStrW& text) { return text; }

// A text that is written as it is. `kCheck` gives what is kept of one that is read.
template <auto kMember, EWritten kWritten, auto kCheck = Whole>
constexpr SForm<OwnerOf<kMember>> Plain{
    [](const SAttributeOutput& output, const OwnerOf<kMember>& from) {
        output.Write(from.*kMember, kWritten);
    },
    [](OwnerOf<kMember>& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
        into.*kMember = kCheck(value);
    },
};

// A text that goes through the sanitizer, with file tokens that an item expands.
template <auto kMember, EWritten kWritten, std::uint32_t kFlags>
constexpr SForm<OwnerOf<kMember>> Portable{
    [](const SAttributeOutput& output, const OwnerOf<kMember>& from) {
        output.WritePortable(from.*kMember, kFlags, kWritten);
    },
    [](OwnerOf<kMember>& into, const CStrW& value, const COrvSanitizer& sanitizer) {
        into.*kMember = sanitizer.Desanitize(value, kFlags);
    },
    [](OwnerOf<kMember>& content) { ExpandFileTokens(content.*kMember); },
};

// A path, or a text that holds some.
template <auto kMember, EWritten kWritten>
constexpr auto Path = Portable<kMember, kWritten, SanitizeNoRegPaths>;

// The path of a payload file.
template <auto kMember, EWritten kWritten>
constexpr auto RelativePath = Portable<kMember, kWritten, SanitizeNoPaths>;

// Decimal digits, read by the rule `kRead`. A small field keeps the low bits of what is read.
template <auto kMember, auto kRead, EWritten kWritten = Always>
constexpr SForm<OwnerOf<kMember>> Number{
    [](const SAttributeOutput& output, const OwnerOf<kMember>& from) {
        if (kWritten == Always || from.*kMember != 0) {
            output.WritePlain(UnsignedToText(from.*kMember));
        }
    },
    [](OwnerOf<kMember>& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
        into.*kMember = static_cast<FieldOf<kMember>>(kRead(value));
    },
};

// "0x" and hexadecimal digits; decimal ones are read as well.
template <auto kMember>
constexpr SForm<OwnerOf<kMember>> HexNumber{
    [](const SAttributeOutput& output, const OwnerOf<kMember>& from) {
        output.WritePlain(NumberToHex(from.*kMember));
    },
    Number<kMember, ReadCheckedNumber32>.read,
};

// "1" or "0"; everything else is read as a yes.
template <auto kMember>
constexpr SForm<OwnerOf<kMember>> Flag{
    [](const SAttributeOutput& output, const OwnerOf<kMember>& from) {
        output.WritePlain(from.*kMember ? u"1" : u"0");
    },
    [](OwnerOf<kMember>& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
        into.*kMember = value.IsTrue();
    },
};
