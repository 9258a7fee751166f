#include "orvpackage/sanitizer.h"

#include <array>
#include <utility>

#include "foundation/reg_access.h"

namespace {

constexpr std::u16string_view kSidToken = u"%SID%";

// The characters without which there is nothing to escape, or nothing to collapse.
enum EMarks : std::uint8_t {
    NoMarks = 0,
    EscapeMarks = 1,
    FilePathMarks = 2,
    RegPathMarks = 4,
};

constexpr std::array<std::uint8_t, 128> MakeMarks() {
    std::array<std::uint8_t, 128> marks{};
    marks[u'|'] = marks[u'%'] = EscapeMarks;
    marks[u':'] = marks[u'\\'] = FilePathMarks;  // every path has one of them
    marks[u'_'] = RegPathMarks;                  // the name of every hive has it
    return marks;
}

unsigned FindMarks(std::u16string_view text) {
    static constexpr std::array<std::uint8_t, 128> kMarks = MakeMarks();
    unsigned found = NoMarks;
    for (const char16_t unit : text) {
        found |= unit < kMarks.size() ? kMarks[unit] : 0U;
    }
    return found;
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
    const unsigned marks = FindMarks(text);
    if (marks == NoMarks && text.find(m_sid.View()) == std::u16string_view::npos) {
        return text;
    }
    buffer.Assign(text);
    if ((marks & EscapeMarks) != 0) {
        buffer.Replace(u"|", u"||", false);
        buffer.Replace(u"%", u"|%", false);
    }
    if ((marks & FilePathMarks) != 0 && (flags & SanitizeNoFilePaths) == 0) {
        m_fileConverter->CollapsePaths(buffer, false);
    }
    if ((marks & RegPathMarks) != 0 && (flags & SanitizeNoRegPaths) == 0) {
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
