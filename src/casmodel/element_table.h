// casmodel/element_table.h - reads a class of the package model by a table of its elements.
//
// A reading operation is called on a start tag. It reads up to the end tag of that element or, in a
// document that breaks off, up to the end of the input. What was read before stays.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "casmodel/element_path.h"
#include "casmodel/value_readers.h"
#include "foundation/member_pointer.h"
#include "foundation/wide_string.h"
#include "foundation/xml_reader.h"

// One row: the name of a child element with "/" in front, and the function to call at its start
// tag. The function is null for an element that is known and not used.
template <class T>
struct SElement {
    std::u16string_view tail;
    void (*read)(T& object, CXmlReader& reader);
};

// Goes to the next start tag within the element whose path has `parentLength` units. False at the
// end of that element and at the end of the input. Elements within it have longer paths, so the
// length of the path identifies its end tag.
[[nodiscard]] bool GoToNextElement(CXmlReader& reader, std::size_t parentLength);

// Writes the line of the element that the reader is on, which no row has, if `tail` is its name: it
// is empty for an element within such a one.
void RecordUnknownElement(const CXmlReader& reader, std::u16string_view tail);

// Calls the function of the first row with that tail; does nothing without such a row.
template <class T>
void ReadElement(std::type_identity_t<std::span<const SElement<T>>> rows, std::u16string_view tail,
                 T& object, CXmlReader& reader) {
    for (const SElement<T>& row : rows) {
        if (EqualsNoCase(tail, row.tail)) {
            if (row.read != nullptr) {
                row.read(object, reader);
            }
            return;
        }
    }
    RecordUnknownElement(reader, tail);
}

// Reads an object by its table. Children of unknown elements match no row, so they are skipped too.
template <class T>
void ReadElements(std::type_identity_t<std::span<const SElement<T>>> rows, T& object,
                  CXmlReader& reader) {
    const std::size_t length = reader.GetPath().size();
    while (GoToNextElement(reader, length)) {
        ReadElement<T>(rows, GetChildTail(reader.GetPath(), length), object, reader);
    }
}

// The type of the items in a list of owned pointers.
template <auto kMember>
using ItemOf = typename FieldOf<kMember>::value_type::element_type;

// The functions for the rows of tables, such as Value<&CCasTarget::Ver, ReadUInt32>.

// Reads the text directly after the start tag. Without a text the field is unchanged.
template <auto kMember, auto kReadValue>
void Value(OwnerOf<kMember>& owner, CXmlReader& reader) {
    if (reader.ReadNext() == XmlTokenText) {
        kReadValue(reader, owner.*kMember);
    }
}

// Reads a part that is a member by value.
template <auto kMember>
void Block(OwnerOf<kMember>& owner, CXmlReader& reader) {
    (owner.*kMember).Read(reader);
}

// Reads one item; each occurrence of the element adds one.
template <auto kMember>
void Item(OwnerOf<kMember>& owner, CXmlReader& reader) {
    auto item = std::make_unique<ItemOf<kMember>>();
    item->Read(reader);
    (owner.*kMember).push_back(std::move(item));
}

// Reads a collection: each child is an item, whatever its name.
template <auto kMember>
void Items(OwnerOf<kMember>& owner, CXmlReader& reader) {
    const std::size_t length = reader.GetPath().size();
    while (GoToNextElement(reader, length)) {
        Item<kMember>(owner, reader);
    }
}

// Reads a list of texts, one for each child, whatever its name. An empty child gives an empty text.
template <auto kMember>
void Strings(OwnerOf<kMember>& owner, CXmlReader& reader) {
    const std::size_t length = reader.GetPath().size();
    while (GoToNextElement(reader, length)) {
        CStrW& text = (owner.*kMember).emplace_back();
        if (reader.ReadNext() == XmlTokenText) {
            ReadString(reader, text);
        }
    }
}
