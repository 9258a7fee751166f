#include "host/batch/batch_summary.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <system_error>
#include <thread>

#include "host/batch/batch_folder.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/json.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace {

using Reasons = std::map<std::string, std::uint64_t>;

// What is shown of a share; the files have all of it.
constexpr std::size_t kMostLines = 50;
constexpr std::size_t kMostResults = 1000;  // in the JSON of the command
constexpr std::size_t kMostReasons = 5;

enum class EState { Whole, NotWhole, Failed, Missing, Converting };
constexpr std::size_t kStates = 5;
// In the order of EState.
constexpr const char* kStateWords[kStates] = {"whole", "not whole", "failed", "missing",
                                              "converting"};
constexpr const char* kStateKeys[kStates] = {"whole", "notWhole", "failed", "missing",
                                             "converting"};

struct SRow {
    const SPackage* package = nullptr;
    EState state = EState::Missing;
    bool hasResult = false;
    SPackageResult result;
    std::string reason;  // of a failure; UTF-8
};

// "a 3, b 1", the most frequent ones first.
std::string FormatReasons(const Reasons& reasons) {
    std::vector<std::pair<std::string, std::uint64_t>> sorted(reasons.begin(), reasons.end());
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& left, const auto& right) {
        return left.second > right.second;
    });
    std::string text;
    for (std::size_t i = 0; i < std::min(sorted.size(), kMostReasons); ++i) {
        text += (text.empty() ? "" : ", ") + Printable(platform::Utf8ToUtf16(sorted[i].first)) +
                ' ' + std::to_string(sorted[i].second);
    }
    return text + (sorted.size() > kMostReasons ? ", ..." : "");
}

