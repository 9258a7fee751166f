// foundation/sorted_texts.h - texts in the order of the machine.
#pragma once

#include <set>

#include "foundation/wide_string.h"

// Orders texts as the machine collates them, ignoring case.
struct STextLessNoCase {
    bool operator()(const CStrW& left, const CStrW& right) const {
        return left.CompareNoCase(right) < 0;
    }
};
using SortedTexts = std::set<CStrW, STextLessNoCase>;
