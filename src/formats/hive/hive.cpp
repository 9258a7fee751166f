#include "formats/hive/hive.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace formats {

namespace {

constexpr std::uint32_t kMajorVersion = 1;
constexpr std::uint32_t kFirstMinorVersion = 2;
constexpr std::uint32_t kLastMinorVersion = 6;

// Up to here it is faster to look at each value than to hash the name.
constexpr std::size_t kFewValues = 16;

constexpr std::uint32_t kNoValue = CNameTable::kEmpty;

bool IsKnownVersion(const CHiveImage& image) {
    return image.GetMajorVersion() == kMajorVersion &&
           image.GetMinorVersion() >= kFirstMinorVersion &&
           image.GetMinorVersion() <= kLastMinorVersion;
}

bool EqualUnits(std::u16string_view left, std::u16string_view right) {
    if (left.size() != right.size()) {
        return false;
    }
    return left.empty() ||
           std::memcmp(left.data(), right.data(), left.size() * sizeof(char16_t)) == 0;
}

// Whether `path` is `parent` or leads to something below it.
bool IsAtOrBelow(std::u16string_view path, std::u16string_view parent) {
    return (path.size() == parent.size() ||
            (path.size() > parent.size() && path[parent.size()] == u'\\')) &&
           EqualUnits(path.substr(0, parent.size()), parent);
}

// The length of what comes before the last backslash.
std::size_t ParentLength(std::u16string_view path) {
    const std::size_t end = path.rfind(u'\\');
    return end == std::u16string_view::npos ? 0 : end;
}

}  // namespace

bool CHive::Load(CHiveImage image) {
    m_image = std::move(image);
    if (!m_image.HasBaseBlock() || !IsKnownVersion(m_image)) {
        return false;
    }
    m_cells = CHiveCells(m_image.GetBins(), m_image.GetBinsSize(), m_image.GetMinorVersion());
    return m_index.Build(m_cells, m_image.GetRootCell());
}

KeyNumber CHive::FindKey(std::u16string_view path) {
    if (path.ends_with(u'\\')) {
        path.remove_suffix(1);
    }
    SKnownPath* const known = FindKnownPath(path);
    if (path.empty() || (known != nullptr && known->path.size() == path.size())) {
        return Use(known);
    }
    // The parent is remembered by itself, because its other children are mostly asked for next.
    const std::size_t parentLength = ParentLength(path);
    const KeyNumber parent = FindParent(path.substr(0, parentLength), known);
    if (parent == kNoKey) {
        return kNoKey;
    }
    const std::u16string_view name = path.substr(parentLength == 0 ? 0 : parentLength + 1);
    SKnownPath* const sibling = FindSibling(path.substr(0, parentLength));
    const KeyNumber guess = sibling == nullptr ? m_index.GetFirstChild(parent) : sibling->key + 1;
    const KeyNumber key = m_index.FindChild(parent, name, guess);
    if (key != kNoKey) {
        Remember(path, key, sibling);
        m_index.PrefetchBehind(key);
    }
    return key;
}

// Finds the key at `path`. Starts at `known`, which is that key or above it, or else at the root.
KeyNumber CHive::FindParent(std::u16string_view path, SKnownPath* known) {
    KeyNumber key = Use(known);
    if (path.empty() || (known != nullptr && known->path.size() == path.size())) {
        return key;
    }
    std::u16string_view rest = path.substr(known == nullptr ? 0 : known->path.size() + 1);
    // An empty name finds no key, because the index has none without a name.
    for (bool isLast = false; !isLast && key != kNoKey;) {
        const std::size_t length = std::min(rest.find(u'\\'), rest.size());
        isLast = length == rest.size();
        key = m_index.FindChild(key, rest.substr(0, length));
        rest.remove_prefix(isLast ? length : length + 1);
    }
    if (key != kNoKey) {
        Remember(path, key, FindSibling(path.substr(0, ParentLength(path))));
    }
    return key;
}

// The longest remembered path that is `path` or above it; null when there is none. Compared unit by
// unit: another letter case is only a miss, and the index finds the key.
CHive::SKnownPath* CHive::FindKnownPath(std::u16string_view path) {
    SKnownPath* best = nullptr;
    for (SKnownPath& known : m_knownPaths) {
        if (known.key != kNoKey && (best == nullptr || known.path.size() > best->path.size()) &&
            IsAtOrBelow(path, known.path)) {
            best = &known;
        }
    }
    return best;
}

// The remembered path of a child of the key at `parentPath`; null when there is none.
CHive::SKnownPath* CHive::FindSibling(std::u16string_view parentPath) {
    for (SKnownPath& known : m_knownPaths) {
        if (known.key != kNoKey && known.parentLength == parentPath.size() &&
            EqualUnits(std::u16string_view(known.path).substr(0, known.parentLength), parentPath)) {
            return &known;
        }
    }
    return nullptr;
}

