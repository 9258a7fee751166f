#include "formats/hive/cells.h"

#include <algorithm>
#include <cstring>

namespace formats {

using namespace hive;

namespace {

// The signature of a record; 0, which none has, when the cell is too small for the record.
unsigned Signature(std::span<const std::byte> cell, std::size_t size) {
    return cell.size() < size ? 0 : LoadU16(cell.data());
}

// How many entries a list has: what it says, but no more than its cell has room for.
std::size_t EntryCount(std::span<const std::byte> list, std::size_t entrySize) {
    return std::min<std::size_t>(LoadU16(list.data() + kListCount),
                                 (list.size() - kListHeaderSize) / entrySize);
}

// Appends `count` offsets, or as many as the budget allows.
void CollectEntries(const std::byte* entries, std::size_t count, std::size_t entrySize,
                    std::uint64_t& budget, std::vector<CellOffset>& offsets) {
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, budget));
    budget -= count;
    for (std::size_t i = 0; i < count; ++i) {
        offsets.push_back(LoadU32(entries + i * entrySize));
    }
}

}  // namespace

std::uint32_t CHiveName::GetLength() const {
    if (m_isWide) {
        std::uint32_t length = 0;
        while (length < m_capacity && (*this)[length] != 0) {
            ++length;
        }
        return length;
    }
    const void* const end = m_capacity == 0 ? nullptr : std::memchr(m_bytes, 0, m_capacity);
    return end == nullptr
               ? m_capacity
               : static_cast<std::uint32_t>(static_cast<const std::byte*>(end) - m_bytes);
}

bool CHiveName::Equals(std::u16string_view text, const CNameRules& rules) const {
    // The name ends after as many units as `text`, at its capacity or at a NUL. A NUL before that
    // fails below, because `text` has none.
    if (m_capacity < text.size() || (m_capacity > text.size() && (*this)[text.size()] != 0)) {
        return false;
    }
    if (HasUnits(text)) {
        return true;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!rules.IsSame((*this)[i], text[i])) {
            return false;
        }
    }
    return true;
}

// Whether the first units are those of `text`, which nearly all names that are compared have in the
// same letter case. The loops here and in CopyTo have no branch on the form and no early exit.
bool CHiveName::HasUnits(std::u16string_view text) const {
    unsigned difference = 0;
    if (m_isWide) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            difference |= static_cast<unsigned>(LoadU16(m_bytes + 2 * i)) ^ text[i];
        }
    } else {
        for (std::size_t i = 0; i < text.size(); ++i) {
            difference |= std::to_integer<unsigned>(m_bytes[i]) ^ text[i];
        }
    }
    return difference == 0;
}

void CHiveName::CopyTo(std::u16string& text) const {
    text.resize(GetLength());
    if (m_isWide) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            text[i] = static_cast<char16_t>(LoadU16(m_bytes + 2 * i));
        }
    } else {
        std::transform(m_bytes, m_bytes + text.size(), text.begin(),
                       [](std::byte unit) { return static_cast<char16_t>(unit); });
    }
}

CHiveCells::CHiveCells(std::span<const std::byte> bins, std::size_t wholeSize,
                       std::uint32_t minorVersion)
    : m_bins(bins),
      m_wholeSize(std::max(wholeSize, bins.size())),
      m_hasSegments(minorVersion >= kFirstVersionWithSegments) {}

std::span<const std::byte> CHiveCells::Get(CellOffset offset) const {
    if (offset % kCellAlignment != 0 || offset < kBinHeaderSize ||
        static_cast<std::size_t>(offset) + kCellAlignment > m_bins.size()) {
        return {};
    }
    // From here on the size field is readable, and `m_wholeSize - offset` is positive.
    // A cell in use states its size as a negative number. A free cell comes out as a huge one here,
    // and is refused.
    const std::uint32_t size = 0U - LoadU32(m_bins.data() + offset);
    if (size > 0x80000000U || size < kCellAlignment || size > m_wholeSize - offset) {
        return {};
    }
    // In a file that is cut off, the last cell is cut off too.
    return m_bins.subspan(offset + kCellSizeSize,
                          std::min<std::size_t>(size, m_bins.size() - offset) - kCellSizeSize);
}

void CHiveCells::Prefetch(CellOffset offset) const {
    constexpr std::size_t kLineSize = 64;
    if (offset + kLineSize < m_bins.size()) {
        __builtin_prefetch(m_bins.data() + offset);
        __builtin_prefetch(m_bins.data() + offset + kLineSize);
    }
}

// In groups, because one cell at a time would be asked for too late to help.
void CHiveCells::PrefetchFrom(std::span<const CellOffset> offsets, std::size_t index) const {
    constexpr std::size_t kGroup = 16;
    if (index % kGroup == 0 && index < offsets.size()) {
        for (const CellOffset offset :
             offsets.subspan(index, std::min(kGroup, offsets.size() - index))) {
            Prefetch(offset);
        }
    }
}

bool CHiveCells::ReadKey(CellOffset offset, SKeyNode& key) const {
    const std::span<const std::byte> cell = Get(offset);
    // Too small a cell has no signature, so all fields below are inside.
    if (Signature(cell, kKeySize) != kKeySignature) {
        return false;
    }
    const std::size_t nameSize = LoadU16(cell.data() + kKeyNameSize);
    if (nameSize > cell.size() - kKeySize) {
        return false;
    }
    const bool isWide = (LoadU16(cell.data() + kKeyFlags) & kKeyNameIsLatin1) == 0;
    key.parent = LoadU32(cell.data() + kKeyParent);
    key.subKeyCount = LoadU32(cell.data() + kKeySubKeyCount);
    key.subKeyList = LoadU32(cell.data() + kKeySubKeyList);
    key.valueCount = LoadU32(cell.data() + kKeyValueCount);
    key.valueList = LoadU32(cell.data() + kKeyValueList);
    key.name = CHiveName(cell.data() + kKeySize, nameSize, isWide);
    return true;
}

