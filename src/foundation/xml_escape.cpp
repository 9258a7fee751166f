#include "foundation/xml_escape.h"

#include <cstddef>

#include "foundation/hex.h"
#include "foundation/number_text.h"
#include "platform/unit_marks.h"

namespace {

constexpr std::size_t kDigits = 4;

bool StaysAsItIs(char16_t unit) { return unit >= 0x20 && unit < 0xD800 && unit != u'~'; }

void AppendEscaped(std::u16string& escaped, char16_t unit) {
    constexpr char16_t kHex[] = u"0123456789abcdef";
    if (StaysAsItIs(unit)) {
        escaped += unit;
    } else if (unit == u'~') {
        escaped += u"~~";
    } else {
        const char16_t escape[] = {u'~', kHex[unit >> 12], kHex[unit >> 8 & 0xF],
                                   kHex[unit >> 4 & 0xF], kHex[unit & 0xF]};
        escaped.append(escape, std::size(escape));
    }
}

// Appends the unit of the escape that starts `text`. Returns how many units of `text` that took.
std::size_t AppendUnescaped(std::u16string& plain, std::u16string_view text) {
    if (text.size() > 1 && text[1] == u'~') {
        plain += u'~';
        return 2;
    }
    const std::u16string_view digits = text.substr(1, kDigits);
    if (digits.size() < kDigits || !IsHexString(digits)) {
        plain += u'~';
        return 1;
    }
    const std::size_t escapeLength = 1 + kDigits;
    const auto value = static_cast<char16_t>(ReadPlainNumber64(digits, 16));
    if (value != 0) {
        plain += value;
        return escapeLength;
    }
    // The unit after an escaped NUL takes its place and starts no escape, even if it is a tilde.
    const std::u16string_view next = text.substr(escapeLength, 1);
    plain += next;
    return escapeLength + next.size();
}

}  // namespace

bool IsPlainXmlText(std::u16string_view text) {
    const auto isOther = [](platform::UnitBlock units) {
        // One comparison for both ends: a unit below 0x20 wraps around to a large number.
        return (units - platform::Repeat(0x20) >= platform::Repeat(0xD800 - 0x20)) |
               platform::Equals(units, u'~') | platform::Equals(units, u'&') |
               platform::Equals(units, u'<') | platform::Equals(units, u'>') |
               platform::Equals(units, u'"');
    };
    return platform::CollectMarks(text, isOther) == 0;
}

bool EscapeXmlText(std::u16string_view text, std::u16string& escaped) {
    std::size_t plain = 0;
    while (plain < text.size() && StaysAsItIs(text[plain])) {
        ++plain;
    }
    if (plain == text.size()) {
        return false;
    }
    escaped.assign(text, 0, plain);
    // The NUL counts as a unit to escape above, but ends the text here.
    for (std::size_t i = plain; i < text.size() && text[i] != 0; ++i) {
        AppendEscaped(escaped, text[i]);
    }
    return true;
}

CStrW EscapeXmlText(std::u16string_view text) {
    std::u16string escaped;
    return EscapeXmlText(text, escaped) ? CStrW(std::u16string_view(escaped)) : CStrW(text);
}

void UnescapeXmlText(CStrW& text) {
    const std::u16string_view source = text.View();
    std::size_t tilde = source.find(u'~');
    if (tilde == source.npos) {
        return;
    }
    // Built beside the text, into which `source` is a view.
    std::u16string plain;
    plain.reserve(source.size());
    std::size_t position = 0;
    for (; tilde != source.npos; tilde = source.find(u'~', position)) {
        plain.append(source, position, tilde - position);
        position = tilde + AppendUnescaped(plain, source.substr(tilde));
    }
    plain.append(source, position);
    text.Assign(plain);
}
