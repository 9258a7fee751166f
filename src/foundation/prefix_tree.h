// foundation/prefix_tree.h - which of many texts a text begins with.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Texts with numbers, arranged by what they have in common at their starts. So a look-up reads each
// unit of a text once, whatever the number of texts. Letter case is ignored unit by unit, as
// platform::FoldText does.
//
// INVARIANT: the label of a node follows those of the nodes above it; only that of the root is
// empty. The labels below a node begin with different units.
// Threads: any number may look up, while nobody adds.
class CPrefixTree {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    // Adds a text, which is folded and not empty. Of equal texts the first one counts.
    void Add(std::u16string_view lowerText, std::size_t number);
    // The number of the longest added text that `text` begins with; kNone if there is none.
    [[nodiscard]] std::size_t FindLongest(std::u16string_view text) const;

private:
    struct SNode {
        std::u16string label;
        std::size_t number = kNone;  // that of the text that ends here
        std::vector<SNode> children;
    };

    static void Split(SNode& node, std::size_t length);
    [[nodiscard]] static const SNode* FindChild(const SNode& node, std::u16string_view text);

    SNode m_root;
};
