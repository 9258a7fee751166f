#include "host/path_rules.h"

#include "platform/local_paths.h"

namespace host {

std::filesystem::path DeepPath(const std::filesystem::path& path) { return path; }

std::u16string PathKey(const std::filesystem::path& path) { return platform::PathText(path); }

}  // namespace host
