#include "platform/posix/hive.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/status.h"

namespace platform {

namespace {

constexpr std::uint32_t kMajorVersion = 1;
constexpr std::uint32_t kFirstMinorVersion = 2;
constexpr std::uint32_t kLastMinorVersion = 6;

// Up to here it is faster to look at each value than to hash the name.
constexpr std::size_t kFewValues = 16;

// How far ahead the memory is asked for the subkeys of a key.
constexpr std::uint32_t kChildrenAhead = 4;

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

// The length of what stands before the last backslash.
std::size_t ParentLength(std::u16string_view path) {
    const std::size_t end = path.rfind(u'\\');
    return end == std::u16string_view::npos ? 0 : end;
}

}  // namespace

int CHive::Load(CHiveImage image) {
    m_image = std::move(image);
    if (!m_image.HasBaseBlock() || !IsKnownVersion(m_image)) {
        return ERROR_BADDB;
    }
    m_cells = CHiveCells(m_image.GetBins(), m_image.GetMinorVersion());
    return m_index.Build(m_cells, m_image.GetRootCell()) ? ERROR_SUCCESS : ERROR_BADDB;
}

KeyNumber CHive::FindKey(std::u16string_view path) {
    if (path.ends_with(u'\\')) {
        path.remove_suffix(1);
    }
    KeyNumber key = kRootKey;
    std::u16string_view rest = path;
    if (SKnownPath* const known = FindKnownPath(path)) {
        known->lastUse = ++m_uses;
        key = known->key;
        rest.remove_prefix(std::min(known->path.size() + 1, path.size()));
        if (known->path.size() == path.size()) {
            return key;
        }
    }
    while (key != kNoKey && !rest.empty()) {
        const std::size_t length = std::min(rest.find(u'\\'), rest.size());
        // The neighbours of the key are likely to be asked for next.
        if (length == rest.size() && length + 1 < path.size()) {
            Remember(path.substr(0, path.size() - length - 1), key);
        }
        key = m_index.FindChild(key, rest.substr(0, length));
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    if (key != kNoKey) {
        Remember(path, key);
    }
    return key;
}

// The longest remembered path that leads to `path`; null when there is none.
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

// Keeps a path in the place of a sibling, or of the one that was not asked for the longest. So a
// walk through the children of a key does not push out the key itself, nor what is above it.
void CHive::Remember(std::u16string_view path, KeyNumber key) {
    const std::size_t parentLength = ParentLength(path);
    SKnownPath* place = nullptr;
    for (SKnownPath& known : m_knownPaths) {
        if (EqualUnits(known.path, path)) {
            return;
        }
        if (known.parentLength == parentLength &&
            EqualUnits(path.substr(0, parentLength),
                       std::u16string_view(known.path).substr(0, parentLength))) {
            place = &known;
        }
    }
    if (place == nullptr) {
        place = &*std::ranges::min_element(m_knownPaths, {}, &SKnownPath::lastUse);
    }
    place->path = path;
    place->parentLength = parentLength;
    place->key = key;
    place->lastUse = ++m_uses;
}

bool CHive::GetChildName(KeyNumber key, std::uint32_t index, std::u16string& name) const {
    const std::uint32_t count = m_index.GetChildCount(key);
    if (index >= count) {
        return false;
    }
    const KeyNumber child = m_index.GetFirstChild(key) + index;
    if (index + kChildrenAhead < count) {
        m_cells.Prefetch(m_index.GetCell(child + kChildrenAhead));
    }
    SKeyNode node;
    if (!m_cells.ReadKey(m_index.GetCell(child), node)) {
        return false;
    }
    node.name.CopyTo(name);
    return true;
}

bool CHive::GetValue(KeyNumber key, std::uint32_t index, SValueNode& value) const {
    const std::span<const CellOffset> values = m_index.GetValues(key);
    m_cells.PrefetchFrom(values, index);
    return index < values.size() && m_cells.ReadValue(values[index], value);
}

bool CHive::FindValue(KeyNumber key, std::u16string_view name, SValueNode& value) {
    const std::span<const CellOffset> values = m_index.GetValues(key);
    const std::uint32_t index =
        values.size() > kFewValues ? FindHashedValue(key, name) : FindFirstValue(values, name);
    return index != kNoValue && m_cells.ReadValue(values[index], value);
}

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
    return m_valueNames.Get(HashName(key, name, name.size()), [&](std::uint32_t candidate) {
        CHiveName other;
        return HasName(values[candidate], name, other);
    });
}

bool CHive::HasName(CellOffset cell, std::u16string_view name, CHiveName& found) const {
    return m_cells.ReadValueName(cell, found) && found.EqualsNoCase(name);
}

// Makes m_valueNames the table of `key`.
void CHive::NameValues(KeyNumber key) {
    const std::span<const CellOffset> values = m_index.GetValues(key);
    m_valueNames.Reset(values.size());
    m_valueNamesKey = key;
    std::u16string text;
    CHiveName name;
    CHiveName other;
    for (std::uint32_t i = 0; i < values.size(); ++i) {
        static_cast<void>(m_cells.ReadValueName(values[i], name));
        name.CopyTo(text);
        std::uint32_t& place = m_valueNames.Place(
            HashName(key, text, text.size()),
            [&](std::uint32_t candidate) { return HasName(values[candidate], text, other); });
        // A name that a NUL cuts off gives way to one that is whole.
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

}  // namespace platform
