#include "host/diff/result_pairs.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <system_error>

#include "host/console.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

using Manifests = std::map<std::u16string, fs::path>;  // by their names

struct SResult {
    fs::path path;
    bool isOutput = false;  // a folder with folders of targets
    std::map<std::u16string, Manifests> targets;
    std::set<std::u16string> unreadable;  // targets with something wrong, which was told
};

std::string Quote(const std::u16string& text) { return "'" + Printable(text) + "'"; }

// GUIDs in capital letters, so that their case does not count. Other names stay as they are.
std::u16string TargetName(const fs::path& folder) {
    std::string name = platform::PathBytes(folder.filename());
    if (!IsGuidName(name)) {
        return platform::PathText(folder.filename());
    }
    for (char& c : name) {
        c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return {name.begin(), name.end()};
}

// Reads one argument.
class CResultReading {
public:
    explicit CResultReading(const TellProblem& tell) : m_tell(tell) {}

    // None when there is nothing to compare, which is told.
    [[nodiscard]] std::optional<SResult> Read(const std::string& argument);

private:
    [[nodiscard]] bool List(const fs::path& folder, std::vector<SFolderEntry>& entries);
    [[nodiscard]] static Manifests FindManifests(const fs::path& folder,
                                                 const std::vector<SFolderEntry>& entries);
    void AddTarget(const fs::path& folder, Manifests manifests, SResult& result);
    void ReadFolder(SResult& result);
    void ReadOutput(const std::vector<SFolderEntry>& entries, SResult& result);

    const TellProblem& m_tell;
};

bool CResultReading::List(const fs::path& folder, std::vector<SFolderEntry>& entries) {
    if (const std::error_code error = ListFolder(folder, entries)) {
        m_tell(folder, "the folder cannot be listed: " + DescribeError(error));
        return false;
    }
    return true;
}

Manifests CResultReading::FindManifests(const fs::path& folder,
                                        const std::vector<SFolderEntry>& entries) {
    Manifests manifests;
    for (const SFolderEntry& entry : entries) {
        if (IsManifest({DeepPath(folder) / entry.name, platform::PathBytes(entry.name),
                        entry.isRegular})) {
            manifests.emplace(platform::PathText(entry.name), folder / entry.name);
        }
    }
    return manifests;
}

std::optional<SResult> CResultReading::Read(const std::string& argument) {
    // In full, and spelt as the paths of the payload will be.
    const std::optional<std::u16string> full = platform::LibraryPath(argument);
    SResult result;
    result.path = full ? platform::LocalPath(*full) : fs::path();
    result.path = result.path.empty() ? platform::LocalPath(argument) : result.path;
    std::error_code error;
    // A link that the user names is followed, unlike those in the folders.
    const fs::file_status status = fs::status(result.path, error);
    if (fs::is_directory(status)) {
        ReadFolder(result);
        return result.targets.empty() ? std::nullopt : std::optional(std::move(result));
    }
    if (!fs::is_regular_file(status)) {
        m_tell(result.path, fs::exists(status) ? "this is neither a manifest nor a folder"
                                               : "there is no such manifest or folder");
        return std::nullopt;
    }
    const fs::path folder = result.path.parent_path();
    const bool isGuid = IsGuidName(platform::PathBytes(folder.filename()));
    result.targets[isGuid ? TargetName(folder) : u""].emplace(
        platform::PathText(result.path.filename()), result.path);
    return result;
}

void CResultReading::AddTarget(const fs::path& folder, Manifests manifests, SResult& result) {
    const std::u16string name = TargetName(folder);
    if (manifests.empty()) {
        m_tell(folder, "there is no manifest in this folder of a target");
        result.unreadable.insert(name);
    } else if (!result.targets.emplace(name, std::move(manifests)).second) {
        m_tell(folder, "there is another folder of the target " + Quote(name));
        result.unreadable.insert(name);
    }
}

void CResultReading::ReadFolder(SResult& result) {
    // A path that ends in a separator has an empty last part.
    const fs::path folder = result.path.has_filename() ? result.path : result.path.parent_path();
    std::vector<SFolderEntry> entries;
    if (!List(folder, entries)) {
        return;
    }
    Manifests manifests = FindManifests(folder, entries);
    if (!manifests.empty() || IsGuidName(platform::PathBytes(folder.filename()))) {
        AddTarget(folder, std::move(manifests), result);
    } else {
        ReadOutput(entries, result);
    }
}

void CResultReading::ReadOutput(const std::vector<SFolderEntry>& entries, SResult& result) {
    result.isOutput = true;
    for (const SFolderEntry& entry : entries) {
        const fs::path folder = result.path / entry.name;
        std::vector<SFolderEntry> files;
        if (!entry.isFolder) {
            continue;
        }
        if (!List(folder, files)) {
            result.unreadable.insert(TargetName(folder));
            continue;
        }
        Manifests manifests = FindManifests(folder, files);
        if (!manifests.empty() || IsGuidName(platform::PathBytes(entry.name))) {
            AddTarget(folder, std::move(manifests), result);
        }
    }
    if (result.targets.empty() && result.unreadable.empty()) {
        m_tell(result.path, "there is no manifest here, nor in a folder of a target");
    }
}

// Leaves in an output the one target that is compared with `single`. False when that is not clear.
bool SelectTarget(const SResult& single, SResult& output, const TellProblem& tell) {
    const std::u16string& name = single.targets.begin()->first;
    if (output.unreadable.contains(name)) {
        return false;
    }
    if (const auto same = output.targets.find(name); same != output.targets.end()) {
        output.targets = {*same};
    } else if (output.targets.size() != 1) {
        tell(output.path, "there are " + std::to_string(output.targets.size()) +
                              " targets here, and none of them is that of " +
                              host::Quote(single.path) + "; name the folder of one");
        return false;
    }
    return true;
}

void PairManifests(const std::u16string& target, const Manifests& older, const Manifests& newer,
                   std::vector<SResultPair>& pairs) {
    std::vector<SResultPair> olderOnly;
    std::vector<SResultPair> newerOnly;
    for (const auto& [name, path] : older) {
        if (const auto same = newer.find(name); same != newer.end()) {
            pairs.push_back({target, name, path, same->second});
        } else {
            olderOnly.push_back({target, name, path, {}});
        }
    }
    for (const auto& [name, path] : newer) {
        if (!older.contains(name)) {
            newerOnly.push_back({target, name, {}, path});
        }
    }
    // One that was renamed.
    if (olderOnly.size() == 1 && newerOnly.size() == 1) {
        newerOnly.front().older = olderOnly.front().older;
        olderOnly.clear();
    }
    std::ranges::move(olderOnly, std::back_inserter(pairs));
    std::ranges::move(newerOnly, std::back_inserter(pairs));
}

// A manifest that the user names is compared with the one of its name, or the only one.
bool SelectManifest(const SResult& named, SResult& other, const TellProblem& tell) {
    const std::u16string& name = named.targets.begin()->second.begin()->first;
    Manifests& manifests = other.targets.begin()->second;
    if (const auto same = manifests.find(name); same != manifests.end()) {
        manifests = {*same};
    } else if (manifests.size() != 1) {
        tell(other.path, "there are " + std::to_string(manifests.size()) +
                             " manifests in the target, and none of them is called " + Quote(name) +
                             "; name one");
        return false;
    }
    return true;
}

void PairTargets(const SResult& older, const SResult& newer, std::vector<SResultPair>& pairs) {
    std::map<std::u16string, std::pair<const Manifests*, const Manifests*>> targets;
    for (const auto& [name, manifests] : older.targets) {
        targets[name].first = &manifests;
    }
    for (const auto& [name, manifests] : newer.targets) {
        targets[name].second = &manifests;
    }
    for (const auto& [name, sides] : targets) {
        if (older.unreadable.contains(name) || newer.unreadable.contains(name)) {
            continue;
        }
        if (sides.first != nullptr && sides.second != nullptr) {
            PairManifests(name, *sides.first, *sides.second, pairs);
        } else {
            pairs.push_back({name,
                             {},
                             sides.first == nullptr ? fs::path() : older.path / name,
                             sides.second == nullptr ? fs::path() : newer.path / name});
        }
    }
}

}  // namespace

std::vector<SResultPair> PairResults(const std::string& older, const std::string& newer,
                                     const TellProblem& tell) {
    // Both are read, so that what is wrong with either is told.
    std::optional<SResult> left = CResultReading(tell).Read(older);
    std::optional<SResult> right = CResultReading(tell).Read(newer);
    std::vector<SResultPair> pairs;
    if (!left || !right) {
        return pairs;
    }
    if (!left->isOutput || !right->isOutput) {
        if ((left->isOutput && !SelectTarget(*right, *left, tell)) ||
            (right->isOutput && !SelectTarget(*left, *right, tell))) {
            return pairs;
        }
        std::error_code error;
        if ((fs::is_regular_file(left->path, error) && !SelectManifest(*left, *right, tell)) ||
            (fs::is_regular_file(right->path, error) && !SelectManifest(*right, *left, tell))) {
            return pairs;
        }
        // What the user has named is compared, whatever the GUIDs are.
        const std::u16string& name = right->targets.begin()->first;
        PairManifests(name.empty() ? left->targets.begin()->first : name,
                      left->targets.begin()->second, right->targets.begin()->second, pairs);
        return pairs;
    }
    PairTargets(*left, *right, pairs);
    return pairs;
}

}  // namespace host
