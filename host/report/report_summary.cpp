#include "host/report/report_summary.h"

#include <algorithm>

#include "host/console.h"
#include "host/json.h"
#include "host/target_folder.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

using Text = std::u16string_view;

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

void WriteSizes(CJsonWriter& json, std::string_view key, const std::vector<SReportSize>& sizes,
                bool withFiles) {
    json.Key(key);
    json.BeginArray();
    for (const SReportSize& size : sizes) {
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

// Writes a number of each collection that has one, in the order of the manifest.
void WriteItemCounts(CJsonWriter& json, std::string_view key,
                     const std::vector<SReportedItems>& items,
                     std::uint64_t SReportedItems::*number) {
    json.Key(key);
    json.BeginObject();
    for (const SReportedItems& each : items) {
        if (each.*number != 0) {
            json.Key(platform::Utf16ToUtf8(each.collection));
            json.Number(static_cast<std::int64_t>(each.*number));
        }
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
    if (summary.otherRules != 0) {
        WriteNumber(json, "otherRules", summary.otherRules);
    }
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

// The part of a target's name ahead of its GUID, which is the name of the profile.
Text ProfileName(Text name) {
    const std::size_t end = name.rfind(u"_{");
    return end == Text::npos ? name : name.substr(0, end);
}

void WriteManifest(const SReportedTarget& target, CJsonWriter& json) {
    WriteText(json, "manifest",
              target.manifest.empty() ? u"" : ShownPath(target.folder / target.manifest));
    json.Key("properties");
    json.BeginObject();
    for (const auto& [key, value] : target.properties) {
        WriteText(json, platform::Utf16ToUtf8(key), value);
    }
    json.EndObject();
    WriteItemCounts(json, "items", target.items, &SReportedItems::count);
    WriteItemCounts(json, "sizes", target.items, &SReportedItems::bytes);
}

void WriteTarget(const SReportedTarget& target, CJsonWriter& json) {
    json.BeginObject();
    WriteText(json, "guid", target.GetGuid());
    const auto name = target.properties.find(u"Name");
    const bool hasName = !target.name.empty() || name == target.properties.end();
    WriteText(json, "name", hasName ? target.name : name->second);
    WriteManifest(target, json);
    if (target.record) {
        WriteOutcomes(json, *target.record);
        WriteRules(json, *target.record);
        WriteNumber(json, "losses", CountLosses(*target.record));
        WriteNumber(json, "missing", CountMissing(*target.record));
    }
    WriteNumber(json, "files", target.files);
    WriteNumber(json, "bytes", target.bytes);
    WriteSizes(json, "largest", target.largest, false);
    WriteSizes(json, "folders", target.folders, true);
    json.Key("slices");
    json.BeginObject();
    WriteIds(json, "items", target.itemSlices);
    WriteIds(json, "record", target.recordSlices);
    WriteIds(json, "files", target.fileSlices);
    json.EndObject();
    json.EndObject();
}

}  // namespace

void SReportedTarget::CountItem(Text collection, std::uint64_t size,
                                std::map<std::u16string, std::size_t>& places) {
    // The items of a collection follow each other.
    std::size_t index = items.empty() ? 0 : items.size() - 1;
    if (items.empty() || items.back().collection != collection) {
        const auto [place, isNew] = places.try_emplace(std::u16string(collection), items.size());
        index = place->second;
        if (isNew) {
            items.push_back({std::u16string(collection)});
        }
    }
    ++items[index].count;
    items[index].bytes += size;
}

std::u16string SReportedTarget::GetGuid() const {
    std::u16string inFolder = platform::PathText(folder.filename());
    if (IsGuidName(platform::Utf16ToUtf8(inFolder))) {
        return inFolder;
    }
    const std::u16string inRecord = recorded.substr(0, recorded.find_first_of(u"\\/"));
    return IsGuidName(platform::Utf16ToUtf8(inRecord)) ? inRecord : u"";
}

std::string_view SReportedPackage::GetStatus() const {
    if (result.isFailed) {
        return "failed";
    }
    if (!head) {
        return "unknown";
    }
    if (HasFailed(*head)) {
        return "failed";
    }
    if (head->state != "whole" && head->state != "cut off") {
        return "unknown";
    }
    return head->state == "whole" && head->losses == 0 && !isDamaged ? "whole" : "not whole";
}

std::u16string SReportedPackage::GetName(const SReportPackage& package) const {
    if (!result.name.empty()) {
        return result.name;
    }
    for (const auto& [number, target] : targets) {
        const auto name = target.properties.find(u"Name");
        if (name != target.properties.end() && !ProfileName(name->second).empty()) {
            return std::u16string(ProfileName(name->second));
        }
    }
    const bool isFile = package.targets.empty() && package.result.empty();
    return platform::PathText(isFile ? package.place.stem() : package.place.filename());
}

void WriteReportedPackage(const SReportPackage& package, const SReportedPackage& data,
                          CJsonWriter& json) {
    json.BeginObject();
    WriteText(json, "name", data.GetName(package));
    WriteText(json, "place", ShownPath(package.place));
    json.Key("status");
    json.Ascii(data.GetStatus());
    json.Key("problems");
    json.BeginArray();
    for (const std::string& problem : data.problems) {
        json.Utf8(problem);
    }
    json.EndArray();
    // Right even if lines are missing.
    WriteNumber(json, "losses", data.head ? data.head->losses : 0);
    WriteNumber(json, "missing", data.head ? data.head->missing : 0);
    WriteIds(json, "log", data.logSlices);
    json.Key("targets");
    json.BeginArray();
    for (const auto& [number, target] : data.targets) {
        if (number != 0) {
            WriteTarget(target, json);
        }
    }
    json.EndArray();
    if (const auto outside = data.targets.find(0); outside != data.targets.end()) {
        WriteOutcomes(json, *outside->second.record);
        json.Key("slices");
        json.BeginObject();
        WriteIds(json, "record", outside->second.recordSlices);
        json.EndObject();
    }
    json.EndObject();
}

}  // namespace host