// The key of a remembered path, or the root for none.
KeyNumber CHive::Use(SKnownPath* known) {
    if (known == nullptr) {
        return kRootKey;
    }
    known->lastUse = ++m_uses;
    return known->key;
}

// Remembers a path in place of a sibling's, or else in place of the least recently used one. So a
// walk through the children of a key replaces neither the key itself nor those above it.
void CHive::Remember(std::u16string_view path, KeyNumber key, SKnownPath* sibling) {
    SKnownPath& place = sibling != nullptr
                            ? *sibling
                            : *std::ranges::min_element(m_knownPaths, {}, &SKnownPath::lastUse);
    place.path = path;
    place.parentLength = ParentLength(path);
    place.key = key;
    place.lastUse = ++m_uses;
}

bool CHive::GetChildName(KeyNumber key, std::uint32_t index, std::u16string& name) {
    if (index >= m_index.GetChildCount(key)) {
        return false;
    }
    const KeyNumber child = m_index.GetFirstChild(key) + index;
    m_lastChild = child;
    m_index.PrefetchBehind(child);
    SKeyNode node;
    if (!m_cells.ReadKey(m_index.GetCell(child), node)) {
        return false;
    }
    node.name.CopyTo(name);
    return true;
}

bool CHive::GetValue(KeyNumber key, std::uint32_t index, SValueNode& value) {
    const std::span<const CellOffset> values = m_index.GetValues(key);
    m_cells.PrefetchFrom(values, index);
    if (index >= values.size() || !m_cells.ReadValue(values[index], value)) {
        return false;
    }
    m_lastValueKey = key;
    m_lastValue = value;
    return true;
}

bool CHive::FindValue(KeyNumber key, std::u16string_view name, SValueNode& value) {
    if (!m_index.MayHaveValue(key, name.size())) {
        return false;
    }
    if (m_lastValueKey == key && m_lastValue.name.GetCapacity() == name.size() &&
        m_lastValue.name.Equals(name, m_rules)) {
        value = m_lastValue;
        return true;
    }
    const std::span<const CellOffset> values = m_index.GetValues(key);
    // Both give the same value; only the time differs.
    const std::uint32_t index =
        values.size() > kFewValues ? FindHashedValue(key, name) : FindFirstValue(values, name);
    return index != kNoValue && m_cells.ReadValue(values[index], value);
}

// A name that is cut off by a NUL counts only when no whole one is the same.
std::uint32_t CHive::FindFirstValue(std::span<const CellOffset> values,
                                    std::u16string_view name) const {
    std::uint32_t cut = kNoValue;
    for (std::uint32_t i = 0; i < values.size(); ++i) {
        CHiveName candidate;
        if (!HasName(values[i], name, candidate)) {
            continue;
        }
        if (candidate.GetCapacity() == name.size()) {
            return i;
        }
        cut = std::min(cut, i);
    }
    return cut;
}

std::uint32_t CHive::FindHashedValue(KeyNumber key, std::u16string_view name) {
    if (m_valueNamesKey != key) {
        NameValues(key);
    }
    const std::span<const CellOffset> values = m_index.GetValues(key);
    return m_valueNames.Get(m_rules.Hash(key, name, name.size()), [&](std::uint32_t candidate) {
        CHiveName other;
        return HasName(values[candidate], name, other);
    });
}

bool CHive::HasName(CellOffset cell, std::u16string_view name, CHiveName& found) const {
    return m_cells.ReadValueName(cell, found) && found.Equals(name, m_rules);
}

// Makes m_valueNames the table of `key`.
void CHive::NameValues(KeyNumber key) {
    const std::span<const CellOffset> values = m_index.GetValues(key);
    // The table is that of one key. A walk asks for the values of one key after the other.
    m_valueNames.Reset(values.size());
    m_valueNamesKey = key;
    std::u16string text;
    CHiveName name;
    CHiveName other;
    for (std::uint32_t i = 0; i < values.size(); ++i) {
        static_cast<void>(m_cells.ReadValueName(values[i], name));
        name.CopyTo(text);
        std::uint32_t& place = m_valueNames.Place(
            m_rules.Hash(key, text, text.size()),
            [&](std::uint32_t candidate) { return HasName(values[candidate], text, other); });
        // A whole name replaces one that is cut off by a NUL, as in FindFirstValue. If there is a
        // namesake, `other` has its name, because the search ends with it.
        const bool isBetter =
            name.GetCapacity() == text.size() && other.GetCapacity() != text.size();
        if (place == CNameTable::kEmpty || isBetter) {
            place = i;
        }
    }
}

void CHive::CopyData(const SValueNode& value, std::byte* target) const {
    // The index has only values whose data is there.
    static_cast<void>(m_cells.CopyData(value, target));
}

}  // namespace formats
