#include "orvpackage/multi_string.h"

#include <algorithm>
#include <string>

#include "foundation/file_path_converter.h"

namespace {

constexpr std::u16string_view kSeparator = uR"(\0)";

}  // namespace

CDoubleNullStringW SplitMultiString(std::u16string_view units) {
    CDoubleNullStringW strings;
    ForEachStringOfUnits(units, [&strings](std::u16string_view string) { strings.Add(string); });
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

void CMultiStringText::Add(std::u16string_view string) {
    if (!m_text.empty()) {
        m_text += kSeparator;
    }
    for (const char16_t unit : string) {
        m_text.append(unit == u'\\' ? 2 : 1, unit);
    }
}

std::u16string_view CMultiStringText::Finish() {
    m_text += kSeparator;
    m_text += kSeparator;
    return m_text;
}

CStrW FormatMultiString(const CDoubleNullStringW& strings) {
    CMultiStringText text;
    // Nothing for an empty list, and when there is no memory. The text is then only the end.
    ForEachString(strings, [&text](const char16_t* string) { text.Add(string); });
    return CStrW(text.Finish());
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
