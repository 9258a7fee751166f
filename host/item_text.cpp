#include "host/item_text.h"

#include <algorithm>

#include "foundation/hex.h"
#include "host/console.h"
#include "host/key_names.h"
#include "host/progress_text.h"
#include "host/registry_data.h"
#include "platform/utf8.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr Text kIndent = u"  ";
constexpr Text kGap = u"  ";            // between columns of a terminal
constexpr std::size_t kLeastWidth = 8;  // of a column that shares the room

constexpr std::string_view kCreating = "\x1b[1;32m";  // green
constexpr std::string_view kDeleting = "\x1b[1;31m";  // red
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kFaint = "\x1b[2m";
constexpr std::string_view kReset = "\x1b[0m";

std::string_view ColorOf(Text collection) {
    return collection.starts_with(u"Create")   ? kCreating
           : collection.starts_with(u"Delete") ? kDeleting
                                               : kBold;
}

std::u16string Decimal(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

// The bytes of hexadecimal digits in pairs, as many as fit in `room` columns with their number
// after them; all of them when that is 0.
void ShowPairs(Text digits, std::size_t room, std::u16string& cell) {
    std::size_t shown = digits.size() / 2;
    std::u16string end;
    if (room != 0 && shown * 3 > room + 1) {
        const std::u16string count = u"(" + Decimal(shown) + u" bytes)";
        end = u"... " + count;
        shown = room < end.size() ? 0 : (room - end.size()) / 3;
        end = shown == 0 ? count : end;
    }
    // For each byte two digits and the blank after it.
    cell.resize(shown * 3);
    for (std::size_t i = 0; i < shown; ++i) {
        cell[i * 3] = digits[i * 2];
        cell[i * 3 + 1] = digits[i * 2 + 1];
        cell[i * 3 + 2] = u' ';
    }
    if (end.empty() && !cell.empty()) {
        cell.pop_back();
    }
    cell += end;
}

// A value with what it means: "automatic (2)", or the strings of a list.
std::u16string ShowOther(Text name, Text value) {
    if (const Text word = FindWord(name, value); !word.empty()) {
        return std::u16string(word).append(u" (").append(value).append(u")");
    }
    std::u16string shown(value);
    if (name == u"Dependencies") {
        ShowMultiString(value, shown);
    }
    return shown;
}

std::u16string ShowPart(const SItemPart& part) {
    std::u16string shown = std::u16string(part.element) + u':';
    for (const platform::SXmlAttribute& attribute : part.attributes) {
        shown.append(u" ").append(attribute.name).append(u"=").append(attribute.value);
    }
    return part.text.empty() ? shown : shown.append(u" ").append(part.text);
}

// A text without what would move the cursor or has no width, so that its columns can be counted.
Text MakeCountable(Text text, std::u16string& plain) {
    if (std::ranges::all_of(text, [](char16_t unit) { return unit >= 0x20 && unit < 0x7F; })) {
        return text;
    }
    plain = platform::Utf8ToUtf16(Printable(text));
    return plain;
}

void AppendBlanks(std::size_t count, std::string& text) { text.append(count, ' '); }

}  // namespace

void CItemText::Append(const SItem& item, std::string& text) {
    if (m_row == nullptr || item.collection != m_collection) {
        BeginCollection(item.collection, text);
    }
    if (m_layout.columns == 0) {
        AppendFields(item, text);
    } else {
        AppendAligned(item, text);
    }
    text += '\n';
}

void CItemText::BeginCollection(Text collection, std::string& text) {
    const bool isFirst = m_row == nullptr;
    m_collection = collection;
    m_row = &FindItemColumns(collection);
    if (m_layout.columns == 0) {
        text += "Collection";
        for (const SItemColumn& column : m_row->columns) {
            text += '\t';
            AppendPrintable(text, column.name);
        }
        text += '\n';
        return;
    }
    SetWidths();
    const auto color = [&](std::string_view escape) {
        text += m_layout.hasColors ? escape : std::string_view();
    };
    text += isFirst ? "" : "\n";
    color(ColorOf(collection));
    AppendPrintable(text, CutMiddle(collection, m_layout.columns - 1));
    color(kReset);
    text += '\n';
    color(kFaint);
    for (std::size_t i = 0; i < m_row->columns.size(); ++i) {
        AppendCell(m_row->columns[i].name, i, text);
    }
    color(kReset);
    text += '\n';
}

void CItemText::SetWidths() {
    const auto columns = m_row->columns;
    // The last column of the terminal stays free, because there a terminal may begin a new line.
    std::size_t taken = 1 + kIndent.size() + kGap.size() * (columns.size() - 1);
    std::size_t shares = 0;
    for (const SItemColumn& column : columns) {
        taken += column.width;
        shares += column.share;
    }
    const std::size_t room = m_layout.columns - std::min(m_layout.columns, taken);
    m_widths.clear();
    for (const SItemColumn& column : columns) {
        const std::size_t width = shares == 0 ? 0 : room * column.share / shares;
        m_widths.push_back(column.share == 0 ? column.width : std::max(width, kLeastWidth));
    }
}

