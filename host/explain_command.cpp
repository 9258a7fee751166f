#include "host/explain_command.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/json.h"
#include "host/record_pattern.h"
#include "host/record_reader.h"
#include "host/record_summary.h"
#include "host/record_text.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace {

// Prints the lines that tell of the things with such a name, below a title for each target.
class CMatchPrinter {
public:
    explicit CMatchPrinter(const std::string& pattern)
        : m_pattern(platform::Utf8ToUtf16(pattern)) {}

    // Whether an entry is one of such a name.
    bool Matches(const SRecordEntry& entry) {
        m_localName = m_localNames.Find(entry);
        const bool isMatch = m_pattern.Matches(entry, m_localName);
        m_hasMatch = m_hasMatch || isMatch;
        return isMatch;
    }
    // Prints the entry for which Matches was called last.
    void Print(const SRecordEntry& entry) {
        if (!m_result.IsWritten()) {
            return;
        }
        std::string& text = m_result.GetText();
        if (entry.in != m_target) {
            // Lines ahead of the first target have no title, because `m_target` starts with 0.
            text += entry.in == 0 ? "Outside of targets:\n"
                                  : "Target " + std::to_string(entry.in) + ":\n";
            m_target = entry.in;
        }
        text += DescribeEntry(entry, m_localName);
        m_result.Print();
    }
    // Whether stdout has taken everything.
    bool Flush() { return m_result.Flush(); }
    [[nodiscard]] bool HasMatch() const { return m_hasMatch; }

private:
    CRecordPattern m_pattern;
    CLocalNames m_localNames;
    std::u16string m_localName;  // of the last entry
    CResultText m_result;
    std::uint64_t m_target = 0;
    bool m_hasMatch = false;
};

void WriteJson(const SRecordSummary& summary, CJsonWriter& json) {
    json.Key("state");
    json.Utf8(summary.head.state);
    const auto write = [&json](std::string_view key, std::uint64_t count) {
        json.Key(key);
        json.Number(static_cast<std::int64_t>(count));
    };
    write("losses", summary.head.losses);
    write("missing", summary.head.missing);
    WriteOutcomes(json, summary);
    std::map<std::string, std::uint64_t> rules;
    for (const auto& [rule, count] : summary.rules) {
        // Added, because two names with lone halves of surrogate pairs may be the same in UTF-8.
        rules[platform::Utf16ToUtf8(rule)] += count;
    }
    WriteCounts(json, "rules", rules);
}

}  // namespace

int RunExplain(const SCommand& command, CJsonWriter& json) {
    // Without a pattern all lines are counted. With one, those that match are printed, or counted
    // for the JSON.
    std::optional<CMatchPrinter> matches;
    if (!command.pattern.empty()) {
        matches.emplace(command.pattern);
    }
    SRecordSummary summary;
    std::string problem = ReadRecord(platform::LocalPath(command.record), summary.head,
                                     [&](const SRecordEntry& entry) {
                                         if (matches && !matches->Matches(entry)) {
                                             return;
                                         }
                                         if (matches && !command.isJson) {
                                             matches->Print(entry);
                                         } else {
                                             summary.Count(entry);
                                         }
                                     });
    if (problem.empty()) {
        problem = DescribeGap(summary.head);
    }
    bool isDone = true;
    if (matches) {
        isDone = matches->Flush();
        // Of a record that is not whole this cannot be said: what is missing may have the name.
        if (!matches->HasMatch() && problem.empty()) {
            problem = "nothing in the record has a name like '" +
                      Printable(platform::Utf8ToUtf16(command.pattern)) + "'; '*' is any text";
        }
    } else if (!summary.head.state.empty() && !command.isJson) {
        isDone = PrintResult(FormatSummary(summary));
    }
    if (!problem.empty()) {
        Complain(problem);
    }
    // Without a state no head could be read, and there is nothing to count.
    if (command.isJson && !summary.head.state.empty()) {
        WriteJson(summary, json);
    }
    return isDone && problem.empty() ? kExitDone : kExitFailed;
}

}  // namespace host
