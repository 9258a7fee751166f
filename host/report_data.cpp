#include "host/report_data.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <set>
#include <span>

#include "host/check_sums.h"
#include "host/console.h"
#include "host/log_reader.h"
#include "host/manifest_check.h"
#include "host/manifest_items.h"
#include "host/path_rules.h"
#include "host/payload_check.h"
#include "host/report_rows.h"
#include "host/status_text.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

using Text = std::u16string_view;

constexpr std::size_t kMostLargest = 100;  // files that the summary lists
constexpr std::size_t kMostFolders = 30;
constexpr std::size_t kFolderLevels = 2;

struct SSize {
    std::u16string name;
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;
};

bool IsLarger(const SSize& left, const SSize& right) {
    return left.bytes != right.bytes ? left.bytes > right.bytes : left.name < right.name;
}

// Sorts the largest ones to the front, and leaves out the others.
std::vector<SSize> KeepLargest(std::vector<SSize> sizes, std::size_t most) {
    const auto end = sizes.begin() + static_cast<std::ptrdiff_t>(std::min(sizes.size(), most));
    std::partial_sort(sizes.begin(), end, sizes.end(), IsLarger);
    sizes.erase(end, sizes.end());
    return sizes;
}

// The first levels of a file's folder; a dot for a file right in the folder of the target.
std::u16string FirstLevels(Text name) {
    std::size_t end = 0;
    for (std::size_t level = 0; level < kFolderLevels; ++level) {
        const std::size_t next = name.find(u'\\', end == 0 ? 0 : end + 1);
        end = next == Text::npos ? end : next;
    }
    return end == 0 ? u"." : std::u16string(name.substr(0, end));
}

// How large each folder is; the smallest ones are one row without a name.
std::vector<SSize> SumFolders(const std::vector<SSize>& files) {
    std::map<std::u16string, SSize> folders;
    SSize rest;
    for (const SSize& file : files) {
        const std::u16string name = FirstLevels(file.name);
        SSize& folder = folders[name];
        folder.name = name;
        folder.bytes += file.bytes;
        ++folder.files;
        rest.bytes += file.bytes;
        ++rest.files;
    }
    std::vector<SSize> sizes;
    for (const auto& [name, folder] : folders) {
        sizes.push_back(folder);
    }
    sizes = KeepLargest(std::move(sizes), kMostFolders);
    for (const SSize& folder : sizes) {
        rest.bytes -= folder.bytes;
        rest.files -= folder.files;
    }
    if (rest.files != 0) {
        sizes.push_back(rest);
    }
    return sizes;
}

// The payload of the folder of a target.
//
// INVARIANT: `m_sizes` has the size of the file of the same index in `m_files`; none of what is no
// payload.
class CPayload {
public:
    CPayload(const fs::path& folder, const TellProblem& tell);

    // Finds the SID that is in the names, if the manifest names files by it.
    void FindSid(const fs::path& manifest);
    [[nodiscard]] std::optional<std::uint64_t> GetSize(const SItem& item) const;
    // All files, by their names.
    [[nodiscard]] std::vector<SSize> ListSizes() const;

private:
    fs::path m_folder;
    std::vector<SFoundFile> m_files;
    std::vector<std::optional<std::uint64_t>> m_sizes;
    CPayloadCheck m_check;
};

CPayload::CPayload(const fs::path& folder, const TellProblem& tell)
    : m_folder(DeepPath(folder)),
      m_files(ListFiles(folder, tell)),
      m_sizes(m_files.size()),
      m_check(folder, m_files) {
    std::size_t others = 0;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const SFoundFile& file = m_files[i];
        std::error_code error;
        if (!file.isRegular) {
            ++others;
        } else if (!IsManifest(file) && file.name != kSumsName) {
            const std::uint64_t size = fs::file_size(file.path, error);
            m_sizes[i] = error ? 0 : size;
        }
    }
    if (others != 0) {
        tell(folder,
             Count(others, "name") + " in it that lead to no file, such as links, are left out");
    }
}

