#include "host/json.h"

#include "platform/utf8.h"

namespace host {

namespace {

bool IsLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }
bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

void AppendEscape(std::string& json, char16_t unit) {
    constexpr std::string_view kHex = "0123456789abcdef";
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        json += kHex[(static_cast<unsigned>(unit) >> shift) & 0xFU];
    }
}

}  // namespace

std::string JsonText(std::u16string_view text) {
    std::string json = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (IsLead(unit) && i + 1 < text.size() && IsTrail(text[i + 1])) {
            json += platform::Utf16ToUtf8(text.substr(i++, 2));
        } else if (IsControl(unit) || IsLead(unit) || IsTrail(unit)) {
            AppendEscape(json, unit);
        } else {
            if (unit == u'"' || unit == u'\\') {
                json += '\\';
            }
            json += platform::Utf16ToUtf8(text.substr(i, 1));
        }
    }
    return json + '"';
}

void CJsonRows::Add(std::initializer_list<SField> fields) {
    m_rows += m_rows.empty() ? "\n  {" : ",\n  {";
    const char* separator = "";
    for (const SField& field : fields) {
        m_rows += separator;
        m_rows += '"';
        m_rows += field.name;
        m_rows += "\": ";
        m_rows += field.text ? JsonText(*field.text) : "null";
        separator = ", ";
    }
    m_rows += '}';
}

std::string CJsonRows::Finish() const { return m_rows.empty() ? "[]\n" : '[' + m_rows + "\n]\n"; }

}  // namespace host
