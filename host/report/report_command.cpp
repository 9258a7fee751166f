#include "host/report/report_command.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <set>
#include <string>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/interruption.h"
#include "host/path_rules.h"
#include "host/report/report_data.h"
#include "host/report/report_packages.h"
#include "host/report/report_page.h"
#include "host/report/report_search.h"
#include "host/report/report_summary.h"
#include "host/result_file.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// Whether a file can be replaced: there is none, it is empty, or a page.
bool IsFree(const fs::path& file) {
    constexpr std::string_view kStart = "<!DOCTYPE html>";
    std::error_code error;
    if (IsSpecialFile(file) || !fs::is_regular_file(DeepPath(file), error)) {
        return true;
    }
    std::string start(kStart.size(), ' ');
    std::ifstream stream(DeepPath(file), std::ios::binary);
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    return stream.gcount() == 0 || start == kStart;
}

// One run of the command.
class CReport {
public:
    explicit CReport(const SCommand& command) : m_command(command) {}

    [[nodiscard]] int Run();
    void WriteJson(CJsonWriter& json) const;

private:
    // Without a place the words name it.
    void Tell(const fs::path& place, const std::string& words);
    [[nodiscard]] bool CheckOutput(const SReportSources& sources) const;
    [[nodiscard]] bool WritePage(const SReportSources& sources, CInterruption& interruption);

    const SCommand& m_command;
    CResultFile m_file{"report", "nothing was written"};
    SReportCounts m_counts;
    std::uint64_t m_size = 0;  // of the page, in bytes
    bool m_hasProblem = false;
};

void CReport::Tell(const fs::path& place, const std::string& words) {
    m_hasProblem = true;
    if (place.empty()) {
        Complain(words);
        return;
    }
    ComplainOf(place, words);
}

// The page takes the place of nothing but a page, and is no stray file among the payload.
bool CReport::CheckOutput(const SReportSources& sources) const {
    const fs::path output = FullPath(platform::LocalPath(m_command.output));
    std::set<fs::path> above;
    for (fs::path folder = output.parent_path(); above.insert(folder).second;) {
        folder = folder.parent_path();  // the root is its own parent, which ends the loop
    }
    for (const SReportTarget& target : sources.targets) {
        if (IsGuidName(platform::PathBytes(target.folder.filename())) &&
            above.contains(FullPath(target.folder))) {
            Complain(Quote(output) +
                     " is in the folder of a target; write the page to another place");
            return false;
        }
    }
    if (!IsFree(output)) {
        Complain(Quote(output) + " is there and is no page; write the page to another file");
        return false;
    }
    return true;
}

int CReport::Run() {
    CReportSearch search(
        [this](const fs::path& place, const std::string& words) { Tell(place, words); });
    for (const std::string& argument : m_command.paths) {
        // In full, and spelt as the paths of the payload will be.
        const std::optional<std::u16string> path = platform::LibraryPath(argument);
        const fs::path local = path ? platform::LocalPath(*path) : fs::path();
        search.Add(local.empty() ? platform::LocalPath(argument) : local);
    }
    const SReportSources sources = search.GetSources();
    if (sources.targets.empty() && sources.records.empty() && sources.logs.empty() &&
        sources.results.empty()) {
        Complain("there is nothing to report on; nothing was written");
        return kExitFailed;
    }
    // Set up before the file is made, so that a signal does not leave it.
    CInterruption interruption([this] { m_file.RemoveOwn(); });
    if (!CheckOutput(sources) || !m_file.OpenOwn(m_command.output)) {
        return kExitFailed;
    }
    interruption.Allow();
    return WritePage(sources, interruption) && !m_hasProblem ? kExitDone : kExitFailed;
}

bool CReport::WritePage(const SReportSources& sources, CInterruption& interruption) {
    CReportPage page;
    page.Begin(m_file.GetTemporary());
    CReportData data(
        page, [this](const fs::path& place, const std::string& words) { Tell(place, words); });
    for (const SReportPackage& package : MakeReportPackages(sources)) {
        if (page.HasFailed()) {
            break;
        }
        data.Add(package);
        interruption.Step();
    }
    if (const std::error_code error = page.Finish(data.Finish())) {
        Complain("the report " + Quote(platform::LocalPath(m_command.output)) +
                 " cannot be written: " + DescribeError(error));
        return false;
    }
    interruption.Forbid();
    if (!m_file.Publish()) {
        return false;
    }
    m_counts = data.GetCounts();
    m_size = page.GetSize();
    WriteTerminal(Count(m_counts.packages, "package") + ", " + Count(m_counts.targets, "target") +
                  ", " + Count(m_counts.items, "item") + ", " + Count(m_counts.files, "file") +
                  ", " + Count(m_counts.problems, "problem") + "; " + Count(m_size, "byte") + '\n');
    return true;
}

void CReport::WriteJson(CJsonWriter& json) const {
    const auto write = [&json](std::string_view key, std::uint64_t count) {
        json.Key(key);
        json.Number(static_cast<std::int64_t>(count));
    };
    write("packages", m_counts.packages);
    write("manifests", m_counts.manifests);
    write("items", m_counts.items);
    write("files", m_counts.files);
    write("problems", m_counts.problems);
    write("bytes", m_size);
}

}  // namespace

int RunReport(const SCommand& command, CJsonWriter& json) {
    CReport report(command);
    const int status = report.Run();
    if (command.isJson) {
        report.WriteJson(json);
    }
    return status;
}

}  // namespace host