// A cell and what follows it: the gap, or nothing after the last one.
void CItemText::AppendCell(Text cell, std::size_t column, std::string& text) {
    const std::size_t width = m_widths[column];
    const std::u16string cut = CutMiddle(cell, width);
    AppendPrintable(text, column == 0 ? kIndent : kGap);
    AppendPrintable(text, cut);
    if (column + 1 < m_widths.size()) {
        AppendBlanks(width - CountColumns(cut), text);
    }
}

void CItemText::AppendAligned(const SItem& item, std::string& text) {
    const std::size_t columns = m_row->columns.size();
    const std::size_t start = text.size();
    std::vector<std::u16string> others = ListOthers(item);
    std::u16string joined;
    for (const std::u16string& other : others) {
        joined.append(joined.empty() ? u"" : u"  ").append(other);
    }
    std::u16string plain;
    for (std::size_t i = 0; i < columns; ++i) {
        Text cell = ShowCell(item, i);
        // What has no column follows what is in the last one.
        if (i + 1 == columns && !joined.empty()) {
            joined = std::u16string(cell).append(cell.empty() ? u"" : u"  ").append(joined);
            cell = joined;
        }
        AppendCell(MakeCountable(cell, plain), i, text);
    }
    // Empty cells at the end leave no blanks.
    text.resize(std::max(start, text.find_last_not_of(' ') + 1));
}

void CItemText::AppendFields(const SItem& item, std::string& text) {
    AppendPrintable(text, item.collection);
    for (std::size_t i = 0; i < m_row->columns.size(); ++i) {
        if (m_row->columns[i].show != EShow::Others) {
            text += '\t';
            AppendPrintable(text, ShowCell(item, i));
        }
    }
    for (const std::u16string& other : ListOthers(item)) {
        text += '\t';
        AppendPrintable(text, other);
    }
}

// The text is valid as long as the item, and until the next call.
Text CItemText::ShowCell(const SItem& item, std::size_t column) {
    const Text name = m_row->columns[column].name;
    switch (m_row->columns[column].show) {
        case EShow::Plain:
            return GetAttribute(item, name);
        case EShow::Key:
            return m_cell = ShortKeyName(GetAttribute(item, name));
        case EShow::ValueName:
            return ValueName(GetAttribute(item, name));
        case EShow::Words:
            return m_cell = ShowOther(name, GetAttribute(item, name));
        case EShow::List:
            ShowMultiString(GetAttribute(item, name), m_cell);
            return m_cell;
        case EShow::Element:
            return item.element;
        case EShow::Content:
            return item.text;
        case EShow::Data:
            return ShowData(item, m_layout.columns == 0 ? 0 : m_widths[column]);
        case EShow::Others:
            break;
    }
    return {};
}

Text CItemText::ShowData(const SItem& item, std::size_t room) {
    const Text type = GetAttribute(item, u"Type");
    const EDataKind kind = GetDataKind(type);
    if (kind == EDataKind::Bytes && item.text.size() % 2 == 0 && IsHexString(item.text)) {
        ShowPairs(item.text, room, m_cell);
        return m_cell;
    }
    // A string, as most data is, needs no decoding.
    const bool isCoded = kind == EDataKind::Strings || kind == EDataKind::Number;
    return isCoded ? ShowRegistryData(type, item.text, m_cell) : Text(item.text);
}

std::vector<std::u16string> CItemText::ListOthers(const SItem& item) const {
    std::vector<std::u16string> others;
    const auto columns = m_row->columns;
    const auto shows = [&](EShow show) {
        return std::ranges::find(columns, show, &SItemColumn::show) != columns.end();
    };
    if (!m_row->element.empty() && item.element != m_row->element) {
        others.push_back(u"Element=" + std::u16string(item.element));
    }
    // A column that shows no attribute can be called as one is.
    const auto hasColumn = [&](Text name) {
        const auto column = std::ranges::find(columns, name, &SItemColumn::name);
        return column != columns.end() && column->show < EShow::Element;
    };
    for (const platform::SXmlAttribute& attribute : item.attributes) {
        if (!hasColumn(attribute.name)) {
            others.push_back(std::u16string(attribute.name) + u'=' +
                             ShowOther(attribute.name, attribute.value));
        }
    }
    if (!item.text.empty() && !shows(EShow::Content) && !shows(EShow::Data)) {
        others.push_back(u"Text=" + std::u16string(item.text));
    }
    std::ranges::transform(item.parts, std::back_inserter(others), ShowPart);
    return others;
}

}  // namespace host
