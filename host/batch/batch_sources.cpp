#include "host/batch/batch_sources.h"

#include <algorithm>
#include <istream>
#include <iterator>
#include <optional>
#include <system_error>
#include <tuple>

#include "host/batch/batch_folder.h"
#include "host/batch/many_messages.h"
#include "host/console.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::u16string_view kProfileEnd = u".profile";

// For comparing: a folder's text begins that of everything in it.
std::u16string FullText(const fs::path& path) { return PathKey(FullPath(path) / ""); }

// A path from a folder on, as a name. The extension is left out.
std::string NameOf(fs::path path) {
    path.replace_extension();
    // Part by part, because a name of POSIX may contain a backslash.
    std::string name;
    for (const fs::path& part : path) {
        name += (name.empty() ? "" : "/") + platform::PathBytes(part);
    }
    return name;
}

// Whether one of the names on a way is that of a captured target.
bool HasCaptureName(std::u16string_view way) {
    constexpr char16_t kSeparator = fs::path::preferred_separator;
    // Each round takes one name off.
    while (!way.empty()) {
        const std::size_t end = std::min(way.find(kSeparator), way.size());
        if (IsCaptureName(way.substr(0, end))) {
            return true;
        }
        way.remove_prefix(std::min(end + 1, way.size()));
    }
    return false;
}

class CSourceFinder {
public:
    explicit CSourceFinder(const fs::path& output)
        : m_output(FullText(output)), m_messages("error") {}

    void TakeArgument(const std::string& argument);
    void TakeList(std::istream& list);
    SSources Finish() {
        m_sources.problems += m_messages.GetCount();
        RefuseClashes(m_sources);
        return std::move(m_sources);
    }

private:
    [[nodiscard]] std::string CheckPlace(const fs::path& source, const fs::path& folder) const;
    void TakeFolder(const fs::path& root);
    void PassOver(const fs::path& output);
    void TakeProfile(const fs::path& profile, const std::string& name);
    void TakeLine(const std::string& line);
    void Refuse(const std::string& problem) {
        Complain(problem);
        m_sources.isWrong = true;
    }

    SSources m_sources;
    std::u16string m_output;
    CManyMessages m_messages;
};

// A batch must not take its own results for packages, nor write into what it reads. `folder` is
// where the package or the packages are.
std::string CSourceFinder::CheckPlace(const fs::path& source, const fs::path& folder) const {
    const std::u16string place = FullText(folder);
    if (place.starts_with(m_output)) {
        return Quote(source) + " is in the folder of the output; name another output";
    }
    if (m_output.starts_with(place) && HasCaptureName(m_output.substr(place.size()))) {
        return "the output is in a captured folder of " + Quote(source) + "; name another output";
    }
    return "";
}

void CSourceFinder::TakeArgument(const std::string& argument) {
    std::error_code error;
    const fs::path path = AbsolutePath(platform::LocalPath(argument));
    const bool isFolder = fs::is_directory(DeepPath(path), error);
    const std::string problem = CheckPlace(path, isFolder ? path : path.parent_path());
    if (!problem.empty()) {
        Refuse(problem);
    } else if (isFolder) {
        TakeFolder(path);
    } else if (fs::is_regular_file(DeepPath(path), error)) {
        TakeProfile(path, platform::PathBytes(path.stem()));
    } else {
        m_messages.Tell("there is no such profile or folder: " + Quote(path));
    }
}

void CSourceFinder::TakeFolder(const fs::path& root) {
    // In full, because the folder of the output is left out however it is written. A list instead
    // of recursion, because a tree may be deeper than the stack.
    const fs::path full = FullPath(root);
    std::vector<fs::path> open = {fs::path()};  // from the root on
    while (!open.empty()) {
        const fs::path folder = std::move(open.back());
        open.pop_back();
        const fs::path place = folder.empty() ? root : root / folder;
        if (PathKey(full / folder / "") == m_output) {
            PassOver(place);
            continue;
        }
        std::vector<SFolderEntry> entries;
        const std::error_code error = ListFolder(DeepPath(place), entries);
        for (const SFolderEntry& entry : entries) {
            const std::u16string name = platform::PathText(entry.name);
            if (entry.isRegular && name.size() > kProfileEnd.size() &&
                platform::FoldedText(name).ends_with(kProfileEnd)) {
                TakeProfile(place / entry.name, NameOf(folder / entry.name));
            } else if (entry.isFolder && !IsCaptureName(name) &&
                       (folder.empty() ? !IsOwnName(name) : !IsHiddenName(name))) {
                open.push_back(folder / entry.name);
            }
        }
        if (error) {
            m_messages.Tell("the folder " + Quote(place) +
                            " cannot be listed: " + DescribeError(error));
        }
    }
}

// Profiles directly in the output are told, because results have none there.
void CSourceFinder::PassOver(const fs::path& output) {
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(DeepPath(output), entries));  // it is not searched anyway
    for (const SFolderEntry& entry : entries) {
        if (entry.isRegular &&
            platform::FoldedText(platform::PathText(entry.name)).ends_with(kProfileEnd)) {
            m_messages.Tell(Quote(output / entry.name) +
                            " is in the folder of the output, and is not converted");
        }
    }
}

