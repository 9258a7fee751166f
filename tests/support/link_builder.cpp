#include "support/link_builder.h"

#include "support/little_endian.h"

namespace {

constexpr std::uint32_t kIsUnicode = 0x80;

std::string AnsiBytes(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        AppendNumber(bytes, unit < 0x100 ? unit : u'?', 1);
    }
    return bytes;
}

std::string WideBytes(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        AppendNumber(bytes, unit, 2);
    }
    return bytes;
}

std::string AnsiZ(std::u16string_view text) { return AnsiBytes(text) + '\0'; }

std::string WideZ(std::u16string_view text) { return WideBytes(text) + std::string(2, '\0'); }

std::string Padded(std::string bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

std::string RootItem(unsigned sortIndex, std::string_view classId) {
    std::string item = "\x1F";
    AppendNumber(item, sortIndex, 1);
    return item.append(classId);
}

std::string ComputerRoot() {
    return RootItem(0x50, {"\xE0\x4F\xD0\x20\xEA\x3A\x69\x10\xA2\xD8\x08\x00\x2B\x30\x30\x9D", 16});
}

// A fixed drive without a label.
std::string MakeVolume() {
    std::string volume;
    for (const unsigned word : {0x11U, 3U, 0U, 0x10U}) {
        AppendNumber(volume, word, 4);
    }
    return volume + '\0';
}

std::string MakeNetwork(std::u16string_view name, bool isWide) {
    const std::size_t headerSize = isWide ? 0x1C : 0x14;
    const std::string names = AnsiZ(name) + (isWide ? WideZ(name) : "");
    std::string network;
    for (const std::size_t word : {headerSize + names.size(), std::size_t{2}, headerSize,
                                   std::size_t{0}, std::size_t{0x20000}}) {
        AppendNumber(network, word, 4);
    }
    if (isWide) {
        AppendNumber(network, headerSize + name.size() + 1, 4);
        AppendNumber(network, 0, 4);
    }
    return network + names;
}

}  // namespace

CTestLink& CTestLink::Ansi() {
    m_flags &= ~kIsUnicode;
    return *this;
}

CTestLink& CTestLink::Flags(std::uint32_t flags) {
    m_flags |= flags;
    return *this;
}

CTestLink& CTestLink::HotKey(std::uint16_t hotKey) {
    m_hotKey = hotKey;
    return *this;
}

CTestLink& CTestLink::ShowCommand(std::uint32_t command) {
    m_showCommand = command;
    return *this;
}

void CTestLink::Item(const std::string& content) {
    m_flags |= 0x1;
    AppendNumber(m_idList, content.size() + 2, 2);
    m_idList += content;
}

CTestLink& CTestLink::DriveItem(char16_t letter) {
    Item(ComputerRoot());
    const char16_t name[] = {u'\x2F', letter, u':', u'\\'};
    Item(Padded(AnsiBytes({name, 4}), 23));
    return *this;
}

CTestLink& CTestLink::ShareItem(std::u16string_view name) {
    Item(RootItem(0x58, {"\x60\x2C\x8D\x20\xEA\x3A\x69\x10\xA2\xD7\x08\x00\x2B\x30\x30\x9D", 16}));
    std::string item("\xC3\x01\xD1", 3);  // with description, comment, and all of them in Unicode
    item += AnsiZ(name) + AnsiZ(u"Network") + AnsiZ(u"");
    item += WideZ(name) + WideZ(u"Network") + WideZ(u"");
    Item(item);
    return *this;
}

CTestLink& CTestLink::FolderItem(std::u16string_view shortName, std::u16string_view longName) {
    return FileEntry(0x31, shortName, longName);
}

CTestLink& CTestLink::FileItem(std::u16string_view shortName, std::u16string_view longName) {
    return FileEntry(0x32, shortName, longName);
}

CTestLink& CTestLink::FileEntry(unsigned type, std::u16string_view shortName,
                                std::u16string_view longName) {
    std::string item;
    AppendNumber(item, type, 1);
    item.resize(10);
    AppendNumber(item, type == 0x31 ? 0x10 : 0x20, 2);
    item += AnsiZ(shortName);
    item.resize(item.size() + item.size() % 2);
    if (longName.empty()) {
        item.resize(item.size() + 2);
    } else {
        const std::size_t offset = item.size() + 2;
        AppendNumber(item, 20 + 2 * (longName.size() + 1) + 2, 2);
        AppendNumber(item, 3, 2);
        AppendNumber(item, 0xBEEF0004U, 4);
        AppendNumber(item, 0, 4);
        AppendNumber(item, 0, 4);
        AppendNumber(item, 20, 4);  // where the name begins
        item += WideZ(longName);
        AppendNumber(item, offset, 2);
    }
    Item(item);
    return *this;
}

