// orvpackage/shortcut_collection.h - shortcuts by what they say, so that an installer makes them
// anew.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/file_path.h"
#include "orvpackage/file_collections.h"
#include "platform/shell_link.h"

// What a shortcut says, apart from where it lies.
struct SOrvShortcut {
    CStrW shortcutTarget;
    CStrW description;
    CStrW arguments;
    CStrW iconTarget;
    CStrW workingDirectory;
    std::int32_t iconIndex = 0;
    std::int32_t showCommand = 1;
    std::uint32_t dataFlags = 0;
    std::uint16_t hotkey = 0;
    // By the order of platform::kShellLinkBlocks; empty when absent.
    std::array<std::vector<std::byte>, platform::kShellLinkBlocks.size()> dataBlocks;
};

// A shortcut file to create.
class COrvCreateShortcut : public COrvTargetItem {
public:
    explicit COrvCreateShortcut(const CStrW& target) : COrvTargetItem(target) {}

    // Needs to point somewhere: a link that could not be read stays out of the manifest.
    [[nodiscard]] bool IsValid() const override;
    [[nodiscard]] const SOrvShortcut& GetContent() const { return m_content; }

    // Takes over what a shortcut file says. Returns 0 or the HRESULT of the failure, with the item
    // as it was; an answer that the link does not give leaves its field alone.
    [[nodiscard]] int LoadFromFile(const CFilePathW& path);

    // Take a text and expand its tokens.
    void SetShortcutTarget(const CStrW& text);
    void SetArguments(const CStrW& text);
    void SetIconTarget(const CStrW& text);
    void SetWorkingDirectory(const CStrW& text);
    void SetDescription(const CStrW& text) { m_content.description = text; }
    void SetIconIndex(std::int32_t index) { m_content.iconIndex = index; }
    // Any command but maximized and minimized is the normal one, as the shell takes it.
    void SetShowCommand(std::int32_t command);
    void SetDataFlags(std::uint32_t flags) { m_content.dataFlags = flags; }
    void SetHotkey(std::uint16_t hotkey) { m_content.hotkey = hotkey; }
    // Keeps as many bytes as the block's first word says; none, or a word of 0 or beyond the bytes
    // given, makes the block absent.
    void SetDataBlock(std::size_t index, const std::vector<std::byte>& bytes);

private:
    SOrvShortcut m_content;
};

class COrvCreateShortcutsCollection
    : public COrvCollectionOf<COrvTargetCollection, COrvCreateShortcut> {
public:
    static constexpr EOrvCollection kType = OrvCreateShortcuts;
    explicit COrvCreateShortcutsCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType) {}

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool ReadChild(std::u16string_view child, CXmlReader& reader) override;
    bool FinishItem() override;
};