void CPayload::FindSid(const fs::path& manifest) {
    // Without such a name in the payload no name of the manifest can be found by a SID.
    const bool hasSid = std::ranges::any_of(
        m_files, [](const SFoundFile& file) { return file.name.find("S-1-") != file.name.npos; });
    const TellProblem ignore = [](const fs::path&, const std::string&) {};
    const auto name = [&](const SItemPart& part) {
        for (const platform::SXmlAttribute& attribute : part.attributes) {
            if (attribute.name.ends_with(u"RelativeSource") &&
                attribute.value.find(u"%SID%") != Text::npos) {
                m_check.Name(DecodeRelativePath(attribute.value), false, ignore);
            }
        }
    };
    if (hasSid) {
        // What is wrong with the manifest is told when its items are read.
        static_cast<void>(ReadItems(manifest, [&](const SItem& item) {
            name(item);
            std::ranges::for_each(item.parts, name);
            return true;
        }));
    }
    m_check.FinishNames(ignore);
}

std::optional<std::uint64_t> CPayload::GetSize(const SItem& item) const {
    const Text source = GetAttribute(item, u"RelativeSource");
    const SFoundFile* const file =
        source.empty() ? nullptr : m_check.Find(DecodeRelativePath(source));
    return file == nullptr ? std::nullopt
                           : m_sizes[static_cast<std::size_t>(file - m_files.data())];
}

std::vector<SSize> CPayload::ListSizes() const {
    const std::size_t start = platform::PathText(m_folder / "").size();
    std::vector<SSize> sizes;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        if (m_sizes[i]) {
            std::u16string name = platform::PathText(m_files[i].path).substr(start);
            std::ranges::replace(name, u'/', u'\\');
            sizes.push_back({std::move(name), *m_sizes[i], 1});
        }
    }
    return sizes;
}

void WriteIds(CJsonWriter& json, std::string_view key, const std::vector<std::uint32_t>& ids) {
    if (ids.empty()) {
        return;
    }
    json.Key(key);
    json.BeginArray();
    for (const std::uint32_t id : ids) {
        json.Number(id);
    }
    json.EndArray();
}

void WriteNumber(CJsonWriter& json, std::string_view key, std::uint64_t number) {
    json.Key(key);
    json.Number(static_cast<std::int64_t>(number));
}

void WriteText(CJsonWriter& json, std::string_view key, Text text) {
    json.Key(key);
    json.Text(text);
}

void WriteSizes(CJsonWriter& json, std::string_view key, const std::vector<SSize>& sizes,
                bool withFiles) {
    json.Key(key);
    json.BeginArray();
    for (const SSize& size : sizes) {
        json.BeginArray();
        json.Text(size.name);
        json.Number(static_cast<std::int64_t>(size.bytes));
        if (withFiles) {
            json.Number(static_cast<std::int64_t>(size.files));
        }
        json.EndArray();
    }
    json.EndArray();
}

void WriteOutcomes(CJsonWriter& json, const SRecordSummary& summary) {
    json.Key("outcomes");
    json.BeginObject();
    // Sorted by the outcome, so that those of one outcome follow each other.
    std::string open;
    for (const auto& [words, count] : summary.reasons) {
        if (open != words.first || &words == &summary.reasons.begin()->first) {
            if (&words != &summary.reasons.begin()->first) {
                json.EndObject();
            }
            json.Key(words.first);
            json.BeginObject();
            open = words.first;
        }
        WriteNumber(json, words.second, count);
    }
    if (!summary.reasons.empty()) {
        json.EndObject();
    }
    json.EndObject();
}

void WriteRules(CJsonWriter& json, const SRecordSummary& summary) {
    std::vector<std::pair<std::uint64_t, Text>> rules;
    for (const auto& [rule, count] : summary.rules) {
        rules.emplace_back(count, rule);
    }
    std::ranges::stable_sort(
        rules, [](const auto& left, const auto& right) { return left.first > right.first; });
    json.Key("rules");
    json.BeginArray();
    for (const auto& [count, rule] : rules) {
        json.BeginArray();
        json.Text(rule);
        json.Number(static_cast<std::int64_t>(count));
        json.EndArray();
    }
    json.EndArray();
}

std::uint64_t CountLosses(const SRecordSummary& summary) {
    std::uint64_t losses = 0;
    for (const auto& [words, count] : summary.reasons) {
        losses += IsLoss(words.first, words.second) ? count : 0;
    }
    return losses;
}

std::uint64_t CountMissing(const SRecordSummary& summary) {
    std::uint64_t missing = 0;
    for (const auto& [words, count] : summary.reasons) {
        const SReason* const reason = FindReason(words.second);
        missing += reason != nullptr && reason->weight == EWeight::Missing ? count : 0;
    }
    return missing;
}

