// host/diff/packed_item.h - items of manifests as bytes, in which equal items have equal bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/manifest_items.h"

namespace host {

// An attribute of an element. That of a payload file has a generated name, which does not count
// when items are compared.
struct SPlainAttribute {
    std::u16string name;
    std::u16string value;
    bool isPayload = false;

    bool operator==(const SPlainAttribute&) const = default;
};

// An element with texts of its own; attributes are sorted by their names, and none is empty.
struct SPlainPart {
    std::u16string element;
    std::vector<SPlainAttribute> attributes;
    std::u16string text;

    bool operator==(const SPlainPart&) const = default;
};

// The value of an attribute; empty when there is none.
[[nodiscard]] std::u16string_view GetAttribute(const SPlainPart& part, std::u16string_view name);

struct SPlainItem : SPlainPart {
    std::u16string collection;
    std::vector<SPlainPart> parts;  // sorted by what they have; their order means nothing
    std::uint64_t place = 0;        // of an action among those of its collection, from 1 on
};

// Whether the attribute of this name names a payload file.
[[nodiscard]] bool IsPayloadName(std::u16string_view name);

// The attributes that identify an item of a collection, the place first. docs/manifest.md has the
// table. Empty for properties, which their element identifies, and for actions.
[[nodiscard]] std::span<const std::u16string_view> GetIdentity(std::u16string_view collection);
[[nodiscard]] bool IsOfActions(std::u16string_view collection);

// The bytes of an item. Each part of it orders as its texts do, unit by unit.
struct SPackedItem {
    std::string_view key;      // the collection, by its place in a manifest, then the identity
    std::string_view content;  // everything but letter case of the identity and payload names
    std::string_view payload;  // the payload names
};

// Packs the items of one manifest, in their order. One thread at a time.
class CItemPacker {
public:
    // Valid until the next call. Without `hasKey` the key is left out, which takes time; the
    // content tells the collection, and the place of an action, all the same.
    const SPackedItem& Pack(const SItem& item, bool hasKey);

private:
    void PackCollection(std::u16string_view collection);
    void PackKey(const SItem& item);
    void PackPart(const SItemPart& part, std::string& content, std::string& payload);
    void PackParts(const SItem& item);

    SPackedItem m_packed;
    std::string m_key;
    std::string m_content;
    std::string m_payload;
    std::u16string m_collection;  // the one of `m_prefix`
    std::string m_prefix;
    std::vector<std::uint64_t> m_actions;  // so many of each collection came, by its place
    std::size_t m_rank = 0;                // the place of the collection
    bool m_isOfActions = false;
    std::span<const std::u16string_view> m_identity;
    std::vector<const platform::SXmlAttribute*> m_sorted;
};

[[nodiscard]] SPlainItem Unpack(const SPackedItem& packed);

}  // namespace host
