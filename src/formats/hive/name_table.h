// formats/hive/name_table.h - finds names without comparing them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace formats {

// A hash table of items that are known by a name. It contains only their numbers; the names stay
// with its user.
//
// INVARIANT: at least a third of the places is empty, so that every search ends. An item is at its
// home, which is its hash modulo the size, or follows it without an empty place in between.
// Threads: any number may read; nobody may read while one writes.
class CNameTable {
public:
    static constexpr std::uint32_t kEmpty = 0xFFFFFFFFU;

    // Empties the table and makes room for `count` items, which is also its limit.
    void Reset(std::size_t count);

    // The place of the item for which `isIt` is true, or the empty place where it belongs. The
    // caller may write to it, within the count given to Reset.
    template <class TPredicate>
    [[nodiscard]] std::uint32_t& Place(std::uint64_t hash, const TPredicate& isIt) {
        return m_places[Find(hash, isIt)];
    }
    // The item itself, or kEmpty.
    template <class TPredicate>
    [[nodiscard]] std::uint32_t Get(std::uint64_t hash, const TPredicate& isIt) const {
        return m_places[Find(hash, isIt)];
    }

private:
    template <class TPredicate>
    [[nodiscard]] std::size_t Find(std::uint64_t hash, const TPredicate& isIt) const {
        std::size_t i = static_cast<std::size_t>(hash) & m_mask;
        while (m_places[i] != kEmpty && !isIt(m_places[i])) {
            i = (i + 1) & m_mask;
        }
        return i;
    }

    std::vector<std::uint32_t> m_places;
    std::size_t m_mask = 0;
};

}  // namespace formats
