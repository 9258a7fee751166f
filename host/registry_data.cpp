#include "host/registry_data.h"

#include "foundation/hex.h"
#include "foundation/number_text.h"
#include "host/manifest_schema.h"

namespace host {

namespace {

using Text = std::u16string_view;

std::optional<RegistryData> DecodeNumber(Text text, std::size_t digits) {
    constexpr Text kPrefix = u"0x";
    if (!HasForm(text, EForm::Hex, {}) || text.size() > kPrefix.size() + digits) {
        return std::nullopt;
    }
    return ReadPlainNumber64(text.substr(kPrefix.size()), 16);
}

}  // namespace

bool SplitMultiString(Text text, const std::function<void(Text string)>& handle) {
    constexpr Text kEnd = uR"(\0\0)";
    constexpr Text kEmptyList = kEnd;
    if (text == kEmptyList) {
        return true;
    }
    std::u16string string;
    // From left to right, because a doubled backslash and a zero look like the end of a string.
    for (; !text.empty() && text != kEnd; text.remove_prefix(1)) {
        if (text[0] == u'\\') {
            text.remove_prefix(1);
            if (text.starts_with(u'0')) {
                handle(string);
                string.clear();
                continue;
            }
            if (!text.starts_with(u'\\')) {
                return false;
            }
        }
        string += text[0];
    }
    if (text.empty()) {
        return false;
    }
    handle(string);
    return true;
}

std::optional<std::vector<std::u16string>> DecodeMultiString(Text text) {
    std::vector<std::u16string> strings;
    const auto add = [&strings](Text string) { strings.emplace_back(string); };
    return SplitMultiString(text, add) ? std::optional(strings) : std::nullopt;
}

EDataKind GetDataKind(Text type) {
    if (type == u"REG_SZ" || type == u"REG_EXPAND_SZ") {
        return EDataKind::String;
    }
    if (type == u"REG_MULTI_SZ") {
        return EDataKind::Strings;
    }
    if (type == u"REG_DWORD" || type == u"REG_QWORD") {
        return EDataKind::Number;
    }
    return type.starts_with(u"REG_") ? EDataKind::Bytes : EDataKind::Unknown;
}

std::optional<RegistryData> DecodeRegistryData(Text type, Text text) {
    constexpr std::size_t kDwordDigits = 8;
    switch (GetDataKind(type)) {
        case EDataKind::String:
            return std::u16string(text);
        case EDataKind::Strings:
            return DecodeMultiString(text);
        case EDataKind::Number:
            return DecodeNumber(text, type == u"REG_DWORD" ? kDwordDigits : 2 * kDwordDigits);
        case EDataKind::Bytes:
            return ParseHex(text);
        case EDataKind::Unknown:
            break;
    }
    return std::nullopt;
}

void ShowMultiString(Text text, std::u16string& shown) {
    shown = u"[";
    const bool isWhole = SplitMultiString(text, [&shown](Text string) {
        shown.append(shown.size() == 1 ? u"\"" : u", \"").append(string).append(u"\"");
    });
    shown += u']';
    if (!isWhole) {
        shown = text;
    }
}

Text ShowRegistryData(Text type, Text text, std::u16string& buffer) {
    const EDataKind kind = GetDataKind(type);
    if (kind == EDataKind::Strings) {
        ShowMultiString(text, buffer);
        return buffer;
    }
    const auto data = kind == EDataKind::Number ? DecodeRegistryData(type, text) : std::nullopt;
    if (!data) {
        return text;
    }
    const std::string digits = std::to_string(std::get<std::uint64_t>(*data));
    buffer.assign(text).append(u" (").append(digits.begin(), digits.end()).append(u")");
    return buffer;
}

}  // namespace host
