// tests/support/hive_log_builder.h - the logs of a hive whose last write was cut off.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "formats/hive/marvin.h"

// The hash that an entry has of its header and of its content.
inline std::uint64_t HashLogEntry(std::string_view bytes) {
    return formats::CMarvin(0x82EF4D887A4E55C5U).Finish(std::as_bytes(std::span(bytes)));
}

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
