#include "foundation/prefix_tree.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace {

// Most units are ASCII and need no call of FoldUnit.
char16_t Fold(char16_t unit) {
    if (unit >= 0x80) {
        return platform::FoldUnit(unit);
    }
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

std::size_t CommonLength(std::u16string_view left, std::u16string_view right) {
    const auto end = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first;
    return static_cast<std::size_t>(end - left.begin());
}

bool BeginsWith(std::u16string_view text, std::u16string_view lowerPrefix) {
    return text.size() >= lowerPrefix.size() &&
           std::equal(lowerPrefix.begin(), lowerPrefix.end(), text.begin(),
                      [](char16_t lower, char16_t unit) { return lower == Fold(unit); });
}

}  // namespace

void CPrefixTree::Add(std::u16string_view lowerText, std::size_t number) {
    SNode* node = &m_root;
    while (!lowerText.empty()) {
        const auto child = std::find_if(
            node->children.begin(), node->children.end(),
            [lowerText](const SNode& next) { return next.label.front() == lowerText.front(); });
        if (child == node->children.end()) {
            node->children.push_back({std::u16string(lowerText), number, {}});
            return;
        }
        const std::size_t common = CommonLength(child->label, lowerText);
        Split(*child, common);
        lowerText.remove_prefix(common);
        node = &*child;
    }
    if (node->number == kNone) {
        node->number = number;
    }
}

// Cuts the label of a node; a new node below it takes the rest.
void CPrefixTree::Split(SNode& node, std::size_t length) {
    if (length == node.label.size()) {
        return;
    }
    SNode rest{node.label.substr(length), std::exchange(node.number, kNone),
               std::exchange(node.children, {})};
    node.label.resize(length);
    node.children.push_back(std::move(rest));
}

std::size_t CPrefixTree::FindLongest(std::u16string_view text) const {
    std::size_t found = kNone;
    // Each node ends a longer text than the one above it.
    for (const SNode* node = FindChild(m_root, text); node != nullptr;
         node = FindChild(*node, text)) {
        if (node->number != kNone) {
            found = node->number;
        }
        text.remove_prefix(node->label.size());
    }
    return found;
}

// The child whose label `text` begins with; null if there is none.
const CPrefixTree::SNode* CPrefixTree::FindChild(const SNode& node, std::u16string_view text) {
    if (text.empty()) {
        return nullptr;
    }
    const char16_t first = Fold(text.front());
    for (const SNode& child : node.children) {
        if (child.label.front() == first) {
            return BeginsWith(text, child.label) ? &child : nullptr;
        }
    }
    return nullptr;
}
