#include "host/report/report_packages.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include "host/batch/batch_folder.h"
#include "host/path_rules.h"
#include "host/record_reader.h"
#include "host/record_summary.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kNoRecord =
    "there is no record of the conversion, so what was left out or lost is not known";

// A record with the targets that it names.
struct SRecordOfTargets {
    SReportFile file;
    SRecordHead head;
    fs::file_time_type time;
    std::map<std::uint64_t, std::u16string> targets;  // FOLDER\MANIFEST by the number
    bool isTaken = false;                             // by a package, with some of its targets
};

SRecordOfTargets ReadTargets(const SReportFile& file) {
    SRecordOfTargets record{file, {}, {}, {}};
    const fs::path path = DeepPath(file.file);
    // What is wrong with it is told when it is read for the page.
    static_cast<void>(ReadRecord(path, record.head, [&](const SRecordEntry& entry) {
        if (entry.thing == "target" && !entry.target.empty()) {
            std::u16string& name = record.targets[entry.in];
            name = entry.target;
            std::ranges::replace(name, u'/', u'\\');
        }
    }));
    std::error_code error;
    record.time = fs::last_write_time(path, error);
    return record;
}

// How many units two paths of folders have in common, up to a separator.
std::size_t CommonSize(const std::u16string& left, const std::u16string& right) {
    const auto end = std::ranges::mismatch(left, right).in1;
    const auto isSeparator = [](char16_t unit) { return unit == u'/' || unit == u'\\'; };
    const auto start = std::find_if(std::make_reverse_iterator(end), left.rend(), isSeparator);
    return static_cast<std::size_t>(left.rend() - start);
}

// A path with a separator at its end, so that no name is part of another one.
std::u16string FolderText(const fs::path& folder) { return platform::PathText(folder / ""); }

// Puts the packages together.
class CGrouping {
public:
    explicit CGrouping(const SReportSources& sources);
    std::vector<SReportPackage> Run();

private:
    // The targets of one name that no record has taken, by the folder that they are in.
    using Folders = std::map<std::u16string, std::size_t>;
    // For each folder the indices of packages, by the names of their records without extension.
    using PackagesOfFolders = std::map<fs::path, std::multimap<fs::path, std::size_t>>;

    [[nodiscard]] std::optional<std::u16string> FindFolder(const SRecordOfTargets& record);
    [[nodiscard]] Folders& GetFree(const std::u16string& name);
    void TakeTargets(SRecordOfTargets& record, const std::u16string& folder);
    void TakeRecords();
    void TakeResults();
    void TakeRest();
    void TakeLogs();
    void ListPackages();
    [[nodiscard]] SReportPackage* FindPackage(const fs::path& log, bool isAlone);

    const SReportSources& m_sources;
    std::vector<SRecordOfTargets> m_records;  // in the order in which they take targets
    std::map<std::u16string, Folders> m_free;
    std::vector<bool> m_isTaken;  // by the index of the target
    std::vector<SReportPackage> m_packages;
    // The packages of folders: those that have targets or the record there, and those of which the
    // targets are one folder below.
    PackagesOfFolders m_packagesIn;
    PackagesOfFolders m_packagesBelow;
    // Names of targets with the folder that a record has taken them from.
    std::set<std::pair<std::u16string, std::u16string>> m_taken;
};

CGrouping::CGrouping(const SReportSources& sources)
    : m_sources(sources), m_isTaken(sources.targets.size()) {
    for (std::size_t i = 0; i < sources.targets.size(); ++i) {
        const SReportTarget& target = sources.targets[i];
        const std::u16string name = platform::PathText(target.folder.filename() / target.manifest);
        std::u16string key = name;
        std::ranges::replace(key, u'/', u'\\');
        m_free[key][FolderText(target.folder.parent_path())] = i;
    }
    for (const SReportFile& file : sources.records) {
        m_records.push_back(ReadTargets(file));
    }
    // Stable, so that records of one time keep the order of their paths.
    std::ranges::stable_sort(m_records, [](const auto& left, const auto& right) {
        const bool hasLeftFailed = HasFailed(left.head);
        const bool hasRightFailed = HasFailed(right.head);
        return hasLeftFailed != hasRightFailed ? hasRightFailed : left.time > right.time;
    });
}

