#include "orvpackage/shortcut_collection.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "foundation/hex.h"
#include "foundation/xml_writer.h"

namespace {

constexpr std::size_t kMaxReadDescription = 1024;  // units
// SW_SHOWNORMAL, SW_SHOWMAXIMIZED and SW_SHOWMINNOACTIVE, the only ones that links use.
constexpr std::int32_t kShowNormal = 1;
constexpr std::int32_t kShowMaximized = 3;
constexpr std::int32_t kShowMinimized = 7;

// A description that is too long is dropped, not cut off.
CStrW CheckDescription(const CStrW& text) {
    return text.GetLength() <= kMaxReadDescription ? text : CStrW();
}

void WriteIconIndex(const SAttributeOutput& output, const SOrvShortcut& from) {
    if (!from.iconTarget.IsEmpty()) {
        output.Write(IntToDecimal(from.iconIndex));
    }
}

// The minus sign of a negative index is no digit, so it is read as 0.
void ReadIconIndex(SOrvShortcut& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
    into.iconIndex = static_cast<std::int32_t>(ReadCheckedNumber32(value));
}

void WriteShowCommand(const SAttributeOutput& output, const SOrvShortcut& from) {
    output.Write(UnsignedToText(static_cast<std::uint8_t>(from.showCommand)));
}

void ReadShowCommand(SOrvShortcut& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
    into.SetShowCommand(static_cast<std::int32_t>(ReadCheckedNumber32(value)));
}

constexpr SAttribute<SOrvShortcut> kAttributes[] = {
    {u"Target", Path<&SOrvShortcut::target, Always>},
    {u"ShortcutTarget", Path<&SOrvShortcut::shortcutTarget, Always>},
    {u"Description", Plain<&SOrvShortcut::description, IfAny, CheckDescription>},
    {u"Arguments", Path<&SOrvShortcut::arguments, IfAny>},
    {u"Hotkey", Number<&SOrvShortcut::hotkey, ReadCheckedNumber16, IfAny>},
    {u"IconTarget", Path<&SOrvShortcut::iconTarget, IfAny>},
    // With an icon only, and signed.
    {u"IconIndex", {WriteIconIndex, ReadIconIndex}},
    // The low byte goes out, and what comes in is one of three.
    {u"ShowCmd", {WriteShowCommand, ReadShowCommand}},
    {u"WorkingDirectory", Path<&SOrvShortcut::workingDirectory, IfAny>},
    {u"DataFlags", HexNumber<&SOrvShortcut::dataFlags>},
};

// The child element of a data block, but for its text.
struct SDataElement {
    std::uint32_t signature = 0;
};

constexpr SAttribute<SDataElement> kDataAttributes[] = {
    {u"Signature", HexNumber<&SDataElement::signature>},
};

// Gives a shortcut the block with that signature and text. An unknown signature and a text that is
// not of digits change nothing.
void TakeDataBlock(SOrvShortcut& into, std::uint32_t signature, const CStrW& text) {
    const auto* const known =
        std::find(platform::kShellLinkBlocks.begin(), platform::kShellLinkBlocks.end(), signature);
    auto bytes = ParseHex(text);
    if (known != platform::kShellLinkBlocks.end() && bytes && !bytes->empty()) {
        into.SetDataBlock(static_cast<std::size_t>(known - platform::kShellLinkBlocks.begin()),
                          std::move(*bytes));
    }
}

CStrW TextOf(const std::optional<std::u16string>& answer) { return CStrW(answer.value_or(u"")); }

}  // namespace

SAttributes<SOrvShortcut> SOrvShortcut::GetAttributes() { return kAttributes; }

void SOrvShortcut::SetShowCommand(std::int32_t command) {
    const bool isKnown = command == kShowMaximized || command == kShowMinimized;
    showCommand = isKnown ? command : kShowNormal;
}

void SOrvShortcut::SetDataBlock(std::size_t index, std::vector<std::byte> bytes) {
    // The first word is the size. A block that claims more than there is would be read beyond its
    // end by its users, so it is dropped.
    std::uint32_t size = 0;
    if (bytes.size() >= sizeof(size)) {
        std::memcpy(&size, bytes.data(), sizeof(size));
    }
    bytes.resize(size <= bytes.size() ? size : 0);
    dataBlocks[index] = std::move(bytes);
}

int COrvCreateShortcut::LoadFromFile(const CFilePathW& path) {
    platform::SShellLink link;
    const int status = platform::ReadShellLink(path.ToString().Get(), link);
    if (status < 0) {
        return status;
    }
    // An answer that is missing leaves the first value of its field. The place of the shortcut is
    // not in the link: SetContent keeps it.
    SOrvShortcut content;
    content.shortcutTarget = TextOf(link.path);
    content.description = TextOf(link.description);
    content.arguments = TextOf(link.arguments);
    content.hotkey = link.hotkey.value_or(content.hotkey);
    content.iconTarget = TextOf(link.iconLocation);
    content.iconIndex = link.iconLocation.has_value() ? link.iconIndex : content.iconIndex;
    content.SetShowCommand(link.showCommand.value_or(content.showCommand));
    content.workingDirectory = TextOf(link.workingDirectory);
    content.dataFlags = link.flags.value_or(content.dataFlags);
    for (std::size_t i = 0; i < link.dataBlocks.size(); ++i) {
        content.SetDataBlock(i, std::move(link.dataBlocks[i]));
    }
    SetContent(std::move(content));
    return status;
}

void COrvCreateShortcutsCollection::WriteInside(CXmlWriter& writer,
                                                const SOrvShortcut& shortcut) const {
    for (std::size_t i = 0; i < shortcut.dataBlocks.size(); ++i) {
        const std::vector<std::byte>& block = shortcut.dataBlocks[i];
        if (!block.empty() && writer.StartElement(u"Data", false) >= 0) {
            WriteAttributes<SDataElement, SDataElement>(kDataAttributes, writer, GetPackage(),
                                                        {platform::kShellLinkBlocks[i]});
            writer.WriteText(BytesToHex(block.data(), block.size()));
            writer.EndElement(false);
        }
    }
}

bool COrvCreateShortcutsCollection::ReadChild(std::u16string_view child, CXmlReader& reader) {
    if (!EqualsNoCase(child, u"/Data") || reader.IsSyntheticEnd()) {
        return false;
    }
    if (reader.GetNodeType() == platform::EXmlNode::Text) {
        CStrW text;
        reader.GetValueChunked(text);
        // The start tag has given the signature. It is taken here, so that the next block cannot
        // get it.
        TakeDataBlock(ReadSoFar<SOrvShortcut>(), TakeRead<SDataElement>().signature, text);
        return true;
    }
    if (reader.GetNodeType() != platform::EXmlNode::Element) {
        return false;
    }
    ReadAttributes<SDataElement, SDataElement>(kDataAttributes, reader, GetSanitizer(),
                                               ReadSoFar<SDataElement>());
    return true;
}

bool COrvCreateShortcutsCollection::FinishItem() {
    TakeRead<SDataElement>();  // the signature of a block without text
    return COrvCollectionOf::FinishItem();
}
