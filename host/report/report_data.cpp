#include "host/report/report_data.h"

#include <fstream>

#include "host/batch/batch_result.h"
#include "host/console.h"
#include "host/log_reader.h"
#include "host/manifest_items.h"
#include "host/path_rules.h"
#include "host/report/report_rows.h"
#include "host/status_text.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

void AddTarget(const SReportTarget& target, std::uint64_t in, SReportedPackage& data) {
    data.targets[in].folder = target.folder;
    data.targets[in].manifest = target.manifest;
}

void AddRecordedTargets(const SReportPackage& package, SReportedPackage& data) {
    for (const SReportPackage::STarget& target : package.targets) {
        if (target.in != 0) {
            AddTarget(target, target.in, data);
        }
    }
}

// Those of which no record tells have the order of their folders, and the numbers that are free.
void AddOtherTargets(const SReportPackage& package, SReportedPackage& data) {
    std::uint64_t number = 0;
    for (const SReportPackage::STarget& target : package.targets) {
        if (target.in == 0) {
            do {
                ++number;
            } while (data.targets.contains(number));
            AddTarget(target, number, data);
        }
    }
}

}  // namespace

void CReportData::Tell(SReportedPackage& data, const fs::path& place, const std::string& words) {
    data.isDamaged = true;
    data.problems.push_back((place.empty() ? "" : Printable(ShownPath(place)) + ": ") + words);
    ++m_counts.problems;
    m_tell(place, words);
}

void CReportData::ReadResultOf(const SReportPackage& package, SReportedPackage& data) {
    SPackageResult result;
    std::string problem;
    switch (ReadResultHead(package.result, result, problem)) {
        case EResultState::Good:
            break;
        case EResultState::Missing:
            Tell(data, package.result, "the result is no longer there");
            return;
        case EResultState::Unusable:
            Tell(data, package.result, "the result " + problem);
            return;
    }
    data.result.name = platform::Utf8ToUtf16(result.name);
    data.result.isFailed = OutcomeOf(result) == EPackageOutcome::Failed;
    if (!data.result.isFailed) {
        return;
    }
    const std::string reason =
        result.reason.empty() ? "its result does not tell why" : result.reason;
    data.problems.insert(data.problems.begin(), "the conversion failed: " + reason);
    if (!package.targets.empty()) {
        data.problems.emplace_back("the targets are those of a former conversion");
    }
}

// Returns what is wrong with the record, with its path.
std::string CReportData::ReadRecordLines(const fs::path& record, SRecordHead& head,
                                         SReportedPackage& data) {
    SReportedTarget* open = nullptr;
    std::uint64_t number = 0;
    std::string problem = ReadRecord(DeepPath(record), head, [&](const SRecordEntry& entry) {
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
            open->isCreated = entry.outcome == NameOf(::EOutcome::Created);
        }
        WriteRecordRow(entry, m_slices.BeginRow());
        m_slices.EndRow();
    });
    m_slices.BeginList(nullptr);
    return problem;
}

void CReportData::ReadRecordOf(const SReportPackage& package, SReportedPackage& data) {
    SRecordHead head;
    const std::string problem = ReadRecordLines(package.record, head, data);
    if (!head.state.empty()) {
        data.head = head;
        if (const std::string gap = DescribeGap(head); !gap.empty()) {
            data.problems.push_back(gap);
        }
        if (head.status != 0 && !data.result.isFailed) {
            data.problems.push_back("the conversion failed: " +
                                    DescribeStatus(static_cast<std::uint32_t>(head.status)));
        }
    }
    if (!problem.empty()) {
        Tell(data, {}, problem);
    }
    for (const auto& [in, target] : data.targets) {
        NoteReasons(target);
        // Without any result the package has this problem already.
        if (target.isCreated && target.folder.empty() && !package.targets.empty()) {
            data.problems.push_back("the folder of " + Printable(target.recorded) +
                                    " is not among the results");
        }
    }
}

void CReportData::NoteReasons(const SReportedTarget& target) {
    if (target.record) {
        for (const auto& [words, count] : target.record->reasons) {
            m_reasons.emplace(words.second, words.first);
        }
    }
}

void CReportData::ReadTarget(SReportedTarget& target, SReportedPackage& data) {
    ++m_counts.targets;
    if (target.folder.empty()) {
        return;
    }
    CReportPayload payload(
        target.folder, target.manifest,
        [&](const fs::path& place, const std::string& words) { Tell(data, place, words); });
    if (target.manifest.empty()) {
        Tell(data, target.folder, "there is no manifest in this folder of a target");
    } else {
        ReadManifestOf(target, payload, data);
    }
    CReportSizes sizes;
    m_slices.BeginList(&target.fileSlices);
    payload.ListFiles([&](const std::u16string& name, std::uint64_t bytes) {
        CJsonWriter& json = m_slices.BeginRow();
        json.Text(name);
        json.Number(static_cast<std::int64_t>(bytes));
        m_slices.EndRow();
        sizes.Add(name, bytes);
    });
    m_slices.BeginList(nullptr);
    target.files = sizes.GetSum().files;
    target.bytes = sizes.GetSum().bytes;
    m_counts.files += target.files;
    target.folders = sizes.ListFolders();
    target.largest = sizes.TakeLargest();
}

void CReportData::ReadManifestOf(SReportedTarget& target, CReportPayload& payload,
                                 SReportedPackage& data) {
    ++m_counts.manifests;
    const fs::path manifest = DeepPath(target.folder) / target.manifest;
    payload.FindSid(manifest);
    std::map<std::u16string, std::size_t> places;
    m_slices.BeginList(&target.itemSlices);
    const std::string problem = ReadItems(manifest, [&](const SItem& item) {
        if (item.collection == u"Properties") {
            target.properties[std::u16string(item.element)] = item.text;
        } else {
            const std::optional<SReportSize> file = payload.Find(item);
            target.CountItem(item.collection, file ? file->bytes : 0, places);
            ++m_counts.items;
            WriteItemRow(item, file, m_slices.BeginRow());
            m_slices.EndRow();
        }
        return !m_page.HasFailed();
    });
    m_slices.BeginList(nullptr);
    if (!problem.empty()) {
        Tell(data, target.folder / target.manifest, problem);
    }
}

void CReportData::ReadLogOf(const fs::path& log, SReportedPackage& data) {
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
    const SLogSummary summary = ReadLog(file, [&](bool isError, std::u16string_view text) {
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
    SReportedPackage data;
    data.problems = package.problems;
    if (!package.result.empty()) {
        ReadResultOf(package, data);
    }
    AddRecordedTargets(package, data);
    if (!package.record.empty()) {
        ReadRecordOf(package, data);  // whose numbers the others must not have
    }
    AddOtherTargets(package, data);
    for (auto& [in, target] : data.targets) {
        if (in != 0) {
            ReadTarget(target, data);
        }
    }
    for (const fs::path& log : package.logs) {
        ReadLogOf(log, data);
    }
    ++m_counts.packages;
    WriteReportedPackage(package, data, m_json);
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
