// host/report/report_search.h - finds what a report is made of.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/target_folder.h"

namespace host {

// A manifest. Its name is empty for the folder of a target that has none.
struct SReportTarget {
    std::filesystem::path folder;
    std::filesystem::path manifest;
};

// A record, a log, or the result file of a batch. What lies beside a target that the user has named
// is not wanted: it counts only if it belongs to that target.
struct SReportFile {
    std::filesystem::path file;
    bool isWanted = false;
};

// Each thing once, in the order of the paths.
struct SReportSources {
    std::vector<SReportTarget> targets;
    std::vector<SReportFile> records;
    std::vector<SReportFile> logs;
    std::vector<SReportFile> results;
};

// Finds manifests, records, logs and the result files of a batch. Links are followed only where the
// user names one. What cannot be read, and a place without any of these, is told.
class CReportSearch {
public:
    explicit CReportSearch(TellProblem tell) : m_tell(std::move(tell)) {}

    // Takes a manifest, a record, a log, a result file, the folder of a target, or a folder with
    // some of these at any depth.
    void Add(const std::filesystem::path& result);

    [[nodiscard]] SReportSources GetSources() const;

private:
    // By their paths in full, so that what is named twice is there once.
    using Files = std::map<std::filesystem::path, bool>;

    void AddFile(const std::filesystem::path& file);
    void AddFolder(const std::filesystem::path& folder);
    [[nodiscard]] bool AddIfTarget(const std::filesystem::path& folder,
                                   const std::vector<SFoundFile>& files);
    void AddBeside(const std::filesystem::path& folder);
    [[nodiscard]] bool AddIfKnown(const std::filesystem::path& file, bool isWanted);

    TellProblem m_tell;
    std::map<std::filesystem::path, std::set<std::filesystem::path>> m_targets;
    Files m_records;
    Files m_logs;
    Files m_results;
    std::set<std::filesystem::path> m_besides;
};

}  // namespace host
