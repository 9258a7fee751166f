// tests/support/hive_log_builder.h - the logs of a hive whose last write was cut off.
#pragma once

#include <cstdint>
#include <string>

// A log of the elder format: the pages that `after` has and `before` has not, behind a bitmap.
std::string MakeDirtyVectorLog(const std::string& before, const std::string& after);

// A log of the later format: entries with sequence numbers and hashes, each with what one write
// changes.
class CTestHiveLog {
public:
    // Takes the header of the hive it is for; the sequence numbers in it become those of the first
    // entry.
    explicit CTestHiveLog(const std::string& hive);

    CTestHiveLog& Entry(std::uint32_t sequence, const std::string& before,
                        const std::string& after);

    [[nodiscard]] std::string Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};
