#include "formats/link/shell_link.h"

#include <algorithm>
#include <utility>

#include "formats/bytes.h"
#include "formats/link/link_target.h"

namespace formats {

namespace {

constexpr std::size_t kHeaderSize = 0x4C;
constexpr std::size_t kFlags = 0x14;
constexpr std::size_t kIconIndex = 0x38;
constexpr std::size_t kShowCommand = 0x3C;
constexpr std::size_t kHotkey = 0x40;

// {00021401-0000-0000-C000-000000000046} in four words.
constexpr std::array<std::uint32_t, 4> kClassId = {0x00021401U, 0U, 0x000000C0U, 0x46000000U};

constexpr std::uint32_t kHasIdList = 0x1;
constexpr std::uint32_t kHasLinkInfo = 0x2;
constexpr std::uint32_t kIsUnicode = 0x80;
constexpr std::uint32_t kForceNoLinkInfo = 0x100;
constexpr std::uint32_t kHasExpString = 0x200;
constexpr std::uint32_t kHasExpIcon = 0x4000;
constexpr std::uint32_t kIgnoreFolderBlocks = 0x200000;

constexpr std::uint32_t kEnvironmentBlock = 0xA0000001U;
constexpr std::uint32_t kIconEnvironmentBlock = 0xA0000007U;
constexpr std::uint32_t kSpecialFolderBlock = 0xA0000005U;
constexpr std::uint32_t kKnownFolderBlock = 0xA000000BU;
constexpr std::uint32_t kVistaIdListBlock = 0xA000000CU;
constexpr std::size_t kMaxIdList = 0xFFFF;  // the 16-bit size of the link's own list allows no more
constexpr std::size_t kBlockHeader = 8;
constexpr std::size_t kSpecialFolderSize = 0x10;
constexpr std::size_t kKnownFolderId = 16;
constexpr std::size_t kKnownFolderSize = 0x1C;
constexpr std::size_t kBlockTextSize = 260;  // units; first the ANSI form, then the Unicode one

// The texts that follow the LinkInfo structure, each only if its flag is set.
enum EText { Description, RelativePath, WorkingDirectory, Arguments, IconLocation, TextCount };
constexpr std::array<std::uint32_t, TextCount> kTextFlags = {0x4, 0x8, 0x10, 0x20, 0x40};

// The index of a signature in SShellLink::dataBlocks, or the size of that for any other signature.
std::size_t FindSignature(std::uint32_t signature) {
    const auto* found = std::find(kShellLinkBlocks.begin(), kShellLinkBlocks.end(), signature);
    return static_cast<std::size_t>(found - kShellLinkBlocks.begin());
}

// The sections of a link in the order of its file. The length that one states decides where the
// next one begins, so the first wrong length ends the reading.
//
// INVARIANT: all readers refer to the bytes that Read was given, which must exist as long as this.
// `m_rest` is what no section has taken yet, and only gets shorter.
class CLinkSections {
public:
    // False when the bytes are no link or end before the data blocks.
    [[nodiscard]] bool Read(const CByteReader& file);
    [[nodiscard]] SShellLink GetAnswers(FolderFinder findFolder) const;

private:
    bool Take(std::size_t count, CByteReader& section);
    bool ReadHeader();
    bool ReadText(std::u16string& text);
    void ReadBlocks();
    void KeepBlock(const CByteReader& block);

    [[nodiscard]] std::u16string GetPath(FolderFinder findFolder) const;
    [[nodiscard]] std::u16string GetSpelledPath() const;
    [[nodiscard]] std::u16string GetFolderPath(FolderFinder findFolder) const;
    [[nodiscard]] std::u16string GetIconLocation() const;
    [[nodiscard]] std::u16string GetBlockText(std::uint32_t signature) const;

