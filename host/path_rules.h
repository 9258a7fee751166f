// host/path_rules.h - what each system makes of paths. Each has a folder of sources.
#pragma once

#include <filesystem>
#include <string>

namespace host {

// The path with which folders of any depth can be listed.
[[nodiscard]] std::filesystem::path DeepPath(const std::filesystem::path& path);

// A text that two paths of one spelling share when they lead to the same file.
[[nodiscard]] std::u16string PathKey(const std::filesystem::path& path);

}  // namespace host
