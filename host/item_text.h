// host/item_text.h - items of a manifest as lines for people and for other programs.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/item_columns.h"
#include "host/manifest_items.h"

namespace host {

struct SItemLayout {
    // Of the terminal, in which lines fit and columns are aligned. 0 when there is no terminal:
    // then nothing is cut, a tab parts fields, and the first one is the collection.
    std::size_t columns = 0;
    bool hasColors = false;
};

// Writes a heading for each collection and a line for each of its items, whatever an item has in
// it. The widths of columns depend on the layout and the collection alone, so that nothing has to
// be known of later items. One thread at a time.
class CItemText {
public:
    explicit CItemText(const SItemLayout& layout) : m_layout(layout) {}

    // Appends the line of an item in UTF-8, with a heading ahead of the first one of a collection.
    void Append(const SItem& item, std::string& text);

private:
    void BeginCollection(std::u16string_view collection, std::string& text);
    void SetWidths();
    void AppendFields(const SItem& item, std::string& text);
    void AppendAligned(const SItem& item, std::string& text);
    void AppendCell(std::u16string_view cell, std::size_t column, std::string& text);
    [[nodiscard]] std::u16string_view ShowCell(const SItem& item, std::size_t column);
    [[nodiscard]] std::u16string_view ShowData(const SItem& item, std::size_t room);
    [[nodiscard]] std::vector<std::u16string> ListOthers(const SItem& item) const;

    const SItemLayout m_layout;
    const SItemColumns* m_row = nullptr;
    std::u16string m_collection;        // of the last item
    std::vector<std::size_t> m_widths;  // of the columns, on a terminal
    std::u16string m_cell;              // kept for its memory
};

}  // namespace host
