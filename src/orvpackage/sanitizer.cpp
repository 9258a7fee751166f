#include "orvpackage/sanitizer.h"

#include <utility>

#include "foundation/reg_access.h"

namespace {

constexpr std::u16string_view kSidToken = u"%SID%";

// Groups of characters. In a text without any of a group there is nothing to escape, or nothing to
// collapse, so that step is skipped. Most texts have none at all.
enum EMarks : std::uint8_t {
    NoMarks = 0,
    EscapeMarks = 1,
    FilePathMarks = 2,  // every path has a colon or a backslash
    RegPathMarks = 4,   // the name of every hive has an underscore
    SidMarks = 8,       // "S-", as every SID begins
};

// Without branches and early exits, so that the compiler vectorises both loops.
unsigned FindMarks(std::u16string_view text) {
    unsigned escapes = 0;
    unsigned filePaths = 0;
    unsigned regPaths = 0;
    for (const char16_t unit : text) {
        escapes |= static_cast<unsigned>(unit == u'|') | (unit == u'%');
        filePaths |= static_cast<unsigned>(unit == u':') | (unit == u'\\');
        regPaths |= unit == u'_';
    }
    unsigned sids = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
        sids |= static_cast<unsigned>(text[i - 1] == u'S') & (text[i] == u'-');
    }
    return escapes * EscapeMarks | filePaths * FilePathMarks | regPaths * RegPathMarks |
           sids * SidMarks;
}

}  // namespace

COrvSanitizer::COrvSanitizer() : m_sid(GetCurrentUserSid()) {}

CStrW COrvSanitizer::Sanitize(std::u16string_view text, std::uint32_t flags) const {
    CStrW buffer;
    const std::u16string_view result = Sanitize(text, flags, buffer);
    // The result is `text` or all of the buffer, which then need not be copied.
    return result.data() == buffer.Get() ? std::move(buffer) : CStrW(result);
}

std::u16string_view COrvSanitizer::Sanitize(std::u16string_view text, std::uint32_t flags,
                                            CStrW& buffer) const {
    const unsigned marks = FindMarks(text);
    if (marks == NoMarks) {
        return text;
    }
    buffer.Assign(text);
    // Escapes come first: the tokens that are put in below have percent signs of their own.
    if ((marks & EscapeMarks) != 0) {
        buffer.Replace(u"|", u"||", false);
        buffer.Replace(u"%", u"|%", false);
    }
    // A path may collapse to a text with the SID in it, although the text had none before.
    bool mayHoldSid = (marks & SidMarks) != 0;
    if ((marks & FilePathMarks) != 0 && (flags & SanitizeNoFilePaths) == 0) {
        mayHoldSid |= m_fileConverter->CollapsePaths(buffer, false);
    }
    if ((marks & RegPathMarks) != 0 && (flags & SanitizeNoRegPaths) == 0) {
        mayHoldSid |= m_regConverter->CollapseKeyText(buffer);
    }
    // After the keys: the path of the user's own key contains the SID and must collapse to a key
    // first.
    if (mayHoldSid) {
        buffer.Replace(m_sid, kSidToken, false);
    }
    return buffer;
}

CStrW COrvSanitizer::Desanitize(const CStrW& text, std::uint32_t flags) const {
    // Each step undoes one of Sanitize, the last one first.
    CStrW result(text);
    result.Replace(kSidToken, m_sid, false);
    if ((flags & SanitizeNoRegPaths) == 0) {
        m_regConverter->ExpandKeyText(result);
    }
    if ((flags & SanitizeNoFilePaths) == 0) {
        m_fileConverter->ExpandTokens(result);
    }
    // The escapes in reverse order, after the tokens.
    result.Replace(u"|%", u"%", false);
    result.Replace(u"||", u"|", false);
    return result;
}

CDoubleNullStringW COrvSanitizer::SanitizeMulti(const CDoubleNullStringW& strings,
                                                std::uint32_t flags) const {
    CDoubleNullStringW result;
    ForEachString(strings,
                  [&](const char16_t* string) { result.Add(Sanitize(string, flags).Get()); });
    return result;
}
