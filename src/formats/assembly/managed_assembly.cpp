#include "formats/assembly/managed_assembly.h"

#include <bit>
#include <cstdint>
#include <optional>
#include <vector>

#include "formats/bytes.h"

namespace formats {

namespace {

// Sizes of the headers, in bytes.
constexpr std::size_t kDosHeaderSize = 64;
constexpr std::size_t kFileHeaderSize = 24;  // with the signature before it
constexpr std::size_t kSectionSize = 40;
constexpr std::size_t kManagedHeaderSize = 72;
constexpr std::size_t kTablesHeaderSize = 24;
constexpr std::size_t kRowCountsSize = 256;  // of the 64 tables that there may be
// More than the version text and the five known streams take. So one read gets all of it, and a
// header that claims to be longer costs no memory.
constexpr std::size_t kMaxMetadataHeader = 4096;
constexpr std::size_t kMaxStreamName = 32;

constexpr std::uint16_t kDosSignature = 0x5A4D;           // "MZ"
constexpr std::uint32_t kImageSignature = 0x00004550;     // "PE"
constexpr std::uint32_t kMetadataSignature = 0x424A5342;  // "BSJB"
constexpr std::uint16_t kOptionalHeader32 = 0x10B;
constexpr std::uint16_t kOptionalHeader64 = 0x20B;

// The data directory that leads to the managed header, and the number of the table that only an
// assembly has rows in.
constexpr std::size_t kManagedDirectory = 14;
constexpr std::uint64_t kAssemblyTable = 0x20;

// A part of a file, without the bytes after the file's end. Its getters give 0 there, and 0 is no
// signature and no offset of any header below. So nothing here has to test what was read.
class CFilePart {
public:
    CFilePart() = default;
    CFilePart(const ReadAt& file, std::uint64_t offset, std::size_t count) : m_bytes(count) {
        m_bytes.resize(file(offset, m_bytes));
    }

    [[nodiscard]] CByteReader Get() const { return CByteReader(m_bytes); }

private:
    std::vector<std::byte> m_bytes;
};

// The sections of an image, and where its managed header is in memory.
class CImageHeaders {
public:
    // False for what is no image, and for one without a managed header.
    bool Read(const ReadAt& file) {
        const CFilePart dos(file, 0, kDosHeaderSize);
        if (dos.Get().GetU16(0) != kDosSignature) {
            return false;
        }
        const std::uint64_t start = dos.Get().GetU32(60);
        const CFilePart header(file, start, kFileHeaderSize);
        if (header.Get().GetU32(0) != kImageSignature) {
            return false;
        }
        // Both sizes come from 16-bit fields, so a hostile file gets at most 2.7 MB read.
        const std::size_t optionalSize = header.Get().GetU16(20);
        const std::size_t sectionsSize = header.Get().GetU16(6) * kSectionSize;
        m_part = CFilePart(file, start + kFileHeaderSize, optionalSize + sectionsSize);
        m_sections = m_part.Get().Part(optionalSize);
        return ReadDirectory(m_part.Get().Part(0, optionalSize));
    }

    [[nodiscard]] std::uint32_t GetManagedHeader() const { return m_managedHeader; }

    // Where in the file an address is; nothing for one that is not in it.
    [[nodiscard]] std::optional<std::uint64_t> OffsetOf(std::uint32_t address) const {
        for (std::size_t at = 0; at < m_sections.GetSize(); at += kSectionSize) {
            const std::uint32_t start = m_sections.GetU32(at + 12);
            const std::uint32_t size = m_sections.GetU32(at + 16);
            // Not `address < start + size`: the sum may overflow.
            if (address >= start && address - start < size) {
                return std::uint64_t{m_sections.GetU32(at + 20)} + (address - start);
            }
        }
        return std::nullopt;
    }

private:
    bool ReadDirectory(const CByteReader& optional) {
        const std::uint16_t kind = optional.GetU16(0);
        if (kind != kOptionalHeader32 && kind != kOptionalHeader64) {
            return false;
        }
        // The count of directories is the field before the first of them.
        const std::size_t directories = kind == kOptionalHeader32 ? 96 : 112;
        if (optional.GetU32(directories - 4) <= kManagedDirectory) {
            return false;
        }
        m_managedHeader = optional.GetU32(directories + 8 * kManagedDirectory);
        return m_managedHeader != 0;
    }

    CFilePart m_part;
    CByteReader m_sections;
    std::uint32_t m_managedHeader = 0;
};

// Where among the metadata their tables begin; nothing when they have none.
std::optional<std::uint32_t> FindTables(const CByteReader& metadata) {
    if (metadata.GetU32(0) != kMetadataSignature) {
        return std::nullopt;
    }
    const std::size_t streams = std::size_t{16} + metadata.GetU32(12);
    const std::uint16_t count = metadata.GetU16(streams + 2);
    std::size_t at = streams + 4;
    for (std::uint16_t i = 0; i < count && at < metadata.GetSize(); ++i) {
        const std::u16string name = metadata.GetAnsiText(at + 8, kMaxStreamName);
        if (name == u"#~" || name == u"#-") {
            return metadata.GetU32(at);
        }
        // An offset and a size, then the name with its NUL, padded to four bytes.
        at += 8 + (name.size() / 4 + 1) * 4;
    }
    return std::nullopt;
}

// Whether the table of assemblies has a row; a module's has none.
bool HasAssemblyRow(const CByteReader& tables) {
    const std::uint64_t present = tables.GetU32(8) | std::uint64_t{tables.GetU32(12)} << 32;
    const std::uint64_t assembly = std::uint64_t{1} << kAssemblyTable;
    // Only the tables that are present have a count of rows, one after the other.
    const auto before = static_cast<std::size_t>(std::popcount(present & (assembly - 1)));
    return (present & assembly) != 0 && tables.GetU32(kTablesHeaderSize + 4 * before) != 0;
}

}  // namespace

bool HoldsManagedAssembly(const ReadAt& file) {
    CImageHeaders image;
    if (!image.Read(file)) {
        return false;
    }
    const std::optional<std::uint64_t> header = image.OffsetOf(image.GetManagedHeader());
    if (!header) {
        return false;
    }
    const CFilePart managed(file, *header, kManagedHeaderSize);
    const std::optional<std::uint64_t> start = image.OffsetOf(managed.Get().GetU32(8));
    if (!start) {
        return false;
    }
    const CFilePart metadata(file, *start, kMaxMetadataHeader);
    const std::optional<std::uint32_t> tables = FindTables(metadata.Get());
    if (!tables) {
        return false;
    }
    const CFilePart rows(file, *start + *tables, kTablesHeaderSize + kRowCountsSize);
    return HasAssemblyRow(rows.Get());
}

}  // namespace formats
