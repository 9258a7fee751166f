// platform/posix/files/name_set.h - the names in a folder, in the order in which NTFS gives them.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace platform {

// What a folder says of an entry without looking at it. A link, and what some file systems say
// nothing of, is Unknown until it is looked at.
enum class EEntryKind : unsigned char { Unknown, Folder, Regular, Other };

// Names as they are on disk, ordered by the upper-case form of what they appear as; those that
// differ in letter case only follow each other in a fixed order.
class CNameSet {
public:
    CNameSet() = default;
    CNameSet(const CNameSet&) = delete;
    CNameSet& operator=(const CNameSet&) = delete;

    // Reads the names of the folder open at `folder`. 0 or the errno of the failure, which leaves
    // no names.
    [[nodiscard]] int Read(int folder);

    void Add(const std::string& name, EEntryKind kind);
    void Remove(const std::string& name);
    [[nodiscard]] std::size_t GetCount() const { return m_names.size(); }

    // A name and the kind of its entry.
    using Name = std::pair<const std::string, EEntryKind>;

    // The name that appears as `text`, else the first that does but for letter case, else null.
    [[nodiscard]] const std::string* Find(std::u16string_view text) const;

    // The first name in order behind `name`, which need not be there itself; an empty one stands
    // before all others. Null at the end.
    [[nodiscard]] const Name* FindNext(const std::string& name) const;

    // What the name appears as. Of names that would appear alike, all but one show their colons and
    // the like another way, so that each can be found.
    [[nodiscard]] std::u16string GetText(const std::string& name) const;

    // Whether a name is "file:stream" for a file that is there too.
    [[nodiscard]] bool IsStream(const std::string& name) const;

    // Whether a name is `file`, a colon and `stream`, ignoring letter case.
    [[nodiscard]] bool HasStream(std::u16string_view file, std::u16string_view stream) const;

private:
    // A text to find: in upper case, and as it stands where letter case counts.
    struct SKey {
        std::u16string_view upper;
        const std::u16string_view* exact = nullptr;
    };
    struct SOrder {
        using is_transparent = void;
        bool operator()(const std::string& left, const std::string& right) const;
        bool operator()(const std::string& left, const SKey& right) const;
    };

    using Names = std::map<std::string, EEntryKind, SOrder>;

    Names m_names;
    // The name that was last added or passed: most come in order, and the next is beside it.
    mutable Names::const_iterator m_place = m_names.end();
    std::size_t m_colonNames = 0;
};

}  // namespace platform
