#include "orvpackage/multi_string.h"

#include <algorithm>
#include <string>

#include "foundation/file_path_converter.h"

namespace {

constexpr std::u16string_view kSeparator = uR"(\0)";

}  // namespace

// Data that is cut off needs no final NUL: the last string then ends where the units end.
CDoubleNullStringW SplitMultiString(std::u16string_view units) {
    CDoubleNullStringW strings;
    while (!units.empty() && units.front() != u'\0') {
        const std::size_t length = std::min(units.find(u'\0'), units.size());
        strings.Add(units.substr(0, length));
        units.remove_prefix(std::min(length + 1, units.size()));
    }
    return strings;
}

CDoubleNullStringW ExpandMultiString(const CDoubleNullStringW& strings) {
    CDoubleNullStringW expanded;
    // String by string: a token never reaches across the NUL between two of them.
    ForEachString(strings, [&expanded](const char16_t* text) {
        CStrW string(text);
        ExpandFileTokens(string);
        expanded.Add(string.Get());
    });
    return expanded;
}

CStrW FormatMultiString(const CDoubleNullStringW& strings) {
    std::u16string text;
    // Null for an empty list, and when there is no memory. The text is then only the end.
    const CDoubleNullStringW::StringArray array = strings.GetStrings();
    for (std::size_t i = 0; array != nullptr && i < strings.GetCount(); ++i) {
        if (i != 0) {
            text += kSeparator;
        }
        for (const char16_t unit : std::u16string_view(array[i])) {
            text.append(unit == u'\\' ? 2 : 1, unit);
        }
    }
    text += kSeparator;
    text += kSeparator;
    return CStrW(text);
}

CDoubleNullStringW ParseMultiString(const CStrW& text) {
    CDoubleNullStringW strings;
    const std::u16string_view rest = text;
    for (std::size_t start = 0; start < rest.size();) {
        const std::size_t end = std::min(rest.find(kSeparator, start), rest.size());
        CStrW string(rest.substr(start, end - start));
        // Only after the split, so a doubled backslash before a zero separates strings too.
        string.Replace(uR"(\\)", uR"(\)", false);
        strings.Add(string.Get());
        // After the last string this is beyond the text, which ends the loop.
        start = end + kSeparator.size();
    }
    return strings;
}
