#include "support/link_builder.h"

#include <algorithm>

#include "support/little_endian.h"

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kIsUnicode = 0x80;

std::string AnsiBytes(std::u16string text) {
    std::ranges::replace_if(
        text, [](char16_t unit) { return unit >= 0x100; }, u'?');
    return UnitBytes(text, 1);
}

std::string AnsiZ(std::u16string_view text) { return AnsiBytes(std::u16string(text)) + '\0'; }

std::string WideZ(std::u16string_view text) { return UnitBytes(text) + std::string(2, '\0'); }

std::string Padded(std::string bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

std::string RootItem(unsigned sortIndex, std::string_view classId) {
    return Numbers({0x1F, sortIndex}, 1).append(classId);
}

// A fixed drive without a label.
std::string MakeVolume() { return Numbers({0x11, 3, 0, 0x10}) + '\0'; }

std::string MakeNetwork(std::u16string_view name, bool isWide) {
    const std::size_t headerSize = isWide ? 0x1C : 0x14;
    const std::string names = AnsiZ(name) + (isWide ? WideZ(name) : "");
    return Numbers({headerSize + names.size(), 2, headerSize, 0, 0x20000}) +
           (isWide ? Numbers({headerSize + name.size() + 1, 0}) : "") + names;
}

}  // namespace

void CTestLink::Item(const std::string& content) {
    m_flags |= 0x1;
    m_idList += Numbers({content.size() + 2}, 2) + content;
}

CTestLink& CTestLink::DriveItem(char16_t letter) {
    Item(RootItem(0x50, "\xE0\x4F\xD0\x20\xEA\x3A\x69\x10\xA2\xD8\x08\x00\x2B\x30\x30\x9D"sv));
    Item(Padded(Numbers({0x2F, letter, ':', '\\'}, 1), 23));
    return *this;
}

CTestLink& CTestLink::ShareItem(std::u16string_view name) {
    Item(RootItem(0x58, "\x60\x2C\x8D\x20\xEA\x3A\x69\x10\xA2\xD7\x08\x00\x2B\x30\x30\x9D"sv));
    // With description, comment, and all of them in Unicode.
    Item("\xC3\x01\xD1" + AnsiZ(name) + AnsiZ(u"Network") + AnsiZ(u"") + WideZ(name) +
         WideZ(u"Network") + WideZ(u""));
    return *this;
}

CTestLink& CTestLink::RecycleBinItem() {
    Item(RootItem(0x60, "\x40\xF0\x5F\x64\x81\x50\x1B\x10\x9F\x08\x00\xAA\x00\x2F\x95\x4E"sv));
    return *this;
}

CTestLink& CTestLink::FileEntry(unsigned type, unsigned attributes, std::u16string_view shortName,
                                std::u16string_view longName) {
    std::string item = Padded(Numbers({type}, 1), 10) + Numbers({attributes}, 2) + AnsiZ(shortName);
    item.resize(item.size() + item.size() % 2);
    if (longName.empty()) {
        item.resize(item.size() + 2);
    } else {
        constexpr std::size_t kNameStart = 20;
        const std::string name = WideZ(longName);
        const std::size_t offset = item.size() + 2;
        item += Numbers({kNameStart + name.size() + 2, 3}, 2) +
                Numbers({0xBEEF0004U, 0, 0, kNameStart}) + name + Numbers({offset}, 2);
    }
    Item(item);
    return *this;
}

CTestLink& CTestLink::Block(std::uint32_t signature, std::string_view content) {
    m_blocks += Numbers({content.size() + 8, signature}).append(content);
    return *this;
}

std::string CTestLink::MakeTextBlock(std::u16string_view text) const {
    const bool isUnicode = (m_flags & kIsUnicode) != 0;
    return Padded(AnsiZ(text), 260) + Padded(isUnicode ? UnitBytes(text) : "", 520);
}

std::string CTestLink::MakeLinkInfo() const {
    const std::size_t headerSize = m_hasWideInfo ? 0x24 : 0x1C;
    const std::u16string base = m_localBase.value_or(u"");
    std::string header = Numbers({headerSize, (m_localBase ? 1U : 0U) | (m_share ? 2U : 0U)});
    std::string content;
    // Puts a part behind the header and its offset into it.
    const auto add = [&](bool isThere, const std::string& part) {
        AppendNumber(header, isThere ? headerSize + content.size() : 0, 4);
        content += isThere ? part : "";
    };
    add(m_localBase.has_value(), MakeVolume());
    add(m_localBase.has_value(), AnsiZ(base));
    add(m_share.has_value(), MakeNetwork(m_share.value_or(u""), m_hasWideInfo));
    add(true, AnsiZ(m_suffix));
    if (m_hasWideInfo) {
        add(m_localBase.has_value(), WideZ(base));
        add(true, WideZ(m_suffix));
    }
    return Numbers({4 + header.size() + content.size()}) + header + content;
}

std::string CTestLink::Bytes() const {
    // The class of links; no times and no size.
    std::string bytes = Numbers({0x4C, 0x00021401, 0, 0xC0, 0x46000000, m_flags, 0x20});
    bytes.resize(0x38);
    bytes += Numbers({static_cast<std::uint32_t>(m_iconIndex), m_showCommand, m_hotKey});
    bytes.resize(0x4C);
    if (!m_idList.empty()) {
        bytes += Numbers({m_idList.size() + 2}, 2) + m_idList + std::string(2, '\0');
    }
    if (m_localBase || m_share) {
        bytes += MakeLinkInfo();
    }
    for (const std::optional<std::u16string>& text : m_texts) {
        if (text) {
            bytes += Numbers({text->size()}, 2) +
                     ((m_flags & kIsUnicode) != 0 ? UnitBytes(*text) : AnsiBytes(*text));
        }
    }
    return bytes + m_blocks + std::string(4, '\0');
}
