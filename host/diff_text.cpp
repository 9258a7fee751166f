#include "host/diff_text.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/number_text.h"
#include "host/console.h"
#include "host/record_pattern.h"
#include "host/registry_data.h"
#include "platform/utf8.h"

namespace host {

namespace {

using Text = std::u16string_view;

// Of a text in a line, in UTF-16 units.
constexpr std::size_t kMostShown = 200;
constexpr std::size_t kShownAhead = 40;  // ahead of where two long texts differ

// From here on a double has not every whole number.
constexpr std::uint64_t kExactEnd = std::uint64_t{1} << 53U;

struct SChange {
    EChange change;
    std::string_view name;
    char mark;
};
constexpr SChange kChanges[] = {{EChange::Added, "added", '+'},
                                {EChange::Removed, "removed", '-'},
                                {EChange::Changed, "changed", '~'}};

std::string Shown(Text text) {
    std::string bytes;
    AppendPrintable(bytes, text);
    return bytes;
}

const SChange& FindChange(EChange change) {
    return *std::ranges::find(kChanges, change, &SChange::change);
}

const SPlainItem& AnyItem(const SDifference& difference) {
    return difference.newer != nullptr ? *difference.newer : *difference.older;
}

bool IsValue(const SPlainItem& item) { return item.collection == u"CreateValues"; }

std::string DescribePlace(const SPlainItem& item) {
    if (item.place != 0) {
        return std::to_string(item.place);
    }
    std::u16string place;
    for (const Text name : GetIdentity(item.collection)) {
        place = place.empty() ? GetAttribute(item, name) : place;
    }
    place = place.empty() ? item.element : place;
    if (item.collection.ends_with(u"Keys") || item.collection.ends_with(u"Values")) {
        place = ShortKeyName(place);
    }
    if (item.collection.ends_with(u"Values")) {
        const Text name = GetAttribute(item, u"Value");
        place += u'\\';
        place += name.empty() ? u"(default)" : name;
    }
    if (item.collection.ends_with(u"EnvVars")) {
        const Text user = GetAttribute(item, u"User");
        place += user.empty() || user == u"0" ? u" (machine)" : u" (user)";
    }
    if (const Text architecture = GetAttribute(item, u"Architecture"); !architecture.empty()) {
        place.append(u" (").append(architecture).append(u")");
    }
    return Shown(place);
}

// The part of a text that a line shows, from `start` on.
std::string Show(Text text, std::size_t start) {
    const std::size_t first = std::min(start, text.size());
    const Text shown = text.substr(first, kMostShown);
    return (first == 0 ? "'" : "'...") + Shown(shown) +
           (first + shown.size() == text.size() ? "'" : "...'");
}

// Two texts, or none.
std::string ShowBoth(std::optional<Text> older, std::optional<Text> newer) {
    std::size_t start = 0;
    // Long texts that begin alike are shown from a little ahead of the difference.
    if (older && newer && std::max(older->size(), newer->size()) > kMostShown) {
        const auto differ = std::ranges::mismatch(*older, *newer);
        start = static_cast<std::size_t>(differ.in1 - older->begin());
        start -= std::min(start, kShownAhead);
    }
    return (older ? Show(*older, start) : "(none)") + " -> " +
           (newer ? Show(*newer, start) : "(none)");
}

std::string Line(Text name, const std::string& change) {
    return "    " + Shown(name) + ": " + change + '\n';
}

const std::u16string* FindValue(const SPlainPart& part, Text name) {
    const auto found = std::ranges::find(part.attributes, name, &SPlainAttribute::name);
    return found == part.attributes.end() ? nullptr : &found->value;
}

// Calls `tell` for each attribute that differs, without a value where there is none. Generated
// names differ when one side has none at all. Both lists are sorted by name.
void ForEachChange(const SPlainPart& older, const SPlainPart& newer,
                   const std::function<void(const std::u16string& name, std::optional<Text> older,
                                            std::optional<Text> newer)>& tell) {
    auto left = older.attributes.begin();
    auto right = newer.attributes.begin();
    while (left != older.attributes.end() || right != newer.attributes.end()) {
        const bool isLeft = right == newer.attributes.end() ||
                            (left != older.attributes.end() && left->name < right->name);
        const bool isRight = left == older.attributes.end() ||
                             (right != newer.attributes.end() && right->name < left->name);
        if (isLeft) {
            tell(left->name, left->value, std::nullopt);
        } else if (isRight) {
            tell(right->name, std::nullopt, right->value);
        } else if (left->value != right->value && !left->isPayload) {
            tell(left->name, left->value, right->value);
        }
        left += isRight ? 0 : 1;
        right += isLeft ? 0 : 1;
    }
}

// The data of a value of a type whose text is not the data itself. Bytes stay hexadecimal digits.
std::optional<RegistryData> DecodeData(const SPlainItem& item) {
    const Text type = GetAttribute(item, u"Type");
    const bool isDecoded = type == u"REG_MULTI_SZ" || type == u"REG_DWORD" || type == u"REG_QWORD";
    return isDecoded ? DecodeRegistryData(type, item.text) : std::nullopt;
}

// The data for people. `buffer` keeps what is not the text of the item.
Text ShowData(const SPlainItem& item, std::u16string& buffer) {
    const std::optional<RegistryData> data = IsValue(item) ? DecodeData(item) : std::nullopt;
    if (!data) {
        return item.text;
    }
    if (const auto* const number = std::get_if<std::uint64_t>(&*data)) {
        buffer = item.text + u" (" + platform::Utf8ToUtf16(std::to_string(*number)) + u')';
    } else {
        for (const std::u16string& string : std::get<std::vector<std::u16string>>(*data)) {
            buffer.append(buffer.empty() ? u"" : u", ").append(u"\"").append(string).append(u"\"");
        }
    }
    return buffer;
}

bool HasPayload(const SPlainPart& part) {
    return std::ranges::any_of(part.attributes, &SPlainAttribute::isPayload);
}

// What tells a part from others of its item: the signature of a data block.
std::u16string_view PartKey(const SPlainPart& part) { return GetAttribute(part, u"Signature"); }

// The parts without payload; the others are compared by it.
std::vector<const SPlainPart*> ListParts(const SPlainItem& item) {
    std::vector<const SPlainPart*> parts;
    for (const SPlainPart& part : item.parts) {
        if (!HasPayload(part)) {
            parts.push_back(&part);
        }
    }
    return parts;
}

// Parts of one element and signature are compared with each other.
std::string DescribeParts(const SPlainItem& older, const SPlainItem& newer) {
    const auto order = [](const SPlainPart* left, const SPlainPart* right) {
        return std::pair(Text(left->element), PartKey(*left)) <
               std::pair(Text(right->element), PartKey(*right));
    };
    std::vector<const SPlainPart*> lists[] = {ListParts(older), ListParts(newer)};
    for (auto& list : lists) {
        std::ranges::stable_sort(list, order);
    }
    std::string lines;
    auto left = lists[0].begin();
    auto right = lists[1].begin();
    // Each round takes one off, or one of each.
    while (left != lists[0].end() || right != lists[1].end()) {
        const bool isLeft =
            right == lists[1].end() || (left != lists[0].end() && order(*left, *right));
        const bool isRight =
            left == lists[0].end() || (right != lists[1].end() && order(*right, *left));
        const SPlainPart& any = isRight ? **right : **left;
        std::u16string name = any.element;
        name.append(PartKey(any).empty() ? u"" : u" ").append(PartKey(any));
        if (isLeft || isRight) {
            lines += Line(name, isLeft ? "removed" : "added");
        } else {
            ForEachChange(**left, **right, [&](const auto& attribute, auto from, auto to) {
                lines +=
                    Line(std::u16string(name).append(u" ").append(attribute), ShowBoth(from, to));
            });
            if ((*left)->text != (*right)->text) {
                lines += Line(name, ShowBoth((*left)->text, (*right)->text));
            }
        }
        left += isRight ? 0 : 1;
        right += isLeft ? 0 : 1;
    }
    return lines;
}

std::string DescribeFile(const SPayloadName& name, CFileContents& contents) {
    return name.file == nullptr ? "(missing)" : Count(contents.GetSize(*name.file), "byte");
}

std::string DescribePayload(const SPayloadChange& change, CFileContents& contents) {
    const SPayloadName& any = change.newer.source.empty() ? change.older : change.newer;
    std::string name = change.element.empty() ? "" : Shown(change.element) + ' ';
    name += "payload";
    // Most items have one, which needs no name.
    if (!change.element.empty() || change.attribute != u"RelativeSource") {
        name += ' ' + Show(any.source, 0);
    }
    if (change.older.source.empty() || change.newer.source.empty()) {
        return "    " + name + (change.older.source.empty() ? ": added\n" : ": removed\n");
    }
    const std::string older = DescribeFile(change.older, contents);
    const std::string newer = DescribeFile(change.newer, contents);
    return "    " + name + ": " +
           (older == newer ? newer + ", with another content" : older + " -> " + newer) + '\n';
}

std::string DescribeChanges(const SDifference& difference, CFileContents& contents) {
    const SPlainItem& older = *difference.older;
    const SPlainItem& newer = *difference.newer;
    std::string lines;
    if (older.element != newer.element) {
        lines += Line(u"element", ShowBoth(older.element, newer.element));
    }
    ForEachChange(older, newer, [&](const auto& name, auto from, auto to) {
        lines += Line(name, ShowBoth(from, to));
    });
    if (older.text != newer.text) {
        std::u16string buffers[2];
        lines += Line(IsValue(older) ? u"data" : u"text",
                      ShowBoth(ShowData(older, buffers[0]), ShowData(newer, buffers[1])));
    }
    lines += DescribeParts(older, newer);
    for (const SPayloadChange& change : difference.payload) {
        lines += DescribePayload(change, contents);
    }
    return lines;
}

// An attribute that no manifest has may be called as another member is.
void WriteKey(CJsonWriter& json, Text name) {
    constexpr Text kMembers[] = {u"element", u"data", u"text", u"parts", u"payload"};
    const bool isTaken = std::ranges::find(kMembers, name) != std::end(kMembers);
    json.Key((isTaken ? "@" : "") + Shown(name));
}

void WriteNumber(CJsonWriter& json, std::uint64_t number) {
    if (number < kExactEnd) {
        json.Number(static_cast<std::int64_t>(number));
    } else {
        json.Ascii(std::to_string(number));
    }
}

void WriteData(CJsonWriter& json, const SPlainItem& item) {
    const std::optional<RegistryData> data = DecodeData(item);
    if (!data) {
        json.Text(item.text);  // a string, or bytes as hexadecimal digits
    } else if (const auto* const number = std::get_if<std::uint64_t>(&*data)) {
        WriteNumber(json, *number);
    } else {
        json.BeginArray();
        for (const std::u16string& string : std::get<std::vector<std::u16string>>(*data)) {
            json.Text(string);
        }
        json.EndArray();
    }
}

void WriteParts(CJsonWriter& json, const SPlainItem& item) {
    json.Key("parts");
    json.BeginArray();
    for (const SPlainPart& part : item.parts) {
        json.BeginObject();
        json.Key("element");
        json.Text(part.element);
        for (const SPlainAttribute& attribute : part.attributes) {
            WriteKey(json, attribute.name);
            json.Text(attribute.value);
        }
        if (!part.text.empty()) {
            json.Key("text");
            json.Text(part.text);
        }
        json.EndObject();
    }
    json.EndArray();
}

void WritePayload(CJsonWriter& json, const SDifference& difference, bool isNewer,
                  CFileContents& contents) {
    json.Key("payload");
    json.BeginArray();
    for (const SPayloadChange& change : difference.payload) {
        const SPayloadName& name = isNewer ? change.newer : change.older;
        if (name.source.empty()) {
            continue;
        }
        json.BeginObject();
        json.Key("source");
        json.Text(name.source);
        if (name.file != nullptr) {
            json.Key("bytes");
            json.Number(static_cast<std::int64_t>(contents.GetSize(*name.file)));
            json.Key("sha256");
            json.Ascii(contents.GetSum(*name.file));
        }
        json.EndObject();
    }
    json.EndArray();
}

void WriteIdentity(CJsonWriter& json, const SPlainItem& item) {
    json.Key("identity");
    json.BeginObject();
    if (item.place != 0) {
        json.Key("place");
        WriteNumber(json, item.place);
    }
    for (const Text name : GetIdentity(item.collection)) {
        if (const std::u16string* const value = FindValue(item, name)) {
            WriteKey(json, name);
            json.Text(*value);
        }
    }
    json.EndObject();
}

// All of an item but its identity.
void WriteItem(CJsonWriter& json, const SPlainItem& item) {
    const auto identity = GetIdentity(item.collection);
    json.BeginObject();
    for (const SPlainAttribute& attribute : item.attributes) {
        if (std::ranges::find(identity, Text(attribute.name)) == identity.end()) {
            WriteKey(json, attribute.name);
            json.Text(attribute.value);
        }
    }
    if (IsValue(item) && FindValue(item, u"Type") != nullptr) {
        json.Key("data");
        WriteData(json, item);
    } else if (!item.text.empty()) {
        json.Key("text");
        json.Text(item.text);
    }
    if (!item.parts.empty()) {
        WriteParts(json, item);
    }
    json.EndObject();
}

// One side of a change: what the other side has not, or has otherwise.
void WriteSide(CJsonWriter& json, const SDifference& difference, bool isNewer,
               CFileContents& contents) {
    const SPlainItem& item = isNewer ? *difference.newer : *difference.older;
    const SPlainItem& other = isNewer ? *difference.older : *difference.newer;
    json.BeginObject();
    if (item.element != other.element) {
        json.Key("element");
        json.Text(item.element);
    }
    ForEachChange(item, other, [&](const auto& name, auto own, auto /*others*/) {
        WriteKey(json, name);
        if (own) {
            json.Text(*own);
        } else {
            json.Null();
        }
    });
    if (item.text != other.text) {
        json.Key(IsValue(item) ? "data" : "text");
        if (IsValue(item)) {
            WriteData(json, item);
        } else {
            json.Text(item.text);
        }
    }
    // Parts with payload differ by it, or in number.
    if (!std::ranges::equal(ListParts(item), ListParts(other),
                            [](const auto* left, const auto* right) { return *left == *right; })) {
        WriteParts(json, item);
    }
    if (!difference.payload.empty()) {
        WritePayload(json, difference, isNewer, contents);
    }
    json.EndObject();
}

}  // namespace

std::string_view GetChangeName(EChange change) { return FindChange(change).name; }
char GetChangeMark(EChange change) { return FindChange(change).mark; }

std::string DescribeDifference(const SDifference& difference, CFileContents& contents) {
    const SPlainItem& item = AnyItem(difference);
    std::string lines(1, GetChangeMark(difference.change));
    lines += ' ' + Shown(item.collection) + ' ' + DescribePlace(item) + '\n';
    if (difference.change == EChange::Changed) {
        lines += DescribeChanges(difference, contents);
    }
    return lines;
}

void WriteStart(CJsonWriter& json, EChange change, Text target, Text manifest) {
    json.Key("change");
    json.Ascii(GetChangeName(change));
    if (!target.empty()) {
        json.Key("target");
        json.Text(target);
    }
    if (!manifest.empty()) {
        json.Key("manifest");
        json.Text(manifest);
    }
}

void WriteDifference(CJsonWriter& json, Text target, Text manifest, const SDifference& difference,
                     CFileContents& contents) {
    const SPlainItem& item = AnyItem(difference);
    json.BeginObject();
    WriteStart(json, difference.change, target, manifest);
    json.Key("collection");
    json.Text(item.collection);
    json.Key("element");
    json.Text(item.element);
    WriteIdentity(json, item);
    const bool isChanged = difference.change == EChange::Changed;
    for (const bool isNewer : {false, true}) {
        if ((isNewer ? difference.newer : difference.older) == nullptr) {
            continue;
        }
        json.Key(isNewer ? "new" : "old");
        if (isChanged) {
            WriteSide(json, difference, isNewer, contents);
        } else {
            WriteItem(json, item);
        }
    }
    json.EndObject();
}

}  // namespace host
