#include "traversal/file_traverse.h"

#include <algorithm>
#include <functional>
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

// Enumerates the entries of the pending folders, folder by folder. The caller adds the subfolders
// that it finds to the pending ones. `onUnread` is called for a folder whose listing fails.
class CFileTraverse::CEntries {
public:
    using OnUnreadFolder = std::function<void(const CFilePathW& folder, int status)>;

    CEntries(std::deque<CFilePathW>& pending, const CFilePathSegmentW& pattern,
             OnUnreadFolder onUnread)
        : m_pending(pending), m_pattern(pattern), m_onUnread(std::move(onUnread)) {}

    // Goes to the next entry; false when no folder is left.
    bool Next(platform::SFindData& data) {
        // Ends: each round gives an entry, or takes one folder out of the queue.
        while (true) {
            m_isFirst = false;
            if (m_search.IsOpen() && IsFound(m_search.Next(data))) {
                return true;
            }
            m_search.Close();
            if (m_pending.empty()) {
                return false;
            }
            // Kept until the next folder begins, because entries have only names.
            m_folder = std::move(m_pending.front());
            m_pending.pop_front();
            if (IsFound(BeginSearch(m_search, m_folder, m_pattern, data))) {
                m_isFirst = true;
                return true;
            }
            m_search.Close();
        }
    }

    [[nodiscard]] const CFilePathW& GetFolder() const { return m_folder; }
    [[nodiscard]] platform::CFindHandle& GetSearch() { return m_search; }
    // Whether the entry is the first one of its folder.
    [[nodiscard]] bool IsFirst() const { return m_isFirst; }

private:
    bool IsFound(int status) {
        // A folder without entries that match is no failure.
        if (m_onUnread && status != ERROR_SUCCESS && status != ERROR_NO_MORE_FILES &&
            status != ERROR_FILE_NOT_FOUND) {
            m_onUnread(m_folder, status);
        }
        return status == ERROR_SUCCESS;
    }

    std::deque<CFilePathW>& m_pending;
    const CFilePathSegmentW& m_pattern;
    OnUnreadFolder m_onUnread;
    CFilePathW m_folder;
    bool m_isFirst = false;
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
    CEntries entries(m_pending, m_pattern,
                     [this](const CFilePathW& folder, int status) { OnUnread(folder, status); });
    platform::SFindData data;
    CFilePathW path;  // kept for its memory
    while (!IsStopped() && entries.Next(data)) {
        if (entries.IsFirst()) {
            OnFolder(entries.GetFolder());
        }
        // "." and ".." lead back to folders that were visited.
        if (data.IsFolder() && IsDots(data)) {
            continue;
        }
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
