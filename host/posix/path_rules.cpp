#include "host/path_rules.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include "platform/local_paths.h"

namespace host {

std::filesystem::path DeepPath(const std::filesystem::path& path) { return path; }

std::filesystem::path AbsolutePath(const std::filesystem::path& path) {
    std::error_code error;
    const std::filesystem::path full = std::filesystem::absolute(path, error);
    return error ? std::filesystem::path() : full;
}

std::filesystem::path PathOfBytes(const std::string& bytes) { return bytes; }

// Letter case counts here, and no path has a prefix to take off.
std::u16string PathKey(const std::filesystem::path& path) { return platform::PathText(path); }

std::error_code ListFolder(const std::filesystem::path& folder,
                           std::vector<SFolderEntry>& entries) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unknown;  // counts as what is not regular
        // Most file systems tell these together with the name. symlink_status() asks again.
        const bool isLink = entry->is_symlink(unknown);
        entries.push_back({entry->path().filename(), !isLink && entry->is_directory(unknown),
                           !isLink && entry->is_regular_file(unknown)});
    }
    return error;
}

// By default a client keeps what it knows of a folder for up to a minute (acdirmax of nfs(5)), also
// that a file does not exist.
std::chrono::seconds GetStaleTime(const std::filesystem::path& folder) {
    constexpr std::chrono::seconds kLongest{60};
    struct statfs info {};
    return statfs(folder.c_str(), &info) == 0 && info.f_type == NFS_SUPER_MAGIC
               ? kLongest
               : std::chrono::seconds(0);
}

}  // namespace host
