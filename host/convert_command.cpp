#include "host/convert_command.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include "host/check_sums.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/interruption.h"
#include "host/json.h"
#include "host/library_run.h"
#include "host/losses.h"
#include "host/output_folder.h"
#include "host/result_file.h"
#include "host/run_log.h"
#include "host/status_text.h"
#include "host/system.h"
#include "host/target_list.h"
#include "platform/local_paths.h"

namespace host {

namespace {

constexpr std::u16string_view kLogName = u"log.html";
constexpr std::u16string_view kRecordName = u"record.jsonl";

std::string CountLosses(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " loss" : " losses");
}

// Whether a manifest has its last line. It is written from start to end, so it is whole then.
bool IsWholeManifest(const std::filesystem::path& manifest) {
    constexpr std::u16string_view kLastLine = u"</Package>\r\n";
    constexpr std::streamoff kSize = kLastLine.size() * sizeof(char16_t);
    std::u16string end(kLastLine.size(), u'\0');
    std::ifstream file(manifest, std::ios::binary);
    file.seekg(-kSize, std::ios::end).read(reinterpret_cast<char*>(end.data()), kSize);
    return end == kLastLine;
}

// Whether an argument, which is `path` for the library, can only mean a folder, whether it exists
// or not.
bool NamesFolder(const std::string& argument, const std::u16string& path) {
    // Neither text is empty, because an empty argument has been refused before.
    std::error_code error;
    return argument.back() == '/' || path.back() == u'\\' ||
           std::filesystem::is_directory(platform::LocalPath(argument), error);
}

// One run of the command "convert".
class CConversion {
public:
    CConversion(const SCommand& command, CJsonWriter& json) : m_command(command), m_json(json) {}
    int Run();

private:
    [[nodiscard]] int CheckArguments();
    [[nodiscard]] bool CheckTargets();
    [[nodiscard]] bool Convert();
    [[nodiscard]] bool Prepare();
    void CallLibrary();
    void CheckResult();
    [[nodiscard]] std::vector<std::u16string> FindUnsaved();
    void TellCause(std::size_t unwritten);
    void WriteSums();
    void Publish();
    void Fail(const std::string& problem);
    [[nodiscard]] std::size_t CountItems();
    [[nodiscard]] int DecideExit() const;
    [[nodiscard]] std::string FormatLines() const;
    void WriteJson();

