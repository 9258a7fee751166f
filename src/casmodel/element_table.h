// casmodel/element_table.h - how a class of the package model is read by its table of elements.
//
// A reading operation is called on a start tag. It consumes the input up to that element's end tag
// or, in a document that breaks off, up to its end; what was read by then stays.
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

// One row: a child element's name with "/" in front, and what is done at its start tag; null for an
// element that is known and of no use here.
template <class T>
struct SElement {
    std::u16string_view tail;
    void (*read)(T& object, CXmlReader& reader);
};

// Goes to the next start tag within the element whose path has `parentLength` units; false at that
// element's end, and at the end of the input. No other element within it has a path as short.
[[nodiscard]] bool GoToNextElement(CXmlReader& reader, std::size_t parentLength);

// Does what the first row of that tail asks for; nothing when there is none.
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
}

// Reads an object by its table. The children of unknown elements match no row, so they are passed
// over with them.
template <class T>
void ReadElements(std::type_identity_t<std::span<const SElement<T>>> rows, T& object,
                  CXmlReader& reader) {
    const std::size_t length = reader.GetPath().size();
    while (GoToNextElement(reader, length)) {
        ReadElement<T>(rows, GetChildTail(reader.GetPath(), length), object, reader);
    }
}

// What the items of a list are, which it holds by pointers.
template <auto kMember>
using ItemOf = typename FieldOf<kMember>::value_type::element_type;

// The following are the entries of tables: Value<&CCasTarget::Ver, ReadUInt32>.

// The text right behind the start tag; without any, the field stays as it is.
template <auto kMember, auto kReadValue>
void Value(OwnerOf<kMember>& owner, CXmlReader& reader) {
    if (reader.ReadNext() == XmlTokenText) {
        kReadValue(reader, owner.*kMember);
    }
}

// A part that is held by value.
template <auto kMember>
void Block(OwnerOf<kMember>& owner, CXmlReader& reader) {
    (owner.*kMember).Read(reader);
}

// An item of its own at each occurrence.
template <auto kMember>
void Item(OwnerOf<kMember>& owner, CXmlReader& reader) {
    auto item = std::make_unique<ItemOf<kMember>>();
    item->Read(reader);
    (owner.*kMember).push_back(std::move(item));
}

// A collection: each child is an item, whatever its name.
template <auto kMember>
void Items(OwnerOf<kMember>& owner, CXmlReader& reader) {
    const std::size_t length = reader.GetPath().size();
    while (GoToNextElement(reader, length)) {
        Item<kMember>(owner, reader);
    }
}

// A list of texts, one for each child, whatever its name; an empty child gives an empty text.
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
