#include "orvpackage/shortcut_collection.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "foundation/file_path_converter.h"
#include "foundation/hex.h"
#include "foundation/number_text.h"
#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"
#include "orvpackage/sanitizer.h"

namespace {

constexpr std::size_t kMaxReadDescription = 1024;
constexpr std::uint32_t kPath = SanitizeNoRegPaths;

constexpr std::int32_t kShowNormal = 1;
constexpr std::int32_t kShowMaximized = 3;
constexpr std::int32_t kShowMinimizedInactive = 7;

// The texts of a shortcut in the manifest that are paths or hold some.
struct STextAttribute {
    std::u16string_view name;
    CStrW SOrvShortcut::*field;
};
constexpr STextAttribute kPathTexts[] = {
    {u"ShortcutTarget", &SOrvShortcut::shortcutTarget},
    {u"Arguments", &SOrvShortcut::arguments},
    {u"IconTarget", &SOrvShortcut::iconTarget},
    {u"WorkingDirectory", &SOrvShortcut::workingDirectory},
};

struct SReadShortcut {
    SOrvShortcut content;
    std::uint32_t signature = 0;
};

std::size_t BlockSize(const std::vector<std::byte>& block) {
    std::uint32_t size = 0;
    if (block.size() >= sizeof(size)) {
        std::memcpy(&size, block.data(), sizeof(size));
    }
    return size;
}

void Expand(CStrW& field, const CStrW& text) {
    field = text;
    ExpandFileTokens(field);
}

void WriteDataBlock(CXmlWriter& writer, std::uint32_t signature,
                    const std::vector<std::byte>& block) {
    if (!block.empty() && writer.StartElement(u"Data", false) >= 0) {
        writer.WriteAttribute(u"Signature", NumberToHex(signature));
        writer.WriteText(BytesToHex(block.data(), block.size()));
        writer.EndElement(false);
    }
}

void ReadDataBlock(CXmlReader& reader, SReadShortcut& read) {
    CStrW text;
    reader.GetValueChunked(text);
    const std::uint32_t signature = std::exchange(read.signature, 0);
    const auto* const known =
        std::find(platform::kShellLinkBlocks.begin(), platform::kShellLinkBlocks.end(), signature);
    if (known == platform::kShellLinkBlocks.end() || text.GetLength() < 2 ||
        text.GetLength() % 2 != 0 || !IsHexString(text)) {
        return;
    }
    std::vector<std::byte> bytes(text.GetLength() / 2);
    std::size_t count = 0;
    HexToBytes(text, bytes.data(), count);
    const auto index = static_cast<std::size_t>(known - platform::kShellLinkBlocks.begin());
    read.content.dataBlocks[index] = std::move(bytes);
}

}  // namespace

bool COrvCreateShortcut::IsValid() const {
    return COrvTargetItem::IsValid() && !m_content.shortcutTarget.IsEmpty();
}

void COrvCreateShortcut::SetShortcutTarget(const CStrW& text) {
    Expand(m_content.shortcutTarget, text);
}

void COrvCreateShortcut::SetArguments(const CStrW& text) { Expand(m_content.arguments, text); }

void COrvCreateShortcut::SetIconTarget(const CStrW& text) { Expand(m_content.iconTarget, text); }

void COrvCreateShortcut::SetWorkingDirectory(const CStrW& text) {
    Expand(m_content.workingDirectory, text);
}

void COrvCreateShortcut::SetShowCommand(std::int32_t command) {
    const bool isKnown = command == kShowMaximized || command == kShowMinimizedInactive;
    m_content.showCommand = isKnown ? command : kShowNormal;
}

void COrvCreateShortcut::SetDataBlock(std::size_t index, const std::vector<std::byte>& bytes) {
    const std::size_t size = BlockSize(bytes);
    std::vector<std::byte>& block = m_content.dataBlocks[index];
    block.clear();
    if (size <= bytes.size()) {
        block.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    }
}

int COrvCreateShortcut::LoadFromFile(const CFilePathW& path) {
    platform::SShellLink link;
    const int status = platform::ReadShellLink(path.ToString().Get(), link);
    if (status < 0) {
        return status;
    }
    const auto take = [this](const std::optional<std::u16string>& text,
                             void (COrvCreateShortcut::*set)(const CStrW&)) {
        if (text.has_value()) {
            (this->*set)(CStrW(*text));
        }
    };
    take(link.path, &COrvCreateShortcut::SetShortcutTarget);
    take(link.description, &COrvCreateShortcut::SetDescription);
    take(link.arguments, &COrvCreateShortcut::SetArguments);
    SetHotkey(link.hotkey.value_or(m_content.hotkey));
    take(link.iconLocation, &COrvCreateShortcut::SetIconTarget);
    SetIconIndex(link.iconLocation.has_value() ? link.iconIndex : m_content.iconIndex);
    SetShowCommand(link.showCommand.value_or(m_content.showCommand));
    take(link.workingDirectory, &COrvCreateShortcut::SetWorkingDirectory);
    SetDataFlags(link.flags.value_or(m_content.dataFlags));
    for (std::size_t i = 0; i < link.dataBlocks.size(); ++i) {
        SetDataBlock(i, link.dataBlocks[i]);
    }
    return status;
}

void COrvCreateShortcutsCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvTargetCollection::WriteItem(writer, item);
    const SOrvShortcut& content = static_cast<const COrvCreateShortcut&>(item).GetContent();
    WriteSanitized(writer, u"ShortcutTarget", content.shortcutTarget, kPath);
    WriteIfAny(writer, u"Description", content.description);
    WriteIfAny(writer, u"Arguments", content.arguments, kPath);
    if (content.hotkey != 0) {
        writer.WriteAttribute(u"Hotkey", UnsignedToText(content.hotkey));
    }
    if (!content.iconTarget.IsEmpty()) {
        WriteSanitized(writer, u"IconTarget", content.iconTarget, kPath);
        writer.WriteAttribute(u"IconIndex", IntToDecimal(content.iconIndex));
    }
    writer.WriteAttribute(u"ShowCmd",
                          UnsignedToText(static_cast<std::uint8_t>(content.showCommand)));
    WriteIfAny(writer, u"WorkingDirectory", content.workingDirectory, kPath);
    writer.WriteAttribute(u"DataFlags", NumberToHex(content.dataFlags));
    for (std::size_t i = 0; i < content.dataBlocks.size(); ++i) {
        WriteDataBlock(writer, platform::kShellLinkBlocks[i], content.dataBlocks[i]);
    }
}

void COrvCreateShortcutsCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvTargetCollection::ReadAttribute(name, value);
    SOrvShortcut& content = ReadSoFar<SReadShortcut>().content;
    for (const STextAttribute& text : kPathTexts) {
        if (name.EqualsNoCase(text.name)) {
            content.*text.field = GetSanitizer().Desanitize(value, kPath);
            return;
        }
    }
    if (name.EqualsNoCase(u"Description")) {
        content.description = value.GetLength() <= kMaxReadDescription ? value : CStrW();
    } else if (name.EqualsNoCase(u"Hotkey")) {
        content.hotkey = ReadCheckedNumber16(value);
    } else if (name.EqualsNoCase(u"IconIndex")) {
        content.iconIndex = static_cast<std::int32_t>(ReadCheckedNumber32(value));
    } else if (name.EqualsNoCase(u"ShowCmd")) {
        content.showCommand = static_cast<std::int32_t>(ReadCheckedNumber32(value));
    } else if (name.EqualsNoCase(u"DataFlags")) {
        content.dataFlags = ReadCheckedNumber32(value);
    }
}

bool COrvCreateShortcutsCollection::ReadChild(std::u16string_view child, CXmlReader& reader) {
    if (!EqualsNoCase(child, u"/Data") || reader.IsSyntheticEnd()) {
        return false;
    }
    if (reader.GetNodeType() == platform::EXmlNode::Text) {
        ReadDataBlock(reader, ReadSoFar<SReadShortcut>());
        return true;
    }
    if (reader.GetNodeType() != platform::EXmlNode::Element) {
        return false;
    }
    ForEachAttribute(reader, [this](const CStrW& name, const CStrW& value) {
        if (name.EqualsNoCase(u"Signature")) {
            ReadSoFar<SReadShortcut>().signature = ReadCheckedNumber32(value);
        }
    });
    return true;
}

bool COrvCreateShortcutsCollection::FinishItem() {
    const SOrvShortcut read = TakeRead<SReadShortcut>().content;
    COrvCreateShortcut* const added = AddItem(TakeReadName());
    if (added == nullptr) {
        return false;
    }
    added->SetShortcutTarget(read.shortcutTarget);
    added->SetDescription(read.description);
    added->SetArguments(read.arguments);
    added->SetHotkey(read.hotkey);
    added->SetIconTarget(read.iconTarget);
    added->SetIconIndex(read.iconIndex);
    added->SetShowCommand(read.showCommand);
    added->SetWorkingDirectory(read.workingDirectory);
    added->SetDataFlags(read.dataFlags);
    for (std::size_t i = 0; i < read.dataBlocks.size(); ++i) {
        added->SetDataBlock(i, read.dataBlocks[i]);
    }
    return true;
}