// A path as the report shows it.
std::u16string ShownPath(const fs::path& path) {
    std::u16string text = platform::PathText(path);
    // What DeepPath puts in front says nothing to people.
    text.erase(0, text.starts_with(uR"(\\?\)") ? 4 : 0);
    return text;
}

// The part of a target's name ahead of its GUID, which is the name of the profile.
Text ProfileName(Text name) {
    const std::size_t end = name.rfind(u"_{");
    return end == Text::npos ? name : name.substr(0, end);
}

}  // namespace

// What the summary says of a target, or of what is outside of targets.
struct CReportData::STarget {
    fs::path folder;  // empty when only the record tells of it
    fs::path manifest;
    std::u16string name;
    std::u16string recorded;  // FOLDER\MANIFEST in the record; empty without
    bool isCreated = false;   // as the record says
    std::map<std::u16string, std::u16string> properties;
    std::vector<std::pair<std::u16string, std::uint64_t>> items;
    std::optional<SRecordSummary> record;
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<SSize> largest;
    std::vector<SSize> folders;
    std::vector<std::uint32_t> itemSlices;
    std::vector<std::uint32_t> recordSlices;
    std::vector<std::uint32_t> fileSlices;

    void CountItem(Text collection, std::map<std::u16string, std::size_t>& places);
    [[nodiscard]] std::u16string GetGuid() const;
    void Write(CJsonWriter& json) const;
};

struct CReportData::SPackage {
    std::map<std::uint64_t, STarget> targets;  // by their numbers; 0 is outside of targets
    std::optional<SRecordHead> head;
    bool isDamaged = false;  // something of it cannot be read
    std::vector<std::string> problems;
    std::vector<std::uint32_t> logSlices;

    [[nodiscard]] std::string_view GetStatus() const;
    [[nodiscard]] std::u16string GetName(const SReportPackage& package) const;
};

void CReportData::STarget::CountItem(Text collection,
                                     std::map<std::u16string, std::size_t>& places) {
    // The items of a collection follow each other.
    if (items.empty() || items.back().first != collection) {
        const auto [place, isNew] = places.try_emplace(std::u16string(collection), items.size());
        if (!isNew) {
            ++items[place->second].second;
            return;
        }
        items.emplace_back(collection, 0);
    }
    ++items.back().second;
}

std::u16string CReportData::STarget::GetGuid() const {
    const std::u16string inFolder = platform::PathText(folder.filename());
    if (IsGuidName(platform::Utf16ToUtf8(inFolder))) {
        return inFolder;
    }
    const std::u16string inRecord = recorded.substr(0, recorded.find_first_of(u"\\/"));
    return IsGuidName(platform::Utf16ToUtf8(inRecord)) ? inRecord : u"";
}

void CReportData::STarget::Write(CJsonWriter& json) const {
    json.BeginObject();
    WriteText(json, "guid", GetGuid());
    const auto property = properties.find(u"Name");
    WriteText(json, "name",
              !name.empty() || property == properties.end() ? name : property->second);
    WriteText(json, "manifest", manifest.empty() ? u"" : ShownPath(folder / manifest));
    json.Key("properties");
    json.BeginObject();
    for (const auto& [key, value] : properties) {
        WriteText(json, platform::Utf16ToUtf8(key), value);
    }
    json.EndObject();
    json.Key("items");
    json.BeginObject();
    for (const auto& [collection, count] : items) {
        WriteNumber(json, platform::Utf16ToUtf8(collection), count);
    }
    json.EndObject();
    if (record) {
        WriteOutcomes(json, *record);
        WriteRules(json, *record);
        WriteNumber(json, "losses", CountLosses(*record));
        WriteNumber(json, "missing", CountMissing(*record));
    }
    WriteNumber(json, "files", files);
    WriteNumber(json, "bytes", bytes);
    WriteSizes(json, "largest", largest, false);
    WriteSizes(json, "folders", folders, true);
    json.Key("slices");
    json.BeginObject();
    WriteIds(json, "items", itemSlices);
    WriteIds(json, "record", recordSlices);
    WriteIds(json, "files", fileSlices);
    json.EndObject();
    json.EndObject();
}