// The targets that a record may mean by this name: those with the manifest, or else those that lack
// theirs.
CGrouping::Folders& CGrouping::GetFree(const std::u16string& name) {
    const auto found = m_free.find(name);
    return found != m_free.end() && !found->second.empty()
               ? found->second
               : m_free[name.substr(0, name.find(u'\\') + 1)];
}

// The folder with the record's targets. Nothing when there is none, or when two are as near.
std::optional<std::u16string> CGrouping::FindFolder(const SRecordOfTargets& record) {
    const std::u16string own = FolderText(record.file.file.parent_path());
    for (const auto& [number, name] : record.targets) {
        if (m_taken.contains({name, own})) {
            return std::nullopt;  // by another record of these targets
        }
        const Folders& folders = GetFree(name);
        if (folders.empty()) {
            continue;
        }
        // In a sorted list the nearest ones are neighbours.
        const auto next = folders.lower_bound(own);
        std::vector<std::pair<std::size_t, std::u16string>> nearest;
        auto at = next;
        for (int i = 0; i < 2 && at != folders.end(); ++i, ++at) {
            nearest.emplace_back(CommonSize(at->first, own), at->first);
        }
        at = next;
        for (int i = 0; i < 2 && at != folders.begin(); ++i) {
            --at;
            nearest.emplace_back(CommonSize(at->first, own), at->first);
        }
        std::ranges::sort(nearest, std::greater<>());
        const bool isOne =
            nearest.size() == 1 || nearest[0].first != nearest[1].first || nearest[0].second == own;
        return isOne ? std::optional(nearest[0].second) : std::nullopt;
    }
    return std::nullopt;
}

void CGrouping::TakeTargets(SRecordOfTargets& record, const std::u16string& folder) {
    SReportPackage package;
    package.record = record.file.file;
    package.place = record.file.file;
    for (const auto& [number, name] : record.targets) {
        Folders& folders = GetFree(name);
        if (const auto found = folders.find(folder); found != folders.end()) {
            const SReportTarget& target = m_sources.targets[found->second];
            package.targets.push_back({target, number});
            package.place = target.folder.parent_path();
            m_isTaken[found->second] = true;
            folders.erase(found);
            m_taken.emplace(name, folder);
        }
    }
    m_packages.push_back(std::move(package));
    record.isTaken = true;
}

void CGrouping::TakeRecords() {
    // Those beside their targets first, so that no other record takes these.
    for (const bool isBeside : {true, false}) {
        for (SRecordOfTargets& record : m_records) {
            if (record.isTaken) {
                continue;
            }
            const std::u16string own = FolderText(record.file.file.parent_path());
            const std::optional<std::u16string> folder = FindFolder(record);
            if (folder && (*folder == own) == isBeside) {
                TakeTargets(record, *folder);
            }
        }
    }
    for (const SRecordOfTargets& record : m_records) {
        if (record.isTaken || !record.file.isWanted) {
            continue;
        }
        SReportPackage package;
        package.place = record.file.file;
        package.record = record.file.file;
        if (!record.targets.empty()) {
            package.problems.emplace_back(
                "the folders of its targets are not among the results, or another record tells of "
                "them");
        } else if (!HasFailed(record.head)) {
            package.problems.emplace_back("the record tells of no target");
        }
        m_packages.push_back(std::move(package));
    }
}

void CGrouping::TakeResults() {
    std::map<fs::path, std::size_t> packages;  // by the record
    for (std::size_t i = 0; i < m_packages.size(); ++i) {
        packages[m_packages[i].record] = i;
    }
    std::map<fs::path, std::vector<std::size_t>> rest;  // targets by the folder that they are in
    for (std::size_t i = 0; i < m_sources.targets.size(); ++i) {
        if (!m_isTaken[i]) {
            rest[m_sources.targets[i].folder.parent_path()].push_back(i);
        }
    }
    for (const SReportFile& file : m_sources.results) {
        const fs::path folder = file.file.parent_path();
        const auto found = packages.find(folder / kRecordFile);
        const bool hasRecord = found != packages.end();
        if (!hasRecord && !file.isWanted && !rest.contains(folder)) {
            continue;
        }
        SReportPackage& package = hasRecord ? m_packages[found->second] : m_packages.emplace_back();
        package.result = file.file;
        if (package.targets.empty()) {
            package.place = folder;
        }
        // A batch that fails leaves the targets of a former result, of which no record tells.
        for (const std::size_t i : rest[folder]) {
            package.targets.push_back({m_sources.targets[i], 0});
            m_isTaken[i] = true;
        }
        if (!hasRecord) {
            package.problems.emplace_back(kNoRecord);
        }
    }
}

