// host/manifest_reader.h - counts the items of a manifest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace host {

struct SManifestSummary {
    std::size_t items = 0;
    std::map<std::string, std::uint64_t> counts;  // of the items of each collection that has some
    bool isComplete = false;                      // the manifest has its last line
};

// Counts the item elements of all collections. Several threads read a large manifest at once. The
// memory does not grow with the manifest.
[[nodiscard]] SManifestSummary ReadManifest(const std::filesystem::path& manifest);

}  // namespace host
