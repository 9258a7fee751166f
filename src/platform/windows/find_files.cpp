#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/win.h"

namespace platform {

namespace {

// Owns a search. Without short names (FindExInfoBasic), which nobody asks for and which cost time.
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

// Without its prefix a long name is refused, at MAX_PATH units and above.
std::u16string WithLongPrefix(const std::u16string_view name) {
    if (name.size() < MAX_PATH || name.starts_with(uR"(\\?\)")) {
        return std::u16string(name);
    }
    return name.starts_with(uR"(\\)") ? uR"(\\?\UNC)" + std::u16string(name.substr(1))
                                      : uR"(\\?\)" + std::u16string(name);
}

// Whether a name is "file:stream", with or without a path. "C:file" and ":stream" are not.
bool IsStreamName(std::u16string_view name) {
    const std::u16string_view last = name.substr(name.rfind(u'\\') + 1);
    const std::size_t start = last.size() == name.size() ? 2 : 1;
    return last.find(u':', start) != std::u16string_view::npos;
}

// Whether a name is "\\server\share". A name with the prefix of long names has more backslashes.
bool IsShareName(std::u16string_view name) {
    return name.starts_with(uR"(\\)") && std::count(name.begin(), name.end(), u'\\') == 3;
}

// Asks for the file or stream itself. A search would not find it, because it goes through the
// entries of a folder, and neither a stream nor the root of a drive is an entry.
int LookUp(const char16_t* name, SFindData& found) {
    const std::u16string longName = WithLongPrefix(name);
    const DWORD attributes = GetFileAttributesW(ToWide(longName.c_str()));
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return GetLastError();
    }
    found = {name, attributes};
    return ERROR_SUCCESS;
}

// A share has no attributes, but can be searched. An empty share exists although nothing is found.
int LookUpShare(const std::u16string& name, SFindData& found) {
    WIN32_FIND_DATAW data;
    if (!CSearchHandle((name + uR"(\*)").c_str(), data, 0).IsOpen() &&
        GetLastError() != ERROR_FILE_NOT_FOUND) {
        return GetLastError();
    }
    found = {name, kAttributeDirectory};
    return ERROR_SUCCESS;
}

// The form by which NTFS orders names.
std::u16string UpperCase(std::u16string text) {
    CharUpperBuffW(ToWide(text.data()), static_cast<DWORD>(text.size()));
    return text;
}

// The last error; but if the parent is a file, it becomes ERROR_PATH_NOT_FOUND, for which systems
// have several numbers. Sets the last error again, because the search here may change it.
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

    // A folder may have names that differ only in case. Their order must be the same each time.
    bool operator<(const SSortedEntry& other) const {
        return std::tie(upperName, data.name) < std::tie(other.upperName, other.data.name);
    }

    SFindData data;
    std::u16string upperName;
};

}  // namespace

// Only NTFS gives the names in this order. Other file systems and shares have other orders, but the
// manifest must be the same everywhere. So a folder is read to its end first, and sorted.
struct CFindHandle::SSearch {
    std::vector<SSortedEntry> entries;
    std::u16string folder;  // its path, up to where a name follows
    std::size_t next = 0;
    int endStatus = ERROR_NO_MORE_FILES;
};

CFindHandle::CFindHandle() = default;
CFindHandle::~CFindHandle() = default;

int CFindHandle::First(const char16_t* pattern, SFindData& found) {
    Close();
    WIN32_FIND_DATAW data;
    // The whole folder is read, so a larger buffer saves calls to the file system.
    CSearchHandle handle(pattern, data, FIND_FIRST_EX_LARGE_FETCH);
    if (!handle.IsOpen()) {
        return LevelledError(pattern);
    }
    auto search = std::make_unique<SSearch>();
    const std::u16string_view path(pattern);
    search->folder = path.substr(0, path.find_last_of(uR"(\:)") + 1);
    do {
        search->entries.emplace_back(data);
    } while (handle.Next(data));
    // A failure other than the end is kept and given after the entries. So a folder that was read
    // in part is not taken for a whole one.
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

int CFindHandle::NextFolder(SFindData& found, std::uint32_t& passed) {
    int status = Next(found);
    while (status == ERROR_SUCCESS && !found.IsFolder()) {
        ++passed;
        status = Next(found);
    }
    return status;
}

int CFindHandle::FindStream(const SFindData& found, std::u16string_view stream, bool& exists) {
    exists = false;
    if (!m_search) {
        return SetLastError(ERROR_INVALID_HANDLE);
    }
    std::u16string path = m_search->folder + found.name + u':';
    path += stream;
    SFindData data;
    const int status = FindEntry(path, data);
    exists = status == ERROR_SUCCESS && !data.IsFolder();
    return status;
}

void CFindHandle::Close() { m_search.reset(); }

int FindEntry(std::u16string_view path, SFindData& found) {
    const char16_t* const name = path.data();
    if (path.ends_with(u'\\') || IsStreamName(path)) {
        return LookUp(name, found);
    }
    if (IsShareName(path)) {
        return LookUpShare(name, found);
    }
    WIN32_FIND_DATAW data;
    // A search gives the name in the letter case of the disk, which a question for the attributes
    // does not.
    const CSearchHandle handle(name, data, 0);
    if (!handle.IsOpen()) {
        return LevelledError(name);
    }
    found = FromWindows(data);
    return ERROR_SUCCESS;
}

}  // namespace platform
