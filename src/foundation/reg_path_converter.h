// foundation/reg_path_converter.h - registry keys as aliases, as stored, and portable.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/prefix_tree.h"
#include "foundation/shared_instance.h"
#include "foundation/wide_string.h"

// An alias of a key, and the key that it leads to.
struct CKeyMapping {
    CStrW from;
    CStrW to;
};

// Replaces aliases of registry keys by the keys that have the data, and those by portable ones. It
// works on text alone, with two tables in which the order of the rows counts. The SID of the
// current user is put in when the instance is built. One thread at a time.
//
// A match may be anywhere in a text and need not begin or end at a backslash. Short hive names do
// not match. A text may contain several keys.
class CRegPathConverter {
public:
    // Throws std::bad_alloc when there is no memory for the tables.
    CRegPathConverter();

    // The one instance of the process, by the rules of CSharedInstance.
    [[nodiscard]] static CRegPathConverter* Acquire() {
        return CSharedInstance<CRegPathConverter>::Acquire();
    }
    static void Release() { CSharedInstance<CRegPathConverter>::Release(); }

    // Replaces aliases by stored keys, ignoring case, and returns how many there were. Of the rows
    // that match at or after the scan's position, the first row wins, at its leftmost match. The
    // position then moves on by the length of the replacement, wherever the match was. This must
    // stay: it decides which aliases are found.
    std::size_t ExpandKeyText(CStrW& text) const;

    // Replaces stored keys by portable ones, ignoring case. True when anything changed.
    bool CollapseKeyText(CStrW& text) const;
    // The same for a view. False, with `collapsed` in no particular state, when nothing changes.
    bool CollapseKeyText(std::u16string_view text, std::u16string& collapsed) const;

    // Replaces the kernel's name at the start of a text by its hive; false when there is none. The
    // name need not end at a backslash: "\REGISTRY\USERDATA" becomes "HKEY_USERSDATA".
    static bool KernelPathToHivePath(CStrW& text);

    // The rows of each table, in order.
    [[nodiscard]] const std::vector<CKeyMapping>& GetExpansions() const { return m_expansions; }
    [[nodiscard]] const std::vector<CKeyMapping>& GetCollapses() const { return m_collapses; }

private:
    std::vector<CKeyMapping> m_expansions;
    std::vector<CKeyMapping> m_collapses;
    CPrefixTree m_storedKeys;  // `to` of each row of `m_collapses`, by its index
};
