// host/record_reader.h - reads the record of a conversion, which docs/record.md describes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace host {

struct SRecordHead {
    std::string state;  // "running", "whole" or "cut off"
    std::int64_t status = 0;
    std::uint64_t losses = 0;
    std::uint64_t missing = 0;
};

// One line. Texts and numbers that it does not have are empty and 0.
struct SRecordEntry {
    std::uint64_t in = 0;
    std::string thing;
    std::string outcome;
    std::string reason;
    std::u16string source;
    std::u16string name;
    std::string collection;
    std::u16string target;
    std::u16string detail;
    std::int64_t status = 0;
    std::uint64_t line = 0;
    std::uint64_t log = 0;
    std::map<std::string, std::uint64_t> items;  // of a target, by the collection of its manifest
};

// Whether a file begins as a record.
[[nodiscard]] bool IsRecord(const std::filesystem::path& file);

using RecordEntryHandler = std::function<void(const SRecordEntry& entry)>;

// Reads a record and calls `handle` for each of its lines, in their order. A last line that is cut
// off is left out, unless the head says that the record is whole. Any other line that is not as it
// should be ends the reading. Returns what is wrong, with what to do; empty when all was read. The
// memory does not grow with the record.
[[nodiscard]] std::string ReadRecord(const std::filesystem::path& file, SRecordHead& head,
                                     const RecordEntryHandler& handle);

}  // namespace host
