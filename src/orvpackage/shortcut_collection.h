// orvpackage/shortcut_collection.h - shortcuts by what they say, so that an installer makes them
// anew.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/file_path.h"
#include "orvpackage/content_items.h"
#include "platform/shell_link.h"

// A shortcut file to create, and what it says.
struct SOrvShortcut {
    CStrW target;  // the shortcut file
    CStrW shortcutTarget;
    CStrW description;
    CStrW arguments;
    std::uint16_t hotkey = 0;
    CStrW iconTarget;
    std::int32_t iconIndex = 0;
    std::int32_t showCommand = 1;
    CStrW workingDirectory;
    std::uint32_t dataFlags = 0;
    // By the order of platform::kShellLinkBlocks; empty when absent. Each as long as its first word
    // says.
    std::array<std::vector<std::byte>, platform::kShellLinkBlocks.size()> dataBlocks;

    // Takes a command; any but maximized and minimized is the normal one, as the shell takes it.
    void SetShowCommand(std::int32_t command);
    // Takes as many bytes as the block's first word says; none, or a word of 0 or beyond the bytes
    // given, makes the block absent.
    void SetDataBlock(std::size_t index, std::vector<std::byte> bytes);

    [[nodiscard]] static SAttributes<SOrvShortcut> GetAttributes();
    // A link that could not be read points nowhere, and stays out of the manifest.
    [[nodiscard]] bool IsValid() const { return !target.IsEmpty() && !shortcutTarget.IsEmpty(); }
};

class COrvCreateShortcut : public COrvItemOf<&SOrvShortcut::target> {
public:
    using COrvItemOf::COrvItemOf;

    // Takes over what a shortcut file says; what the link has no answer for gets its first value.
    // Returns 0 or the HRESULT of the failure, with the item as it was.
    [[nodiscard]] int LoadFromFile(const CFilePathW& path);
};

class COrvCreateShortcutsCollection
    : public COrvCollectionOf<COrvCreateShortcut, OrvCreateShortcuts> {
public:
    using COrvCollectionOf::COrvCollectionOf;

protected:
    void WriteInside(CXmlWriter& writer, const SOrvShortcut& shortcut) const override;
    bool ReadChild(std::u16string_view child, CXmlReader& reader) override;
    bool FinishItem() override;
};
