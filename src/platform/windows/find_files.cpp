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

// Without the prefix of long names a name has fewer units than MAX_PATH.
std::u16string WithLongPrefix(const std::u16string_view name) {
    if (name.size() < MAX_PATH || name.starts_with(uR"(\\?\)")) {
        return std::u16string(name);
    }
    return name.starts_with(uR"(\\)") ? uR"(\\?\UNC)" + std::u16string(name.substr(1))
                                      : uR"(\\?\)" + std::u16string(name);
}

// "file:stream", maybe with a path in front; "C:file" and ":stream" name no stream of a file.
bool IsStreamName(std::u16string_view name) {
    const std::u16string_view last = name.substr(name.rfind(u'\\') + 1);
    const std::size_t start = last.size() == name.size() ? 2 : 1;
    return last.find(u':', start) != std::u16string_view::npos;
}

// "\\server\share"; what has the prefix of long names is deeper than that.
bool IsShareName(std::u16string_view name) {
    return name.starts_with(uR"(\\)") && std::count(name.begin(), name.end(), u'\\') == 3;
}

// Opens the file or stream of that name, which a search does not: it goes through a folder's
// entries, and neither a stream nor a drive's root is one.
int LookUp(const char16_t* name, SFindData& found) {
    const std::u16string longName = WithLongPrefix(name);
    const DWORD attributes = GetFileAttributesW(ToWide(longName.c_str()));
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return GetLastError();
    }
    found = {name, attributes};
    return ERROR_SUCCESS;
}

// A share can be searched, but has itself no attributes. One that is empty has no entries either.
int LookUpShare(const std::u16string& name, SFindData& found) {
    WIN32_FIND_DATAW data;
    if (!CSearchHandle((name + uR"(\*)").c_str(), data, 0).IsOpen() &&
        GetLastError() != ERROR_FILE_NOT_FOUND) {
        return GetLastError();
    }
    found = {name, kAttributeDirectory};
    return ERROR_SUCCESS;
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
    const std::u16string_view path(name);
    if (path.ends_with(u'\\') || IsStreamName(path)) {
        return LookUp(name, found);
    }
    if (IsShareName(path)) {
        return LookUpShare(name, found);
    }
    WIN32_FIND_DATAW data;
    const CSearchHandle handle(name, data, 0);
    if (!handle.IsOpen()) {
        return LevelledError(name);
    }
    found = FromWindows(data);
    return ERROR_SUCCESS;
}

}  // namespace platform
