// host/item_columns.h - the columns in which people see the items of each collection, as a table.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace host {

// How an attribute is shown.
enum class EShow : std::uint8_t {
    Plain,
    Key,        // with the short name of its hive
    ValueName,  // "(default)" when it is absent
    Words,      // a number after the word for it
    List,       // a multi-string
    // These are no attributes.
    Element,
    Content,  // its text
    Data,     // the text by the attribute "Type"
    Others,   // all that has no column of its own, as NAME=VALUE
};

struct SItemColumn {
    std::u16string_view name;  // of the attribute, and above the column
    EShow show = EShow::Plain;
    std::uint8_t width = 0;  // columns of a terminal; 0 for one that has a share of the rest
    std::uint8_t share = 1;
};

struct SItemColumns {
    std::u16string_view collection;
    std::u16string_view element;  // of its items; empty for any
    std::span<const SItemColumn> columns;
};

// The row of a collection. One that is not known has the row with an empty name.
[[nodiscard]] const SItemColumns& FindItemColumns(std::u16string_view collection);

// The word for a number in an attribute, such as "automatic" for StartType 2; empty when there is
// none.
[[nodiscard]] std::u16string_view FindWord(std::u16string_view attribute,
                                           std::u16string_view number);

}  // namespace host
