// platform/posix/files/folder_entry.h - a file as its folder knows it.
#pragma once

#include <sys/stat.h>

#include <string>
#include <utility>

namespace platform {

// Tells files and folders apart, for as long as one that counts is open.
using FileId = std::pair<dev_t, ino_t>;
[[nodiscard]] inline FileId GetFileId(const struct stat& info) {
    return {info.st_dev, info.st_ino};
}

// What a folder tells of one of its entries. For a link that is followed, `info` is of what it
// leads to; a link that is not, or that leads nowhere, is told of itself.
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
