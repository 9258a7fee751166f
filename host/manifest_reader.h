// host/manifest_reader.h - counts what a manifest holds.
#pragma once

#include <cstddef>
#include <filesystem>

namespace host {

struct SManifestSummary {
    std::size_t items = 0;
    bool isComplete = false;  // the end of the document is there
};

// Counts the item elements of all collections, with all processors when there are many. Takes no
// more memory for a larger manifest.
[[nodiscard]] SManifestSummary ReadManifest(const std::filesystem::path& manifest);

}  // namespace host
