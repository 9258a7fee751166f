#include "support/hive_log_builder.h"

#include <cstddef>
#include <vector>

#include "support/hive_builder.h"
#include "support/little_endian.h"

namespace {

constexpr std::size_t kHeaderSize = 4096;
constexpr std::size_t kSectorSize = 512;

// The first sector of a hive as its log has it.
std::string MakeHeader(const std::string& hive, std::uint32_t fileType) {
    std::string header = hive.substr(0, kSectorSize);
    PutNumber(header, 4, GetNumber(header, 8, 4), 4);
    PutNumber(header, 28, fileType, 4);
    SealHiveHeader(header);
    return header;
}

// The numbers of the pages of bins that differ.
std::vector<std::size_t> FindDirtyPages(std::string_view before, std::string_view after,
                                        std::size_t pageSize) {
    std::vector<std::size_t> pages;
    for (std::size_t i = 0; kHeaderSize + i * pageSize < after.size(); ++i) {
        const std::size_t start = kHeaderSize + i * pageSize;
        if (start >= before.size() ||
            before.substr(start, pageSize) != after.substr(start, pageSize)) {
            pages.push_back(i);
        }
    }
    return pages;
}

void PadToSector(std::string& bytes) {
    bytes.resize((bytes.size() + kSectorSize - 1) / kSectorSize * kSectorSize);
}

}  // namespace

std::string MakeDirtyVectorLog(const std::string& before, const std::string& after) {
    std::string log = MakeHeader(after, 1);
    std::string bitmap((after.size() - kHeaderSize) / kSectorSize / 8, '\0');
    const std::vector<std::size_t> pages = FindDirtyPages(before, after, kSectorSize);
    for (const std::size_t page : pages) {
        bitmap[page / 8] = static_cast<char>(bitmap[page / 8] | 1 << page % 8);
    }
    log += "DIRT" + bitmap;
    PadToSector(log);
    for (const std::size_t page : pages) {
        log += after.substr(kHeaderSize + page * kSectorSize, kSectorSize);
    }
    return log;
}

CTestHiveLog::CTestHiveLog(const std::string& hive) : m_bytes(MakeHeader(hive, 6)) {}

CTestHiveLog& CTestHiveLog::Entry(std::uint32_t sequence, const std::string& before,
                                  const std::string& after) {
    constexpr std::size_t kPageSize = 4096;
    if (m_bytes.size() == kSectorSize) {
        PutNumber(m_bytes, 4, sequence, 4);
        PutNumber(m_bytes, 8, sequence, 4);
        SealHiveHeader(m_bytes);
    }
    const std::vector<std::size_t> pages = FindDirtyPages(before, after, kPageSize);
    std::string content;
    for (const std::size_t page : pages) {
        content += Numbers({page * kPageSize, kPageSize});
    }
    for (const std::size_t page : pages) {
        content += after.substr(kHeaderSize + page * kPageSize, kPageSize);
    }
    content.resize((content.size() + 40 + kSectorSize - 1) / kSectorSize * kSectorSize - 40);
    std::string entry = "HvLE" + Numbers({content.size() + 40, 0, sequence,
                                          after.size() - kHeaderSize, pages.size()});
    AppendNumber(entry, HashLogEntry(content), 8);
    AppendNumber(entry, HashLogEntry(entry), 8);
    m_bytes += entry + content;
    return *this;
}
