#include "host/manifest_reader.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <future>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/utf16_reader.h"
#include "platform/utf8.h"

namespace host {

namespace {

constexpr std::uint64_t kLeastPart = std::uint64_t{1} << 20;  // bytes: less is not worth a thread
constexpr std::uint64_t kMaxParts = 8;

// In UTF-16 units, more than any element name. The rest of a line is not looked at.
constexpr std::size_t kLineStart = 64;

// Whether a line is an item. A manifest has one line for each item and for each tag around items,
// because texts have their line breaks escaped. Items have attributes; of the other tags only the
// root has.
bool IsItem(std::u16string_view line) {
    const std::size_t nameEnd = line.find_first_of(u" >");
    return line.substr(0, 1) == u"<" && line.substr(0, 2) != u"<?" &&
           nameEnd != std::u16string_view::npos && line[nameEnd] == u' ' &&
           line.substr(0, nameEnd) != u"<Package";
}

// The name of the collection that a line opens or closes; empty for any other line.
std::u16string_view CollectionOf(std::u16string_view line) {
    const bool isTag = line.size() > 2 && line.front() == u'<' && line.back() == u'>' &&
                       line.find_first_of(u" ?") == std::u16string_view::npos;
    return isTag ? line.substr(line[1] == u'/' ? 2 : 1, line.find(u'>') - (line[1] == u'/' ? 2 : 1))
                 : std::u16string_view();
}

// What a part of a manifest has. The items in front of its first tag of a collection are of the
// collection in which the part before ends.
struct SPart {
    std::size_t first = 0;
    bool isAllFirst = true;  // it has no such tag
    std::map<std::u16string, std::size_t> counts;
    std::u16string last;  // the collection in which it ends
    bool isComplete = false;
};

// Reads the lines that start at byte `first` or later, and before byte `last`.
SPart ReadPart(const std::filesystem::path& manifest, std::uint64_t first, std::uint64_t last) {
    SPart part;
    std::ifstream file(manifest, std::ios::binary);
    std::u16string line;
    // Starts one unit earlier: if that is a line feed, a line starts at `first`. NextLine with the
    // limit 0 skips the rest of the line that an earlier part reads.
    CUtf16Reader reader = first == 0 ? CUtf16Reader(file) : CUtf16Reader(file, first - 2);
    if (first != 0 && !reader.NextLine(line, 0)) {
        return part;
    }
    std::size_t* count = &part.first;  // of the collection in which the line is
    while (reader.GetPosition() < last && reader.NextLine(line, kLineStart)) {
        if (IsItem(line)) {
            ++*count;
        } else if (const std::u16string_view name = CollectionOf(line); !name.empty()) {
            part.last = name;
            part.isAllFirst = false;
            count = &part.counts[part.last];
        }
        part.isComplete = line == u"</Package>";
    }
    return part;
}

// Adds the next part of a manifest; `last` is the collection in which the one before ends.
void Add(const SPart& part, std::u16string& last, SManifestSummary& summary) {
    const auto count = [&summary](const std::u16string& name, std::size_t items) {
        summary.items += items;
        if (items != 0) {
            summary.counts[platform::Utf16ToUtf8(name)] += items;
        }
    };
    count(last, part.first);
    for (const auto& [name, items] : part.counts) {
        count(name, items);
    }
    last = part.isAllFirst ? last : part.last;
    summary.isComplete = part.isComplete;
}

}  // namespace

SManifestSummary ReadManifest(const std::filesystem::path& manifest) {
    // Asked of the stream, which also takes the long paths of Windows.
    std::ifstream file(manifest, std::ios::binary | std::ios::ate);
    if (!file.is_open()) {
        return {};
    }
    const auto size = static_cast<std::uint64_t>(file.tellg());
    const std::uint64_t parts = std::max<std::uint64_t>(
        1, std::min<std::uint64_t>(
               {size / kLeastPart, std::thread::hardware_concurrency(), kMaxParts}));
    // Even, because units have two bytes.
    const std::uint64_t step = size / parts / 2 * 2;
    const auto endOf = [=](std::uint64_t part) {
        return part + 1 == parts ? size : (part + 1) * step;
    };
    std::vector<std::future<SPart>> others;
    for (std::uint64_t part = 1; part < parts; ++part) {
        // If the system has no thread left, the part is read when its result is asked for.
        others.push_back(std::async(ReadPart, manifest, part * step, endOf(part)));
    }
    SManifestSummary summary;
    std::u16string last;
    Add(ReadPart(manifest, 0, endOf(0)), last, summary);
    for (std::future<SPart>& other : others) {
        Add(other.get(), last, summary);
    }
    return summary;
}

}  // namespace host
