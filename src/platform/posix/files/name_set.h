// platform/posix/files/name_set.h - the names in a folder, in the order in which NTFS gives them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// What a folder says of an entry without looking at it. A link, and what some file systems say
// nothing of, is Unknown until it is looked at.
enum class EEntryKind : unsigned char { Unknown, Folder, Regular, Other };

// A name on disk and the kind of its entry. The text is a loan of a CNameSet, until that changes.
struct SName {
    std::string_view text;
    EEntryKind kind = EEntryKind::Unknown;
};

// Names as they are on disk, in the order of the upper-case forms of their texts. Names that differ
// only in letter case are neighbours, in a fixed order. So a name in another letter case is found
// without another system call, and a search gives the order of NTFS on every file system.
//
// INVARIANT: the names are those that Read has found, with the changes by Add and Remove. Their
// bytes are in `m_bytes`, those of removed names too. They are in order within a block and from
// block to block; no block is empty or has more than kMaxBlock names, so that a name in the middle
// moves few others. `m_colonNames` is the number of names with a colon. `m_passed` is the place
// of a name, or the end.
// Threads: those of CFolderCache. FindNext moves `m_passed`, so not even two readers at a time.
// Gain of the kinds: 5 % less CPU; of `m_colonNames`: 7 % (bench files-memory, 12,500 files). Of
// `m_passed`: 5 % in a package of one folder with 20,000 files. Of the blocks, instead of a tree:
// 5 % of the instructions of a conversion of small files.
class CNameSet {
public:
    CNameSet() = default;
    CNameSet(const CNameSet&) = delete;
    CNameSet& operator=(const CNameSet&) = delete;

    // Reads the names of the folder open at `folder`. 0 or the errno of the failure, which leaves
    // no names.
    [[nodiscard]] int Read(int folder);

    // Adds a name, or changes the kind of one that is there.
    void Add(std::string_view name, EEntryKind kind);
    void Remove(std::string_view name);
    [[nodiscard]] std::size_t GetCount() const { return m_count; }

    // The name that appears as `text`, else the first that does but for letter case.
    [[nodiscard]] std::optional<std::string_view> Find(std::u16string_view text) const;

    // The first name after `name` in order. `name` itself need not exist; an empty one is before
    // all others. None at the end.
    [[nodiscard]] std::optional<SName> FindNext(std::string_view name) const;

    // Sets `text` to what the name appears as. Of names that would appear alike, all but one show
    // their colons and the like another way, so that each can be found.
    void GetText(std::string_view name, std::u16string& text) const;

    // Whether a name is "file:stream" for a file that is there too.
    [[nodiscard]] bool IsStream(std::string_view name) const;

    // Whether a name is `file`, a colon and `stream`, ignoring letter case.
    [[nodiscard]] bool HasStream(std::u16string_view file, std::u16string_view stream) const;

private:
    static constexpr std::size_t kMaxBlock = 512;  // names

    // A name in `m_bytes`.
    struct SStored {
        std::size_t start = 0;
        std::uint32_t size = 0;
        EEntryKind kind = EEntryKind::Unknown;
    };
    using Block = std::vector<SStored>;
    // The end is after the last block.
    struct SPlace {
        std::size_t block = 0;
        std::size_t index = 0;
    };
    // A text to find: in upper case, and unchanged if letter case counts.
    struct SKey {
        std::u16string_view upper;
        const std::u16string_view* exact = nullptr;
    };

    static bool IsBefore(std::string_view left, std::string_view right);
    static bool IsBefore(std::string_view left, const SKey& right);
    template <class TWanted>
    SPlace FindFirstFrom(const TWanted& wanted) const;
    SPlace Find(std::string_view name) const;

    [[nodiscard]] bool IsEnd(SPlace place) const { return place.block == m_blocks.size(); }
    [[nodiscard]] SPlace GetNext(SPlace place) const;
    [[nodiscard]] std::string_view GetName(const SStored& name) const {
        return std::string_view(m_bytes).substr(name.start, name.size);
    }
    [[nodiscard]] std::string_view GetName(SPlace place) const {
        return GetName(m_blocks[place.block][place.index]);
    }

    void Clear();
    int ReadNames(int folder, Block& names);
    SStored Store(std::string_view name, EEntryKind kind);
    SPlace Split(SPlace place);
    void Insert(SPlace place, const SStored& name);

    std::string m_bytes;
    std::vector<Block> m_blocks;
    std::size_t m_count = 0;
    std::size_t m_colonNames = 0;
    // The name that FindNext gave last: the next one is its neighbour.
    mutable SPlace m_passed;
};

}  // namespace platform
