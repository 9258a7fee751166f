#include "host/report/report_rows.h"

#include <algorithm>
#include <string>

#include "host/key_names.h"
#include "host/record_pattern.h"
#include "host/registry_data.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr std::size_t kMostShown = 200;  // units of a detail

// Which attributes say where an item is and what it has. The first of them that it has counts.
struct SColumns {
    Text collection;
    Text places[2];
    Text details[2];
};
constexpr SColumns kColumns[] = {
    {u"CreateFiles", {u"Target"}, {u"RelativeSource"}},
    {u"CreateShortcuts", {u"Target"}, {u"ShortcutTarget"}},
    {u"CreateEnvVars", {u"Variable"}, {u"Value"}},
    {u"DeleteEnvVars", {u"Variable"}, {}},
    {u"CreateServices", {u"Name"}, {u"Binary", u"DisplayName"}},
    {u"DeleteServices", {u"Name"}, {}},
    {u"ControlServices", {u"Name"}, {u"Arguments"}},
    {u"CreateAssemblies", {u"Id"}, {u"ManifestRelativeSource"}},
    {u"DeleteAssemblies", {u"Name", u"Id"}, {}},
    {u"PreActions", {u"Path"}, {u"RelativeSource"}},
    {u"PostActions", {u"Path"}, {u"RelativeSource"}},
};
constexpr SColumns kOtherColumns = {{}, {u"Target", u"Name"}, {}};

Text FindFirst(const SItem& item, const Text (&names)[2]) {
    for (const Text name : names) {
        const Text* const value = name.empty() ? nullptr : FindAttribute(item, name);
        if (value != nullptr && !value->empty()) {
            return *value;
        }
    }
    return {};
}

// Cuts a text to what a row shows. A surrogate pair is not parted.
std::u16string Cut(Text text) {
    if (text.size() <= kMostShown) {
        return std::u16string(text);
    }
    const char16_t last = text[kMostShown - 1];
    return std::u16string(text.substr(0, kMostShown - (last >= 0xD800 && last < 0xDC00 ? 1 : 0))) +
           u"\u2026";
}

std::u16string DescribeData(const SItem& item) {
    const Text type = GetAttribute(item, u"Type");
    if (type.empty()) {
        return u"of another type";
    }
    std::u16string text = std::u16string(type) + u' ';
    const auto strings = type == u"REG_MULTI_SZ" ? DecodeMultiString(item.text) : std::nullopt;
    if (!strings) {
        // One unit more shows that there is more.
        return text.append(item.text.substr(0, kMostShown + 1));
    }
    for (std::size_t i = 0; i < strings->size() && text.size() <= kMostShown; ++i) {
        text.append(i == 0 ? u"" : u"; ").append((*strings)[i]);
    }
    return text;
}

}  // namespace

void WriteItemRow(const SItem& item, const std::optional<SReportSize>& file, CJsonWriter& json) {
    json.Text(item.collection);
    if (item.collection == u"CreateValues" || item.collection == u"DeleteValues") {
        json.Text(ValuePath(GetAttribute(item, u"Target"), GetAttribute(item, u"Value")));
        json.Text(item.collection == u"CreateValues" ? Cut(DescribeData(item)) : u"");
    } else {
        const auto* const found =
            std::ranges::find(kColumns, item.collection, &SColumns::collection);
        const SColumns& columns = found == std::end(kColumns) ? kOtherColumns : *found;
        json.Text(FindFirst(item, columns.places));
        const Text detail = FindFirst(item, columns.details);
        // The text of an item is its own detail, such as that of a script.
        json.Text(file ? file->name : Cut(detail.empty() ? item.text : detail));
    }
    if (file) {
        json.Number(static_cast<std::int64_t>(file->bytes));
    } else {
        json.Null();
    }
}

void WriteRecordRow(const SRecordEntry& entry, CJsonWriter& json) {
    json.Utf8(entry.thing);
    json.Utf8(entry.outcome);
    json.Utf8(entry.reason);
    std::u16string source = IsOfRegistry(entry) ? LongKeyName(entry.source) : entry.source;
    // A key above the real ones has no other name.
    source = source.empty() ? entry.source : source;
    const bool isInKey = entry.thing == "value" || entry.thing == "variable";
    json.Text(isInKey ? ValuePath(source, entry.name) : source);
    // As the item's place has it.
    json.Text(isInKey && !entry.target.empty() ? ValuePath(entry.target, entry.name)
                                               : entry.target);
    json.Text(entry.detail);
    json.Number(entry.status);
}

}  // namespace host
