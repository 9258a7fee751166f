#include "orvpackage/sanitizer.h"

#include "foundation/reg_access.h"
#include "platform/unit_marks.h"

namespace {

constexpr std::u16string_view kSidToken = u"%SID%";

// Groups of characters. In a text without any of a group there is nothing to escape, or nothing to
// collapse, so that step is skipped. Most texts have none at all.
constexpr std::int16_t kEscapeMark = 1;
constexpr std::int16_t kFilePathMark = 2;  // every path has a colon or a backslash
constexpr std::int16_t kRegPathMark = 4;   // the name of every hive has an underscore
// Every SID begins with "S-".
constexpr std::int16_t kSidStart = 8;
constexpr std::int16_t kSidHyphen = 16;
constexpr unsigned kSidMarks = kSidStart | kSidHyphen;

unsigned FindMarks(std::u16string_view text) {
    const unsigned marks = platform::CollectMarks(text, [](platform::UnitBlock units) {
        return ((platform::Equals(units, u'|') | platform::Equals(units, u'%')) & kEscapeMark) |
               ((platform::Equals(units, u':') | platform::Equals(units, u'\\')) & kFilePathMark) |
               (platform::Equals(units, u'_') & kRegPathMark) |
               (platform::Equals(units, u'S') & kSidStart) |
               (platform::Equals(units, u'-') & kSidHyphen);
    });
    // Half of the start of a SID is nothing.
    return (marks & kSidMarks) == kSidMarks ? marks : marks & ~kSidMarks;
}

void EscapeTokens(std::u16string_view text, std::u16string& escaped) {
    escaped.clear();
    for (const char16_t unit : text) {
        if (unit == u'|' || unit == u'%') {
            escaped += u'|';
        }
        escaped += unit;
    }
}

// False, with `replaced` in no particular state, when `sid` is not in the text.
bool ReplaceSid(std::u16string_view text, std::u16string_view sid, std::u16string& replaced) {
    replaced.clear();
    std::size_t done = 0;
    for (std::size_t place = sid.empty() ? text.npos : text.find(sid); place != text.npos;
         place = text.find(sid, done)) {
        replaced += text.substr(done, place - done);
        replaced += kSidToken;
        done = place + sid.size();
    }
    if (done == 0) {
        return false;
    }
    replaced += text.substr(done);
    return true;
}

// Whether a text is that of a folder on a drive, with all that a path may match in it at its start,
// and nothing to escape.
bool IsPlainFolder(std::u16string_view text) {
    constexpr auto npos = std::u16string_view::npos;
    return text.size() > 2 && text[1] == u':' && text.find(u':', 2) == npos &&
           text.find(uR"(\\)") == npos && !HasUnit(text, u'%') && !HasUnit(text, u'|');
}

}  // namespace

COrvSanitizer::COrvSanitizer() : m_sid(GetCurrentUserSid()) {}

CStrW COrvSanitizer::Sanitize(std::u16string_view text, std::uint32_t flags) const {
    std::u16string buffer;
    return CStrW(Sanitize(text, flags, buffer));
}

std::u16string_view COrvSanitizer::Sanitize(std::u16string_view text, std::uint32_t flags,
                                            std::u16string& buffer) const {
    const unsigned marks = FindMarks(text);
    if (marks == 0) {
        return text;
    }
    // Each step writes into `next`, which then becomes the buffer.
    std::u16string next;
    const auto take = [&text, &buffer, &next](bool isChanged) {
        if (isChanged) {
            buffer.swap(next);
            text = buffer;
        }
    };
    // Escapes come first: the tokens that are put in below have percent signs of their own.
    if ((marks & kEscapeMark) != 0) {
        EscapeTokens(text, next);
        take(true);
    }
    if ((marks & kFilePathMark) != 0 && (flags & SanitizeNoFilePaths) == 0) {
        take(m_fileConverter->CollapsePaths(text, next));
    }
    if ((marks & kRegPathMark) != 0 && (flags & SanitizeNoRegPaths) == 0) {
        take(m_regConverter->CollapseKeyText(text, next));
    }
    // After the keys: the path of the user's own key contains the SID and must collapse to a key
    // first. No token ends in "S" or begins with a hyphen, so none completes the SID.
    if ((marks & kSidMarks) != 0) {
        take(ReplaceSid(text, m_sid, next));
    }
    return text;
}

// Escapes and SIDs do not reach over a backslash. A path may, if it goes on after the folder.
bool COrvSanitizer::SanitizeFolder(std::u16string_view folder, std::uint32_t flags,
                                   std::u16string& portable) const {
    const bool isKept = (flags & SanitizeNoRegPaths) != 0 &&
                        (folder.empty() || folder.ends_with(u'\\')) &&
                        ((flags & SanitizeNoFilePaths) != 0 ||
                         (IsPlainFolder(folder) && m_fileConverter->KeepsNamesIn(folder)));
    if (isKept) {
        // With a name, because a token at the end of a text has no backslash after it.
        const std::u16string file = std::u16string(folder) + u'x';
        std::u16string buffer;
        portable = Sanitize(file, flags, buffer);
        portable.pop_back();
    }
    return isKept;
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
    std::u16string buffer;
    ForEachString(strings,
                  [&](const char16_t* string) { result.Add(Sanitize(string, flags, buffer)); });
    return result;
}
