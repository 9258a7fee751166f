// formats/hive/cells.h - the records of a hive, each checked against the cell that holds it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/bytes.h"
#include "formats/hive/format.h"
#include "formats/hive/name_rules.h"

namespace formats {

// The place of a cell in bytes from the start of the first bin. Every offset in a hive is one.
using CellOffset = std::uint32_t;

// The name of a key or value, borrowed from its cell, in Latin-1 or in UTF-16. It ends before its
// first NUL.
class CHiveName {
public:
    CHiveName() = default;
    CHiveName(const std::byte* bytes, std::size_t size, bool isWide)
        : m_bytes(bytes),
          m_capacity(static_cast<std::uint32_t>(isWide ? size / 2 : size)),
          m_isWide(isWide) {}

    [[nodiscard]] std::uint32_t GetLength() const;
    // The units that the cell has for the name. It is longer than the length if there is a NUL.
    [[nodiscard]] std::uint32_t GetCapacity() const { return m_capacity; }
    [[nodiscard]] char16_t operator[](std::size_t index) const {
        return m_isWide ? static_cast<char16_t>(LoadU16(m_bytes + 2 * index))
                        : static_cast<char16_t>(m_bytes[index]);
    }

    // Whether it equals `text`, which holds no NUL.
    [[nodiscard]] bool Equals(std::u16string_view text, const CNameRules& rules) const;
    void CopyTo(std::u16string& text) const;

private:
    [[nodiscard]] bool HasUnits(std::u16string_view text) const;

    const std::byte* m_bytes = nullptr;
    std::uint32_t m_capacity = 0;
    bool m_isWide = false;
};

struct SKeyNode {
    CellOffset parent = 0;
    CellOffset subKeyList = 0;
    std::uint32_t subKeyCount = 0;
    CellOffset valueList = 0;
    std::uint32_t valueCount = 0;
    CHiveName name;
};

struct SValueNode {
    std::uint32_t type = 0;
    std::uint32_t size = 0;                 // of the data, in bytes
    CellOffset dataCell = 0;                // when the data is not in the record itself
    const std::byte* inlineData = nullptr;  // otherwise
    CHiveName name;
};

// The cells of a hive, in borrowed bins. Any thread.
//
// INVARIANT: every byte that an operation reads or gives out is inside an allocated cell, and so
// inside the bins, whatever offsets and sizes the hive states. What was given out stays readable as
// long as the bins exist.
class CHiveCells {
public:
    CHiveCells() = default;
    // `wholeSize` is that of the bins in bytes if their file is not cut off.
    CHiveCells(std::span<const std::byte> bins, std::size_t wholeSize, std::uint32_t minorVersion);

    [[nodiscard]] std::size_t GetSize() const { return m_bins.size(); }

    // The content of an allocated cell, cut off where a cut-off file ends; empty when `offset` is
    // no cell, or its size leads beyond all bins.
    [[nodiscard]] std::span<const std::byte> Get(CellOffset offset) const;

    // Asks for the memory of cells that will be read soon, because the cells of one list are spread
    // over the hive. Changes nothing.
    // Gain: 4 % less CPU (bench hive).
    void Prefetch(CellOffset offset) const;
    // The same for the next cells of a list that is gone through, some at a time.
    void PrefetchFrom(std::span<const CellOffset> offsets, std::size_t index) const;

    // False, with the record unspecified, when the cell holds none or its name does not fit in it.
    [[nodiscard]] bool ReadKey(CellOffset offset, SKeyNode& key) const;
    // The same, also when the data cannot be had.
    [[nodiscard]] bool ReadValue(CellOffset offset, SValueNode& value) const;
    [[nodiscard]] bool ReadValueName(CellOffset offset, CHiveName& name) const;

    // Copies `value.size` bytes to `target`, which may be null to only ask whether all are there.
    [[nodiscard]] bool CopyData(const SValueNode& value, std::byte* target) const;

    // Append the entries of a list, good or bad. Each takes 1 from `budget`, and nothing more comes
    // when that is used up.
    void CollectSubKeys(CellOffset list, std::uint64_t& budget,
                        std::vector<CellOffset>& offsets) const;
    void CollectValues(CellOffset list, std::uint32_t count, std::uint64_t& budget,
                       std::vector<CellOffset>& offsets) const;

private:
    [[nodiscard]] static bool ReadNameOfValue(std::span<const std::byte> cell, CHiveName& name);
    void CollectLeaf(std::span<const std::byte> leaf, std::uint64_t& budget,
                     std::vector<CellOffset>& offsets) const;
    [[nodiscard]] bool CopySegments(std::span<const std::byte> record, std::uint32_t size,
                                    std::byte* target) const;

    std::span<const std::byte> m_bins;
    std::size_t m_wholeSize = 0;
    bool m_hasSegments = false;
};

}  // namespace formats
