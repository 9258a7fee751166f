#include "host/reg_file.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "foundation/reg_key.h"
#include "platform/text.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr Text kLineEnd = u"\r\n";
constexpr Text kHead = u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n";

struct SType {
    Text name;
    std::uint32_t number;
};
constexpr SType kTypes[] = {
    {u"REG_NONE", REG_NONE},
    {u"REG_SZ", REG_SZ},
    {u"REG_EXPAND_SZ", REG_EXPAND_SZ},
    {u"REG_BINARY", REG_BINARY},
    {u"REG_DWORD", REG_DWORD},
    {u"REG_DWORD_BIG_ENDIAN", REG_DWORD_BIG_ENDIAN},
    {u"REG_LINK", REG_LINK},
    {u"REG_MULTI_SZ", REG_MULTI_SZ},
    {u"REG_RESOURCE_LIST", REG_RESOURCE_LIST},
    {u"REG_FULL_RESOURCE_DESCRIPTOR", REG_FULL_RESOURCE_DESCRIPTOR},
    {u"REG_RESOURCE_REQUIREMENTS_LIST", REG_RESOURCE_REQUIREMENTS_LIST},
    {u"REG_QWORD", REG_QWORD},
};

// Keys are in the order of a tree: what is below a key follows it at once. No name has a NUL.
std::u16string SortText(Text key) {
    std::u16string text = platform::FoldedText(key);
    std::ranges::replace(text, u'\\', u'\0');
    return text;
}

std::u16string Quote(Text text) {
    std::u16string quoted = u"\"";
    for (const char16_t unit : text) {
        quoted.append(unit == u'"' || unit == u'\\' ? 1 : 0, u'\\');
        quoted += unit;
    }
    return quoted + u'"';
}

std::u16string FormatName(Text name) { return name.empty() ? u"@" : Quote(name); }

bool IsHighHalf(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowHalf(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// Whether a string can be in quotes. Editors lose control characters, and lone halves of surrogate
// pairs when they save the file.
bool IsQuotable(Text text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsHighHalf(text[i]) && i + 1 < text.size() && IsLowHalf(text[i + 1])) {
            ++i;
        } else if (IsHighHalf(text[i]) || IsLowHalf(text[i]) ||
                   (text[i] < u' ' && text[i] != u'\t')) {
            return false;
        }
    }
    return true;
}

void AppendUnit(std::string& bytes, char16_t unit) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
}

void AppendString(std::string& bytes, Text text) {
    for (const char16_t unit : text) {
        AppendUnit(bytes, unit);
    }
    AppendUnit(bytes, 0);
}

// The bytes that the registry has. `size` is that of a number.
std::string ToBytes(const RegistryData& data, std::size_t size) {
    std::string bytes;
    if (const auto* const text = std::get_if<std::u16string>(&data)) {
        AppendString(bytes, *text);
    } else if (const auto* const list = std::get_if<std::vector<std::u16string>>(&data)) {
        for (const std::u16string& string : *list) {
            AppendString(bytes, string);
        }
        AppendUnit(bytes, 0);
    } else if (const auto* const number = std::get_if<std::uint64_t>(&data)) {
        for (std::size_t i = 0; i < size; ++i) {
            bytes += static_cast<char>(*number >> (8 * i) & 0xFF);
        }
    } else {
        for (const std::byte byte : std::get<std::vector<std::byte>>(data)) {
            bytes += static_cast<char>(byte);
        }
    }
    return bytes;
}

void AppendDigits(std::u16string& line, std::uint64_t number, std::size_t count) {
    while (count-- != 0) {
        line += u"0123456789abcdef"[number >> (4 * count) & 0xF];
    }
}

// Broken into lines as registry editors break them.
void AppendHex(std::u16string& line, std::uint32_t type, const std::string& bytes) {
    constexpr std::size_t kFullLine = 76;  // columns after which no further byte is begun
    line += u"hex";
    if (type != REG_BINARY) {
        line += u'(';
        AppendDigits(line, type, 1);
        line += u')';
    }
    line += u':';
    std::size_t columns = line.size();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        AppendDigits(line, static_cast<unsigned char>(bytes[i]), 2);
        if (i + 1 == bytes.size()) {
            break;
        }
        line += u',';
        columns += 3;
        if (columns > kFullLine) {
            line += u"\\\r\n  ";
            columns = 2;
        }
    }
}

