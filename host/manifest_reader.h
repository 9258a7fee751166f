// host/manifest_reader.h - counts what a manifest holds.
#pragma once

#include <cstddef>
#include <istream>

namespace host {

struct SManifestSummary {
    std::size_t items = 0;
    bool isComplete = false;  // the end of the document is there
};

// Counts the item elements of all collections. Takes no more memory for a larger manifest.
[[nodiscard]] SManifestSummary ReadManifest(std::istream& manifest);

}  // namespace host
