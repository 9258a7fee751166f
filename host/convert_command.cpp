#include "host/convert_command.h"

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <system_error>

#include "host/check_sums.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/interruption.h"
#include "host/json.h"
#include "host/manifest_reader.h"
#include "host/output_folder.h"
#include "host/progress_display.h"
#include "host/run_log.h"
#include "host/status_text.h"
#include "host/system.h"
#include "host/target_list.h"
#include "orvcasconv/orvcasconv.h"
#include "platform/com.h"
#include "platform/local_paths.h"

namespace host {

namespace {

constexpr std::u16string_view kLogName = u"log.html";
constexpr std::u16string_view kNoGuid = u"{00000000-0000-0000-0000-000000000000}";

// Global, because the library gives its callback no pointer of the host. Set only while CallLibrary
// runs.
CProgressDisplay* s_display = nullptr;

std::uint32_t OnProgress(const OrvProgress* root) {
    CInterruption::Step();
    s_display->Show(*root, std::chrono::steady_clock::now());
    return 0;
}

EProgressDisplay ChooseDisplay(EProgressStyle style) {
    if (style == EProgressStyle::None) {
        return EProgressDisplay::None;
    }
    return style == EProgressStyle::Auto && HasTerminal() ? EProgressDisplay::Block
                                                          : EProgressDisplay::Lines;
}

std::string Count(std::size_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

const OrvChar* Chars(const std::u16string& text) {
    return reinterpret_cast<const OrvChar*>(text.c_str());
}

// Whether an argument, which is `path` for the library, can only mean a folder, whether it exists
// or not.
bool NamesFolder(const std::string& argument, const std::u16string& path) {
    std::error_code error;
    return argument.back() == '/' || path.back() == u'\\' ||
           std::filesystem::is_directory(platform::LocalPath(argument), error);
}

// One run of the command "convert".
class CConversion {
public:
    explicit CConversion(const SCommand& command) : m_command(command) {}
    int Run();

private:
    [[nodiscard]] int CheckArguments();
    [[nodiscard]] bool CheckTargets();
    [[nodiscard]] bool Prepare();
    void CallLibrary();
    [[nodiscard]] std::uint32_t CallGuarded(GUID*& targets, std::uint32_t& count);
    void CheckResult();
    [[nodiscard]] std::vector<std::u16string> FindUnsaved();
    void TellCause();
    void WriteSums();
    void Publish();
    void Fail(const std::string& problem);
    [[nodiscard]] int DecideExit(bool isPrinted) const;
    [[nodiscard]] std::string FormatLines() const;
    [[nodiscard]] std::string FormatJson() const;

    const SCommand& m_command;
    std::u16string m_profile;
    std::u16string m_pattern;
    std::vector<STarget> m_targets;  // of the package
    COutputFolder m_output;
    CRunLog m_log;
    std::uint32_t m_status = 0;
    SLogSummary m_summary;
    std::size_t m_targetCount = 0;
    std::size_t m_items = 0;
    std::vector<std::u16string> m_converted;  // GUIDs, in the order of the profile
    bool m_hasLosses = false;
    bool m_hasFailed = false;
};

int CConversion::Run() {
    if (const int problem = CheckArguments()) {
        return problem;
    }
    if (!CheckTargets()) {
        return kExitFailed;
    }
    CInterruption interruption([this] {
        const bool isRemoved = m_output.Remove();
        Complain(isRemoved ? "ended by a signal; nothing was changed"
                           : "ended by a signal; no target was changed");
    });
    if (!Prepare()) {
        return kExitFailed;
    }
    interruption.Allow();
    CallLibrary();
    interruption.Forbid();
    CheckResult();
    WriteSums();
    Publish();
    WriteTerminal(Count(m_targetCount, "target") + ", " + Count(m_items, "item") + ", " +
                  Count(m_summary.errors, "error") + ", " + Count(m_summary.warnings, "warning") +
                  '\n');
    return DecideExit(PrintResult(m_command.isJson ? FormatJson() : FormatLines()));
}

int CConversion::DecideExit(bool isPrinted) const {
    if (m_hasFailed || !isPrinted) {
        return kExitFailed;
    }
    return m_summary.errors == 0 && !m_hasLosses ? kExitDone : kExitHasErrors;
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
    std::error_code error;
    if (!m_command.log.empty() &&
        std::filesystem::equivalent(platform::LocalPath(m_command.log),
                                    platform::LocalPath(m_command.profile), error)) {
        Complain("--log names the profile itself; name another file");
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
    std::map<std::u16string, std::size_t> counts;
    for (const STarget& target : m_targets) {
        if (++counts[target.guid] == 2) {
            Complain("several targets have the GUID " + Printable(target.guid) +
                     "; the manifest of the last one is made, and the others are lost");
            m_hasLosses = true;
        }
    }
    return true;
}

// Makes the hidden folder and the log in it.
bool CConversion::Prepare() {
    SOutputRequest request{
        m_pattern, platform::LocalPath(m_command.profile), {}, {}, m_command.mayReplace};
    if (!m_command.log.empty()) {
        request.log = platform::LocalPath(m_command.log);
    }
    for (const STarget& target : m_targets) {
        request.guids.push_back(target.guid);
    }
    return m_output.Prepare(request) && m_log.Open(m_command.log, m_output.GetFile(kLogName));
}

void CConversion::CallLibrary() {
    CProgressDisplay display(ChooseDisplay(m_command.progress), &WriteTerminal, &GetTerminalSize,
                             std::chrono::steady_clock::now());
    s_display = &display;
    GUID* targets = nullptr;
    std::uint32_t count = 0;
    m_status = CallGuarded(targets, count);
    display.Clear();
    s_display = nullptr;
    const std::unique_ptr<GUID, decltype(&FreeTargets)> owner(targets, &FreeTargets);
    m_targetCount = count;
    for (std::uint32_t i = 0; i < count; ++i) {
        // After a failed conversion, a target that was not reached has an empty GUID.
        const std::u16string guid = platform::GuidToText(targets[i]);
        if (m_status == 0 || guid != kNoGuid) {
            m_converted.push_back(guid);
        }
    }
}

// The library throws a status if the account does not have the privileges for loading a hive.
std::uint32_t CConversion::CallGuarded(GUID*& targets, std::uint32_t& count) {
    const std::u16string pattern = m_output.GetPattern();
    const std::u16string log = m_output.GetFile(kLogName);
    try {
        return CasToOrvW(Chars(m_profile), Chars(pattern), Chars(log), &targets, &count,
                         &OnProgress);
    } catch (int status) {
        return static_cast<std::uint32_t>(status);
    }
}

// Shows what the log has, and finds out what is not whole.
void CConversion::CheckResult() {
    m_summary = m_log.Count();
    const std::vector<std::u16string> unsaved = FindUnsaved();
    if (m_summary.unwritten != 0 || !m_summary.isComplete || !unsaved.empty()) {
        TellCause();
    }
    m_log.Show();
    if (!m_summary.isComplete) {
        Fail("errors and warnings may be missing, since the log is cut off");
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
    std::set<std::u16string> seen;
    for (const std::u16string& guid : m_converted) {
        // Targets with the same GUID have the same manifest.
        if (!seen.insert(guid).second) {
            continue;
        }
        const SManifestSummary summary = ReadManifest(m_output.GetHiddenManifest(guid));
        m_items += summary.items;
        if (!summary.isComplete) {
            unsaved.push_back(guid);
        }
    }
    return unsaved;
}

// A full disk fails many things. It is told first, and once.
void CConversion::TellCause() {
    const std::error_code error = m_output.TryWriting();
    if (m_summary.unwritten != 0) {
        Fail("the disk of " + Quote(m_command.output) +
             " is full: " + Count(m_summary.unwritten, "file") + " could not be written");
    } else if (error) {
        Fail(Quote(m_command.output) + " cannot be written: " + DescribeError(error));
    }
}

// Of each target's folder, while it is hidden.
void CConversion::WriteSums() {
    for (const std::u16string& guid : m_hasFailed || !m_command.hasSums
                                          ? std::set<std::u16string>()
                                          : std::set(m_converted.begin(), m_converted.end())) {
        const std::string problem = WriteCheckSums(m_output.GetHiddenManifest(guid).parent_path());
        if (!problem.empty()) {
            Fail("target " + Printable(guid) + ": " + problem);
        }
    }
}

// Moves everything into place: all targets, or none when anything has failed.
void CConversion::Publish() {
    const std::set<std::u16string> unique(m_converted.begin(), m_converted.end());
    m_hasFailed = m_hasFailed || !m_output.Publish({unique.begin(), unique.end()});
    if (m_hasFailed) {
        Complain("no target was changed");
        m_converted.clear();
    }
    // That of a failed run tells why; one that is cut off is worse than an older one.
    if (m_summary.isComplete) {
        m_hasFailed = !m_log.Publish() || m_hasFailed;
    }
    static_cast<void>(m_output.Remove());  // tells what stays; the result is whole all the same
}

std::string CConversion::FormatLines() const {
    std::string lines;
    for (const std::u16string& guid : m_converted) {
        lines += Printable(guid) + '\t' + platform::PathBytes(m_output.GetManifest(guid)) + '\n';
    }
    return lines;
}

std::string CConversion::FormatJson() const {
    CJsonRows rows;
    auto target = m_targets.begin();
    for (const std::u16string& guid : m_converted) {
        const std::u16string manifest = platform::PathText(m_output.GetManifest(guid));
        // Both lists are in the order of the profile; the converted ones may lack some.
        while (target != m_targets.end() && target->guid != guid) {
            ++target;
        }
        const bool isNamed = target != m_targets.end();
        rows.Add({{"guid", guid},
                  {"name", isNamed ? target->name : std::nullopt},
                  {"manifest", manifest}});
        target += isNamed ? 1 : 0;
    }
    return rows.Finish();
}

}  // namespace

int RunConvert(const SCommand& command) { return CConversion(command).Run(); }

}  // namespace host
