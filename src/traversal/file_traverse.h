// traversal/file_traverse.h - a walk through a folder tree, breadth first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "foundation/file_path.h"
#include "platform/files.h"
#include "traversal/traverse.h"

// Visits every entry below its roots: all entries of a folder before any of its subfolders is
// opened, in the order of the file system. The roots are not visited. A folder that cannot be
// listed, and an entry without a valid name, are skipped; OnUnread and OnRefused tell a derived
// class.
//
// INVARIANT: `m_pending` is the folders that were visited and not yet opened. A folder is in it
// once, and the walk ends when it is empty. Only the worker thread touches it during a walk.
class CFileTraverse : public CTraverse {
public:
    // Add folders to walk, and folders to leave out. Not during a walk.
    void AddRoot(const CFilePathW& folder) { m_pending.push_back(folder); }
    void AddExcluded(const CFilePathW& folder) { m_excluded.push_back(folder); }
    // The pattern that the names of entries must match; "*" for all.
    void SetPattern(const CFilePathSegmentW& pattern) { m_pattern = pattern; }
    // Removes all roots, folders still to walk and folders to leave out.
    void Clear();

protected:
    // Whether a folder is left out: it is neither visited nor opened.
    [[nodiscard]] virtual bool IsExcluded(const CFilePathW& folder) const;
    // Visits a folder. Returns whether the walk goes into it.
    virtual bool VisitFolder(const CFilePathW& path, const platform::SFindData& data);
    // Visits a file, which `search` has just given as `data`. Returns whether the walk goes on.
    virtual bool VisitFile(const CFilePathW& path, const platform::SFindData& data,
                           platform::CFindHandle& search) = 0;

    // Called before a folder or root is listed, and when that has come to its end, with the number
    // of entries that match.
    virtual void OnFolder(const CFilePathW& /*folder*/) {}
    virtual void OnListed(const CFilePathW& /*folder*/, std::size_t /*entries*/) {}
    // Called for a folder that cannot be listed to its end, and for an entry that is skipped
    // because no path can have its name.
    virtual void OnUnread(const CFilePathW& /*folder*/, int /*status*/) {}
    virtual void OnRefused(const CFilePathW& /*folder*/, const std::u16string& /*name*/) {}

    void OnProgress(const CFilePathW& path) { Notify(CodeProgress, path.ToString()); }
    void OnResult(std::uint64_t value) { Notify(CodeResult, value); }
    void Run() override;

    // The number of entries that a complete walk from here visits.
    [[nodiscard]] std::uint32_t CountEntries() const;

private:
    class CEntries;

    std::deque<CFilePathW> m_pending;
    std::vector<CFilePathW> m_excluded;
    CFilePathSegmentW m_pattern;
};
