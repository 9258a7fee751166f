#include "foundation/json_writer.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <string>

#include "foundation/json_memory.h"
#include "platform/utf8.h"

namespace {

// The first and the second unit of a surrogate pair.
constexpr bool IsLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool IsTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void AppendEscape(std::string& json, char16_t unit) {
    constexpr std::string_view kHex = "0123456789abcdef";
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        json += kHex[(static_cast<unsigned>(unit) >> shift) & 0xFU];
    }
}

}  // namespace

struct CJsonWriter::SState {
    using Buffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, CJsonMemory>;

    Buffer buffer;
    rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::UTF8<>, CJsonMemory> writer{buffer};
    std::string text;  // kept, because one is needed for each value

    void WriteString() {
        writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
    void WriteEscaped(std::u16string_view units);
};

// The library takes valid texts alone, so whatever needs an escape of its own is spelled here.
void CJsonWriter::SState::WriteEscaped(std::u16string_view units) {
    text.assign(1, '"');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i];
        // A pair is one character of UTF-8. A half alone has no form there, so it is escaped.
        const bool isPair = IsLead(unit) && i + 1 < units.size() && IsTrail(units[i + 1]);
        if (isPair) {
            text += platform::Utf16ToUtf8(units.substr(i++, 2));
        } else if (IsLead(unit) || IsTrail(unit) || platform::IsControlUnit(unit)) {
            AppendEscape(text, unit);
        } else {
            if (unit == u'"' || unit == u'\\') {
                text += '\\';
            }
            text += platform::Utf16ToUtf8(units.substr(i, 1));
        }
    }
    text += '"';
    writer.RawValue(text.data(), text.size(), rapidjson::kStringType);
}

CJsonWriter::CJsonWriter() : m_state(std::make_unique<SState>()) {}
CJsonWriter::~CJsonWriter() = default;

void CJsonWriter::BeginObject() { m_state->writer.StartObject(); }
void CJsonWriter::EndObject() { m_state->writer.EndObject(); }
void CJsonWriter::BeginArray() { m_state->writer.StartArray(); }
void CJsonWriter::EndArray() { m_state->writer.EndArray(); }

void CJsonWriter::Key(std::string_view name) {
    m_state->writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
}

void CJsonWriter::Text(std::u16string_view text) {
    SState& state = *m_state;
    // Most texts are ASCII, and then a unit is a byte.
    const auto isPlain = [](char16_t unit) { return unit >= 0x20 && unit < 0x7F; };
    if (!std::ranges::all_of(text, isPlain)) {
        state.WriteEscaped(text);
        return;
    }
    // The library escapes the quotes and backslashes that are left.
    state.text.resize(text.size());
    std::ranges::transform(text, state.text.begin(),
                           [](char16_t unit) { return static_cast<char>(unit); });
    state.WriteString();
}

void CJsonWriter::Ascii(std::string_view text) {
    m_state->writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void CJsonWriter::Utf8(std::string_view text) { Text(platform::Utf8ToUtf16(text)); }
void CJsonWriter::Number(std::int64_t number) { m_state->writer.Int64(number); }
void CJsonWriter::Bool(bool value) { m_state->writer.Bool(value); }
void CJsonWriter::Null() { m_state->writer.Null(); }

void CJsonWriter::Json(std::string_view value) {
    // The library copies the value without a check. Its type only says that it is no name.
    m_state->writer.RawValue(value.data(), value.size(), rapidjson::kObjectType);
}

std::string_view CJsonWriter::GetBytes() const {
    return {m_state->buffer.GetString(), m_state->buffer.GetSize()};
}

void CJsonWriter::Clear() {
    // Both keep their memory for the next document.
    m_state->buffer.Clear();
    m_state->writer.Reset(m_state->buffer);
}
