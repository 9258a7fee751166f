#include "orvpackage/sanitizer.h"

#include <algorithm>
#include <utility>

#include "foundation/reg_access.h"

namespace {

constexpr std::u16string_view kSidToken = u"%SID%";

// Whether a text holds one of the characters without which there is nothing to escape and nothing
// to collapse: a path has a colon or a backslash, and the name of every hive an underscore.
bool HasMarks(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(), [](char16_t unit) {
        return unit == u'|' || unit == u'%' || unit == u':' || unit == u'\\' || unit == u'_';
    });
}

}  // namespace

COrvSanitizer::COrvSanitizer() : m_sid(GetCurrentUserSid()) {}

CStrW COrvSanitizer::Sanitize(std::u16string_view text, std::uint32_t flags) const {
    CStrW buffer;
    const std::u16string_view result = Sanitize(text, flags, buffer);
    return result.data() == buffer.Get() ? std::move(buffer) : CStrW(result);
}

std::u16string_view COrvSanitizer::Sanitize(std::u16string_view text, std::uint32_t flags,
                                            CStrW& buffer) const {
    if (!HasMarks(text) && text.find(m_sid.View()) == std::u16string_view::npos) {
        return text;
    }
    buffer.Assign(text);
    buffer.Replace(u"|", u"||", false);
    buffer.Replace(u"%", u"|%", false);
    if ((flags & SanitizeNoFilePaths) == 0) {
        m_fileConverter->CollapsePaths(buffer, false);
    }
    if ((flags & SanitizeNoRegPaths) == 0) {
        m_regConverter->CollapseKeyText(buffer);
    }
    buffer.Replace(m_sid, kSidToken, false);
    return buffer;
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
        result.Add(Sanitize(array[i], flags).Get());
    }
    return result;
}
