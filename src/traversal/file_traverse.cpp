#include "traversal/file_traverse.h"

#include <algorithm>
#include <utility>

#include "platform/path_names.h"
#include "platform/status.h"

namespace {

bool IsDots(const platform::SFindData& data) { return data.name == u"." || data.name == u".."; }

// Gives the first entry of a folder.
int BeginSearch(platform::CFindHandle& search, const CFilePathW& folder,
                const CFilePathSegmentW& pattern, platform::SFindData& data) {
    return search.First(folder.ToString(pattern.View()).Get(), data);
}

// Sets the path of an entry of a folder; false when its name is not valid.
bool SetPath(const CFilePathW& folder, const platform::SFindData& data, CFilePathW& path) {
    const bool isName = platform::IsPathName(data.name);
    if (isName) {
        path.AssignChild(folder, data.name);
    }
    return isName;
}

}  // namespace

// Enumerates the entries of the pending folders of a walk, folder by folder, without "." and "..",
// which lead back to folders that were visited. The walk adds the subfolders that it finds to the
// pending ones.
class CFileTraverse::CEntries {
public:
    explicit CEntries(CFileTraverse& walk) : m_walk(walk) {}

    // Goes to the next entry; false when no folder is left.
    bool Next(platform::SFindData& data) {
        // Ends: each round gives an entry, or takes one folder out of the queue.
        while (true) {
            if (m_search.IsOpen() && GoToEntry(m_search.Next(data), data)) {
                return true;
            }
            m_search.Close();
            if (m_walk.m_pending.empty()) {
                return false;
            }
            // Kept until the next folder begins, because entries have only names.
            m_folder = std::move(m_walk.m_pending.front());
            m_walk.m_pending.pop_front();
            m_count = 0;
            m_walk.OnFolder(m_folder);
            if (GoToEntry(BeginSearch(m_search, m_folder, m_walk.m_pattern, data), data)) {
                return true;
            }
            m_search.Close();
        }
    }

    [[nodiscard]] const CFilePathW& GetFolder() const { return m_folder; }
    [[nodiscard]] platform::CFindHandle& GetSearch() { return m_search; }

private:
    // Goes on from the answer of a search to what is an entry; false when there is none, of which
    // the walk is told.
    bool GoToEntry(int status, platform::SFindData& data) {
        while (status == ERROR_SUCCESS && data.IsFolder() && IsDots(data)) {
            status = m_search.Next(data);
        }
        if (status == ERROR_SUCCESS) {
            ++m_count;
        } else if (status == ERROR_NO_MORE_FILES || status == ERROR_FILE_NOT_FOUND) {
            m_walk.OnListed(m_folder, m_count);
        } else {
            m_walk.OnUnread(m_folder, status);
        }
        return status == ERROR_SUCCESS;
    }

    CFileTraverse& m_walk;
    CFilePathW m_folder;
    std::size_t m_count = 0;  // of its entries so far
    platform::CFindHandle m_search;
};

void CFileTraverse::Clear() {
    m_pending.clear();
    m_excluded.clear();
}

bool CFileTraverse::IsExcluded(const CFilePathW& folder) const {
    return std::any_of(m_excluded.begin(), m_excluded.end(),
                       [&folder](const CFilePathW& excluded) { return excluded.Equals(folder); });
}

bool CFileTraverse::VisitFolder(const CFilePathW& /*path*/, const platform::SFindData& /*data*/) {
    return true;
}

void CFileTraverse::Run() {
    CEntries entries(*this);
    platform::SFindData data;
    CFilePathW path;  // kept for its memory
    while (!IsStopped() && entries.Next(data)) {
        if (!SetPath(entries.GetFolder(), data, path)) {
            OnRefused(entries.GetFolder(), data.name);
            continue;
        }
        if (!data.IsFolder()) {
            // Only sets the flag: this is the thread that would be waited for.
            if (!VisitFile(path, data, entries.GetSearch())) {
                Stop(false);
            }
        } else if (!IsExcluded(path) && VisitFolder(path, data)) {
            m_pending.push_back(std::move(path));
        }
    }
}

// Says nothing of folders that cannot be listed, because the walk itself will.
std::uint32_t CFileTraverse::CountEntries() const {
    platform::CFindHandle search;
    platform::SFindData data;
    std::uint32_t count = 0;
    for (std::deque<CFilePathW> pending = m_pending; !pending.empty(); pending.pop_front()) {
        const CFilePathW folder = std::move(pending.front());
        int status = BeginSearch(search, folder, m_pattern, data);
        while (status == ERROR_SUCCESS) {
            CFilePathW path;
            if (!data.IsFolder()) {
                ++count;
            } else if (!IsDots(data) && SetPath(folder, data, path) && !IsExcluded(path)) {
                ++count;
                pending.push_back(std::move(path));
            }
            status = search.NextFolder(data, count);
        }
    }
    return count;
}