// As RFC 4180 has it.
std::string CsvField(const std::string& text) {
    if (text.find_first_of("\",\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char byte : text) {
        quoted += byte == '"' ? "\"\"" : std::string(1, byte);
    }
    return quoted + '"';
}

constexpr const char* kCsvHead =
    "name,profile,state,status,items,losses,seconds,peakMemory,reason\r\n";

std::string FormatCsv(const SRow& row) {
    const SPackageResult& result = row.result;
    std::string line = CsvField(platform::Utf16ToUtf8(NameText(*row.package))) + ',' +
                       CsvField(platform::Utf16ToUtf8(platform::PathText(row.package->profile))) +
                       ',' + kStateWords[static_cast<std::size_t>(row.state)] + ',';
    line += row.hasResult
                ? std::to_string(result.status) + ',' + std::to_string(result.conversion.items) +
                      ',' + std::to_string(result.conversion.losses) + ',' +
                      FormatSeconds(result.seconds) + ',' + std::to_string(result.peakMemory) + ','
                : ",,,,,";
    return line + CsvField(row.reason) + "\r\n";
}

void WriteRow(const SRow& row, CJsonWriter& json) {
    const SPackageResult& result = row.result;
    json.BeginObject();
    json.Key("name");
    json.Text(NameText(*row.package));
    json.Key("profile");
    json.Text(platform::PathText(row.package->profile));
    json.Key("state");
    json.Ascii(kStateWords[static_cast<std::size_t>(row.state)]);
    if (row.hasResult) {
        json.Key("status");
        json.Number(result.status);
        json.Key("items");
        json.Number(static_cast<std::int64_t>(result.conversion.items));
        json.Key("losses");
        json.Number(static_cast<std::int64_t>(result.conversion.losses));
        json.Key("seconds");
        json.Json(FormatSeconds(result.seconds));
        json.Key("peakMemory");
        json.Number(static_cast<std::int64_t>(result.peakMemory));
    }
    if (!row.reason.empty()) {
        json.Key("reason");
        json.Utf8(row.reason);
    }
    json.EndObject();
}

// What some of the packages have come to.
struct STotals {
    std::size_t packages = 0;
    std::size_t states[kStates] = {};
    std::uint64_t items = 0;
    double seconds = 0;
    std::uint64_t peakMemory = 0;
    Reasons lost;
    Reasons leftOut;

    void Add(const SRow& row) {
        ++packages;
        ++states[static_cast<std::size_t>(row.state)];
        items += row.result.conversion.items;
        seconds += row.result.seconds;
        peakMemory = std::max(peakMemory, row.result.peakMemory);
        for (const auto& [reason, count] : row.result.conversion.lost) {
            lost[reason] += count;
        }
        for (const auto& [reason, count] : row.result.conversion.leftOut) {
            leftOut[reason] += count;
        }
    }
    [[nodiscard]] std::size_t Of(EState state) const {
        return states[static_cast<std::size_t>(state)];
    }
};

void WriteTotals(const STotals& totals, CJsonWriter& json) {
    json.Key("packages");
    json.Number(static_cast<std::int64_t>(totals.packages));
    for (std::size_t i = 0; i < kStates; ++i) {
        json.Key(kStateKeys[i]);
        json.Number(static_cast<std::int64_t>(totals.states[i]));
    }
    json.Key("items");
    json.Number(static_cast<std::int64_t>(totals.items));
    json.Key("seconds");
    json.Json(FormatSeconds(totals.seconds));
    json.Key("peakMemory");
    json.Number(static_cast<std::int64_t>(totals.peakMemory));
    WriteCounts(json, "lost", totals.lost);
    WriteCounts(json, "leftOut", totals.leftOut);
}

// One run of SumUpBatch. It goes through the packages once; what it holds of each is bounded by its
// line in the files.
class CSummary {
public:
    CSummary(const SBatchRules& rules, const std::vector<SPackage>& packages, const SShare& share,
             const SBatchRun& run)
        : m_rules(rules), m_packages(packages), m_share(share), m_run(run) {}
    [[nodiscard]] int Run(CJsonWriter* json);

private:
    void ReadAll();
    [[nodiscard]] SRow Read(std::size_t index) const;
    void Take(const SRow& row);
    [[nodiscard]] bool Hold(CHeldFile& lock) const;
    [[nodiscard]] bool WriteFiles();
    void Show() const;
    void ShowTotals() const;
    [[nodiscard]] bool IsOwn(std::size_t index) const {
        return index % m_share.count == m_share.number - 1;
    }

    const SBatchRules& m_rules;
    const std::vector<SPackage>& m_packages;
    const SShare& m_share;
    const SBatchRun& m_run;
    STotals m_all;
    STotals m_own;
    CJsonWriter m_rows;     // of all packages
    CJsonWriter m_results;  // of the own ones that are not whole
    std::size_t m_resultCount = 0;
    std::string m_csv = kCsvHead;
    // Lines of the own ones, at most kMostLines each.
    std::vector<std::string> m_failed;
    std::vector<std::string> m_notWhole;
};

SRow CSummary::Read(std::size_t index) const {
    SRow row{.package = &m_packages[index], .result = {}, .reason = {}};
    std::string problem;
    row.hasResult = ReadResult(ResultFolder(m_rules, *row.package) / kResultFile, row.result,
                               problem) == EResultState::Good;
    if (row.hasResult) {
        const EPackageOutcome outcome = OutcomeOf(row.result);
        row.state = outcome == EPackageOutcome::Whole      ? EState::Whole
                    : outcome == EPackageOutcome::NotWhole ? EState::NotWhole
                                                           : EState::Failed;
        row.reason = row.result.reason;
    }
    // What this run knows counts more than a result of another one.
    const auto found =
        IsOwn(index) ? m_run.problems.find(index / m_share.count) : m_run.problems.end();
    if (found != m_run.problems.end()) {
        row.state = m_run.taken.contains(found->first) ? EState::Converting : EState::Failed;
        row.reason = found->second;
    }
    return row;
}

void CSummary::ReadAll() {
    m_rows.BeginArray();
    m_results.BeginArray();
    for (std::size_t index = 0; index < m_packages.size(); ++index) {
        if (!m_rules.hasSummary && !IsOwn(index)) {
            continue;
        }
        const SRow row = Read(index);
        m_all.Add(row);
        WriteRow(row, m_rows);
        m_csv += FormatCsv(row);
        if (IsOwn(index)) {
            m_own.Add(row);
            Take(row);
        }
    }
    m_rows.EndArray();
    m_results.EndArray();
}

void CSummary::Take(const SRow& row) {
    if (row.state == EState::Whole) {
        return;
    }
    if (++m_resultCount <= kMostResults) {
        WriteRow(row, m_results);
    }
    // Those that were not begun are only counted.
    if (row.state != EState::Failed && row.state != EState::NotWhole) {
        return;
    }
    std::vector<std::string>& lines = row.state == EState::Failed ? m_failed : m_notWhole;
    if (lines.size() == kMostLines) {
        return;
    }
    const std::string reasons = row.state == EState::NotWhole
                                    ? FormatReasons(row.result.conversion.lost)
                                    : Printable(platform::Utf8ToUtf16(row.reason));
    lines.push_back(std::string(kStateWords[static_cast<std::size_t>(row.state)]) + ": " +
                    Printable(NameText(*row.package)) + (reasons.empty() ? "" : ": ") + reasons);
}

// Of several processes that end at once, the last one to read is the last one to write.
bool CSummary::Hold(CHeldFile& lock) const {
    constexpr int kMaxTries = 600;
    constexpr std::chrono::milliseconds kPause{100};
    const std::filesystem::path folder = m_rules.folder / kWorkFolder;
    std::error_code error = HoldWorkFile(lock, folder, kSummaryName);
    for (int tries = 1; error == std::errc::resource_unavailable_try_again && tries < kMaxTries;
         ++tries) {
        std::this_thread::sleep_for(kPause);
        error = HoldWorkFile(lock, folder, kSummaryName);
    }
    if (error) {
        Complain("the summary cannot be written: " + DescribeError(error));
    }
    return !error;
}

bool CSummary::WriteFiles() {
    CJsonWriter json;
    json.BeginObject();
    json.Key("schema");
    json.Number(1);
    json.Key("program");
    json.Ascii(CAS2ORV_VERSION);
    WriteTotals(m_all, json);
    json.Key("results");
    json.Json(m_rows.GetBytes());
    json.EndObject();
    bool isWritten = true;
    const std::filesystem::path beside = m_rules.folder / kWorkFolder / kSummaryName;
    for (const auto& [name, bytes] : {std::pair(kSummaryJson, std::string(json.GetBytes()) + '\n'),
                                      std::pair(kSummaryCsv, m_csv)}) {
        std::string reason;
        if (!ReplaceFile(m_rules.folder / name, beside, bytes, reason)) {
            Complain(Quote(m_rules.folder / name) + " cannot be written: " + reason);
            isWritten = false;
        }
    }
    return isWritten;
}

void CSummary::Show() const {
    // What has failed first, so that it is not hidden by what is not whole.
    std::size_t shown = 0;
    for (const std::vector<std::string>* const lines : {&m_failed, &m_notWhole}) {
        for (auto line = lines->begin(); line != lines->end() && shown < kMostLines; ++line) {
            WriteTerminal(*line + '\n');
            ++shown;
        }
    }
    const std::size_t all = m_own.Of(EState::Failed) + m_own.Of(EState::NotWhole);
    if (all > shown) {
        WriteTerminal(std::to_string(all - shown) + " more are in " +
                      Quote(m_rules.folder / kSummaryCsv) + '\n');
    }
    ShowTotals();
}

void CSummary::ShowTotals() const {
    if (!m_own.lost.empty()) {
        WriteTerminal("lost, by reason: " + FormatReasons(m_own.lost) + '\n');
    }
    if (!m_own.leftOut.empty()) {
        WriteTerminal("left out, by reason: " + FormatReasons(m_own.leftOut) + '\n');
    }
    std::string line = Count(m_own.packages, "package") + ": ";
    bool isFirst = true;
    for (std::size_t i = 0; i < kStates; ++i) {
        if (m_own.states[i] != 0) {
            line += (isFirst ? "" : ", ") + std::to_string(m_own.states[i]) + ' ' + kStateWords[i];
            isFirst = false;
        }
    }
    if (m_run.counts.kept != 0) {
        line += "; " + std::to_string(m_run.counts.kept) + " had their results before";
    }
    WriteTerminal(line + '\n');
    if (m_own.Of(EState::Converting) != 0) {
        WriteTerminal(std::to_string(m_own.Of(EState::Converting)) +
                      " are being converted by others\n");
    }
    if (m_run.failedBefore != 0) {
        WriteTerminal(std::to_string(m_run.failedBefore) +
                      " failed before and were not tried again; --retry does that\n");
    }
}

int CSummary::Run(CJsonWriter* json) {
    CHeldFile lock;
    const bool isHeld = m_rules.hasSummary && Hold(lock);
    ReadAll();
    const bool isWritten = !m_rules.hasSummary || (isHeld && WriteFiles());
    Show();
    if (json != nullptr) {
        WriteTotals(m_own, *json);
        json->Key("kept");
        json->Number(static_cast<std::int64_t>(m_run.counts.kept));
        json->Key("results");
        json->Json(m_results.GetBytes());
    }
    const bool isDone =
        isWritten &&
        m_own.Of(EState::Failed) + m_own.Of(EState::Missing) + m_own.Of(EState::Converting) == 0;
    return !isDone ? kExitFailed : m_own.Of(EState::NotWhole) != 0 ? kExitNotWhole : kExitDone;
}

}  // namespace

int SumUpBatch(const SBatchRules& rules, const std::vector<SPackage>& packages, const SShare& share,
               const SBatchRun& run, CJsonWriter* json) {
    return CSummary(rules, packages, share, run).Run(json);
}

}  // namespace host
