// host/diff/manifest_diff.h - what two manifests differ in, item by item.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host/diff/packed_item.h"
#include "host/diff/payload_diff.h"
#include "host/target_folder.h"

namespace host {

enum class EChange : std::uint8_t { Added, Removed, Changed };

// A payload file of an item on one side.
struct SPayloadName {
    std::u16string source;             // as the item has it; empty when it names none
    const SFoundFile* file = nullptr;  // null when it is not there
};

// A payload file that has other bytes, is there on one side only, or is that of a part which only
// one of the two items has.
struct SPayloadChange {
    std::u16string element;  // of the part; empty for the item's own
    std::u16string attribute;
    SPayloadName older;
    SPayloadName newer;
};

// An item that one manifest has, or that both have and that is not the same. Valid during the call.
struct SDifference {
    EChange change = EChange::Changed;
    const SPlainItem* older = nullptr;  // null when it was added
    const SPlainItem* newer = nullptr;  // null when it was removed
    std::vector<SPayloadChange> payload = {};
};

// Receives one difference. False ends the comparison.
using DifferenceHandler = std::function<bool(const SDifference& difference)>;

// What was done with the payload of two manifests.
enum class EPayloadDiff : std::uint8_t {
    NoneNamed,  // nothing, or the manifests were not compared
    Compared,
    NoneThere  // nothing: some is named, and none of it is on either side
};

// Compares two manifests, and the payload beside them. The differences come in the order of the
// collections, then of the places, then of the identities, which is the same whatever the order of
// the items. When a manifest cannot be read, or ends early, that is told, and no difference is
// given. `contents` knows the files until the end. The memory grows with the number of items, and
// with the texts of those that differ or name payload.
[[nodiscard]] EPayloadDiff DiffManifests(const std::filesystem::path& older,
                                         const std::filesystem::path& newer,
                                         CFileContents& contents, const TellProblem& tell,
                                         const DifferenceHandler& handle);

}  // namespace host
