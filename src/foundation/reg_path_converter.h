// foundation/reg_path_converter.h - the spellings of a registry key: as stored, and portable.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/shared_instance.h"
#include "foundation/wide_string.h"

// An alias of a key and the key that it stands for.
struct CKeyMapping {
    CStrW from;
    CStrW to;
};

// Turns the aliases among registry keys into the keys that hold the data, and those into what fits
// any machine: by text alone, with two tables in which the order of the rows counts. The current
// user's SID is taken in when the instance is built. Used by one thread at a time.
//
// A match may stand anywhere in a text and need not begin or end at a backslash; short hive names
// are not known. A text may hold several keys.
class CRegPathConverter {
public:
    // Throws std::bad_alloc when there is no memory for the tables.
    CRegPathConverter();

    // The one instance of the process, by the rules of CSharedInstance.
    [[nodiscard]] static CRegPathConverter* Acquire() {
        return CSharedInstance<CRegPathConverter>::Acquire();
    }
    static void Release() { CSharedInstance<CRegPathConverter>::Release(); }

    // Puts stored keys in the place of their aliases, ignoring case, and gives the number of them.
    // Of the rows that match at or behind the scan's position the first one wins, at its leftmost
    // match; the position then moves on by the length of what was put in, wherever that was.
    std::size_t ExpandKeyText(CStrW& text) const;

    // Puts portable keys in the place of stored ones, ignoring case. True when anything changed.
    bool CollapseKeyText(CStrW& text) const;

    // Turns the kernel's name in front of a text into the hive it means; false when there is none.
    // The name need not end at a backslash: "\REGISTRY\USERDATA" becomes "HKEY_USERSDATA".
    static bool KernelPathToHivePath(CStrW& text);

    // The rows of each table in order.
    [[nodiscard]] const std::vector<CKeyMapping>& GetExpansions() const { return m_expansions; }
    [[nodiscard]] const std::vector<CKeyMapping>& GetCollapses() const { return m_collapses; }

private:
    std::vector<CKeyMapping> m_expansions;
    std::vector<CKeyMapping> m_collapses;
};
