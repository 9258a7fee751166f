#include "formats/hive/log.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "formats/bytes.h"
#include "formats/hive/marvin.h"

namespace formats {

using namespace hive;

namespace {

// One log entry whose hashes are right and whose pages are all there.
struct SLogEntry {
    std::uint32_t sequence = 0;
    std::size_t binsSize = 0;
    std::span<const std::byte> references;
    std::span<const std::byte> pages;
    const CHiveImage* log = nullptr;
};

bool IsBaseBlockRight(const CHiveImage& image) {
    return image.HasBaseBlock() && image.IsChecksumRight();
}

// What follows the first sector of a log if it starts with `signature`; otherwise nothing.
std::span<const std::byte> GetLogBody(const CHiveImage& log, std::uint32_t signature) {
    if (!IsBaseBlockRight(log) || log.GetBytes().size() < log.GetSectorSize() + 4) {
        return {};
    }
    const std::span<const std::byte> body = log.GetBytes().subspan(log.GetSectorSize());
    return LoadU32(body.data()) == signature ? body : std::span<const std::byte>();
}

// Whether the hive can have grown to `binsSize`. What it grew by must be in the logs, so a small
// log cannot make the image huge.
bool IsPlausibleSize(std::size_t binsSize, const CHiveImage& hive, std::size_t logSize) {
    return binsSize % kPageSize == 0 && binsSize <= hive.GetBytes().size() + logSize;
}

// Replaces a base block that was torn by the copy in the log. In a log it has another file type.
void RepairBaseBlock(CHiveImage& hive, const CHiveImage& log) {
    if (IsBaseBlockRight(hive)) {
        return;
    }
    hive.Grow(kBaseBlockSize);
    const std::span<std::byte> bytes = hive.GetBytes();
    std::ranges::copy(log.GetBytes().first(log.GetSectorSize()), bytes.begin());
    std::ranges::fill(bytes.subspan(kBaseFileType, 4), std::byte{0});
}

// Whether a log has the time of the hive, to which it otherwise does not belong. A torn base block
// has no time; then that of the first bin counts.
bool HasSameWriteTime(const CHiveImage& hive, const CHiveImage& log) {
    if (IsBaseBlockRight(hive)) {
        return hive.GetWriteTime() == log.GetWriteTime();
    }
    const std::span<const std::byte> bins = hive.GetBins();
    return bins.size() >= kBinWriteTime + 8 &&
           LoadU64(bins.data() + kBinWriteTime) == log.GetWriteTime();
}

// Applies a log of the old format: a bitmap of pages, then those pages. All of it or nothing.
bool ApplyDirtyVector(CHiveImage& hive, const CHiveImage& log) {
    const std::span<const std::byte> body = GetLogBody(log, kVectorSignature);
    if (body.empty() || log.GetFirstSequence() != log.GetSecondSequence() ||
        !HasSameWriteTime(hive, log)) {
        return false;
    }
    const std::size_t binsSize = log.GetBinsSize();
    const std::size_t pageCount = binsSize / kPageSize;
    const std::size_t sectorSize = log.GetSectorSize();
    const std::size_t start =
        (kVectorBitmap + (pageCount + 7) / 8 + sectorSize - 1) / sectorSize * sectorSize;
    if (!IsPlausibleSize(binsSize, hive, log.GetBytes().size()) || start > body.size()) {
        return false;
    }
    std::vector<std::size_t> dirty;
    for (std::size_t page = 0; page < pageCount; ++page) {
        if ((std::to_integer<unsigned>(body[kVectorBitmap + page / 8]) >> page % 8 & 1U) != 0) {
            dirty.push_back(page);
        }
    }
    // Nothing is changed before all pages are known to be there.
    if (dirty.size() > (body.size() - start) / kPageSize) {
        return false;
    }
    RepairBaseBlock(hive, log);
    hive.Grow(kBaseBlockSize + binsSize);
    const std::byte* source = body.data() + start;
    for (const std::size_t page : dirty) {
        std::memcpy(hive.GetBytes().data() + kBaseBlockSize + page * kPageSize, source, kPageSize);
        source += kPageSize;
    }
    return true;
}

// Whether the pages that an entry lists are all in it and inside its size of the bins.
bool ArePagesRight(const SLogEntry& entry) {
    std::size_t left = entry.pages.size();
    for (std::size_t i = 0; i < entry.references.size(); i += kReferenceSize) {
        const std::size_t offset = LoadU32(entry.references.data() + i);
        const std::size_t size = LoadU32(entry.references.data() + i + 4);
        if (size > left || offset + size > entry.binsSize) {
            return false;
        }
        left -= size;
    }
    return true;
}

// Reads the entry at the start of `bytes`; returns its size, or 0 when it is none.
std::size_t ReadEntry(std::span<const std::byte> bytes, SLogEntry& entry) {
    if (bytes.size() < kEntryHeaderSize || LoadU32(bytes.data()) != kEntrySignature) {
        return 0;
    }
    const std::size_t size = LoadU32(bytes.data() + kEntrySize);
    const std::size_t references =
        kReferenceSize * std::size_t{LoadU32(bytes.data() + kEntryPageCount)};
    if (size > bytes.size() || size % kEntryAlignment != 0 ||
        kEntryHeaderSize + references > size) {
        return 0;
    }
    const std::span<const std::byte> content = bytes.first(size).subspan(kEntryHeaderSize);
    if (LoadU64(bytes.data() + kEntryHeaderHash) !=
            CMarvin(kEntrySeed).Finish(bytes.first(kEntryHeaderHash)) ||
        LoadU64(bytes.data() + kEntryContentHash) != CMarvin(kEntrySeed).Finish(content)) {
        return 0;
    }
    entry.sequence = LoadU32(bytes.data() + kEntrySequence);
    entry.binsSize = LoadU32(bytes.data() + kEntryBinsSize);
    entry.references = content.first(references);
    entry.pages = content.subspan(references);
    return entry.binsSize % kBinAlignment == 0 && ArePagesRight(entry) ? size : 0;
}

// Appends the entries of a log's last use. They are numbered without a gap, starting at the number
// in its base block. An entry with another number is left over from an earlier use of the file.
void CollectEntries(const CHiveImage& log, std::vector<SLogEntry>& entries) {
    std::span<const std::byte> rest = GetLogBody(log, kEntrySignature);
    if (rest.empty()) {
        return;
    }
    SLogEntry entry;
    entry.log = &log;
    for (std::uint32_t expected = log.GetFirstSequence();; ++expected) {
        const std::size_t size = ReadEntry(rest, entry);
        if (size == 0 || entry.sequence != expected) {
            return;
        }
        entries.push_back(entry);
        rest = rest.subspan(size);
    }
}

// The first of the sorted entries that the hive does not have yet. The numbers of a hive may be far
// below those of its logs. A torn base block has no number; then the unbroken run that ends in the
// newest entry counts, and this is its start.
auto FindFirstMissing(const CHiveImage& hive, const std::vector<SLogEntry>& entries) {
    if (IsBaseBlockRight(hive)) {
        return std::ranges::lower_bound(entries, hive.GetSecondSequence(), {},
                                        &SLogEntry::sequence);
    }
    auto first = entries.end();
    while (first != entries.begin() &&
           (first == entries.end() || first->sequence - (first - 1)->sequence == 1)) {
        --first;
    }
    return first;
}

// The entries that the hive does not have yet, by their numbers. They may be in several logs.
std::vector<SLogEntry> CollectMissing(const CHiveImage& hive, std::span<const CHiveImage> logs) {
    std::vector<SLogEntry> entries;
    for (const CHiveImage& log : logs) {
        CollectEntries(log, entries);
    }
    std::ranges::stable_sort(entries, {}, &SLogEntry::sequence);
    const auto isRepeated = [](const SLogEntry& left, const SLogEntry& right) {
        return left.sequence == right.sequence;
    };
    entries.erase(std::unique(entries.begin(), entries.end(), isRepeated), entries.end());
    entries.erase(entries.cbegin(), FindFirstMissing(hive, entries));
    return entries;
}

// ArePagesRight has checked each size and place.
void ApplyPages(const SLogEntry& entry, std::byte* bins) {
    std::span<const std::byte> pages = entry.pages;
    for (std::size_t i = 0; i < entry.references.size(); i += kReferenceSize) {
        const std::size_t size = LoadU32(entry.references.data() + i + 4);
        std::ranges::copy(pages.first(size), bins + LoadU32(entry.references.data() + i));
        pages = pages.subspan(size);
    }
}

// Applies the entries up to the first gap in their numbers. Those after it would be changes to a
// state that is not there. Returns whether these are all of them.
bool ApplyEntries(CHiveImage& hive, std::span<const SLogEntry> entries, std::size_t logSize) {
    std::size_t count = 0;
    while (count < entries.size() && entries[count].sequence - entries[0].sequence == count &&
           IsPlausibleSize(entries[count].binsSize, hive, logSize)) {
        ++count;
    }
    if (count == 0) {
        return false;
    }
    const std::span<const SLogEntry> run = entries.first(count);
    RepairBaseBlock(hive, *run.front().log);
    hive.Grow(kBaseBlockSize + std::ranges::max_element(run, {}, &SLogEntry::binsSize)->binsSize);
    for (const SLogEntry& entry : run) {
        ApplyPages(entry, hive.GetBytes().data() + kBaseBlockSize);
    }
    return count == entries.size();
}

}  // namespace

bool IsDirtyHive(const CHiveImage& hive) {
    return !IsBaseBlockRight(hive) || hive.GetFirstSequence() != hive.GetSecondSequence();
}

bool ApplyHiveLogs(CHiveImage& hive, std::span<const CHiveImage> logs) {
    if (!IsDirtyHive(hive)) {
        return true;
    }
    // Entries count before logs of the old format. Such a log beside them is left over from an
    // older system. Its time may fit nevertheless, because a system that writes entries does not
    // change the hive's time.
    const std::vector<SLogEntry> missing = CollectMissing(hive, logs);
    if (!missing.empty()) {
        std::size_t logSize = 0;
        for (const CHiveImage& log : logs) {
            logSize += log.GetBytes().size();
        }
        return ApplyEntries(hive, missing, logSize);
    }
    return std::ranges::any_of(
        logs, [&hive](const CHiveImage& log) { return ApplyDirtyVector(hive, log); });
}

}  // namespace formats
