// platform/posix/files/folder_entry.h - a file as its folder knows it.
#pragma once

#include <sys/stat.h>

#include <string>
#include <utility>

namespace platform {

// Identifies a file or folder. Only as long as it is open: then the number may be given to another.
using FileId = std::pair<dev_t, ino_t>;
[[nodiscard]] inline FileId GetFileId(const struct stat& info) {
    return {info.st_dev, info.st_ino};
}

// What a folder knows of one of its entries. For a link that is followed, `info` is of its target.
// For a link that is not followed, or has no target, it is of the link itself.
struct SEntry {
    std::string name;  // on disk
    struct stat info {};
    bool isLink = false;

    [[nodiscard]] bool IsFolder() const { return S_ISDIR(info.st_mode); }
    [[nodiscard]] bool IsRegular() const { return S_ISREG(info.st_mode); }
    // A link that was not followed, or could not be.
    [[nodiscard]] bool IsUnfollowed() const { return S_ISLNK(info.st_mode); }
    // The attribute is the file's own, so a link never has it.
    [[nodiscard]] bool IsReadOnly() const {
        return !isLink && IsRegular() && (info.st_mode & S_IWUSR) == 0;
    }
};

}  // namespace platform
