// host/diff/item_sort.h - items of two manifests in the order in which they are compared.
#pragma once

#include <span>
#include <vector>

#include "host/diff/packed_item.h"

namespace host {

// An item of one of two manifests, with its key.
struct SKept {
    SPackedItem packed;
    bool isNewer = false;
};

// Sorts the items by their keys. Of one key the older ones come first, each side by contents and
// payload.
[[nodiscard]] std::vector<const SKept*> SortItems(std::span<const SKept> items);

}  // namespace host
