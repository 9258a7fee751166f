#include "host/diff/diff_text.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "host/console.h"
#include "host/diff/item_changes.h"
#include "host/diff/merge_sorted.h"
#include "host/key_names.h"
#include "host/registry_data.h"

namespace host {

namespace {

using Text = std::u16string_view;

// Of a text in a line, in UTF-16 units.
constexpr std::size_t kMostShown = 200;
constexpr std::size_t kShownAhead = 40;  // ahead of where two long texts differ

struct SChange {
    EChange change;
    std::string_view name;
    char mark;
    std::string_view color;
};
constexpr SChange kChanges[] = {{EChange::Added, "added", '+', "\x1b[32m"},       // green
                                {EChange::Removed, "removed", '-', "\x1b[31m"},   // red
                                {EChange::Changed, "changed", '~', "\x1b[33m"}};  // yellow

const SChange& FindChange(EChange change) {
    return *std::ranges::find(kChanges, change, &SChange::change);
}

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
        place = ValuePath(place, GetAttribute(item, u"Value"));
    }
    if (item.collection.ends_with(u"EnvVars")) {
        const Text user = GetAttribute(item, u"User");
        place += user.empty() || user == u"0" ? u" (machine)" : u" (user)";
    }
    if (const Text architecture = GetAttribute(item, u"Architecture"); !architecture.empty()) {
        place.append(u" (").append(architecture).append(u")");
    }
    return Printable(place);
}

// The part of a text that a line shows, from `start` on.
std::string Show(Text text, std::size_t start) {
    const std::size_t first = std::min(start, text.size());
    const Text shown = text.substr(first, kMostShown);
    return (first == 0 ? "'" : "'...") + Printable(shown) +
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
    return "    " + Printable(name) + ": " + change + '\n';
}

// The text for people. `buffer` keeps what is not the text of the item.
Text ShowText(const SPlainItem& item, std::u16string& buffer) {
    return IsValue(item) ? ShowRegistryData(GetAttribute(item, u"Type"), item.text, buffer)
                         : Text(item.text);
}

// What tells a part from others of its item: its element, and the signature of a data block.
std::pair<Text, Text> PartKey(const SPlainPart* part) {
    return {part->element, GetAttribute(*part, u"Signature")};
}

std::string DescribePart(const SPlainPart* older, const SPlainPart* newer) {
    const auto [element, signature] = PartKey(newer == nullptr ? older : newer);
    std::u16string name(element);
    name.append(signature.empty() ? u"" : u" ").append(signature);
    if (older == nullptr || newer == nullptr) {
        return Line(name, newer == nullptr ? "removed" : "added");
    }
    std::string lines;
    ForEachChange(*older, *newer, [&](const auto& attribute, auto from, auto to) {
        lines += Line(std::u16string(name).append(u" ").append(attribute), ShowBoth(from, to));
    });
    if (older->text != newer->text) {
        lines += Line(name, ShowBoth(older->text, newer->text));
    }
    return lines;
}

// Parts of one element and signature are compared with each other.
std::string DescribeParts(const SPlainItem& older, const SPlainItem& newer) {
    std::vector<const SPlainPart*> lists[] = {ListParts(older), ListParts(newer)};
    for (auto& list : lists) {
        std::ranges::stable_sort(list, {}, PartKey);
    }
    std::string lines;
    MergeSorted(lists[0], lists[1], PartKey,
                [&lines](const SPlainPart* const* left, const SPlainPart* const* right) {
                    lines += DescribePart(left == nullptr ? nullptr : *left,
                                          right == nullptr ? nullptr : *right);
                    return true;
                });
    return lines;
}

std::string DescribeFile(const SPayloadName& name, CFileContents& contents) {
    return name.file == nullptr ? "(missing)" : Count(contents.GetSize(*name.file), "byte");
}

std::string DescribePayload(const SPayloadChange& change, CFileContents& contents) {
    const SPayloadName& any = change.newer.source.empty() ? change.older : change.newer;
    std::string name = change.element.empty() ? "" : Printable(change.element) + ' ';
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
                      ShowBoth(ShowText(older, buffers[0]), ShowText(newer, buffers[1])));
    }
    lines += DescribeParts(older, newer);
    for (const SPayloadChange& change : difference.payload) {
        lines += DescribePayload(change, contents);
    }
    return lines;
}

}  // namespace

std::string_view GetChangeName(EChange change) { return FindChange(change).name; }

std::string MarkLine(EChange change, const std::string& words, bool hasColors) {
    const SChange& row = FindChange(change);
    const std::string line = row.mark + (' ' + words);
    return hasColors ? std::string(row.color) + line + "\x1b[0m" : line;
}

std::string DescribeDifference(const SDifference& difference, CFileContents& contents,
                               bool hasColors) {
    const SPlainItem& item = AnyItem(difference);
    std::string lines = MarkLine(difference.change,
                                 Printable(item.collection) + ' ' + DescribePlace(item), hasColors);
    lines += '\n';
    if (difference.change == EChange::Changed) {
        lines += DescribeChanges(difference, contents);
    }
    return lines;
}

}  // namespace host