void AppendData(std::u16string& line, std::uint32_t type, const RegistryData& data) {
    const auto* const text = std::get_if<std::u16string>(&data);
    if (type == REG_SZ && text != nullptr && IsQuotable(*text)) {
        line += Quote(*text);
    } else if (type == REG_DWORD) {
        line += u"dword:";
        AppendDigits(line, std::get<std::uint64_t>(data), 8);
    } else {
        AppendHex(line, type, ToBytes(data, 8));
    }
}

// Collects text for the file, which gets it in pieces.
class CUnitWriter {
public:
    CUnitWriter(std::ostream& file, void (&step)()) : m_file(file), m_step(step) {}
    void Append(Text text) {
        constexpr std::size_t kPiece = std::size_t{64} << 10;  // bytes
        for (const char16_t unit : text) {
            AppendUnit(m_bytes, unit);
        }
        if (m_bytes.size() >= kPiece) {
            Flush();
        }
    }
    void Flush() {
        m_step();
        m_file.write(m_bytes.data(), static_cast<std::streamsize>(m_bytes.size()));
        m_bytes.clear();
    }

private:
    std::ostream& m_file;
    void (&m_step)();
    std::string m_bytes;
};

}  // namespace

std::optional<std::uint32_t> FindRegistryType(Text name) {
    const auto* const type = std::ranges::find(kTypes, name, &SType::name);
    return type == std::end(kTypes) ? std::nullopt : std::optional(type->number);
}

bool CRegFile::CanName(Text name) { return name.find_first_of(kLineEnd) == Text::npos; }

CRegFile::SSection& CRegFile::FindSection(Text key) {
    SSection& section = m_sections[SortText(key)];
    if (section.key.empty()) {
        section.key = key;
    }
    return section;
}

void CRegFile::CreateKey(Text key) { FindSection(key).isCreated = true; }

void CRegFile::DeleteKey(Text key) { FindSection(key).isDeleted = true; }

void CRegFile::SetValue(Text key, Text name, std::uint32_t type, const RegistryData& data) {
    SSection& section = FindSection(key);
    section.isCreated = true;
    SLine line{FormatName(name)};
    line.nameSize = line.text.size();
    line.text += u'=';
    AppendData(line.text, type, data);
    line.text.shrink_to_fit();
    section.lines.push_back(std::move(line));
}

void CRegFile::DeleteValue(Text key, Text name) {
    SSection& section = FindSection(key);
    section.isCreated = true;
    const std::u16string shown = FormatName(name);
    section.lines.push_back({shown + u"=-", shown.size(), true});
}

// Deletions come first, and the default value before the others, as in registry editors. Stable,
// because of two values of one name the later one is to remain.
std::vector<const CRegFile::SLine*> CRegFile::SortLines(const std::vector<SLine>& lines) {
    struct SNamed {
        std::u16string name;
        const SLine* line;
    };
    std::vector<SNamed> named;
    named.reserve(lines.size());
    for (const SLine& line : lines) {
        // Letter case does not tell names apart.
        named.push_back({platform::FoldedText(Text(line.text).substr(0, line.nameSize)), &line});
    }
    std::ranges::stable_sort(named, {}, [](const SNamed& entry) {
        return std::tuple(!entry.line->isDeletion, entry.line->text[0] != u'@', Text(entry.name));
    });
    std::vector<const SLine*> sorted(named.size());
    std::ranges::transform(named, sorted.begin(), &SNamed::line);
    return sorted;
}

void CRegFile::Write(std::ostream& file, void (&step)()) {
    std::vector<std::pair<Text, SSection*>> sections;
    sections.reserve(m_sections.size());
    for (auto& [text, section] : m_sections) {
        sections.emplace_back(text, &section);
    }
    std::ranges::sort(sections);
    CUnitWriter writer(file, step);
    writer.Append(kHead);
    for (const auto& [text, section] : sections) {
        if (section->isDeleted) {
            writer.Append(u"[-" + section->key + u"]\r\n\r\n");
        }
    }
    for (const auto& [text, section] : sections) {
        if (!section->isCreated) {
            continue;
        }
        writer.Append(u'[' + section->key + u"]\r\n");
        for (const SLine* const line : SortLines(section->lines)) {
            writer.Append(line->text);
            writer.Append(kLineEnd);
        }
        writer.Append(kLineEnd);
    }
    writer.Flush();
}

}  // namespace host
