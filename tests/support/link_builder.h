// tests/support/link_builder.h - shell links made in a test.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// A shell link, put together from the parts that are given; any other part is not in the file. An
// ANSI text holds the low byte of each unit, and "?" for a unit that has more, so a test spells the
// bytes of a code page itself.
class CTestLink {
public:
    // Strings and environment texts have their ANSI form alone.
    CTestLink& Ansi() { return Set(m_flags, m_flags & ~0x80U); }
    // Adds to the flags that the parts bring.
    CTestLink& Flags(std::uint32_t flags) { return Set(m_flags, m_flags | flags); }
    CTestLink& HotKey(std::uint16_t hotKey) { return Set(m_hotKey, hotKey); }
    CTestLink& ShowCommand(std::uint32_t command) { return Set(m_showCommand, command); }

    // Items of the ID list, in its order. An empty long name makes an entry as old systems did.
    CTestLink& DriveItem(char16_t letter);
    CTestLink& ShareItem(std::u16string_view name);
    CTestLink& FolderItem(std::u16string_view shortName, std::u16string_view longName) {
        return FileEntry(0x31, 0x10, shortName, longName);
    }
    CTestLink& FileItem(std::u16string_view shortName, std::u16string_view longName) {
        return FileEntry(0x32, 0x20, shortName, longName);
    }
    CTestLink& RecycleBinItem();

    // The LinkInfo structure: either place or both, which then share the suffix of the later call.
    CTestLink& Local(std::u16string_view base, std::u16string_view suffix) {
        return Set(m_localBase, base).Set(m_suffix, suffix).Flags(0x2);
    }
    CTestLink& Network(std::u16string_view share, std::u16string_view suffix) {
        return Set(m_share, share).Set(m_suffix, suffix).Flags(0x2);
    }
    // Gives its texts in Unicode too.
    CTestLink& WideInfo() { return Set(m_hasWideInfo, true); }

    CTestLink& Description(std::u16string_view text) { return Text(0, text); }
    CTestLink& RelativePath(std::u16string_view text) { return Text(1, text); }
    CTestLink& WorkingDirectory(std::u16string_view text) { return Text(2, text); }
    CTestLink& Arguments(std::u16string_view text) { return Text(3, text); }
    CTestLink& Icon(std::u16string_view text, std::int32_t index) {
        return Set(m_iconIndex, index).Text(4, text);
    }

    // Data blocks, in their order.
    CTestLink& Environment(std::u16string_view target) {
        return Flags(0x200).Block(0xA0000001U, MakeTextBlock(target));
    }
    CTestLink& IconEnvironment(std::u16string_view icon) {
        return Flags(0x4000).Block(0xA0000007U, MakeTextBlock(icon));
    }
    CTestLink& Block(std::uint32_t signature, std::string_view content);

    // The file's bytes.
    [[nodiscard]] std::string Bytes() const;

private:
    template <class TField, class T>
    CTestLink& Set(TField& field, T value) {
        field = value;
        return *this;
    }
    CTestLink& Text(std::size_t index, std::u16string_view text) {
        return Set(m_texts[index], text).Flags(0x4U << index);
    }
    CTestLink& FileEntry(unsigned type, unsigned attributes, std::u16string_view shortName,
                         std::u16string_view longName);
    void Item(const std::string& content);
    [[nodiscard]] std::string MakeTextBlock(std::u16string_view text) const;
    [[nodiscard]] std::string MakeLinkInfo() const;

    std::uint32_t m_flags = 0x80;
    std::uint16_t m_hotKey = 0;
    std::uint32_t m_showCommand = 1;
    std::int32_t m_iconIndex = 0;
    std::string m_idList;
    std::optional<std::u16string> m_localBase;
    std::optional<std::u16string> m_share;
    std::u16string m_suffix;
    bool m_hasWideInfo = false;
    std::array<std::optional<std::u16string>, 5> m_texts;  // in the order of the file
    std::string m_blocks;
};
