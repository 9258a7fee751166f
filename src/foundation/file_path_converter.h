// foundation/file_path_converter.h - concrete paths to portable tokens and back.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "foundation/shared_instance.h"
#include "foundation/wide_string.h"

// One token and what it stands for on this machine.
struct CFolderEntry {
    CStrW token;  // with both percent signs
    CStrW path;
    CStrW lowerPath;
};

// Turns a path such as "C:\Program Files\App\a.exe" into "%CSIDL_PROGRAM_FILES%\App\a.exe", and
// back. The table is filled from the machine when the instance is built and stays as it is then: a
// folder or variable that the machine does not have gives no row. Used by one thread at a time.
class CFilePathConverter {
public:
    CFilePathConverter();

    // The one instance of the process, by the rules of CSharedInstance.
    [[nodiscard]] static CFilePathConverter* Acquire() {
        return CSharedInstance<CFilePathConverter>::Acquire();
    }
    static void Release() { CSharedInstance<CFilePathConverter>::Release(); }

    // Adds a row in front of the first one with a shorter path. So the longest path comes first,
    // and among paths of one length the one that was added first.
    void AddEntry(std::u16string_view token, std::u16string_view path);

    // Puts paths in the place of known tokens, ignoring their case; returns how many there were. A
    // token whose opening percent sign was taken for the end of another pair is not found.
    std::size_t ExpandTokens(CStrW& text) const;
    [[nodiscard]] CStrW Expand(const CStrW& text) const;

    // Puts tokens in the place of known paths, longest first, wherever they stand in the text; with
    // `expandLongName` the text's short names are made long first. True when anything changed. A
    // match need not end at a backslash: "C:\WindowsOld" becomes "%CSIDL_WINDOWS%\Old".
    bool CollapsePaths(CStrW& text, bool expandLongName) const;
    [[nodiscard]] CStrW Collapse(const CStrW& text) const;

private:
    struct SMatch {
        const CFolderEntry* entry = nullptr;
        std::size_t position = 0;
    };
    // Rows whose paths begin alike, by their index: a text without `prefix` holds none of them.
    struct SGroup {
        std::u16string_view prefix;
        std::vector<std::size_t> rows;
    };

    void AddFolders();
    void AddEnvironment();
    void GroupRows();
    [[nodiscard]] const CFolderEntry* FindToken(std::u16string_view span) const;
    [[nodiscard]] bool MayHoldPath(std::u16string_view text) const;
    [[nodiscard]] SMatch FindLongestPath(std::u16string_view lower) const;
    [[nodiscard]] SMatch FindNewPath(std::u16string_view done, std::size_t changed,
                                     std::u16string_view lowerRest, const CFolderEntry& last) const;
    void ReplaceByToken(CStrW& text, std::u16string_view lower, const SMatch& match) const;

    std::vector<CFolderEntry> m_entries;
    std::vector<SGroup> m_groups;
    // The rows, by their index, whose paths a token and what follows it can complete: those that
    // are not absolute. Mostly there are none.
    std::vector<std::size_t> m_looseRows;
    std::size_t m_longestLoosePath = 0;
};

// Expands the tokens of `text` by the shared converter.
void ExpandFileTokens(CStrW& text);
