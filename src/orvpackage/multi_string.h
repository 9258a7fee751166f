// orvpackage/multi_string.h - lists of strings, in the registry's form and in the manifest's.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "foundation/double_null_string.h"
#include "foundation/wide_string.h"

// Calls `use` with each string of a multi-string value, one after the other with their NULs. The
// list ends at its first empty string, or where the units end: data that is cut off needs no final
// NUL.
template <class TUse>
void ForEachStringOfUnits(std::u16string_view units, const TUse& use) {
    while (!units.empty() && units.front() != u'\0') {
        const std::size_t length = std::min(units.find(u'\0'), units.size());
        use(units.substr(0, length));
        units.remove_prefix(std::min(length + 1, units.size()));
    }
}
// The same strings as a list.
[[nodiscard]] CDoubleNullStringW SplitMultiString(std::u16string_view units);

// The same strings with their file tokens expanded.
[[nodiscard]] CDoubleNullStringW ExpandMultiString(const CDoubleNullStringW& strings);

// The text form: each backslash doubled, the strings joined by "\0", "\0\0" at the end. Reading
// takes every "\0" for a separator, also one made of a doubled backslash and a zero, and drops
// empty strings.
class CMultiStringText {
public:
    void Add(std::u16string_view string);
    // Ends the list and lends its text.
    [[nodiscard]] std::u16string_view Finish();

private:
    std::u16string m_text;
};
[[nodiscard]] CStrW FormatMultiString(const CDoubleNullStringW& strings);
[[nodiscard]] CDoubleNullStringW ParseMultiString(const CStrW& text);
