// orvpackage/multi_string.h - lists of strings, in the registry's form and in the manifest's.
#pragma once

#include <string_view>

#include "foundation/double_null_string.h"
#include "foundation/wide_string.h"

// The strings of a multi-string value, one after the other with their NULs. The list ends at its
// first empty string, or where the units end.
[[nodiscard]] CDoubleNullStringW SplitMultiString(std::u16string_view units);

// The same strings with their file tokens expanded.
[[nodiscard]] CDoubleNullStringW ExpandMultiString(const CDoubleNullStringW& strings);

// The text form: each backslash doubled, the strings joined by "\0", "\0\0" at the end. Reading
// takes every "\0" for a separator, also one made of a doubled backslash and a zero, and drops
// empty strings.
[[nodiscard]] CStrW FormatMultiString(const CDoubleNullStringW& strings);
[[nodiscard]] CDoubleNullStringW ParseMultiString(const CStrW& text);