std::string_view CReportData::SPackage::GetStatus() const {
    if (!head) {
        return "unknown";
    }
    if (head->status != 0 || head->state == "running") {
        return "failed";
    }
    if (head->state != "whole" && head->state != "cut off") {
        return "unknown";
    }
    return head->state == "whole" && head->losses == 0 && !isDamaged ? "whole" : "not whole";
}

std::u16string CReportData::SPackage::GetName(const SReportPackage& package) const {
    for (const auto& [number, target] : targets) {
        const auto name = target.properties.find(u"Name");
        if (name != target.properties.end() && !ProfileName(name->second).empty()) {
            return std::u16string(ProfileName(name->second));
        }
    }
    const bool isFile = package.targets.empty();
    return platform::PathText(isFile ? package.place.stem() : package.place.filename());
}

void CReportData::Tell(SPackage& data, const fs::path& place, const std::string& words) {
    data.isDamaged = true;
    data.problems.push_back((place.empty() ? "" : Printable(ShownPath(place)) + ": ") + words);
    ++m_counts.problems;
    m_tell(place, words);
}

void CReportData::ReadRecordOf(const SReportPackage& package, SPackage& data) {
    SRecordHead head;
    STarget* open = nullptr;
    std::uint64_t number = 0;
    const std::string problem =
        ReadRecord(DeepPath(package.record), head, [&](const SRecordEntry& entry) {
            if (open == nullptr || entry.in != number) {
                number = entry.in;
                open = &data.targets[number];
                m_slices.BeginList(&open->recordSlices);
                if (!open->record) {
                    open->record.emplace();
                }
            }
            open->record->Count(entry);
            if (entry.thing == "target") {
                open->recorded = entry.target;
                open->name = entry.detail;
                open->isCreated = entry.outcome == NameOf(EOutcome::Created);
            }
            WriteRecordRow(entry, m_slices.BeginRow());
            m_slices.EndRow();
        });
    m_slices.BeginList(nullptr);
    if (!head.state.empty()) {
        data.head = head;
        if (const std::string gap = DescribeGap(head); !gap.empty()) {
            data.problems.push_back(gap);
        }
        if (head.status != 0) {
            data.problems.push_back("the conversion failed: " +
                                    DescribeStatus(static_cast<std::uint32_t>(head.status)));
        }
    }
    if (!problem.empty()) {
        Tell(data, {}, problem);  // which has the path
    }
    for (const auto& [in, target] : data.targets) {
        for (const auto& [words, count] :
             target.record ? target.record->reasons : decltype(SRecordSummary::reasons)()) {
            m_reasons.emplace(words.second, words.first);
        }
        if (target.isCreated && target.folder.empty() && !package.targets.empty()) {
            data.problems.push_back("the folder of " + Printable(target.recorded) +
                                    " is not among the results");
        }
    }
}

void CReportData::ReadTarget(STarget& target, SPackage& data) {
    ++m_counts.targets;
    if (target.folder.empty()) {
        return;
    }
    const auto tell = [&](const fs::path& place, const std::string& words) {
        Tell(data, place, words);
    };
    CPayload payload(target.folder, tell);
    const fs::path manifest = DeepPath(target.folder) / target.manifest;
    if (target.manifest.empty()) {
        tell(target.folder, "there is no manifest in this folder of a target");
    } else {
        ++m_counts.manifests;
        payload.FindSid(manifest);
        std::map<std::u16string, std::size_t> places;
        m_slices.BeginList(&target.itemSlices);
        const std::string problem = ReadItems(manifest, [&](const SItem& item) {
            if (item.collection == u"Properties") {
                target.properties[std::u16string(item.element)] = item.text;
            } else {
                target.CountItem(item.collection, places);
                ++m_counts.items;
                WriteItemRow(item, payload.GetSize(item), m_slices.BeginRow());
                m_slices.EndRow();
            }
            return !m_page.HasFailed();
        });
        if (!problem.empty()) {
            tell(target.folder / target.manifest, problem);
        }
    }
    std::vector<SSize> sizes = payload.ListSizes();
    m_slices.BeginList(&target.fileSlices);
    for (const SSize& file : sizes) {
        CJsonWriter& json = m_slices.BeginRow();
        json.Text(file.name);
        json.Number(static_cast<std::int64_t>(file.bytes));
        m_slices.EndRow();
        target.bytes += file.bytes;
    }
    m_slices.BeginList(nullptr);
    target.files = sizes.size();
    m_counts.files += sizes.size();
    target.folders = SumFolders(sizes);
    target.largest = KeepLargest(std::move(sizes), kMostLargest);
}