bool CHiveCells::ReadValueName(CellOffset offset, CHiveName& name) const {
    return ReadNameOfValue(Get(offset), name);
}

bool CHiveCells::ReadNameOfValue(std::span<const std::byte> cell, CHiveName& name) {
    if (Signature(cell, kValueSize) != kValueSignature) {
        return false;
    }
    const std::size_t nameSize = LoadU16(cell.data() + kValueNameSize);
    const bool isWide = (LoadU16(cell.data() + kValueFlags) & kValueNameIsLatin1) == 0;
    name = CHiveName(cell.data() + kValueSize, nameSize, isWide);
    return nameSize <= cell.size() - kValueSize;
}

bool CHiveCells::ReadValue(CellOffset offset, SValueNode& value) const {
    const std::span<const std::byte> record = Get(offset);
    if (!ReadNameOfValue(record, value.name)) {
        return false;
    }
    const std::byte* const cell = record.data();
    const std::uint32_t size = LoadU32(cell + kValueDataSize);
    value.size = size & ~kDataIsInline;
    // One field of the record, read in two ways: it is the data itself, or the offset of its cell.
    value.inlineData = (size & kDataIsInline) != 0 ? cell + kValueData : nullptr;
    value.dataCell = LoadU32(cell + kValueData);
    value.type = LoadU32(cell + kValueType);
    return true;
}

bool CHiveCells::CopyData(const SValueNode& value, std::byte* target) const {
    if (value.size == 0) {
        return true;
    }
    std::span<const std::byte> data;
    if (value.inlineData != nullptr) {
        // A size of more than these four bytes is hostile, and fails below.
        data = {value.inlineData, kMaxInlineData};
    } else {
        data = Get(value.dataCell);
        const bool isRecord =
            value.size > kSegmentLength && Signature(data, kSegmentsSize) == kSegmentsSignature;
        // Older formats have large data in one cell, and the data may begin with the same two
        // bytes. So a record that does not fit is taken for such data.
        if (isRecord && (m_hasSegments || data.size() < value.size) &&
            CopySegments(data, value.size, target)) {
            return true;
        }
    }
    if (data.size() < value.size) {
        return false;
    }
    if (target != nullptr) {
        std::memcpy(target, data.data(), value.size);
    }
    return true;
}

// All segments but the last are full, so their number follows from the size.
bool CHiveCells::CopySegments(std::span<const std::byte> record, std::uint32_t size,
                              std::byte* target) const {
    const std::size_t count = (size + kSegmentLength - 1) / kSegmentLength;
    const std::span<const std::byte> list = Get(LoadU32(record.data() + kSegmentsList));
    if (count > LoadU16(record.data() + kSegmentsCount) || count > list.size() / kOffsetSize) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t length = std::min(size, kSegmentLength);
        const std::span<const std::byte> segment = Get(LoadU32(list.data() + kOffsetSize * i));
        // What was copied until here stays in `target`.
        if (segment.size() < length) {
            return false;
        }
        if (target != nullptr) {
            std::memcpy(target, segment.data(), length);
            target += length;
        }
        size -= length;
    }
    return true;
}

void CHiveCells::CollectSubKeys(CellOffset list, std::uint64_t& budget,
                                std::vector<CellOffset>& offsets) const {
    const std::span<const std::byte> cell = Get(list);
    if (Signature(cell, kListHeaderSize) != kIndexRootSignature) {
        CollectLeaf(cell, budget, offsets);
        return;
    }
    const std::size_t count = EntryCount(cell, kOffsetSize);
    // One level only: a list of lists inside another is not valid, and could be its own entry.
    for (std::size_t i = 0; i < count && budget != 0; ++i) {
        --budget;
        CollectLeaf(Get(LoadU32(cell.data() + kListHeaderSize + kOffsetSize * i)), budget, offsets);
    }
}

void CHiveCells::CollectLeaf(std::span<const std::byte> leaf, std::uint64_t& budget,
                             std::vector<CellOffset>& offsets) const {
    std::size_t entrySize = 0;
    switch (Signature(leaf, kListHeaderSize)) {
        case kIndexLeafSignature:
            entrySize = kOffsetSize;
            break;
        case kFastLeafSignature:
        case kHashLeafSignature:
            // The hint after each offset, a part of the name or a hash of it, may be wrong and is
            // not read.
            entrySize = kHintedEntrySize;
            break;
        default:
            return;
    }
    CollectEntries(leaf.data() + kListHeaderSize, EntryCount(leaf, entrySize), entrySize, budget,
                   offsets);
}

void CHiveCells::CollectValues(CellOffset list, std::uint32_t count, std::uint64_t& budget,
                               std::vector<CellOffset>& offsets) const {
    const std::span<const std::byte> cell = Get(list);
    // A list of values has neither a signature nor a count. The key states how many there are.
    CollectEntries(cell.data(), std::min<std::size_t>(count, cell.size() / kOffsetSize),
                   kOffsetSize, budget, offsets);
}

}  // namespace formats
