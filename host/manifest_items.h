// host/manifest_items.h - reads a manifest item by item.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "platform/xml_scan.h"

namespace host {

// An element within an item: a data block of a shortcut, a member of an assembly.
struct SItemPart {
    std::u16string_view element;
    std::span<const platform::SXmlAttribute> attributes;
    std::u16string_view text;
};

// What the line of an item says. Texts have neither the escapes of XML nor the tildes of the
// manifest any more. Bars and tokens are in them as they are in the manifest.
struct SItem : SItemPart {
    std::u16string_view collection;  // such as "CreateFiles"; "Properties" for a property
    std::span<const SItemPart> parts;
    std::uint32_t line = 0;
    bool hasBadEscape = false;  // a tilde of the manifest begins no escape, and is as it was
};

// The value of an attribute; null when there is none of this name.
[[nodiscard]] const std::u16string_view* FindAttribute(const SItemPart& part,
                                                       std::u16string_view name);
// The same; empty when there is none.
[[nodiscard]] std::u16string_view GetAttribute(const SItemPart& part, std::u16string_view name);

// Receives one item, whose texts are valid during the call. False ends the reading.
using ItemHandler = std::function<bool(const SItem& item)>;

// Reads the properties and the items of a manifest in their order. What does not belong into a
// manifest, such as an unknown attribute, is given as well. Returns what is wrong with the file,
// with the line; empty when it was read to its end or to where `handle` has ended it. What is ahead
// of a fault has been given. The memory grows with the longest item, and not with the file.
[[nodiscard]] std::string ReadItems(const std::filesystem::path& manifest,
                                    const ItemHandler& handle);

}  // namespace host
