#include "host/report/report_search.h"

#include <algorithm>
#include <fstream>

#include "host/batch/batch_folder.h"
#include "host/batch/batch_result.h"
#include "host/log_reader.h"
#include "host/output_folder.h"
#include "host/path_rules.h"
#include "host/record_reader.h"
#include "host/status_text.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// What a conversion has hidden that still runs, or was killed.
bool IsHiddenOutput(const fs::path& name) {
    return platform::PathText(name).starts_with(kHiddenStart);
}

bool IsLogFile(const fs::path& file) {
    std::ifstream log(file, std::ios::binary);
    return IsLog(log);
}

// The files right in a folder, by their names, and the names of its folders in their order.
std::error_code List(const fs::path& folder, std::vector<SFoundFile>& files,
                     std::vector<fs::path>& folders) {
    std::vector<SFolderEntry> entries;
    const std::error_code error = ListFolder(DeepPath(folder), entries);
    std::sort(entries.begin(), entries.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    for (const SFolderEntry& entry : entries) {
        if (!entry.isFolder) {
            files.push_back(
                {DeepPath(folder) / entry.name, platform::PathBytes(entry.name), entry.isRegular});
        } else if (!IsHiddenOutput(entry.name)) {
            folders.push_back(entry.name);
        }
    }
    return error;
}

}  // namespace

void CReportSearch::Add(const fs::path& result) {
    std::error_code error;
    const fs::file_status status = fs::status(DeepPath(result), error);
    if (fs::is_directory(status)) {
        AddFolder(result);
    } else if (fs::is_regular_file(status)) {
        AddFile(result);
    } else {
        m_tell(result, fs::exists(status) ? "this is neither a file nor a folder"
                                          : "there is no such file or folder");
    }
}

void CReportSearch::AddFile(const fs::path& file) {
    std::error_code error;
    // The log of a conversion without errors and warnings is empty. A manifest never is.
    const bool isEmpty = fs::file_size(DeepPath(file), error) == 0 && !error;
    if (isEmpty && file.filename() != kResultFile &&
        !IsManifest({file, platform::PathBytes(file.filename()), true})) {
        m_logs[file] = true;
    } else if (!AddIfKnown(file, true)) {
        m_targets[file.parent_path()].insert(file.filename());
        AddBeside(file.parent_path().parent_path());
    }
}

// Searches a folder and those below it, but not the payload of targets.
void CReportSearch::AddFolder(const fs::path& folder) {
    bool hasFound = false;
    // A list of folders to search instead of recursion, because they may be nested deeply. Links
    // are no folders, so that the loop ends.
    std::vector<fs::path> open = {folder};
    while (!open.empty()) {
        const fs::path next = std::move(open.back());
        open.pop_back();
        std::vector<SFoundFile> files;
        std::vector<fs::path> folders;
        if (const std::error_code error = List(next, files, folders)) {
            m_tell(next, "the folder cannot be listed: " + DescribeError(error));
        }
        if (AddIfTarget(next, files)) {
            hasFound = true;
            if (next == folder) {
                AddBeside(folder.parent_path());
            }
            continue;
        }
        for (const SFoundFile& file : files) {
            // Any other file has nothing to do with a report.
            hasFound |= file.isRegular && AddIfKnown(next / file.path.filename(), true);
        }
        for (const fs::path& name : folders) {
            open.push_back(next / name);
        }
    }
    if (!hasFound) {
        m_tell(folder, "there is no manifest, record, log or result here or in a folder below");
    }
}

bool CReportSearch::AddIfTarget(const fs::path& folder, const std::vector<SFoundFile>& files) {
    std::set<fs::path> manifests;
    for (const SFoundFile& file : files) {
        if (IsManifest(file)) {
            manifests.insert(file.path.filename());
        }
    }
    const bool isTarget = !manifests.empty() || IsGuidName(platform::PathBytes(folder.filename()));
    if (isTarget) {
        m_targets[folder].merge(manifests);
    }
    return isTarget;
}

// Takes the records, logs and results right in the folder above a target.
void CReportSearch::AddBeside(const fs::path& folder) {
    std::vector<SFoundFile> files;
    std::vector<fs::path> folders;
    if (!m_besides.insert(folder).second || List(folder, files, folders)) {
        return;  // the user has not named this folder, so that it need not be readable
    }
    for (const SFoundFile& file : files) {
        static_cast<void>(file.isRegular && AddIfKnown(folder / file.path.filename(), false));
    }
}

bool CReportSearch::AddIfKnown(const fs::path& file, bool isWanted) {
    const fs::path deep = DeepPath(file);
    Files* const files = file.filename() == kResultFile && IsResult(file) ? &m_results
                         : IsRecord(deep)                                 ? &m_records
                         : IsLogFile(deep)                                ? &m_logs
                                                                          : nullptr;
    if (files != nullptr) {
        bool& isFileWanted = (*files)[file];
        isFileWanted = isFileWanted || isWanted;
    }
    return files != nullptr;
}

SReportSources CReportSearch::GetSources() const {
    SReportSources sources;
    for (const auto& [folder, manifests] : m_targets) {
        for (const fs::path& manifest : manifests) {
            sources.targets.push_back({folder, manifest});
        }
        if (manifests.empty()) {
            sources.targets.push_back({folder, {}});
        }
    }
    const auto list = [](const Files& files, std::vector<SReportFile>& listed) {
        for (const auto& [file, isWanted] : files) {
            listed.push_back({file, isWanted});
        }
    };
    list(m_records, sources.records);
    list(m_logs, sources.logs);
    list(m_results, sources.results);
    return sources;
}

}  // namespace host