    const SCommand& m_command;
    CJsonWriter& m_json;
    std::u16string m_profile;
    std::u16string m_pattern;
    std::vector<STarget> m_targets;  // of the package
    COutputFolder m_output;
    CRunLog m_log;
    CResultFile m_record{"record"};
    CLosses m_losses;
    std::uint32_t m_status = 0;
    SLogSummary m_summary;
    std::size_t m_targetCount = 0;
    std::vector<std::u16string> m_converted;  // GUIDs, in the order of the profile
    // The same, each once: targets with the same GUID have the same manifest.
    std::vector<std::u16string> m_folders;
    bool m_hasFailed = false;
};

int CConversion::Run() {
    // All that can be wrong with the arguments and the targets is told before anything is written.
    if (const int problem = CheckArguments()) {
        return problem;
    }
    if (!CheckTargets()) {
        return kExitFailed;
    }
    if (!Convert()) {
        return kExitFailed;
    }
    // On stderr, because stdout has only the results.
    WriteTerminal(Count(m_targetCount, "target") + ", " + Count(CountItems(), "item") + ", " +
                  Count(m_summary.errors, "error") + ", " + Count(m_summary.warnings, "warning") +
                  ", " + CountLosses(m_losses.GetLosses()) + '\n');
    if (m_command.isJson) {
        WriteJson();
    } else {
        // The targets stay in their places, but a caller who reads stdout does not get them.
        m_hasFailed = !PrintResult(FormatLines()) || m_hasFailed;
    }
    return DecideExit();
}

// The part in which a signal has something to remove. False when the work cannot begin.
bool CConversion::Convert() {
    CInterruption interruption([this] {
        const bool isRemoved = m_output.Remove();
        Complain(isRemoved ? "ended by a signal; nothing was changed"
                           : "ended by a signal; no target was changed");
    });
    if (!Prepare()) {
        return false;
    }
    interruption.Allow();
    CallLibrary();
    interruption.Forbid();
    // This finds out whether there is something to publish. The sums are written while the folders
    // are still hidden, so that they appear together with them.
    CheckResult();
    WriteSums();
    Publish();
    return true;
}

std::size_t CConversion::CountItems() {
    std::uint64_t items = 0;
    for (const std::u16string& guid : m_folders) {
        for (const auto& [collection, count] : m_losses.GetItems(guid)) {
            items += count;
        }
    }
    return items;
}

int CConversion::DecideExit() const {
    if (m_hasFailed) {
        return kExitFailed;
    }
    // A failure counts more than losses: the result is not there, or not all of it was delivered.
    const bool isWhole = m_summary.errors == 0 && m_losses.GetLosses() == 0 &&
                         (m_losses.GetMissing() == 0 || !m_command.isStrict);
    return isWhole ? kExitDone : kExitNotWhole;
}

void CConversion::Fail(const std::string& problem) {
    Complain(problem);
    m_hasFailed = true;
}

// Returns 0, or the exit status when the arguments make no sense.
int CConversion::CheckArguments() {
    const std::optional<std::u16string> profile = platform::LibraryPath(m_command.profile);
    const std::optional<std::u16string> pattern = platform::LibraryPath(m_command.output);
    if (!profile || !pattern) {
        Complain("the current folder is gone; name all files by their full paths");
        return kExitFailed;
    }
    if (NamesFolder(m_command.output, *pattern)) {
        Complain(Quote(m_command.output) +
                 " is a folder; add a name for the manifests, such as app.orv");
        return kExitUsage;
    }
    if (platform::LocalPath(*pattern).empty()) {
        Complain(Quote(m_command.output) +
                 " is on a drive or share that the machine description "
                 "does not map; map it there, or name another place");
        return kExitUsage;
    }
    m_profile = *profile;
    m_pattern = *pattern;
    for (const auto& [option, file] :
         {std::pair("--log", &m_command.log), std::pair("--record", &m_command.record)}) {
        std::error_code error;
        // By the file itself, because a link or another spelling would overwrite the profile as
        // well. An error means that they are not one file.
        if (!file->empty() &&
            std::filesystem::equivalent(platform::LocalPath(*file),
                                        platform::LocalPath(m_command.profile), error)) {
            Complain(std::string(option) + " names the profile itself; name another file");
            return kExitUsage;
        }
    }
    if (!m_command.log.empty() && m_command.log == m_command.record) {
        Complain("--log and --record name the same file; name two");
        return kExitUsage;
    }
    return kExitDone;
}

// Lists the targets, whose folders the output will have.
bool CConversion::CheckTargets() {
    m_status = ListTargets(m_profile, m_targets);
    if (m_status != 0) {
        Fail(DescribeFailure("convert", m_command.profile, m_status));
        return false;
    }
    return true;
}

// Makes the hidden folder and the log in it.
bool CConversion::Prepare() {
    SOutputRequest request{
        m_pattern, platform::LocalPath(m_command.profile), {}, {}, m_command.mayReplace};
    for (const std::string& file : {m_command.log, m_command.record}) {
        if (!file.empty()) {
            request.files.push_back(platform::LocalPath(file));
        }
    }
    for (const STarget& target : m_targets) {
        request.guids.push_back(target.guid);
    }
    // In this order, because the temporary files of log and record are in the hidden folder.
    return m_output.Prepare(request) &&
           m_log.Open(m_command.log, platform::LocalPath(m_output.GetFile(kLogName))) &&
           m_record.Open(m_command.record, platform::LocalPath(m_output.GetFile(kRecordName)));
}

void CConversion::CallLibrary() {
    SLibraryCall call;
    call.profile = m_profile;
    call.pattern = m_output.GetPattern();
    call.log = m_output.GetFile(kLogName);
    call.record = m_record.GetTemporary();
    // The counts of the JSON are those of things left out, which only a full record has.
    call.isFullRecord = m_command.isJson || !m_command.record.empty();
    call.progress = m_command.progress;
    SLibraryResult result = RunLibrary(call);
    m_status = result.status;
    m_targetCount = result.targetCount;
    m_converted = std::move(result.converted);
    std::set<std::u16string> known;
    std::ranges::copy_if(m_converted, std::back_inserter(m_folders),
                         [&known](const auto& guid) { return known.insert(guid).second; });
}

// Shows what the log has, and finds out what is not whole.
void CConversion::CheckResult() {
    m_summary = m_log.Count();
    // Without a readable record nobody knows what is lost, so nothing is published.
    if (!m_losses.Read(m_record.GetTemporary(), platform::LocalPath(m_command.profile))) {
        m_hasFailed = true;
    }
    const std::vector<std::u16string> unsaved = FindUnsaved();
    // The record may be cut off, and the log has no entries for some files.
    const std::size_t unwritten = std::max(m_summary.unwritten, m_losses.CountUnwritten());
    if (unwritten != 0 || !m_summary.isComplete || !m_losses.IsComplete() || !unsaved.empty()) {
        TellCause(unwritten);
    }
    // After the record, because what a loss tells too is shown only once.
    m_summary.isComplete = m_log.Show([this](std::uint64_t number, std::u16string_view text) {
        return m_losses.TellsLogEntry(number) || TellsFullDisk(text);
    }) && m_summary.isComplete;
    m_losses.Show(/*isFullDiskTold=*/true);
    if (!m_summary.isComplete) {
        Fail("errors and warnings may be missing, since the log cannot be read to its end");
    }
    for (const std::u16string& guid : unsaved) {
        Fail("target " + Printable(guid) + ": the manifest could not be written");
    }
    if (m_status != 0) {
        Fail(DescribeFailure("convert", m_command.profile, m_status));
    }
}

// The targets whose manifests are not whole. The library does not report one that it could not
// save.
std::vector<std::u16string> CConversion::FindUnsaved() {
    std::vector<std::u16string> unsaved;
    std::ranges::copy_if(m_folders, std::back_inserter(unsaved), [this](const auto& guid) {
        return !IsWholeManifest(m_output.GetHiddenManifest(guid));
    });
    return unsaved;
}

// A full disk fails many things. It is told once, before all of them.
void CConversion::TellCause(std::size_t unwritten) {
    // A full disk may be what cuts off the log that should tell of it, so the disk is asked too.
    const std::error_code error = m_output.TryWriting();
    if (unwritten != 0) {
        Fail("the disk of " + Quote(m_command.output) + " is full: " + Count(unwritten, "file") +
             " could not be written");
    } else if (error) {
        // Fails nothing by itself: it may have cut off the record alone.
        Complain(Quote(m_command.output) + " cannot be written: " + DescribeError(error));
    }
}

// Of each target's folder, while it is hidden.
void CConversion::WriteSums() {
    if (m_hasFailed || !m_command.hasSums) {
        return;
    }
    for (const std::u16string& guid : m_folders) {
        const std::string problem = WriteCheckSums(m_output.GetHiddenManifest(guid).parent_path());
        if (!problem.empty()) {
            Fail("target " + Printable(guid) + ": " + problem);
        }
    }
}

// Moves everything into place: all targets, or none when anything has failed.
void CConversion::Publish() {
    m_hasFailed = m_hasFailed || !m_output.Publish(m_folders);
    if (m_hasFailed) {
        if (!m_output.IsHalfDone()) {
            Complain("no target was changed");
        }
        // So that the result names no manifest that is not there.
        m_converted.clear();
    }
    // That of a failed run tells why; one that is cut off is worse than an older one.
    if (m_summary.isComplete) {
        m_hasFailed = !m_log.Publish() || m_hasFailed;
    }
    // The conversion is as whole without its record, which has told why it has no place.
    static_cast<void>(m_record.Publish());
    static_cast<void>(m_output.Remove());  // tells what stays; the result is whole all the same
}

std::string CConversion::FormatLines() const {
    std::string lines;
    // The bytes of the path and not Printable, because another program opens the file by them.
    for (const std::u16string& guid : m_converted) {
        lines += Printable(guid) + '\t' + platform::PathBytes(m_output.GetManifest(guid)) + '\n';
    }
    return lines;
}

void CConversion::WriteJson() {
    m_json.Key("targets");
    m_json.BeginArray();
    auto target = m_targets.begin();
    for (const std::u16string& guid : m_converted) {
        // Both lists are in the order of the profile; the converted ones may lack some.
        while (target != m_targets.end() && target->guid != guid) {
            ++target;
        }
        const bool isNamed = target != m_targets.end();
        m_json.BeginObject();
        WriteTarget(m_json, guid, isNamed ? target->name : std::nullopt);
        m_json.Key("manifest");
        m_json.Text(platform::PathText(m_output.GetManifest(guid)));
        WriteCounts(m_json, "items", m_losses.GetItems(guid));
        // The record numbers targets from 1, in the order of the profile. One that is not in the
        // list gets a number that no line has.
        WriteCounts(
            m_json, "leftOut",
            m_losses.GetLeftOut(static_cast<std::uint64_t>(target - m_targets.begin()) + 1));
        m_json.EndObject();
        target += isNamed ? 1 : 0;
    }
    m_json.EndArray();
}

}  // namespace

int RunConvert(const SCommand& command, CJsonWriter& json) {
    return CConversion(command, json).Run();
}

}  // namespace host
