#include "host/portable_text.h"

#include <algorithm>

#include "platform/machine.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr Text kSid = u"%SID%";

bool IsToken(Text token, EForm form) {
    return token == kSid || (form != EForm::Key && IsFileToken(token.substr(1, token.size() - 2)));
}

// The token or escape that `text` begins with, which is a bar or a percent sign. Empty for none.
Text TakeMark(Text text, EForm form) {
    if (text.starts_with(u"||") || text.starts_with(u"|%")) {
        return text.substr(0, 2);
    }
    const std::size_t end = text.find(u'%', 1);
    if (text[0] == u'|' || end == Text::npos) {
        return {};
    }
    const Text token = text.substr(0, end + 1);
    // A backslash follows each token of files, unless the text ends there.
    const bool isEnd = token == kSid || token.size() == text.size() || text[end + 1] == u'\\';
    return isEnd && IsToken(token, form) ? token : Text();
}

}  // namespace

CPortableText::CPortableText(ETokenUse use) {
    if (use == ETokenUse::Replace) {
        m_files.emplace();
    }
}

std::optional<std::u16string> CPortableText::Resolve(Text text, EForm form) {
    std::u16string result;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find_first_of(u"|%"), text.size());
        result += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        const Text mark = TakeMark(text, form);
        if (mark.empty()) {
            return std::nullopt;
        }
        text.remove_prefix(mark.size());
        if (mark[0] == u'|') {
            result += mark[1];
        } else if (const std::u16string* const value = FindValue(mark)) {
            result += *value;
            // A root such as "C:\" brings a backslash of its own.
            text.remove_prefix(value->ends_with(u'\\') && text.starts_with(u'\\') ? 1 : 0);
        } else {
            result += mark;
        }
    }
    return result;
}

// What replaces a token; null when it stays.
const std::u16string* CPortableText::FindValue(Text token) {
    if (m_files) {
        auto known = m_values.find(token);
        if (known == m_values.end()) {
            const CStrW path = m_files->Expand(CStrW(token));
            // A token that the machine does not have comes back as it is.
            const std::u16string value = token == kSid          ? platform::GetUserSid()
                                         : path.View() == token ? std::u16string()
                                                                : std::u16string(path.View());
            known = m_values.emplace(token, value).first;
        }
        if (!known->second.empty()) {
            return &known->second;
        }
        ++m_missing[std::u16string(token)];
    }
    ++m_kept;
    return nullptr;
}

}  // namespace host
