#include <algorithm>

#include "support/hive_builder.h"
#include "support/system.h"

namespace {

void AppendHex(std::string& text, std::size_t number, int digits) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
        text += kDigits[number >> shift & 0xFU];
    }
}

// A name between its brackets or quotes. Everything but letters and digits can be written by its
// number.
std::string Escaped(std::u16string_view name) {
    std::string text;
    for (const char16_t unit : name) {
        const bool isPlain = (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
                             (unit >= u'a' && unit <= u'z');
        if (isPlain) {
            text += static_cast<char>(unit);
        } else {
            text += "\\x";
            AppendHex(text, unit, 4);
        }
    }
    return text;
}

std::string DataText(std::uint32_t type, std::string_view data) {
    std::string text = "hex(";
    AppendHex(text, type, 8);
    text += "):";
    for (std::size_t i = 0; i < data.size(); ++i) {
        text += i == 0 ? "" : ",";
        AppendHex(text, static_cast<unsigned char>(data[i]), 2);
    }
    return text;
}

}  // namespace

std::string CTestHive::WineText() const {
    std::string text = "WINE REGISTRY Version 2\n";
    std::vector<std::string> paths;
    for (const SKey& key : m_keys) {
        // The root comes first and has no path. It keeps a first key that is named as the place of
        // the hive, or as the one above, from being taken for that place.
        const bool isRoot = &key == m_keys.data();
        const std::string parent = isRoot || key.parent == 0 ? "" : paths[key.parent] + "\\\\";
        paths.push_back(isRoot ? "" : parent + Escaped(key.name));
        text += "\n[" + paths.back() + "]\n";
        for (const SValue& value : key.values) {
            text += value.name.empty() ? "@" : '"' + Escaped(value.name) + '"';
            text += "=" + DataText(value.type, value.data) + "\n";
        }
    }
    return text;
}

std::string CTestHive::LoadableBytes() const { return AnswersByWine() ? WineText() : Bytes(); }
