// host/diff/item_changes.h - what the two items of a difference differ in.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/diff/manifest_diff.h"

namespace host {

// The newer item, or the older one of what was removed.
[[nodiscard]] const SPlainItem& AnyItem(const SDifference& difference);

// Whether the text of an item is the data of a registry value.
[[nodiscard]] bool IsValue(const SPlainItem& item);

using AttributeHandler =
    std::function<void(const std::u16string& name, std::optional<std::u16string_view> older,
                       std::optional<std::u16string_view> newer)>;

// Calls `tell` for each attribute that differs, without a value where there is none. Generated
// names differ when one side has none at all.
void ForEachChange(const SPlainPart& older, const SPlainPart& newer, const AttributeHandler& tell);

// The parts without payload; the others are compared by it.
[[nodiscard]] std::vector<const SPlainPart*> ListParts(const SPlainItem& item);

}  // namespace host
