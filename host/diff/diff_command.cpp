#include "host/diff/diff_command.h"

#include <cstdint>
#include <string>
#include <vector>

#include "host/console.h"
#include "host/diff/diff_json.h"
#include "host/diff/diff_text.h"
#include "host/diff/manifest_diff.h"
#include "host/diff/result_pairs.h"
#include "host/exit_status.h"
#include "host/system.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// One run of the command.
class CDiff {
public:
    explicit CDiff(bool isJson) : m_isJson(isJson) {}

    int Run(const std::string& older, const std::string& newer);
    void WriteJson(CJsonWriter& json) const;

private:
    void ComparePair(const SResultPair& pair);
    void TellSingle(const SResultPair& pair);
    void AddJsonLine();
    void Count(EChange change);
    // False when stdout takes no more.
    [[nodiscard]] bool Print(const SResultPair& pair, const SDifference& difference);
    void PrintHeading(const SResultPair& pair);
    void Tell(const fs::path& place, const std::string& words);

    bool m_isJson;
    bool m_hasColors = HasColors(GetOutput());
    bool m_hasHeadings = false;
    const SResultPair* m_heading = nullptr;  // the last one that was printed
    CJsonWriter m_line;
    CResultText m_result;
    bool m_hasTrouble = false;
    std::uint64_t m_counts[3] = {};  // by EChange
    std::uint64_t m_uncompared = 0;  // pairs of manifests without any payload
    const TellProblem m_tell = [this](const fs::path& place, const std::string& words) {
        Tell(place, words);
    };
    CFileContents m_contents{m_tell};
};

void CDiff::Tell(const fs::path& place, const std::string& words) {
    m_hasTrouble = true;
    ComplainOf(place, words);
}

void CDiff::AddJsonLine() {
    m_result.GetText().append(m_line.GetBytes()).append("\n");
    m_line.Clear();
}

void CDiff::Count(EChange change) { ++m_counts[static_cast<std::size_t>(change)]; }

void CDiff::PrintHeading(const SResultPair& pair) {
    if (m_hasHeadings && m_heading != &pair) {
        m_heading = &pair;
        m_result.GetText() += "Target " + Printable(pair.target) +
                              (pair.manifest.empty() ? "" : ", " + Printable(pair.manifest)) +
                              ":\n";
    }
}

bool CDiff::Print(const SResultPair& pair, const SDifference& difference) {
    Count(difference.change);
    if (m_isJson) {
        WriteDifference(m_line, pair.target, pair.manifest, difference, m_contents);
        AddJsonLine();
    } else {
        PrintHeading(pair);
        m_result.GetText() += DescribeDifference(difference, m_contents, m_hasColors);
    }
    return m_result.Print();
}

// A target or a manifest that only one side has.
void CDiff::TellSingle(const SResultPair& pair) {
    const EChange change = pair.older.empty() ? EChange::Added : EChange::Removed;
    Count(change);
    if (m_isJson) {
        m_line.BeginObject();
        WriteStart(m_line, change, pair.target, pair.manifest);
        m_line.EndObject();
        AddJsonLine();
        m_result.Print();
        return;
    }
    const std::string manifest = Printable(pair.manifest);
    const std::string target = Printable(pair.target);
    const std::string words = (manifest.empty() ? "target " + target : "manifest " + manifest) +
                              (manifest.empty() || target.empty() ? "" : " of target " + target);
    m_result.GetText() += MarkLine(change, words, m_hasColors) + '\n';
    m_result.Print();
}

void CDiff::ComparePair(const SResultPair& pair) {
    const EPayloadDiff payload =
        DiffManifests(pair.older, pair.newer, m_contents, m_tell,
                      [&](const SDifference& difference) { return Print(pair, difference); });
    m_uncompared += payload == EPayloadDiff::NoneThere ? 1 : 0;
}

int CDiff::Run(const std::string& older, const std::string& newer) {
    const std::vector<SResultPair> pairs = PairResults(older, newer, m_tell);
    if (pairs.empty()) {
        return kExitTrouble;
    }
    m_hasHeadings = pairs.size() > 1;
    for (const SResultPair& pair : pairs) {
        if (!m_result.IsWritten()) {
            break;
        }
        if (pair.older.empty() || pair.newer.empty()) {
            TellSingle(pair);
        } else {
            ComparePair(pair);
        }
    }
    const bool isWritten = m_result.Flush();
    if (m_uncompared != 0) {
        const std::string words = "the payload of " + host::Count(m_uncompared, "manifest") +
                                  " was not compared, because none of it is there on either side";
        host::Tell({.level = "warning", .text = words}, "cas2orv: " + words);
    }
    const auto [added, removed, changed] = m_counts;
    WriteTerminal(std::to_string(added) + " added, " + std::to_string(removed) + " removed, " +
                  std::to_string(changed) + " changed, " +
                  host::Count(m_contents.GetCount(), "file") + " compared\n");
    const bool isEqual = added + removed + changed == 0;
    return m_hasTrouble || !isWritten ? kExitTrouble : isEqual ? kExitDone : kExitDifferent;
}

void CDiff::WriteJson(CJsonWriter& json) const {
    for (const EChange change : {EChange::Added, EChange::Removed, EChange::Changed}) {
        json.Key(GetChangeName(change));
        json.Number(static_cast<std::int64_t>(m_counts[static_cast<std::size_t>(change)]));
    }
    json.Key("files");
    json.Number(static_cast<std::int64_t>(m_contents.GetCount()));
}

}  // namespace

int RunDiff(const SCommand& command, CJsonWriter& json) {
    CDiff diff(command.isJson);
    const int status = diff.Run(command.older, command.newer);
    if (command.isJson) {
        diff.WriteJson(json);
    }
    return status;
}

}  // namespace host
