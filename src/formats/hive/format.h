// formats/hive/format.h - where everything is in the files of a hive.
//
//      hive                        log, old format         log, new format
//      0     base block            base block (a sector)   base block (a sector)
//      4096  bin: header, cells    "DIRT", bitmap          "HvLE" entry: header,
//            bin ...               pages ...                 references, pages
//                                                          entry ...
//
// The bins are one space of cells, and an offset counts from the first bin. A cell begins with its
// size, negative when it is in use, and holds one record:
//
//      nk key ──┬─ list of subkeys: li, lf, lh, or ri, a list of such lists ──> nk ...
//               └─ list of values: offsets alone ──> vk value ──> data, or db for large data
//
// All numbers are little-endian. Offsets of fields count bytes from the start of their record.
#pragma once

#include <cstddef>
#include <cstdint>

namespace formats::hive {

// The base block of a hive and of its logs.
constexpr std::uint32_t kBaseSignature = 0x66676572;  // "regf"
constexpr std::size_t kBaseBlockSize = 4096;
constexpr std::size_t kBaseFirstSequence = 4;
constexpr std::size_t kBaseSecondSequence = 8;
constexpr std::size_t kBaseWriteTime = 12;
constexpr std::size_t kBaseMajorVersion = 20;
constexpr std::size_t kBaseMinorVersion = 24;
constexpr std::size_t kBaseFileType = 28;  // 0 for a hive
constexpr std::size_t kBaseRootCell = 36;
constexpr std::size_t kBaseBinsSize = 40;
constexpr std::size_t kBaseSectors = 44;    // how many sectors of 512 bytes a sector of the disk is
constexpr std::size_t kBaseChecksum = 508;  // of all before it
constexpr std::size_t kSectorSize = 512;

// Bins and cells.
constexpr std::size_t kBinAlignment = 4096;
constexpr std::size_t kBinHeaderSize = 32;
constexpr std::size_t kBinWriteTime = 20;
constexpr std::size_t kCellAlignment = 8;
constexpr std::size_t kCellSizeSize = 4;
constexpr std::size_t kOffsetSize = 4;

// A key.
constexpr unsigned kKeySignature = 0x6B6E;  // "nk"
constexpr std::size_t kKeyFlags = 2;
constexpr unsigned kKeyNameIsLatin1 = 0x20;
constexpr std::size_t kKeyParent = 16;
constexpr std::size_t kKeySubKeyCount = 20;
constexpr std::size_t kKeySubKeyList = 28;
constexpr std::size_t kKeyValueCount = 36;
constexpr std::size_t kKeyValueList = 40;
constexpr std::size_t kKeyNameSize = 72;
constexpr std::size_t kKeySize = 76;  // the name follows

// A value.
constexpr unsigned kValueSignature = 0x6B76;  // "vk"
constexpr std::size_t kValueNameSize = 2;
constexpr std::size_t kValueDataSize = 4;
constexpr std::uint32_t kDataIsInline = 0x80000000U;  // a bit of the size
constexpr std::size_t kMaxInlineData = 4;
constexpr std::size_t kValueData = 8;  // the data itself, or the offset of its cell
constexpr std::size_t kValueType = 12;
constexpr std::size_t kValueFlags = 16;
constexpr unsigned kValueNameIsLatin1 = 1;
constexpr std::size_t kValueSize = 20;  // the name follows

// Lists of subkeys.
constexpr unsigned kIndexRootSignature = 0x6972;  // "ri", of lists
constexpr unsigned kIndexLeafSignature = 0x696C;  // "li", of offsets
constexpr unsigned kFastLeafSignature = 0x666C;   // "lf", of offsets, each with part of the name
constexpr unsigned kHashLeafSignature = 0x686C;   // "lh", of offsets, each with a hash of the name
constexpr std::size_t kListCount = 2;
constexpr std::size_t kListHeaderSize = 4;
constexpr std::size_t kHintedEntrySize = 8;  // of "lf" and "lh"

// Large data, from format 1.4 on.
constexpr unsigned kSegmentsSignature = 0x6264;  // "db"
constexpr std::size_t kSegmentsCount = 2;
constexpr std::size_t kSegmentsList = 4;  // the cell with the offsets of the segments
constexpr std::size_t kSegmentsSize = 8;
constexpr std::uint32_t kSegmentLength = 16344;
constexpr std::uint32_t kFirstVersionWithSegments = 4;

// Logs: after the base block, a bitmap of pages and those pages, or entries.
constexpr std::uint32_t kVectorSignature = 0x54524944;  // "DIRT"
constexpr std::size_t kVectorBitmap = 4;
constexpr std::size_t kPageSize = 512;
constexpr std::uint32_t kEntrySignature = 0x454C7648;  // "HvLE"
constexpr std::size_t kEntrySize = 4;
constexpr std::size_t kEntrySequence = 12;
constexpr std::size_t kEntryBinsSize = 16;
constexpr std::size_t kEntryPageCount = 20;
constexpr std::size_t kEntryContentHash = 24;  // of all after the header
constexpr std::size_t kEntryHeaderHash = 32;   // of all before it
constexpr std::size_t kEntryHeaderSize = 40;   // references follow, then pages
constexpr std::size_t kEntryAlignment = 512;
constexpr std::size_t kReferenceSize = 8;  // offset in the bins, size
constexpr std::uint64_t kEntrySeed = 0x82EF4D887A4E55C5U;

}  // namespace formats::hive
