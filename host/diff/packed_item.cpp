#include "host/diff/packed_item.h"

#include <algorithm>

#include "host/manifest_schema.h"
#include "platform/text.h"

namespace host {

namespace {

using Text = std::u16string_view;
using Bytes = std::string_view;

// What follows. Bytes from 0xF8 on are in no text.
constexpr char kAttribute = '\xF8';
constexpr char kValue = '\xF9';
constexpr char kPayload = '\xFA';  // an attribute that names a payload file
constexpr char kContent = '\xFB';  // the text of the element
constexpr char kPart = '\xFC';

// Ahead of all units, so that a key comes before the keys below it. No text of XML has a NUL.
constexpr char kEnd = '\0';

constexpr std::size_t kPlaceBytes = 8;

constexpr Text kTarget[] = {u"Target"};
constexpr Text kKey[] = {u"Target", u"Architecture"};
constexpr Text kRegistryValue[] = {u"Target", u"Value", u"Architecture"};
constexpr Text kVariable[] = {u"Variable", u"User"};
constexpr Text kName[] = {u"Name"};
constexpr Text kId[] = {u"Id"};
constexpr Text kUnknown[] = {u"Target", u"Name"};

struct SIdentity {
    Text collection;
    std::span<const Text> attributes;
};

constexpr SIdentity kIdentities[] = {
    {u"Properties", {}},
    {u"CreateFolders", kTarget},
    {u"DeleteFolders", kTarget},
    {u"CreateFiles", kTarget},
    {u"DeleteFiles", kTarget},
    {u"CreateKeys", kKey},
    {u"DeleteKeys", kKey},
    {u"CreateValues", kRegistryValue},
    {u"DeleteValues", kRegistryValue},
    {u"CreateShortcuts", kTarget},
    {u"DeleteShortcuts", kTarget},
    {u"CreateEnvVars", kVariable},
    {u"DeleteEnvVars", kVariable},
    {u"CreateServices", kName},
    {u"DeleteServices", kName},
    {u"ControlServices", kName},
    {u"CreateAssemblies", kId},
    {u"DeleteAssemblies", kName},
    {u"PreActions", {}},
    {u"PostActions", {}},
};

// Each unit as UTF-8 writes a character of its number, also half of a surrogate pair. So every text
// comes back as it was, most take a byte for a unit, and bytes order as units do.
void AppendText(std::string& bytes, Text text) {
    unsigned all = 0;
    for (const char16_t unit : text) {
        all |= unit;
    }
    if (all < 0x80) {
        const std::size_t start = bytes.size();
        bytes.resize(start + text.size());
        std::ranges::transform(text, bytes.begin() + static_cast<std::ptrdiff_t>(start),
                               [](char16_t unit) { return static_cast<char>(unit); });
        return;
    }
    for (const unsigned unit : text) {
        if (unit < 0x80) {
            bytes += static_cast<char>(unit);
        } else if (unit < 0x800) {
            bytes += {static_cast<char>(0xC0U | (unit >> 6U)),
                      static_cast<char>(0x80U | (unit & 0x3FU))};
        } else {
            bytes += {static_cast<char>(0xE0U | (unit >> 12U)),
                      static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU)),
                      static_cast<char>(0x80U | (unit & 0x3FU))};
        }
    }
}

unsigned TakeByte(Bytes& bytes) {
    const auto byte = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    return byte;
}

bool IsMark(Bytes bytes, char mark) { return !bytes.empty() && bytes.front() == mark; }

// Takes the text ahead of the next mark.
std::u16string TakeText(Bytes& bytes) {
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    const auto end = std::ranges::find_if_not(bytes, isAscii);
    std::u16string text(bytes.begin(), end);
    bytes.remove_prefix(text.size());
    while (!bytes.empty() && static_cast<unsigned char>(bytes.front()) < 0xF8) {
        unsigned unit = TakeByte(bytes);
        if (unit >= 0xE0) {
            unit = ((unit & 0xFU) << 6U) | (TakeByte(bytes) & 0x3FU);
            unit = (unit << 6U) | (TakeByte(bytes) & 0x3FU);
        } else if (unit >= 0xC0) {
            unit = ((unit & 0x1FU) << 6U) | (TakeByte(bytes) & 0x3FU);
        }
        text += static_cast<char16_t>(unit);
    }
    return text;
}

SPlainPart TakePart(Bytes& content, Bytes& payload) {
    SPlainPart part;
    part.element = TakeText(content);
    while (IsMark(content, kAttribute) || IsMark(content, kPayload)) {
        SPlainAttribute attribute;
        attribute.isPayload = content.front() == kPayload;
        content.remove_prefix(1);
        attribute.name = TakeText(content);
        Bytes& values = attribute.isPayload ? payload : content;
        values.remove_prefix(1);  // kValue
        attribute.value = TakeText(values);
        part.attributes.push_back(std::move(attribute));
    }
    content.remove_prefix(1);  // kContent
    part.text = TakeText(content);
    return part;
}

