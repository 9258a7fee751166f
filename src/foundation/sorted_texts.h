// foundation/sorted_texts.h - sets and maps of texts in the collation order of the machine.
#pragma once

#include <set>

#include "foundation/wide_string.h"

// The order of the machine's locale, ignoring case. Each comparison asks the collator, so this is
// for small collections.
struct STextLessNoCase {
    bool operator()(const CStrW& left, const CStrW& right) const {
        return left.CompareNoCase(right) < 0;
    }
};
using SortedTexts = std::set<CStrW, STextLessNoCase>;
