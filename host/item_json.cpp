#include "host/item_json.h"

#include <algorithm>
#include <string>

#include "foundation/hex.h"
#include "host/registry_data.h"
#include "platform/utf8.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr Text kMembers[] = {u"collection", u"element", u"line", u"data", u"text", u"parts"};

// Attributes of a manifest begin with a capital letter, so that no member is called like one. An
// unknown one that is gets a mark in front.
void WriteAttributes(const SItemPart& part, CJsonWriter& json) {
    for (const auto& [name, value] : part.attributes) {
        const bool isTaken = std::ranges::find(kMembers, name) != std::end(kMembers);
        json.Key((isTaken ? "@" : "") + platform::Utf16ToUtf8(name));
        json.Text(value);
    }
}

void WriteText(Text text, CJsonWriter& json) {
    if (!text.empty()) {
        json.Key("text");
        json.Text(text);
    }
}

// Whether a text is bytes as they are to be written.
bool IsUpperHex(Text text) {
    // The loop has no early exit, so that the compiler vectorises it.
    unsigned others = 0;
    for (const char16_t unit : text) {
        const bool isDigit = static_cast<char16_t>(unit - u'0') < 10;
        const bool isLetter = static_cast<char16_t>(unit - u'A') < 6;
        others |= static_cast<unsigned>(!isDigit) & static_cast<unsigned>(!isLetter);
    }
    return others == 0 && text.size() % 2 == 0;
}

// A number or bytes.
void WriteDecoded(const RegistryData& data, CJsonWriter& json) {
    json.Key("data");
    if (const auto* const number = std::get_if<std::uint64_t>(&data)) {
        WriteExactNumber(*number, json);
    } else if (const auto* const bytes = std::get_if<std::vector<std::byte>>(&data)) {
        json.Text(Text(BytesToHex(bytes->data(), bytes->size())));
    }
}

}  // namespace

void WriteExactNumber(std::uint64_t number, CJsonWriter& json) {
    // Many readers keep numbers as a double, which is exact below this one.
    constexpr std::uint64_t kLeastInexact = std::uint64_t{1} << 53;
    if (number < kLeastInexact) {
        json.Number(static_cast<std::int64_t>(number));
    } else {
        json.Ascii(std::to_string(number));
    }
}

void WriteValueData(Text type, Text text, CJsonWriter& json) {
    const EDataKind kind = GetDataKind(type);
    // Most data is strings and bytes, which need no decoding.
    if (kind == EDataKind::String || (kind == EDataKind::Bytes && IsUpperHex(text))) {
        json.Key("data");
        json.Text(text);
    } else if (kind == EDataKind::Strings && SplitMultiString(text, [](Text) {})) {
        json.Key("data");
        json.BeginArray();
        static_cast<void>(SplitMultiString(text, [&json](Text string) { json.Text(string); }));
        json.EndArray();
    } else if (const auto data = DecodeRegistryData(type, text)) {
        WriteDecoded(*data, json);
    } else {
        WriteText(text, json);
    }
}

void WriteItem(const SItem& item, CJsonWriter& json) {
    json.BeginObject();
    json.Key("collection");
    json.Text(item.collection);
    json.Key("element");
    json.Text(item.element);
    json.Key("line");
    json.Number(item.line);
    WriteAttributes(item, json);
    if (item.collection == u"CreateValues") {
        WriteValueData(GetAttribute(item, u"Type"), item.text, json);
    } else {
        WriteText(item.text, json);
    }
    if (!item.parts.empty()) {
        json.Key("parts");
        json.BeginArray();
        for (const SItemPart& part : item.parts) {
            json.BeginObject();
            json.Key("element");
            json.Text(part.element);
            WriteAttributes(part, json);
            WriteText(part.text, json);
            json.EndObject();
        }
        json.EndArray();
    }
    json.EndObject();
}

}  // namespace host
