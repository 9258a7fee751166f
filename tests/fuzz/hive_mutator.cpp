// The mutator of hive_fuzzer: one lie in a record of a hive or of its log, with the right
// checksums.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "formats/hive/format.h"
#include "fuzz/hive_parts.h"
#include "fuzz/mutator.h"

namespace {

using namespace formats::hive;

// A record is known by the two letters that it begins with. What has none is data or a list of
// nothing but offsets.
constexpr unsigned kBase = 0x6572;   // "re"
constexpr unsigned kBin = 0x6268;    // "hb"
constexpr unsigned kEntry = 0x7648;  // "Hv", of a log
constexpr unsigned kOffsets = 1;
constexpr unsigned kFree = 0;
constexpr unsigned kSubKeyLists[] = {kIndexRootSignature, kIndexLeafSignature, kFastLeafSignature,
                                     kHashLeafSignature};
constexpr unsigned kKinds[] = {
    kKeySignature,      kValueSignature,    kIndexRootSignature, kIndexLeafSignature,
    kFastLeafSignature, kHashLeafSignature, kSegmentsSignature,  kOffsets};

struct SLayout {
    unsigned kind;
    std::vector<std::size_t> words;    // of 16 bits
    std::vector<std::size_t> numbers;  // of 32 bits
    std::vector<std::size_t> links;    // offsets of cells
};
const SLayout kLayouts[] = {
    {kBase,
     {},
     {kBaseFirstSequence, kBaseSecondSequence, kBaseWriteTime, kBaseMinorVersion, kBaseBinsSize,
      kBaseSectors},
     {kBaseRootCell}},
    {kBin, {}, {kBinWriteTime}, {}},
    {kKeySignature,
     {kKeyFlags, kKeyNameSize},
     {kKeySubKeyCount, kKeyValueCount},
     {kKeyParent, kKeySubKeyList, kKeyValueList}},
    {kValueSignature, {kValueNameSize, kValueFlags}, {kValueDataSize}, {kValueData}},
    {kIndexRootSignature, {kListCount}, {}, {}},
    {kIndexLeafSignature, {kListCount}, {}, {}},
    {kFastLeafSignature, {kListCount}, {}, {}},
    {kHashLeafSignature, {kListCount}, {kListHeaderSize + kOffsetSize}, {}},
    {kSegmentsSignature, {kSegmentsCount}, {}, {kSegmentsList}},
    {kEntry,
     {},
     {kEntrySize, kEntrySequence, kEntryBinsSize, kEntryPageCount, kEntryHeaderSize,
      kEntryHeaderSize + 4},
     {}},
};

struct SRecord {
    std::size_t start = 0;  // in its file, after the size of its cell
    std::size_t size = 0;
    unsigned kind = kFree;
};

bool IsSubKeyList(unsigned kind) { return std::ranges::count(kSubKeyLists, kind) != 0; }
// The bytes from one entry of a list to the next.
std::size_t StepOf(unsigned kind) {
    return kind == kFastLeafSignature || kind == kHashLeafSignature ? kHintedEntrySize
                                                                    : kOffsetSize;
}

// A hive or a log of at least a sector, as the records it has, and the lies about them. Tells one
// lie, because a new cell may change the records.
class CHiveLiar : CLiar {
public:
    CHiveLiar(std::string& bytes, CChance& chance) : CLiar(bytes, chance) {
        m_records.push_back({0, kSectorSize, kBase});
        FindEntries();
        FindCells();
    }

    bool TellLie() {
        constexpr bool (CHiveLiar::*kLies[])() = {&CHiveLiar::ChangeNumber, &CHiveLiar::ChangeCell,
                                                  &CHiveLiar::ChangeLink,   &CHiveLiar::RebuildList,
                                                  &CHiveLiar::CopyCell,     &CHiveLiar::CopyName};
        // Many are about a kind of record that is not there.
        constexpr int kTries = 32;
        for (int i = 0; i < kTries; ++i) {
            if ((this->*m_chance.Pick(kLies))()) {
                return true;
            }
        }
        return false;
    }

private:
    static std::uint32_t OffsetOf(const SRecord& record) {
        return static_cast<std::uint32_t>(record.start - kCellSizeSize - kBaseBlockSize);
    }

    void FindEntries() {
        for (std::size_t start = GetHiveSectorSize(m_bytes);
             start + kSectorSize <= m_bytes.size() && Get(start, 2) == kEntry;
             start += std::max(Get(start + kEntrySize), 1U)) {
            m_records.push_back({start, kSectorSize, kEntry});
        }
    }

    void FindCells() {
        for (std::size_t start = kBaseBlockSize; start + kBinHeaderSize + 8 <= m_bytes.size();) {
            if (start % kBinAlignment == 0 && Get(start, 2) == kBin) {
                m_records.push_back({start, kBinHeaderSize, kBin});
                start += kBinHeaderSize;
            }
            const bool isFree = Get(start) < 0x80000000U;
            const std::size_t size = isFree ? Get(start) : 0U - Get(start);
            if (size < 8 || size % kCellAlignment != 0 || size > m_bytes.size() - start) {
                // An earlier lie. The cells go on in the next bin.
                start += kBinAlignment - start % kBinAlignment;
                continue;
            }
            const unsigned letters = Get(start + 4, 2);
            const unsigned kind = std::ranges::count(kKinds, letters) != 0 ? letters : kOffsets;
            m_records.push_back({start + 4, size - 4, isFree ? kFree : kind});
            start += size;
        }
    }