void CSourceFinder::TakeProfile(const fs::path& profile, const std::string& name) {
    const std::string problem = CheckName(name);
    if (!problem.empty()) {
        m_messages.Tell("the package " + Quote(profile) + " is refused: its name " + problem);
        return;
    }
    m_sources.packages.push_back({name, PathOfBytes(name).make_preferred(), profile});
}

void CSourceFinder::TakeList(std::istream& list) {
    for (std::string line; std::getline(list, line);) {
        // Programs of Windows end lines so.
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (!line.empty()) {
            TakeLine(line);
        }
    }
    if (list.bad()) {
        m_messages.Tell("the list cannot be read to its end");
    }
}

void CSourceFinder::TakeLine(const std::string& line) {
    const std::size_t tab = line.find('\t');
    const std::string argument = tab == std::string::npos ? line : line.substr(tab + 1);
    std::error_code error;
    const fs::path profile = AbsolutePath(platform::LocalPath(argument));
    // One that does not exist is left to its conversion, which tells so.
    const bool isFile =
        !Exists(profile) || fs::is_regular_file(fs::status(DeepPath(profile), error));
    const std::string problem =
        argument.empty() || !profile.has_filename() || !isFile
            ? "the line '" + Printable(platform::Utf8ToUtf16(line)) + "' names no profile"
            : CheckPlace(profile, profile.parent_path());
    if (!problem.empty()) {
        m_messages.Tell(problem);
        return;
    }
    TakeProfile(profile, tab == std::string::npos ? platform::PathBytes(profile.stem())
                                                  : line.substr(0, tab));
}

// A package on its way through RefuseClashes.
struct SNamed {
    std::u16string key;  // the folded name and a slash
    std::size_t index = 0;
    std::optional<std::size_t> clash;  // with which other one
};

std::vector<SNamed> FindClashes(const std::vector<SPackage>& packages) {
    std::vector<SNamed> named;
    for (std::size_t i = 0; i < packages.size(); ++i) {
        named.push_back({platform::FoldedText(NameText(packages[i]) + u'/'), i, {}});
    }
    std::sort(named.begin(), named.end(), [](const SNamed& left, const SNamed& right) {
        return std::tie(left.key, left.index) < std::tie(right.key, right.index);
    });
    // All names that begin with another one follow it, with no others between.
    std::size_t holder = 0;
    for (std::size_t i = 1; i < named.size(); ++i) {
        if (!named[i].key.starts_with(named[holder].key)) {
            holder = i;
        } else {
            named[i].clash = named[holder].index;
            named[holder].clash = named[holder].clash.value_or(named[i].index);
        }
    }
    return named;
}

// One package that was named twice.
bool IsSame(const SPackage& left, const SPackage& right) {
    return left.name == right.name && left.profile == right.profile;
}

}  // namespace

std::u16string NameText(const SPackage& package) {
    std::u16string text = platform::PathText(package.place);
    // The same on every system. On POSIX this replaces a slash by itself.
    std::replace(text.begin(), text.end(), static_cast<char16_t>(fs::path::preferred_separator),
                 u'/');
    return text;
}

std::string CheckName(const std::string& name) {
    const std::u16string text = platform::PathText(PathOfBytes(name));
    if (std::any_of(text.begin(), text.end(), &platform::IsControlUnit)) {
        return "has control characters";
    }
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        const std::string part = name.substr(begin, end - begin);
        if (part.empty() || part == "." || part == "..") {
            return "has a part that is empty, '.' or '..'";
        }
        // On Windows "C:a" would lead out of the output, and a backslash separates parts too.
        const fs::path local = PathOfBytes(part);
        if (local.has_root_path() || local.has_parent_path()) {
            return "has a part that is a path";
        }
        if (begin == 0 && IsOwnName(platform::PathText(local))) {
            return "begins with one that the batch uses itself";
        }
        begin = end + 1;
    }
    return "";
}

void RefuseClashes(SSources& sources) {
    std::vector<SPackage>& packages = sources.packages;
    std::sort(packages.begin(), packages.end(), [](const SPackage& left, const SPackage& right) {
        return std::tie(left.name, left.profile) < std::tie(right.name, right.profile);
    });
    packages.erase(std::unique(packages.begin(), packages.end(), &IsSame), packages.end());
    CManyMessages messages("error");
    std::vector<bool> isRefused(packages.size());
    for (const SNamed& named : FindClashes(packages)) {
        if (named.clash) {
            isRefused[named.index] = true;
            const SPackage& package = packages[named.index];
            const SPackage& other = packages[*named.clash];
            messages.Tell("the packages '" + Printable(NameText(package)) + "' of " +
                          Quote(package.profile) + " and '" + Printable(NameText(other)) + "' of " +
                          Quote(other.profile) +
                          " would have their results in one place; give them other names in a "
                          "list");
        }
    }
    sources.problems += messages.GetCount();
    std::size_t index = 0;
    std::erase_if(packages, [&](const SPackage& /*package*/) { return isRefused[index++]; });
}

SSources FindSources(const std::vector<std::string>& arguments, const fs::path& output,
                     std::istream& list) {
    CSourceFinder finder(output);
    for (const std::string& argument : arguments) {
        if (argument == "-") {
            finder.TakeList(list);
        } else {
            finder.TakeArgument(argument);
        }
    }
    return finder.Finish();
}

}  // namespace host
