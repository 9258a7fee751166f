#include "host/diff/item_changes.h"

#include <algorithm>

#include "host/diff/merge_sorted.h"

namespace host {

namespace {

bool HasPayload(const SPlainPart& part) {
    return std::ranges::any_of(part.attributes, &SPlainAttribute::isPayload);
}

}  // namespace

const SPlainItem& AnyItem(const SDifference& difference) {
    return difference.newer != nullptr ? *difference.newer : *difference.older;
}

bool IsValue(const SPlainItem& item) { return item.collection == u"CreateValues"; }

void ForEachChange(const SPlainPart& older, const SPlainPart& newer, const AttributeHandler& tell) {
    MergeSorted(older.attributes, newer.attributes, &SPlainAttribute::name,
                [&tell](const SPlainAttribute* left, const SPlainAttribute* right) {
                    if (right == nullptr) {
                        tell(left->name, left->value, std::nullopt);
                    } else if (left == nullptr) {
                        tell(right->name, std::nullopt, right->value);
                    } else if (left->value != right->value && !left->isPayload) {
                        tell(left->name, left->value, right->value);
                    }
                    return true;
                });
}

std::vector<const SPlainPart*> ListParts(const SPlainItem& item) {
    std::vector<const SPlainPart*> parts;
    for (const SPlainPart& part : item.parts) {
        if (!HasPayload(part)) {
            parts.push_back(&part);
        }
    }
    return parts;
}

}  // namespace host
