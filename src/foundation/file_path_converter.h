// foundation/file_path_converter.h - paths of this machine to portable tokens and back.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/prefix_tree.h"
#include "foundation/shared_instance.h"
#include "foundation/wide_string.h"

// A token and its path on this machine.
struct CFolderEntry {
    CStrW token;  // with both percent signs
    CStrW path;
    CStrW lowerPath;
};

// Turns a path such as "C:\Program Files\App\a.exe" into "%CSIDL_PROGRAM_FILES%\App\a.exe" and
// back. The table is filled from the machine when the instance is built and does not follow later
// changes. A folder or variable that the machine does not have gives no row. One thread at a time.
//
// INVARIANT: the rows are in falling order of the length of their paths; rows of the same length
// are in the order of their addition. `m_paths` and `m_looseRows` have exactly the rows that take
// part in collapsing, by their index. AddEntry rebuilds both.
class CFilePathConverter {
public:
    CFilePathConverter();

    // The one instance of the process, by the rules of CSharedInstance.
    [[nodiscard]] static CFilePathConverter* Acquire() {
        return CSharedInstance<CFilePathConverter>::Acquire();
    }
    static void Release() { CSharedInstance<CFilePathConverter>::Release(); }

    // Adds a row before the first row with a shorter path. An empty path is ignored.
    void AddEntry(std::u16string_view token, std::u16string_view path);

    // Replaces known tokens by their paths, ignoring case; returns how many there were. Percent
    // signs are paired from the left, so a token whose first percent sign ends another pair is not
    // found.
    std::size_t ExpandTokens(CStrW& text) const;
    [[nodiscard]] CStrW Expand(const CStrW& text) const;

    // Replaces known paths by their tokens anywhere in the text, ignoring case, the longest path
    // first. With `expandLongName` short names are made long first. True when anything changed. A
    // match need not end at a backslash: "C:\WindowsOld" becomes "%CSIDL_WINDOWS%\Old".
    bool CollapsePaths(CStrW& text, bool expandLongName) const;
    // The same for a view, without short names. False, with `collapsed` in no particular state,
    // when nothing changes.
    bool CollapsePaths(std::u16string_view text, std::u16string& collapsed) const;
    [[nodiscard]] CStrW Collapse(const CStrW& text) const;

    // Whether Collapse changes nothing but `folder` in the path of any file of that folder, and
    // always in the same way. `folder` is plain: it begins with a drive and ends in a backslash.
    [[nodiscard]] bool KeepsNamesIn(std::u16string_view folder) const;

private:
    struct SMatch {
        const CFolderEntry* entry = nullptr;
        std::size_t position = 0;
    };

    void AddFolders();
    void AddEnvironment();
    void InsertRow(std::u16string_view token, std::u16string_view path);
    void IndexRows();
    [[nodiscard]] std::u16string_view FindPath(std::u16string_view token) const;
    [[nodiscard]] SMatch FindNextPath(std::u16string_view text, std::size_t start) const;
    [[nodiscard]] std::optional<bool> CollapseInOnePass(std::u16string_view text,
                                                        std::u16string& collapsed) const;
    bool CollapseRowByRow(std::u16string_view text, std::u16string& collapsed) const;
    [[nodiscard]] SMatch FindLongestPath(std::u16string_view lower) const;
    [[nodiscard]] SMatch FindNewPath(std::u16string_view done, std::size_t changed,
                                     std::u16string_view lowerRest, const CFolderEntry& last) const;
    void ReplaceByToken(std::u16string& text, std::u16string_view lower, const SMatch& match) const;

    std::vector<CFolderEntry> m_entries;
    // Gain: 75 % fewer instructions to collapse a path, beside comparing row by row.
    CPrefixTree m_paths;
    bool m_hasServerPaths = false;  // whether a path in `m_paths` begins with two backslashes
    // The rows, by index, whose paths are not absolute: a token together with the text after it may
    // complete such a path. Usually there are none.
    std::vector<std::size_t> m_looseRows;
    std::size_t m_longestLoosePath = 0;  // in UTF-16 units
};

// Expands the tokens of `text` by the shared converter.
void ExpandFileTokens(CStrW& text);