    // Any record of a kind; an empty one when there is none.
    SRecord Choose(unsigned kind) {
        std::vector<SRecord> found;
        std::ranges::copy_if(m_records, std::back_inserter(found),
                             [kind](const SRecord& record) { return record.kind == kind; });
        return found.empty() ? SRecord() : m_chance.Pick(found);
    }

    // The places of the offsets in a record.
    [[nodiscard]] std::vector<std::size_t> LinksOf(const SRecord& record) const {
        std::vector<std::size_t> links;
        for (const SLayout& layout : kLayouts) {
            for (std::size_t i = 0; layout.kind == record.kind && i < layout.links.size(); ++i) {
                links.push_back(record.start + layout.links[i]);
            }
        }
        if (IsSubKeyList(record.kind) || record.kind == kOffsets) {
            const std::size_t step = StepOf(record.kind);
            for (std::size_t i = record.kind == kOffsets ? 0 : kListHeaderSize;
                 i + step <= record.size; i += step) {
                links.push_back(record.start + i);
            }
        }
        return links;
    }

    // To itself, to a key, which may be its parent, to any other cell, or to no cell.
    std::uint64_t WrongLink(const SRecord& owner, std::uint32_t right) {
        const std::uint64_t links[] = {OffsetOf(owner),
                                       OffsetOf(Choose(kKeySignature)),
                                       OffsetOf(Choose(m_chance.Pick(kKinds))),
                                       right + 8 * (1 + m_chance.Below(8)),
                                       m_bytes.size() - kBaseBlockSize - 8 * m_chance.Below(3),
                                       m_chance.WrongNumber(right, 4)};
        return m_chance.Pick(links);
    }

    // Puts a cell into the first free one that has room, or into a bin of its own.
    std::uint32_t AddCell(std::string content) {
        content.resize((content.size() + 11) / 8 * 8 - 4);
        const auto hasRoom = [&](const SRecord& record) {
            return record.kind == kFree && record.size >= content.size();
        };
        auto place = std::ranges::find_if(m_records, hasRoom);
        if (place == m_records.end()) {
            const std::size_t start = AlignToBin(std::max(m_bytes.size(), kBaseBlockSize));
            const std::size_t size = AlignToBin(kBinHeaderSize + 4 + content.size());
            m_bytes.resize(start);
            m_bytes += "hbin" + Numbers({start - kBaseBlockSize, size});
            m_bytes.resize(start + size);
            m_records.push_back({start + kBinHeaderSize + 4, size - kBinHeaderSize - 4});
            place = m_records.end() - 1;
            Put(kBaseBinsSize, m_bytes.size() - kBaseBlockSize);
        }
        m_bytes.replace(place->start, content.size(), content);
        Put(place->start - 4, 0 - (content.size() + 4));
        if (place->size != content.size()) {
            Put(place->start + content.size(), place->size - content.size());
        }
        return OffsetOf(*place);
    }
    static std::size_t AlignToBin(std::size_t size) {
        return (size + kBinAlignment - 1) / kBinAlignment * kBinAlignment;
    }

    bool ChangeNumber() {
        const SLayout& layout = m_chance.Pick(kLayouts);
        const bool isWord = layout.numbers.empty() || (!layout.words.empty() && m_chance.OneIn(2));
        const SRecord record = Choose(layout.kind);
        const std::size_t at = record.start + m_chance.Pick(isWord ? layout.words : layout.numbers);
        const std::size_t size = isWord ? 2 : 4;
        if (record.size != 0) {
            Put(at, m_chance.WrongNumber(Get(at, size), size), size);
        }
        return record.size != 0;
    }

    // The size of a cell, by which it may become free, or the letters of the record.
    bool ChangeCell() {
        const SRecord cell = Choose(m_chance.Pick(kKinds));
        if (cell.size == 0) {
            return false;
        }
        if (m_chance.OneIn(2)) {
            Put(cell.start - 4, m_chance.WrongNumber(Get(cell.start - 4), 4));
        } else {
            Put(cell.start,
                IsSubKeyList(cell.kind) ? m_chance.Pick(kSubKeyLists) : m_chance.Pick(kKinds), 2);
        }
        return true;
    }

    // Has one offset lead elsewhere, or to where another one of the record does: then a list has
    // another order, or one entry twice and another one not at all.
    bool ChangeLink() {
        const SRecord record = Choose(m_chance.Pick(kKinds));
        const std::vector<std::size_t> links = LinksOf(record);
        if (links.empty()) {
            return false;
        }
        const std::size_t at = m_chance.Pick(links);
        const std::size_t other = m_chance.Pick(links);
        const std::uint32_t right = Get(at);
        if (m_chance.OneIn(3)) {
            Put(at, Get(other));
            Put(other, m_chance.OneIn(2) ? Get(other) : right);
        } else {
            Put(at, WrongLink(record, right));
        }
        return true;
    }

