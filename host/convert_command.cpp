#include "host/convert_command.h"

#include <chrono>
#include <map>
#include <memory>
#include <system_error>

#include "host/check_sums.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/json.h"
#include "host/manifest_reader.h"
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

constexpr std::u16string_view kNoGuid = u"{00000000-0000-0000-0000-000000000000}";

// Global, because the library gives its callback no pointer of the host. Set only while CallLibrary
// runs.
CProgressDisplay* s_display = nullptr;

std::uint32_t OnProgress(const OrvProgress* root) {
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

std::string Quote(const std::filesystem::path& path) {
    return "'" + Printable(platform::PathText(path)) + "'";
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
    struct SOutput {
        std::u16string guid;
        std::filesystem::path manifest;
    };

    [[nodiscard]] int Prepare();
    void CallLibrary();
    [[nodiscard]] std::uint32_t CallGuarded(GUID*& targets, std::uint32_t& count);
    void CheckManifests();
    void WriteSums();
    [[nodiscard]] std::string CheckManifest(const SOutput& output);
    [[nodiscard]] std::u16string ManifestName(const std::u16string& guid) const;
    void Fail(const std::string& problem);
    [[nodiscard]] std::string FormatLines() const;
    [[nodiscard]] std::string FormatJson() const;

    const SCommand& m_command;
    std::u16string m_profile;
    std::u16string m_pattern;
    CRunLog m_log;
    std::uint32_t m_status = 0;
    SLogSummary m_summary;
    std::size_t m_targetCount = 0;
    std::size_t m_items = 0;
    std::vector<SOutput> m_outputs;
    bool m_hasFailed = false;
};

int CConversion::Run() {
    if (const int problem = Prepare()) {
        return problem;
    }
    CallLibrary();
    m_hasFailed = !m_log.Finish(m_summary);
    CheckManifests();
    WriteSums();
    WriteTerminal(Count(m_targetCount, "target") + ", " + Count(m_items, "item") + ", " +
                  Count(m_summary.errors, "error") + ", " + Count(m_summary.warnings, "warning") +
                  '\n');
    if (m_status != 0) {
        Fail(DescribeFailure("convert", m_command.profile, m_status));
    }
    const bool isPrinted = PrintResult(m_command.isJson ? FormatJson() : FormatLines());
    if (m_hasFailed || !isPrinted) {
        return kExitFailed;
    }
    return m_summary.errors == 0 ? kExitDone : kExitHasErrors;
}

void CConversion::Fail(const std::string& problem) {
    Complain(problem);
    m_hasFailed = true;
}

// Checks the arguments and opens the log. Returns 0, or the exit status when the conversion cannot
// begin.
int CConversion::Prepare() {
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
    return m_log.Open(m_command.log) ? kExitDone : kExitFailed;
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
            m_outputs.push_back({guid, platform::LocalPath(ManifestName(guid))});
        }
    }
}

// The library throws a status if the account does not have the privileges for loading a hive.
std::uint32_t CConversion::CallGuarded(GUID*& targets, std::uint32_t& count) {
    const std::u16string log = m_log.GetLibraryPath();
    try {
        return CasToOrvW(Chars(m_profile), Chars(m_pattern), Chars(log), &targets, &count,
                         &OnProgress);
    } catch (int status) {
        return static_cast<std::uint32_t>(status);
    }
}

void CConversion::CheckManifests() {
    // Targets with the same GUID have the same manifest, that of the last of them.
    std::map<std::u16string, bool> isSaved;
    for (const SOutput& output : m_outputs) {
        if (isSaved.count(output.guid) != 0) {
            continue;
        }
        const std::string problem = CheckManifest(output);
        isSaved[output.guid] = problem.empty();
        if (!problem.empty()) {
            Fail("target " + Printable(output.guid) + ": " + problem);
        }
    }
    std::erase_if(m_outputs, [&](const SOutput& output) { return !isSaved[output.guid]; });
}

// Of each folder of a target that holds a whole manifest.
void CConversion::WriteSums() {
    for (const SOutput& output : m_outputs) {
        const std::string problem =
            m_command.hasSums ? WriteCheckSums(output.manifest.parent_path()) : "";
        if (!problem.empty()) {
            Fail("target " + Printable(output.guid) + ": " + problem);
        }
    }
}

// Returns what is wrong with a manifest; empty when it is whole. The library does not report a
// manifest that it could not save.
std::string CConversion::CheckManifest(const SOutput& output) {
    // In a folder that cannot be written to, an existing manifest is an old one.
    std::error_code error;
    if (!std::filesystem::is_regular_file(output.manifest, error) ||
        !IsWritable(output.manifest.parent_path())) {
        return "no manifest was saved; see whether " + Quote(output.manifest.parent_path()) +
               " is a folder that can be written to";
    }
    const SManifestSummary summary = ReadManifest(output.manifest);
    m_items += summary.items;
    return summary.isComplete ? ""
                              : "the manifest " + Quote(output.manifest) +
                                    " is cut off; see whether the disk is full";
}

std::u16string CConversion::ManifestName(const std::u16string& guid) const {
    const std::size_t name = m_pattern.rfind(u'\\') + 1;
    return m_pattern.substr(0, name) + guid + u'\\' + m_pattern.substr(name);
}

std::string CConversion::FormatLines() const {
    std::string lines;
    for (const SOutput& output : m_outputs) {
        lines += Printable(output.guid) + '\t' + platform::PathBytes(output.manifest) + '\n';
    }
    return lines;
}

std::string CConversion::FormatJson() const {
    std::vector<STarget> targets;
    // Only the enumeration gives the names of targets. If it fails now, the output has none.
    if (m_outputs.empty() || ListTargets(m_profile, targets) != 0) {
        targets.clear();
    }
    CJsonRows rows;
    auto target = targets.begin();
    for (const SOutput& output : m_outputs) {
        const std::u16string manifest = platform::PathText(output.manifest);
        // Both lists are in the order of the profile; this one may lack some targets.
        while (target != targets.end() && target->guid != output.guid) {
            ++target;
        }
        const bool isNamed = target != targets.end();
        rows.Add({{"guid", output.guid},
                  {"name", isNamed ? target->name : std::nullopt},
                  {"manifest", manifest}});
        target += isNamed ? 1 : 0;
    }
    return rows.Finish();
}

}  // namespace

int RunConvert(const SCommand& command) { return CConversion(command).Run(); }

}  // namespace host
