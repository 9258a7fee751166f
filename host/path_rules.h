// host/path_rules.h - what each system makes of paths and folders. Each has a folder of sources.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace host {

struct SFolderEntry {
    std::filesystem::path name;
    bool isFolder = false;   // and no link to one
    bool isRegular = false;  // a file, and no link to one, pipe or the like
};

// The path by which files at any depth can be opened and listed.
[[nodiscard]] std::filesystem::path DeepPath(const std::filesystem::path& path);

// The full path as DeepPath needs it. Links stay as they are. Empty when the current folder is
// gone.
[[nodiscard]] std::filesystem::path AbsolutePath(const std::filesystem::path& path);

// The path that is written so in bytes, as arguments are. Nothing is taken for a drive that is none
// on this system.
[[nodiscard]] std::filesystem::path PathOfBytes(const std::string& bytes);

// A text that two paths share when they lead to the same file and name its folder alike.
[[nodiscard]] std::u16string PathKey(const std::filesystem::path& path);

// Gives what is in a folder, in any order; what was found before a failure too. An empty root of a
// drive is no failure.
[[nodiscard]] std::error_code ListFolder(const std::filesystem::path& folder,
                                         std::vector<SFolderEntry>& entries);

// How long this machine may go on seeing a folder as it was after another machine has changed it.
// More than zero on NFS only.
[[nodiscard]] std::chrono::seconds GetStaleTime(const std::filesystem::path& folder);

}  // namespace host
