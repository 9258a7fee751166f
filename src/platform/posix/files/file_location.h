// platform/posix/files/file_location.h - reads a Windows path as a place in the POSIX file tree.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

constexpr std::size_t kMaxPath = 32767;  // units, as on Windows

// The path to one file or folder: a POSIX folder to start from, and the names that follow, without
// "." and "..".
struct SFileLocation {
    std::string root;
    // A text for the root, then each name after a backslash. Equal texts are the same path, so this
    // is the key of the folder cache.
    std::u16string path;
    std::size_t rootLength = 0;  // of `path`
    std::u16string stream;       // empty for the file itself

    [[nodiscard]] bool IsRoot() const { return path.size() == rootLength; }
    // The last name; empty for a root.
    [[nodiscard]] std::u16string_view GetName() const;
    // What comes before the last name, which is the path of its folder. Not for a root.
    [[nodiscard]] std::u16string_view GetFolderPath() const;
};

// A path that is split before its last name, which a stream may follow.
struct SSplitPath {
    std::u16string_view folder;  // with its last backslash; empty for a bare name
    std::u16string_view name;
    std::u16string_view stream;
};

// Splits a path whose last name is nothing but a name; false for every other, such as a root.
[[nodiscard]] bool SplitPath(std::u16string_view text, SSplitPath& split);

// Reads a path, plain or with "\\?\" before it. A path without a drive starts at the root folder or
// at the current one. So does "Z:a" if the drive is the root folder itself. ".." works on the text
// alone, as on Windows. Gives ERROR_PATH_NOT_FOUND for a drive or share that is not mapped,
// ERROR_INVALID_NAME for a slash or a stream without a name, ERROR_FILENAME_EXCED_RANGE for more
// than 32767 units. `location` is then in no particular state. Sets no last error.
[[nodiscard]] int ReadLocation(std::u16string_view text, SFileLocation& location);

}  // namespace platform
