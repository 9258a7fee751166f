#include "host/target_folder.h"

#include <algorithm>
#include <fstream>

#include "host/manifest_check.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

struct SFolder {
    fs::path path;
    std::string name;  // followed by a slash, unless it is the first
};

}  // namespace

bool IsGuidName(std::string_view name) {
    constexpr std::string_view kForm = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    return name.size() == kForm.size() &&
           std::equal(name.begin(), name.end(), kForm.begin(), [](char c, char form) {
               const bool isDigit =
                   (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
               return form == 'x' ? isDigit : c == form;
           });
}

bool IsManifest(const SFoundFile& file) {
    // In the manifest these are UTF-16.
    constexpr std::string_view kStart = "<?xml version=\"1.0\" encoding=\"utf-16\"?>";
    // Below the folder is payload, which may have files that look like a manifest.
    if (!file.isRegular || file.name.find('/') != std::string::npos) {
        return false;
    }
    // By its name too, so that one with a damaged start is told, and is no stray file.
    if (file.path.extension() == ".orv") {
        return true;
    }
    std::string wanted = "\xFF\xFE";
    for (const char c : kStart) {
        wanted += {c, '\0'};
    }
    std::string bytes(wanted.size(), '\0');
    std::ifstream start(file.path, std::ios::binary);
    start.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes == wanted;
}

std::vector<SFoundFile> ListFiles(const fs::path& folder, const TellProblem& tell) {
    std::vector<SFoundFile> files;
    // A list of folders to read instead of recursion, because a tree may be deeper than the stack.
    // Each round takes one folder off, and links are no folders, so that the loop ends.
    std::vector<SFolder> open = {{DeepPath(folder), ""}};
    while (!open.empty()) {
        const SFolder next = std::move(open.back());
        open.pop_back();
        std::vector<SFolderEntry> entries;
        const std::error_code error = ListFolder(next.path, entries);
        // What was listed before a failure counts too.
        for (const SFolderEntry& entry : entries) {
            const std::string name = next.name + platform::PathBytes(entry.name);
            if (entry.isFolder) {
                open.push_back({next.path / entry.name, name + '/'});
            } else {
                files.push_back({next.path / entry.name, name, entry.isRegular});
            }
        }
        if (error) {
            tell(next.path, "the folder cannot be listed: " + DescribeError(error));
        }
    }
    // Systems list folders in any order. Sorted by bytes, the same files give the same result
    // everywhere.
    std::sort(files.begin(), files.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    return files;
}

std::u16string FirstName(const std::u16string& file) {
    const std::size_t start = file.starts_with(u'\\') ? 1 : 0;
    return file.substr(start, file.find(u'\\', start) - start);
}

std::vector<SFoundFile> ListNamedFiles(const fs::path& folder,
                                       const std::set<std::u16string>& firstNames,
                                       const TellProblem& tell) {
    const std::u16string library = platform::LibraryPath(platform::PathBytes(folder)).value_or(u"");
    std::set<std::u16string> wanted;
    bool isAllWanted = false;
    for (const std::u16string& name : firstNames) {
        isAllWanted |= name.find(kSidMark) != name.npos;
        wanted.insert(
            PathKey(platform::LocalPath(std::u16string(library).append(u"\\").append(name))));
    }
    std::vector<SFoundFile> files;
    std::vector<SFolderEntry> entries;
    const std::error_code error =
        firstNames.empty() ? std::error_code() : ListFolder(folder, entries);
    for (const SFolderEntry& entry : entries) {
        const fs::path path = DeepPath(folder) / entry.name;
        const std::string name = platform::PathBytes(entry.name);
        if (!isAllWanted && !wanted.contains(PathKey(path))) {
            continue;
        }
        if (!entry.isFolder) {
            files.push_back({path, name, entry.isRegular});
            continue;
        }
        const std::string start = name + '/';
        for (SFoundFile& file : ListFiles(path, tell)) {
            file.name.insert(0, start);
            files.push_back(std::move(file));
        }
    }
    if (error) {
        tell(folder, "the folder cannot be listed: " + DescribeError(error));
    }
    std::ranges::sort(files, {}, &SFoundFile::name);
    return files;
}

}  // namespace host
