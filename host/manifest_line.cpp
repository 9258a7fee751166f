#include "host/manifest_line.h"

#include <algorithm>

#include "foundation/xml_escape.h"
#include "host/manifest_schema.h"

namespace host {

namespace {

using Text = std::u16string_view;

struct SEntity {
    Text name;
    char16_t unit;
};

// Those that the library writes.
constexpr SEntity kEntities[] = {
    {u"&lt;", u'<'}, {u"&gt;", u'>'}, {u"&amp;", u'&'}, {u"&quot;", u'"'}};

bool IsNameUnit(char16_t unit) {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

// What a text has besides plain units.
struct SUnits {
    bool areAllowed = true;  // no unit is one that the library would have escaped
    bool haveEscape = false;
};

// The loop has no early exit, so that the compiler vectorises it.
SUnits LookAt(Text text) {
    unsigned forbidden = 0;
    unsigned escape = 0;
    for (const char16_t unit : text) {
        // One comparison for both ends: a unit below 0x20 wraps around to a large number.
        const bool isOutside = static_cast<char16_t>(unit - 0x20) >= 0xD800 - 0x20;
        forbidden |= static_cast<unsigned>(isOutside) | (unit == u'<') | (unit == u'>');
        escape |= static_cast<unsigned>(unit == u'&') | (unit == u'~');
    }
    return {forbidden == 0, escape != 0};
}

// False for an entity of another kind.
bool ReplaceEntities(Text text, std::u16string& plain) {
    plain.clear();
    for (std::size_t at = text.find(u'&'); at != Text::npos; at = text.find(u'&')) {
        plain.append(text, 0, at);
        text.remove_prefix(at);
        const auto* const entity = std::ranges::find_if(
            kEntities, [text](const auto& e) { return text.starts_with(e.name); });
        if (entity == std::end(kEntities)) {
            return false;
        }
        plain += entity->unit;
        text.remove_prefix(entity->name.size());
    }
    plain.append(text);
    return true;
}

}  // namespace

ELine CManifestLine::Read(Text line) {
    m_item = {};
    m_rest = line;
    m_attributes.clear();
    m_partTags.clear();
    m_parts.clear();
    m_decodedCount = 0;
    if (Take(u"</")) {
        return TakeName(m_item.element) && m_rest == u">" ? ELine::End : ELine::Other;
    }
    STag tag;
    if (!TakeTag(tag)) {
        return ELine::Other;
    }
    m_item.element = tag.name;
    m_item.attributes = GetAttributes(tag);
    if (m_rest.empty()) {
        if (!tag.isEmpty) {
            return ELine::Start;
        }
        // All items have attributes but properties, which have a text.
        return tag.attributes == 0 ? ELine::Empty : ELine::Item;
    }
    if (tag.isEmpty || !TakeContent(m_item.text) || !Take(u"</") || !Take(tag.name) ||
        m_rest != u">") {
        return ELine::Other;
    }
    // Again, since the attributes of parts may have moved those of the item.
    m_item.attributes = GetAttributes(tag);
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        m_parts[i].attributes = GetAttributes(m_partTags[i]);
    }
    m_item.parts = m_parts;
    return ELine::Item;
}

std::span<const platform::SXmlAttribute> CManifestLine::GetAttributes(const STag& tag) const {
    return std::span(m_attributes).subspan(tag.firstAttribute, tag.attributes);
}

bool CManifestLine::Take(Text expected) {
    const bool isThere = m_rest.starts_with(expected);
    m_rest.remove_prefix(isThere ? expected.size() : 0);
    return isThere;
}

bool CManifestLine::TakeName(Text& name) {
    const auto end = std::ranges::find_if_not(m_rest, IsNameUnit);
    name = m_rest.substr(0, static_cast<std::size_t>(end - m_rest.begin()));
    m_rest.remove_prefix(name.size());
    return !name.empty();
}

bool CManifestLine::TakeTag(STag& tag) {
    tag.firstAttribute = m_attributes.size();
    if (!Take(u"<") || !TakeName(tag.name)) {
        return false;
    }
    // Each round takes an attribute or the end.
    while (!Take(u">")) {
        if (Take(u" />")) {
            tag.isEmpty = true;
            break;
        }
        if (!TakeAttribute(tag)) {
            return false;
        }
        ++tag.attributes;
    }
    return true;
}

bool CManifestLine::TakeAttribute(const STag& tag) {
    platform::SXmlAttribute attribute;
    if (!Take(u" ") || !TakeName(attribute.name) || !Take(u"=\"") ||
        !TakeText(u'"', attribute.value) || !Take(u"\"")) {
        return false;
    }
    const auto others = GetAttributes(tag);
    // A dozen at most in a manifest. More are left to the parser, which finds doubles faster, and
    // so is a namespace, which it may refuse, and gives ahead of the others.
    constexpr std::size_t kMost = 32;
    if (others.size() == kMost || attribute.name == u"xmlns" ||
        std::ranges::find(others, attribute.name, &platform::SXmlAttribute::name) != others.end()) {
        return false;
    }
    m_attributes.push_back(attribute);
    return true;
}

// Takes what is ahead of `end`, which must come.
bool CManifestLine::TakeText(char16_t end, Text& text) {
    const std::size_t size = m_rest.find(end);
    if (size == Text::npos) {
        return false;
    }
    text = m_rest.substr(0, size);
    m_rest.remove_prefix(size);
    const SUnits units = LookAt(text);
    return units.areAllowed && (!units.haveEscape || Decode(text));
}

bool CManifestLine::Decode(Text& text) {
    if (m_decodedCount == m_decoded.size()) {
        m_decoded.emplace_back();
    }
    std::u16string& decoded = m_decoded[m_decodedCount++];
    if (!ReplaceEntities(text, decoded)) {
        return false;
    }
    if (decoded.find(u'~') != Text::npos) {
        m_item.hasBadEscape |= !HasGoodEscapes(decoded);
        CStrW unescaped{Text(decoded)};
        UnescapeXmlText(unescaped);
        decoded = Text(unescaped);
    }
    text = decoded;
    return true;
}

bool CManifestLine::TakeContent(Text& text) {
    // Nothing has both, because blanks between parts would be text.
    return m_rest.starts_with(u'<') && !m_rest.starts_with(u"</") ? TakeParts()
                                                                  : TakeText(u'<', text);
}

bool CManifestLine::TakeParts() {
    // Each round takes a part off.
    while (!m_rest.starts_with(u"</")) {
        STag tag;
        Text text;
        if (!TakeTag(tag) || (!tag.isEmpty && (!TakeText(u'<', text) || !Take(u"</") ||
                                               !Take(tag.name) || !Take(u">")))) {
            return false;
        }
        m_partTags.push_back(tag);
        m_parts.push_back({tag.name, {}, text});
    }
    return true;
}

}  // namespace host