void CGrouping::TakeRest() {
    std::map<std::pair<fs::path, fs::path>, SReportPackage> packages;
    for (std::size_t i = 0; i < m_sources.targets.size(); ++i) {
        const SReportTarget& target = m_sources.targets[i];
        if (!m_isTaken[i]) {
            SReportPackage& package = packages[{target.folder.parent_path(), target.manifest}];
            package.place = target.folder.parent_path();
            package.targets.push_back({target, 0});
        }
    }
    for (auto& [key, package] : packages) {
        package.problems.emplace_back(kNoRecord);
        m_packages.push_back(std::move(package));
    }
}

void CGrouping::ListPackages() {
    for (std::size_t i = 0; i < m_packages.size(); ++i) {
        const SReportPackage& package = m_packages[i];
        const fs::path stem =
            package.result.empty() ? package.record.stem() : fs::path(kLogFile).stem();
        std::set<fs::path> folders;
        if (!package.result.empty()) {
            folders.insert(package.result.parent_path());
        }
        if (!package.targets.empty()) {
            folders.insert(package.place);
            m_packagesBelow[package.place.parent_path()].emplace(stem, i);
        }
        if (!package.record.empty()) {
            folders.insert(package.record.parent_path());
        }
        for (const fs::path& folder : folders) {
            m_packagesIn[folder].emplace(stem, i);
        }
    }
}

// `isAlone` says whether the only package of the folder may take a log of any name.
SReportPackage* CGrouping::FindPackage(const fs::path& log, bool isAlone) {
    for (const PackagesOfFolders* const packages : {&m_packagesIn, &m_packagesBelow}) {
        const auto here = packages->find(log.parent_path());
        if (here == packages->end()) {
            continue;
        }
        if (here->second.size() == 1 && isAlone) {
            return &m_packages[here->second.begin()->second];
        }
        const auto found = here->second.find(log.stem());
        return found == here->second.end() ? nullptr : &m_packages[found->second];
    }
    return m_packages.size() == 1 ? &m_packages.front() : nullptr;
}

void CGrouping::TakeLogs() {
    ListPackages();
    // Of logs and records that the user has not named, others may be of other conversions.
    std::map<fs::path, std::size_t> logs;
    std::map<fs::path, std::size_t> records;
    for (const SReportFile& log : m_sources.logs) {
        ++logs[log.file.parent_path()];
    }
    for (const SReportFile& record : m_sources.records) {
        ++records[record.file.parent_path()];
    }
    std::vector<SReportPackage> others;
    for (const SReportFile& log : m_sources.logs) {
        const fs::path folder = log.file.parent_path();
        const bool isAlone = log.isWanted || (logs[folder] == 1 && records[folder] <= 1);
        if (SReportPackage* const package = FindPackage(log.file, isAlone)) {
            package->logs.push_back(log.file);
        } else if (log.isWanted) {
            SReportPackage& other = others.emplace_back();
            other.place = log.file;
            other.logs.push_back(log.file);
            other.problems.emplace_back("it is not known which conversion this log is of");
        }
    }
    std::ranges::move(others, std::back_inserter(m_packages));
}

std::vector<SReportPackage> CGrouping::Run() {
    TakeRecords();
    TakeResults();
    TakeRest();
    TakeLogs();
    std::ranges::stable_sort(m_packages, [](const auto& left, const auto& right) {
        return std::tie(left.place, left.record) < std::tie(right.place, right.record);
    });
    return std::move(m_packages);
}

}  // namespace

std::vector<SReportPackage> MakeReportPackages(const SReportSources& sources) {
    return CGrouping(sources).Run();
}

}  // namespace host
