// tests/fuzz/hive_parts.h - an input of hive_fuzzer: a hive, or a hive and its logs.
//
// Given a hive alone, the input is that. An input with logs begins with "logs". Each part, the hive
// first, then begins with 4 bytes that say how long it is.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/hive/image.h"
#include "support/hive_builder.h"
#include "support/hive_log_builder.h"
#include "support/little_endian.h"

inline std::vector<std::string> DivideHiveInput(std::string_view input) {
    constexpr std::size_t kMaxParts = 4;
    if (!input.starts_with("logs")) {
        return {std::string(input)};
    }
    std::vector<std::string> parts;
    for (input.remove_prefix(4); input.size() >= 4 && parts.size() < kMaxParts;) {
        parts.emplace_back(input.substr(4, GetNumber(input, 0, 4)));
        input.remove_prefix(4 + parts.back().size());
    }
    return parts;
}

inline std::string JoinHiveInput(const std::vector<std::string>& parts) {
    if (parts.size() == 1) {
        return parts.front();
    }
    std::string input = "logs";
    for (const std::string& part : parts) {
        AppendNumber(input, part.size(), 4);
        input += part;
    }
    return input;
}

inline std::size_t GetHiveSectorSize(std::string_view part) {
    return formats::CHiveImage(std::as_bytes(std::span(part))).GetSectorSize();
}

// Gives a hive or log the checksum and the hashes that it must have. Any change breaks them, and
// then what follows is never reached.
inline void SealHivePart(std::string& part) {
    using namespace formats::hive;
    if (part.size() < kSectorSize) {
        return;
    }
    SealHiveHeader(part);
    std::size_t start = GetHiveSectorSize(part);
    while (start + kEntryHeaderSize <= part.size() &&
           GetNumber(part, start, 4) == kEntrySignature) {
        const std::size_t size = GetNumber(part, start + kEntrySize, 4);
        if (size < kEntryHeaderSize || size > part.size() - start) {
            return;
        }
        const std::string_view entry = std::string_view(part).substr(start, size);
        PutNumber(part, start + kEntryContentHash, HashLogEntry(entry.substr(kEntryHeaderSize)), 8);
        PutNumber(part, start + kEntryHeaderHash, HashLogEntry(entry.substr(0, kEntryHeaderHash)),
                  8);
        start += size;
    }
}
