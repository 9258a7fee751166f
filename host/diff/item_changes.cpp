#include "host/diff/item_changes.h"

#include <algorithm>

namespace host {

namespace {

using Text = std::u16string_view;

bool HasPayload(const SPlainPart& part) {
    return std::ranges::any_of(part.attributes, &SPlainAttribute::isPayload);
}

}  // namespace

const SPlainItem& AnyItem(const SDifference& difference) {
    return difference.newer != nullptr ? *difference.newer : *difference.older;
}

bool IsValue(const SPlainItem& item) { return item.collection == u"CreateValues"; }

void ForEachChange(const SPlainPart& older, const SPlainPart& newer, const AttributeHandler& tell) {
    // Both lists are sorted by name.
    auto left = older.attributes.begin();
    auto right = newer.attributes.begin();
    while (left != older.attributes.end() || right != newer.attributes.end()) {
        const bool isLeft = right == newer.attributes.end() ||
                            (left != older.attributes.end() && left->name < right->name);
        const bool isRight = left == older.attributes.end() ||
                             (right != newer.attributes.end() && right->name < left->name);
        if (isLeft) {
            tell(left->name, left->value, std::nullopt);
        } else if (isRight) {
            tell(right->name, std::nullopt, right->value);
        } else if (left->value != right->value && !left->isPayload) {
            tell(left->name, left->value, right->value);
        }
        left += isRight ? 0 : 1;
        right += isLeft ? 0 : 1;
    }
}

std::optional<RegistryData> DecodeData(const SPlainItem& item) {
    const Text type = GetAttribute(item, u"Type");
    const bool isDecoded = type == u"REG_MULTI_SZ" || type == u"REG_DWORD" || type == u"REG_QWORD";
    return isDecoded ? DecodeRegistryData(type, item.text) : std::nullopt;
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