    CByteReader m_rest;
    CByteReader m_header;
    std::uint32_t m_flags = 0;
    CByteReader m_idList;
    CByteReader m_linkInfo;
    std::array<std::u16string, TextCount> m_texts;
    std::array<CByteReader, kShellLinkBlocks.size()> m_blocks;
    CByteReader m_knownFolder;
    CByteReader m_vistaIdList;
};

// Takes the next `count` bytes. False, with nothing taken, when there are fewer.
bool CLinkSections::Take(std::size_t count, CByteReader& section) {
    if (!m_rest.Holds(0, count)) {
        return false;
    }
    section = m_rest.Part(0, count);
    m_rest = m_rest.Part(count);
    return true;
}

bool CLinkSections::ReadHeader() {
    if (!Take(kHeaderSize, m_header) || m_header.GetU32(0) != kHeaderSize) {
        return false;
    }
    for (std::size_t i = 0; i < kClassId.size(); ++i) {
        if (m_header.GetU32(4 + 4 * i) != kClassId[i]) {
            return false;
        }
    }
    m_flags = m_header.GetU32(kFlags);
    return true;
}

bool CLinkSections::ReadText(std::u16string& text) {
    CByteReader count;
    CByteReader units;
    const bool isUnicode = (m_flags & kIsUnicode) != 0;
    const std::size_t unitSize = isUnicode ? 2 : 1;
    // The count is of units, and no NUL follows them.
    if (!Take(2, count) || !Take(count.GetU16(0) * unitSize, units)) {
        return false;
    }
    text = isUnicode ? units.GetWideText(0, kMaxLinkText) : units.GetAnsiText(0, kMaxLinkText);
    return true;
}

bool CLinkSections::Read(const CByteReader& file) {
    m_rest = file;
    if (!ReadHeader()) {
        return false;
    }
    CByteReader size;
    // The size of the list does not count itself.
    if ((m_flags & kHasIdList) != 0 && (!Take(2, size) || !Take(size.GetU16(0), m_idList))) {
        return false;
    }
    // The size of a LinkInfo structure counts itself.
    if ((m_flags & kHasLinkInfo) != 0 && !Take(std::max(m_rest.GetU32(0), 4U), m_linkInfo)) {
        return false;
    }
    for (std::size_t i = 0; i < TextCount; ++i) {
        if ((m_flags & kTextFlags[i]) != 0 && !ReadText(m_texts[i])) {
            return false;
        }
    }
    ReadBlocks();
    return true;
}

// A size that is too small for a block's header ends the list. So each round takes some bytes.
void CLinkSections::ReadBlocks() {
    CByteReader block;
    while (m_rest.GetU32(0) >= kBlockHeader && Take(m_rest.GetU32(0), block)) {
        KeepBlock(block);
    }
}

// Of several blocks with one signature the first counts, as for the link object.
void CLinkSections::KeepBlock(const CByteReader& block) {
    const std::uint32_t signature = block.GetU32(4);
    const std::size_t index = FindSignature(signature);
    if (index < m_blocks.size() && m_blocks[index].GetSize() == 0) {
        m_blocks[index] = block;
    } else if (signature == kKnownFolderBlock && m_knownFolder.GetSize() == 0) {
        m_knownFolder = block;
    } else if (signature == kVistaIdListBlock && m_vistaIdList.GetSize() == 0) {
        // This block states its size in 32 bits, so its list could be longer than any other.
        m_vistaIdList = block.Part(kBlockHeader, kMaxIdList);
    }
}

std::u16string CLinkSections::GetBlockText(std::uint32_t signature) const {
    const CByteReader& block = m_blocks[FindSignature(signature)];
    std::u16string text = block.GetWideText(kBlockHeader + kBlockTextSize, kBlockTextSize);
    return text.empty() ? block.GetAnsiText(kBlockHeader, kBlockTextSize) : text;
}

std::u16string CLinkSections::GetPath(FolderFinder findFolder) const {
    std::u16string path;
    if ((m_flags & kHasExpString) != 0) {
        path = GetBlockText(kEnvironmentBlock);
    }
    if (path.empty()) {
        path = GetSpelledPath();
    }
    if (path.empty() && (m_flags & kIgnoreFolderBlocks) == 0) {
        path = GetFolderPath(findFolder);
    }
    path.resize(std::min(path.size(), kMaxLinkText));
    return path;
}

// The first path that is certain, or else the first path: letters of an unknown code page are a
// guess, but a wrong letter is better than no target at all.
std::u16string CLinkSections::GetSpelledPath() const {
    const bool hasLinkInfo = (m_flags & kForceNoLinkInfo) == 0;
    const std::array<SLinkPath, 3> paths = {
        hasLinkInfo ? ReadLinkInfoPath(m_linkInfo) : SLinkPath(),
        ReadIdListPath(m_idList),
        ReadIdListPath(m_vistaIdList),
    };
    for (const bool mayGuess : {false, true}) {
        for (const SLinkPath& path : paths) {
            if (!path.text.empty() && (path.isCertain || mayGuess)) {
                return path.text;
            }
        }
    }
    return {};
}

// The path of the folder that one of the folder blocks names, on this machine, with those items of
// the list that follow the ones for the folder itself.
std::u16string CLinkSections::GetFolderPath(FolderFinder findFolder) const {
    const CByteReader& special = m_blocks[FindSignature(kSpecialFolderBlock)];
    std::u16string folder;
    std::size_t start = 0;
    // The last field of either block is the offset of the first item after those of the folder.
    if (m_knownFolder.GetSize() >= kKnownFolderSize &&
        findFolder({m_knownFolder.Part(kBlockHeader, kKnownFolderId).GetBytes()}, folder)) {
        start = m_knownFolder.GetU32(kKnownFolderSize - 4);
    } else if (special.GetSize() >= kSpecialFolderSize &&
               findFolder({{}, special.GetU32(kBlockHeader)}, folder)) {
        start = special.GetU32(kSpecialFolderSize - 4);
    }
    return folder.empty() ? folder : ReadIdListPath(m_idList, start, folder).text;
}

// As the link object does, the text of the icon's block replaces the plain one: it has environment
// variables, so it is right on other machines too.
std::u16string CLinkSections::GetIconLocation() const {
    std::u16string icon;
    if ((m_flags & kHasExpIcon) != 0) {
        icon = GetBlockText(kIconEnvironmentBlock);
    }
    return icon.empty() ? m_texts[IconLocation] : icon;
}

SShellLink CLinkSections::GetAnswers(FolderFinder findFolder) const {
    SShellLink link;
    link.path = GetPath(findFolder);
    link.description = m_texts[Description];
    link.arguments = m_texts[Arguments];
    link.hotkey = m_header.GetU16(kHotkey);
    link.iconLocation = GetIconLocation();
    link.iconIndex = static_cast<std::int32_t>(m_header.GetU32(kIconIndex));
    link.showCommand = static_cast<std::int32_t>(m_header.GetU32(kShowCommand));
    link.workingDirectory = m_texts[WorkingDirectory];
    link.flags = m_flags;
    for (std::size_t i = 0; i < m_blocks.size(); ++i) {
        const std::span<const std::byte> block = m_blocks[i].GetBytes();
        link.dataBlocks[i].assign(block.begin(), block.end());
    }
    return link;
}

}  // namespace

bool ParseShellLink(std::span<const std::byte> bytes, FolderFinder findFolder, SShellLink& link) {
    CLinkSections sections;
    if (!sections.Read(CByteReader(bytes))) {
        return false;
    }
    link = sections.GetAnswers(findFolder);
    return true;
}

}  // namespace formats
