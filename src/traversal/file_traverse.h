// traversal/file_traverse.h - a walk through a folder tree, breadth first.
#pragma once

#include <deque>
#include <vector>

#include "foundation/file_path.h"
#include "platform/files.h"
#include "traversal/traverse.h"

// Visits every entry below its roots: all of a folder before any of its subfolders is opened, in
// the order of the file system. The roots themselves are not visited. What cannot be read, or has
// no valid name, is passed over without a word.
class CFileTraverse : public CTraverse {
public:
    // Add folders to walk, and folders to leave out. Not while a walk runs.
    void AddRoot(const CFilePathW& folder) { m_pending.push_back(folder); }
    void AddExcluded(const CFilePathW& folder) { m_excluded.push_back(folder); }
    // What entries of a folder must match; "*" for all.
    void SetPattern(const CFilePathSegmentW& pattern) { m_pattern = pattern; }
    // Forgets what is left to walk and to leave out.
    void Clear();

protected:
    // Whether a folder is left out, neither visited nor read.
    [[nodiscard]] virtual bool IsExcluded(const CFilePathW& folder) const;
    // Whether the walk goes into this folder.
    virtual bool VisitFolder(const CFilePathW& path, const platform::SFindData& data);
    // Whether the walk goes on at all.
    virtual bool VisitFile(const CFilePathW& path, const platform::SFindData& data) = 0;

    void OnProgress(const CFilePathW& path) { Notify(CodeProgress, path.ToString()); }
    void OnResult(std::uint64_t value) { Notify(CodeResult, value); }
    void Run() override;

    // The number of entries that a walk from here visits, were it never stopped.
    [[nodiscard]] std::uint32_t CountEntries() const;

private:
    class CEntries;

    std::deque<CFilePathW> m_pending;
    std::vector<CFilePathW> m_excluded;
    CFilePathSegmentW m_pattern;
};
