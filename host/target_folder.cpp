#include "host/target_folder.h"

#include <algorithm>

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

}  // namespace host