// High bytes first, so that places order as their numbers do. Half a byte each, so that none is a
// mark.
void AppendPlace(std::string& bytes, std::uint64_t place) {
    for (unsigned i = kPlaceBytes; i-- != 0;) {
        bytes += static_cast<char>((place >> (4U * i)) & 0xFU);
    }
}

std::uint64_t TakePlace(Bytes& bytes) {
    std::uint64_t place = 0;
    for (std::size_t i = 0; i < kPlaceBytes; ++i) {
        place = (place << 4U) | TakeByte(bytes);
    }
    return place;
}

}  // namespace

Text GetAttribute(const SPlainPart& part, Text name) {
    const auto found = std::ranges::find(part.attributes, name, &SPlainAttribute::name);
    return found == part.attributes.end() ? Text() : Text(found->value);
}

bool IsPayloadName(Text name) {
    constexpr Text kEnding = u"RelativeSource";
    if (name.size() < kEnding.size() || !name.ends_with(kEnding)) {
        return false;
    }
    name.remove_suffix(kEnding.size());
    return name.empty() || name == u"Manifest" || name == u"Catalog";
}

std::span<const Text> GetIdentity(Text collection) {
    const auto* const known = std::ranges::find(kIdentities, collection, &SIdentity::collection);
    return known == std::end(kIdentities) ? std::span<const Text>(kUnknown) : known->attributes;
}

bool IsOfActions(Text collection) {
    return collection == u"PreActions" || collection == u"PostActions";
}

const SPackedItem& CItemPacker::Pack(const SItem& item, bool hasKey) {
    if (item.collection != m_collection || m_prefix.empty()) {
        PackCollection(item.collection);
    }
    m_content = m_prefix;
    m_payload.clear();
    if (m_isOfActions) {
        AppendPlace(m_content, ++m_actions[m_rank]);
    }
    m_key.clear();
    if (hasKey) {
        PackKey(item);
    }
    PackPart(item, m_content, m_payload);
    PackParts(item);
    m_packed = {m_key, m_content, m_payload};
    return m_packed;
}

// The prefix is the place of the collection in a manifest; of an unknown one the last place and its
// name.
void CItemPacker::PackCollection(Text collection) {
    const auto collections = GetManifestRule().children;
    const auto known = std::ranges::find(collections, collection, &SElementRule::name);
    m_rank = static_cast<std::size_t>(known - collections.begin());
    m_collection = collection;
    m_prefix.assign(1, static_cast<char>(m_rank));
    if (known == collections.end()) {
        AppendText(m_prefix, collection);
        m_prefix += kEnd;
    }
    m_actions.resize(collections.size() + 1);
    m_isOfActions = IsOfActions(collection);
    m_identity = GetIdentity(collection);
}

void CItemPacker::PackKey(const SItem& item) {
    m_key = m_prefix;
    if (m_isOfActions) {
        AppendPlace(m_key, m_actions[m_rank]);
    } else if (m_identity.empty()) {
        AppendText(m_key, item.element);
    }
    std::u16string folded;
    for (const Text name : m_identity) {
        folded = GetAttribute(item, name);
        platform::FoldText(folded.data(), folded.size());
        AppendText(m_key, folded);
        m_key += kEnd;
    }
}

void CItemPacker::PackPart(const SItemPart& part, std::string& content, std::string& payload) {
    AppendText(content, part.element);
    m_sorted.clear();
    for (const platform::SXmlAttribute& attribute : part.attributes) {
        // An absent text is an empty one.
        if (!attribute.value.empty()) {
            m_sorted.push_back(&attribute);
        }
    }
    // Manifests that others have laid out anew have them in any order.
    std::ranges::sort(m_sorted, {}, &platform::SXmlAttribute::name);
    for (const platform::SXmlAttribute* const attribute : m_sorted) {
        const bool isPayload = IsPayloadName(attribute->name);
        content += isPayload ? kPayload : kAttribute;
        AppendText(content, attribute->name);
        std::string& values = isPayload ? payload : content;
        values += kValue;
        AppendText(values, attribute->value);
    }
    content += kContent;
    AppendText(content, part.text);
}

void CItemPacker::PackParts(const SItem& item) {
    std::vector<std::pair<std::string, std::string>> parts(item.parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        PackPart(item.parts[i], parts[i].first, parts[i].second);
    }
    std::ranges::sort(parts);
    for (const auto& [content, payload] : parts) {
        m_content += kPart;
        m_content += content;
        m_payload += payload;
    }
}

SPlainItem Unpack(const SPackedItem& packed) {
    SPlainItem item;
    Bytes content = packed.content;
    Bytes payload = packed.payload;
    const auto collections = GetManifestRule().children;
    const std::size_t rank = TakeByte(content);
    if (rank < collections.size()) {
        item.collection = collections[rank].name;
    } else {
        Bytes name = content.substr(0, content.find(kEnd));
        content.remove_prefix(name.size() + 1);
        item.collection = TakeText(name);
    }
    item.place = IsOfActions(item.collection) ? TakePlace(content) : 0;
    static_cast<SPlainPart&>(item) = TakePart(content, payload);
    while (IsMark(content, kPart)) {
        content.remove_prefix(1);
        item.parts.push_back(TakePart(content, payload));
    }
    return item;
}

}  // namespace host
