#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/windows/win.h"

namespace platform {

namespace {

// A search of Windows; closes itself.
class CSearchHandle {
public:
    CSearchHandle(const char16_t* pattern, WIN32_FIND_DATAW& found, DWORD flags)
        : m_handle(FindFirstFileExW(ToWide(pattern), FindExInfoBasic, &found, FindExSearchNameMatch,
                                    nullptr, flags)) {}
    ~CSearchHandle() {
        if (IsOpen()) {
            FindClose(m_handle);
        }
    }
    CSearchHandle(const CSearchHandle&) = delete;
    CSearchHandle& operator=(const CSearchHandle&) = delete;

    [[nodiscard]] bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    bool Next(WIN32_FIND_DATAW& found) { return FindNextFileW(m_handle, &found) != FALSE; }

private:
    HANDLE m_handle;
};

SFindData FromWindows(const WIN32_FIND_DATAW& found) {
    return {FromWide(found.cFileName), found.dwFileAttributes};
}

// The letter case that NTFS orders names by.
std::u16string UpperCase(std::u16string text) {
    CharUpperBuffW(ToWide(text.data()), static_cast<DWORD>(text.size()));
    return text;
}

// Leaves the last error as it is, but that a file in the place of a folder is no way to anything:
// systems have several numbers for it.
int LevelledError(const char16_t* name) {
    const int status = GetLastError();
    if (status != ERROR_DIRECTORY && status != ERROR_INVALID_NAME) {
        return status;
    }
    const std::u16string_view path(name);
    const std::u16string parent(path.substr(0, std::min(path.rfind(u'\\'), path.size())));
    WIN32_FIND_DATAW data;
    const bool isFile = CSearchHandle(parent.c_str(), data, 0).IsOpen() &&
                        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    return SetLastError(isFile ? ERROR_PATH_NOT_FOUND : status);
}

struct SSortedEntry {
    explicit SSortedEntry(const WIN32_FIND_DATAW& found)
        : data(FromWindows(found)), upperName(UpperCase(data.name)) {}

    // Names that differ in case alone can stand in one folder; some order has to be kept.
    bool operator<(const SSortedEntry& other) const {
        return std::tie(upperName, data.name) < std::tie(other.upperName, other.data.name);
    }

    SFindData data;
    std::u16string upperName;
};

}  // namespace

// Only NTFS gives the names in their order: a disk in another format, or another machine's share,
// has its own. So a folder is read whole first.
struct CFindHandle::SSearch {
    std::vector<SSortedEntry> entries;
    std::size_t next = 0;
    int endStatus = ERROR_NO_MORE_FILES;
};

CFindHandle::CFindHandle() = default;
CFindHandle::~CFindHandle() = default;

int CFindHandle::First(const char16_t* pattern, SFindData& found) {
    Close();
    WIN32_FIND_DATAW data;
    CSearchHandle handle(pattern, data, FIND_FIRST_EX_LARGE_FETCH);
    if (!handle.IsOpen()) {
        return LevelledError(pattern);
    }
    auto search = std::make_unique<SSearch>();
    do {
        search->entries.emplace_back(data);
    } while (handle.Next(data));
    search->endStatus = GetLastError();
    std::sort(search->entries.begin(), search->entries.end());
    m_search = std::move(search);
    return Next(found);
}

int CFindHandle::Next(SFindData& found) {
    if (!m_search) {
        return SetLastError(ERROR_INVALID_HANDLE);
    }
    if (m_search->next == m_search->entries.size()) {
        return SetLastError(m_search->endStatus);
    }
    found = std::move(m_search->entries[m_search->next++].data);
    return ERROR_SUCCESS;
}

void CFindHandle::Close() { m_search.reset(); }

int FindEntry(const char16_t* name, SFindData& found) {
    WIN32_FIND_DATAW data;
    const CSearchHandle handle(name, data, 0);
    if (!handle.IsOpen()) {
        return LevelledError(name);
    }
    found = FromWindows(data);
    return ERROR_SUCCESS;
}

}  // namespace platform