    // Gives a key a list of its own of what other keys have: of keys, of lists, or of values.
    bool RebuildList() {
        constexpr std::size_t kMostEntries = 40;
        const SRecord key = Choose(kKeySignature);
        const unsigned kind = m_chance.OneIn(3) ? kOffsets : m_chance.Pick(kSubKeyLists);
        const unsigned entryKind = kind == kOffsets              ? kValueSignature
                                   : kind == kIndexRootSignature ? m_chance.Pick(kSubKeyLists)
                                                                 : kKeySignature;
        std::vector<SRecord> cells;
        std::ranges::copy_if(m_records, std::back_inserter(cells),
                             [&](const SRecord& record) { return record.kind == entryKind; });
        if (key.size < kKeySize || cells.empty()) {
            return false;
        }
        const std::size_t count = 1 + m_chance.Below(kMostEntries);
        const std::size_t first = m_chance.Below(cells.size());
        std::string list = kind == kOffsets ? "" : Numbers({kind, count}, 2);
        for (std::size_t i = 0; i < count; ++i) {
            AppendNumber(list, OffsetOf(cells[(first + i) % cells.size()]), StepOf(kind));
        }
        Put(key.start + (kind == kOffsets ? kKeyValueList : kKeySubKeyList), AddCell(list));
        Put(key.start + (kind == kOffsets ? kKeyValueCount : kKeySubKeyCount), count);
        return true;
    }

    // Has one of those that refer to a cell refer to a copy, which may have more room.
    bool CopyCell() {
        const SRecord cell = Choose(m_chance.Pick(kKinds));
        std::vector<std::size_t> links;
        for (const SRecord& record : m_records) {
            std::ranges::copy_if(LinksOf(record), std::back_inserter(links),
                                 [&](std::size_t link) { return Get(link) == OffsetOf(cell); });
        }
        if (links.empty() || cell.kind == kFree) {
            return false;
        }
        const std::string room(8 * m_chance.Below(8), '\0');
        Put(m_chance.Pick(links), AddCell(m_bytes.substr(cell.start, cell.size) + room));
        return true;
    }

    // Gives a key or value the name of another one, as far as there is room.
    bool CopyName() {
        const bool isKey = m_chance.OneIn(2);
        const SRecord record = Choose(isKey ? kKeySignature : kValueSignature);
        const SRecord other = Choose(record.kind);
        const std::size_t header = isKey ? kKeySize : kValueSize;
        const std::size_t end = std::min(record.size, other.size);
        if (end <= header) {
            return false;
        }
        const auto copy = [&](std::size_t at, std::size_t size) {
            m_bytes.replace(record.start + at, size, m_bytes.substr(other.start + at, size));
        };
        copy(isKey ? kKeyNameSize : kValueNameSize, 2);
        copy(isKey ? kKeyFlags : kValueFlags, 2);
        copy(header, end - header);
        return true;
    }

    std::vector<SRecord> m_records;
};

// Makes a hive whose last write, with a lie in it, is in its log alone.
bool InterruptWrite(std::vector<std::string>& parts, CChance& chance) {
    std::string& hive = parts.front();
    if (hive.size() <= kBaseBlockSize || hive.size() % kBinAlignment != 0) {
        return false;
    }
    const auto sequence = static_cast<std::uint32_t>(GetNumber(hive, kBaseSecondSequence, 4));
    PutNumber(hive, kBaseFirstSequence, sequence + 1, 4);
    std::string after = hive;
    const bool isTold = CHiveLiar(after, chance).TellLie();
    parts = {hive, chance.OneIn(3) ? MakeDirtyVectorLog(hive, after)
                                   : CTestHiveLog(hive).Entry(sequence, hive, after).Bytes()};
    return isTold;
}

}  // namespace

bool TellLie(std::string& input, CChance& chance) {
    constexpr std::size_t kRoundsPerLog = 16;
    constexpr std::size_t kRoundsPerBrokenSeal = 16;
    std::vector<std::string> parts = DivideHiveInput(input);
    if (parts.empty()) {
        return false;
    }
    std::string& part = chance.OneIn(2) ? parts.front() : chance.Pick(parts);
    bool isTold = true;
    if (chance.OneIn(kRoundsPerLog)) {
        isTold = InterruptWrite(parts, chance);
    } else if (parts.size() > 1 && chance.OneIn(kRoundsPerLog)) {
        part = std::string(chance.Pick(parts));
    } else if (parts.size() > 1 && chance.OneIn(4)) {
        MutatePlainly(part);
    } else {
        isTold = part.size() >= kSectorSize && CHiveLiar(part, chance).TellLie();
    }
    if (!chance.OneIn(kRoundsPerBrokenSeal)) {
        std::ranges::for_each(parts, &SealHivePart);
    }
    input = JoinHiveInput(parts);
    return isTold;
}
