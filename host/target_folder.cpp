#include "host/target_folder.h"

#include <algorithm>
#include <system_error>

#include "host/path_rules.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

struct SFolder {
    fs::path path;
    std::string name;  // with a slash behind it, unless it is the first
};

}  // namespace

std::vector<SFoundFile> ListFiles(const fs::path& folder, const TellProblem& tell) {
    std::vector<SFoundFile> files;
    std::vector<SFolder> open = {{DeepPath(folder), ""}};
    while (!open.empty()) {
        const SFolder next = std::move(open.back());
        open.pop_back();
        std::error_code error;
        fs::directory_iterator entry(next.path, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            const std::string name = next.name + platform::PathBytes(entry->path().filename());
            std::error_code unknown;  // counts as what is not regular
            const fs::file_status status = entry->symlink_status(unknown);
            if (fs::is_directory(status)) {
                open.push_back({entry->path(), name + '/'});
            } else {
                files.push_back({entry->path(), name, fs::is_regular_file(status)});
            }
        }
        if (error) {
            tell(next.path, "the folder cannot be listed: " + error.message());
        }
    }
    std::sort(files.begin(), files.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    return files;
}

}  // namespace host