CTestLink& CTestLink::RecycleBinItem() {
    Item(RootItem(0x60, {"\x40\xF0\x5F\x64\x81\x50\x1B\x10\x9F\x08\x00\xAA\x00\x2F\x95\x4E", 16}));
    return *this;
}

CTestLink& CTestLink::Local(std::u16string_view base, std::u16string_view suffix) {
    m_flags |= 0x2;
    m_localBase = base;
    m_suffix = suffix;
    return *this;
}

CTestLink& CTestLink::Network(std::u16string_view share, std::u16string_view suffix) {
    m_flags |= 0x2;
    m_share = share;
    m_suffix = suffix;
    return *this;
}

CTestLink& CTestLink::WideInfo() {
    m_hasWideInfo = true;
    return *this;
}

CTestLink& CTestLink::Text(std::size_t index, std::u16string_view text) {
    m_flags |= 0x4U << index;
    m_texts[index] = text;
    return *this;
}

CTestLink& CTestLink::Description(std::u16string_view text) { return Text(0, text); }

CTestLink& CTestLink::RelativePath(std::u16string_view text) { return Text(1, text); }

CTestLink& CTestLink::WorkingDirectory(std::u16string_view text) { return Text(2, text); }

CTestLink& CTestLink::Arguments(std::u16string_view text) { return Text(3, text); }

CTestLink& CTestLink::Icon(std::u16string_view text, std::int32_t index) {
    m_iconIndex = index;
    return Text(4, text);
}

CTestLink& CTestLink::Environment(std::u16string_view target) {
    return Flags(0x200).Block(0xA0000001U, MakeTextBlock(target));
}

CTestLink& CTestLink::IconEnvironment(std::u16string_view icon) {
    return Flags(0x4000).Block(0xA0000007U, MakeTextBlock(icon));
}

CTestLink& CTestLink::Block(std::uint32_t signature, std::string_view content) {
    AppendNumber(m_blocks, content.size() + 8, 4);
    AppendNumber(m_blocks, signature, 4);
    m_blocks += content;
    return *this;
}

std::string CTestLink::MakeTextBlock(std::u16string_view text) const {
    const bool isUnicode = (m_flags & kIsUnicode) != 0;
    return Padded(AnsiBytes(text), 260) + Padded(isUnicode ? WideBytes(text) : "", 520);
}

std::string CTestLink::MakeLinkInfo() const {
    const std::size_t headerSize = m_hasWideInfo ? 0x24 : 0x1C;
    const std::u16string base = m_localBase.value_or(u"");
    std::string header;
    std::string content;
    // Puts a part behind the header and its offset into it.
    const auto add = [&](bool isThere, const std::string& part) {
        AppendNumber(header, isThere ? headerSize + content.size() : 0, 4);
        content += isThere ? part : "";
    };
    AppendNumber(header, 0, 4);
    AppendNumber(header, headerSize, 4);
    AppendNumber(header, (m_localBase ? 1U : 0U) | (m_share ? 2U : 0U), 4);
    add(m_localBase.has_value(), MakeVolume());
    add(m_localBase.has_value(), AnsiZ(base));
    add(m_share.has_value(), MakeNetwork(m_share.value_or(u""), m_hasWideInfo));
    add(true, AnsiZ(m_suffix));
    if (m_hasWideInfo) {
        add(m_localBase.has_value(), WideZ(base));
        add(true, WideZ(m_suffix));
    }
    std::string size;
    AppendNumber(size, header.size() + content.size(), 4);
    return header.replace(0, 4, size) + content;
}

std::string CTestLink::Bytes() const {
    std::string bytes;
    for (const std::size_t word : {0x4CU, 0x00021401U, 0U, 0xC0U, 0x46000000U, m_flags, 0x20U}) {
        AppendNumber(bytes, word, 4);
    }
    bytes.resize(0x38);  // no times, no size
    AppendNumber(bytes, static_cast<std::uint32_t>(m_iconIndex), 4);
    AppendNumber(bytes, m_showCommand, 4);
    AppendNumber(bytes, m_hotKey, 2);
    bytes.resize(0x4C);
    if (!m_idList.empty()) {
        AppendNumber(bytes, m_idList.size() + 2, 2);
        bytes += m_idList + std::string(2, '\0');
    }
    if (m_localBase || m_share) {
        bytes += MakeLinkInfo();
    }
    for (const std::optional<std::u16string>& text : m_texts) {
        if (text) {
            AppendNumber(bytes, text->size(), 2);
            bytes += (m_flags & kIsUnicode) != 0 ? WideBytes(*text) : AnsiBytes(*text);
        }
    }
    return bytes + m_blocks + std::string(4, '\0');
}