void CReportData::ReadLogOf(const fs::path& log, SPackage& data) {
    std::ifstream file(DeepPath(log), std::ios::binary);
    if (!file.is_open()) {
        Tell(data, log, "the log cannot be read");
        return;
    }
    // The log of a conversion without errors and warnings is empty.
    if (file.peek() == std::ifstream::traits_type::eof()) {
        return;
    }
    m_slices.BeginList(&data.logSlices);
    const SLogSummary summary = ReadLog(file, [&](bool isError, Text text) {
        CJsonWriter& json = m_slices.BeginRow();
        json.Ascii(isError ? "error" : "warning");
        json.Text(text);
        m_slices.EndRow();
    });
    m_slices.BeginList(nullptr);
    if (!summary.isComplete) {
        Tell(data, log, "the log was cut off, so that entries may be missing");
    }
}

void CReportData::Add(const SReportPackage& package) {
    SPackage data;
    data.problems = package.problems;
    std::uint64_t number = 0;
    for (const SReportPackage::STarget& target : package.targets) {
        // Without a record the targets have the order of their folders.
        STarget& added = data.targets[target.in == 0 ? ++number : target.in];
        added.folder = target.folder;
        added.manifest = target.manifest;
    }
    if (!package.record.empty()) {
        ReadRecordOf(package, data);
    }
    for (auto& [in, target] : data.targets) {
        if (in != 0) {
            ReadTarget(target, data);
        }
    }
    for (const fs::path& log : package.logs) {
        ReadLogOf(log, data);
    }
    ++m_counts.packages;
    WritePackage(package, data);
}

void CReportData::WritePackage(const SReportPackage& package, const SPackage& data) {
    m_json.BeginObject();
    WriteText(m_json, "name", data.GetName(package));
    WriteText(m_json, "place", ShownPath(package.place));
    m_json.Key("status");
    m_json.Ascii(data.GetStatus());
    m_json.Key("problems");
    m_json.BeginArray();
    for (const std::string& problem : data.problems) {
        m_json.Utf8(problem);
    }
    m_json.EndArray();
    // Right even if lines are missing.
    WriteNumber(m_json, "losses", data.head ? data.head->losses : 0);
    WriteNumber(m_json, "missing", data.head ? data.head->missing : 0);
    WriteIds(m_json, "log", data.logSlices);
    const auto outside = data.targets.find(0);
    m_json.Key("targets");
    m_json.BeginArray();
    for (const auto& [in, target] : data.targets) {
        if (in != 0) {
            target.Write(m_json);
        }
    }
    m_json.EndArray();
    if (outside != data.targets.end()) {
        WriteOutcomes(m_json, *outside->second.record);
        m_json.Key("slices");
        m_json.BeginObject();
        WriteIds(m_json, "record", outside->second.recordSlices);
        m_json.EndObject();
    }
    m_json.EndObject();
    m_packages.append(m_packages.empty() ? "" : ",").append(m_json.GetBytes());
    m_json.Clear();
}

void CReportData::WriteReasons() {
    m_json.Key("reasons");
    m_json.BeginObject();
    for (const auto& [name, outcome] : m_reasons) {
        const SReason* const reason = FindReason(name);
        const bool isMissing = reason != nullptr && reason->weight == EWeight::Missing;
        m_json.Key(name);
        m_json.BeginObject();
        m_json.Key("kind");
        m_json.Utf8(IsLoss(outcome, name) ? "loss" : isMissing ? "missing" : outcome);
        // A reason of a later version has no sentence here.
        m_json.Key("says");
        m_json.Ascii(reason == nullptr ? "" : reason->sentence);
        m_json.Key("advice");
        m_json.Ascii(reason == nullptr ? "" : reason->advice);
        m_json.EndObject();
    }
    m_json.EndObject();
}

std::string CReportData::Finish() {
    m_json.BeginObject();
    m_json.Key("program");
    m_json.Ascii("cas2orv " CAS2ORV_VERSION);
    WriteReasons();
    m_json.Key("packages");
    m_json.BeginArray();
    // Put in here and not by the writer, because all packages may be large.
    std::string summary(m_json.GetBytes());
    summary.append(m_packages).append("]}");
    m_packages = {};
    return summary;
}

}  // namespace host
