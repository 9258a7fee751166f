#include "orvpackage/sanitizer.h"

#include <algorithm>
#include <string>

#include "foundation/reg_access.h"

namespace {

constexpr std::u16string_view kSidToken = u"%SID%";
constexpr std::u16string_view kSeparator = uR"(\0)";

}  // namespace

COrvSanitizer::COrvSanitizer() : m_sid(GetCurrentUserSid()) {}

CStrW COrvSanitizer::Sanitize(const CStrW& text, std::uint32_t flags) const {
    CStrW result(text);
    result.Replace(u"|", u"||", false);
    result.Replace(u"%", u"|%", false);
    if ((flags & SanitizeNoFilePaths) == 0) {
        m_fileConverter->CollapsePaths(result, false);
    }
    if ((flags & SanitizeNoRegPaths) == 0) {
        m_regConverter->CollapseKeyText(result);
    }
    result.Replace(m_sid, kSidToken, false);
    return result;
}

CStrW COrvSanitizer::Desanitize(const CStrW& text, std::uint32_t flags) const {
    CStrW result(text);
    result.Replace(kSidToken, m_sid, false);
    if ((flags & SanitizeNoRegPaths) == 0) {
        m_regConverter->ExpandKeyText(result);
    }
    if ((flags & SanitizeNoFilePaths) == 0) {
        m_fileConverter->ExpandTokens(result);
    }
    result.Replace(u"|%", u"%", false);
    result.Replace(u"||", u"|", false);
    return result;
}

CDoubleNullStringW COrvSanitizer::SanitizeMulti(const CDoubleNullStringW& strings,
                                                std::uint32_t flags) const {
    CDoubleNullStringW result;
    const CDoubleNullStringW::StringArray array = strings.GetStrings();
    for (std::size_t i = 0; array != nullptr && i < strings.GetCount(); ++i) {
        result.Add(Sanitize(CStrW(array[i]), flags).Get());
    }
    return result;
}

CStrW FormatMultiString(const CDoubleNullStringW& strings) {
    std::u16string text;
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
        string.Replace(uR"(\\)", uR"(\)", false);
        strings.Add(string.Get());
        start = end + kSeparator.size();
    }
    return strings;
}
