#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/files.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_access.h"
#include "platform/posix/files/file_location.h"
#include "platform/posix/files/file_name.h"
#include "platform/posix/files/file_stream.h"
#include "platform/posix/files/folder_cache.h"
#include "platform/status.h"

namespace platform {

namespace {

bool IsPattern(std::u16string_view name) {
    return name.find_first_of(u"*?") != std::u16string_view::npos;
}

std::uint32_t GetAttributes(const SEntry& entry) {
    if (entry.IsFolder()) {
        return kAttributeDirectory;
    }
    return entry.IsReadOnly() ? kAttributeReadOnly : kAttributeNormal;
}

// Whether the status of a look-up of a stream is an answer, or a failure that a copy of the file
// will have too. Any other, such as too many open files, may be over by the time of the copy, and
// then a file with a deletion mark would be copied.
bool IsAnswer(int status) {
    constexpr int kAnswers[] = {
        ERROR_SUCCESS,      ERROR_FILE_NOT_FOUND,       ERROR_PATH_NOT_FOUND,  ERROR_ACCESS_DENIED,
        ERROR_INVALID_NAME, ERROR_FILENAME_EXCED_RANGE, ERROR_CANT_ACCESS_FILE};
    return std::find(std::begin(kAnswers), std::end(kAnswers), status) != std::end(kAnswers);
}

// Whether a path asks for a stream of a file.
bool HasStream(std::u16string_view path) {
    SSplitPath split;
    return SplitPath(path, split) && !split.stream.empty();
}

// A file without the stream that was looked for stays open for its reader (CKeptFile), because
// whoever asks for a stream of a file mostly reads the file next.
void KeepOpen(std::u16string_view folder, const SFilePlace& place, CFileDescriptor file) {
    if (file.IsOpen() && place.entry.IsRegular()) {
        CFolderCache::Get().KeepOpen(folder, place.name, std::move(file));
    }
}

int FindStreamOf(SFilePlace& place, std::u16string_view path) {
    CFileDescriptor file;
    const int status = FindStream(place, file);
    if (status == ERROR_FILE_NOT_FOUND) {
        KeepOpen(path.substr(0, path.rfind(u'\\') + 1), place, std::move(file));
    }
    return status;
}

// Looks up a name that is no pattern, in the folder of `place`, which is that of `path`.
int FindOne(SFilePlace& place, std::u16string_view path, SFindData& found) {
    constexpr char16_t kColonOnDisk = 0xF03A;
    // For ":stream" without a file, a file with exactly that name is found.
    const bool isStreamAlone =
        place.name.empty() && !place.stream.empty() &&
        place.folder->Find(kColonOnDisk + place.stream, place.entry) == ERROR_SUCCESS;
    if (!isStreamAlone) {
        const int status = place.stream.empty() ? FindEntryAt(place) : FindStreamOf(place, path);
        if (status != ERROR_SUCCESS) {
            return status;
        }
    }
    found = {place.name.empty() ? std::u16string() : TextFromName(place.entry.name),
             GetAttributes(place.entry)};
    return ERROR_SUCCESS;
}

}  // namespace

// A search goes from each name to the next in order, and not through a copy of the names. So the
// folder may change meanwhile: what was passed never comes again, and what is left still comes.
struct CFindHandle::SSearch {
    // Has no entries: the one answer is given already.
    explicit SSearch(std::u16string_view path)
        : m_path(path.substr(0, path.find_last_of(uR"(\:)") + 1)) {}
    // The folder of the place is that of the path, and its name is the pattern.
    SSearch(std::u16string_view path, const SFilePlace& place) : SSearch(path) {
        m_pattern = place.name;
        m_isForAll = m_pattern == u"*";
        m_place.folder = place.folder;
        m_place.folder->BeginSearch();
    }
    ~SSearch() {
        if (m_place.folder) {
            m_place.folder->EndSearch();
        }
    }
    SSearch(const SSearch&) = delete;
    SSearch& operator=(const SSearch&) = delete;

    // If `passed` is given, files are only counted there, and nothing but folders is found.
    int Next(SFindData& found, std::uint32_t* passed = nullptr);
    int FindStream(const SFindData& found, std::u16string_view stream, bool& exists);

private:
    bool NextOwnName(SFindData& found);
    bool FitsPattern(const CNameSet& names);
    bool PassEntry(EEntryKind kind, std::uint32_t& attributes);

    std::u16string m_path;  // of the folder, up to where a name follows
    std::u16string m_pattern;
    bool m_isForAll = false;
    std::string m_last;            // name on disk, empty at the start
    bool m_isLastRegular = false;  // as its folder states
    std::u16string m_text;         // kept for its memory
    std::size_t m_ownNames = 0;
    SFilePlace m_place;  // of the file that is asked for a stream
};

// Every folder of Windows has "." and "..", so a search through an empty folder finds something.
bool CFindHandle::SSearch::NextOwnName(SFindData& found) {
    constexpr std::u16string_view kOwnNames[] = {u".", u".."};
    while (m_ownNames < std::size(kOwnNames)) {
        const std::u16string_view name = kOwnNames[m_ownNames++];
        if (MatchesPattern(name, m_pattern)) {
            found = {std::u16string(name), kAttributeDirectory};
            return true;
        }
    }
    return false;
}

// Gives the attributes of the current entry; false when it no longer exists. For most entries the
// kind that the folder states is enough, and no system call is needed.
bool CFindHandle::SSearch::PassEntry(EEntryKind kind, std::uint32_t& attributes) {
    if (kind == EEntryKind::Unknown) {
        SEntry entry;
        const bool isThere = m_place.folder->Look(m_last, entry) == 0;
        attributes = isThere ? GetAttributes(entry) : 0;
        return isThere;
    }
    // Whether a file is read-only is not known, and no walk asks for it.
    attributes = kind == EEntryKind::Folder ? kAttributeDirectory : kAttributeNormal;
    return true;
}

// Whether the current entry fits the pattern. Sets its text.
bool CFindHandle::SSearch::FitsPattern(const CNameSet& names) {
    names.GetText(m_last, m_text);
    return m_isForAll || MatchesPattern(m_text, m_pattern);
}

int CFindHandle::SSearch::Next(SFindData& found, std::uint32_t* passed) {
    if (!m_place.folder) {
        return ERROR_NO_MORE_FILES;
    }
    if (NextOwnName(found)) {
        return ERROR_SUCCESS;
    }
    const CNameSet* const names = m_place.folder->GetHeldNames();
    if (names == nullptr) {
        return StatusFromErrno(errno);
    }
    // A file that is the stream of another is passed over, as Windows shows no streams in a folder.
    // So is an entry that has been deleted since the names were read.
    while (const std::optional<SName> name = names->FindNext(m_last)) {
        m_last = name->text;
        if (names->IsStream(m_last)) {
            continue;
        }
        // To be counted, a file needs no text and no look.
        const bool isFile = name->kind == EEntryKind::Regular || name->kind == EEntryKind::Other;
        const bool isKnown = passed != nullptr && m_isForAll && isFile;
        std::uint32_t attributes = kAttributeNormal;
        if (!isKnown && !(FitsPattern(*names) && PassEntry(name->kind, attributes))) {
            continue;
        }
        if (passed != nullptr && (attributes & kAttributeDirectory) == 0) {
            ++*passed;
            continue;
        }
        m_isLastRegular = name->kind == EEntryKind::Regular;
        found.name.swap(m_text);
        found.attributes = attributes;
        return ERROR_SUCCESS;
    }
    return ERROR_NO_MORE_FILES;
}

// Asks the folder that is searched, and not by the path of the file, which leads there too as long
// as the search lasts.
int CFindHandle::SSearch::FindStream(const SFindData& found, std::u16string_view stream,
                                     bool& exists) {
    const std::size_t length = m_path.size() + found.name.size() + stream.size();
    if (!m_isLastRegular || length >= kMaxPath || !m_place.folder->IsCurrent()) {
        std::u16string path = m_path + found.name + u':';
        path += stream;
        SFindData data;
        const int status = FindEntry(path, data);
        exists = status == ERROR_SUCCESS && !data.IsFolder();
        return status;
    }
    m_place.name = found.name;
    m_place.stream = stream;
    m_place.entry.name = m_last;
    m_place.entry.info.st_mode = S_IFREG;
    CFileDescriptor file;
    const int status = FindStreamOfRegular(m_place, file);
    exists = status == ERROR_SUCCESS && !m_place.entry.IsFolder();
    if (status == ERROR_FILE_NOT_FOUND) {
        KeepOpen(m_path, m_place, std::move(file));
    }
    return IsAnswer(status) ? status : ERROR_READ_FAULT;
}

CFindHandle::CFindHandle() = default;
CFindHandle::~CFindHandle() = default;

int CFindHandle::First(const char16_t* text, SFindData& found) {
    Close();
    const std::u16string_view pattern = text;
    SFilePlace place;
    if (const int status = FindFolder(pattern, place)) {
        return SetLastError(status);
    }
    std::unique_ptr<SSearch> search;
    int status = ERROR_SUCCESS;
    if (!place.stream.empty() || !IsPattern(place.name)) {
        search = std::make_unique<SSearch>(pattern);
        status = FindOne(place, pattern, found);
    } else if (place.folder->GetNames() == nullptr) {
        status = StatusFromErrno(errno);
    } else {
        search = std::make_unique<SSearch>(pattern, place);
        status = search->Next(found);
    }
    if (status != ERROR_SUCCESS) {
        return SetLastError(status == ERROR_NO_MORE_FILES ? ERROR_FILE_NOT_FOUND : status);
    }
    m_search = std::move(search);
    return ERROR_SUCCESS;
}

int CFindHandle::Next(SFindData& found) {
    const int status = m_search ? m_search->Next(found) : ERROR_INVALID_HANDLE;
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

int CFindHandle::NextFolder(SFindData& found, std::uint32_t& passed) {
    const int status = m_search ? m_search->Next(found, &passed) : ERROR_INVALID_HANDLE;
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

int CFindHandle::FindStream(const SFindData& found, std::u16string_view stream, bool& exists) {
    exists = false;
    const int status =
        m_search ? m_search->FindStream(found, stream, exists) : ERROR_INVALID_HANDLE;
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

void CFindHandle::Close() { m_search.reset(); }

namespace {

int LookUp(std::u16string_view path, SFindData& found) {
    SFilePlace place;
    int status = FindFolder(path, place);
    if (status == ERROR_SUCCESS) {
        // As on Windows, a name with a wildcard finds the first entry that matches.
        if (place.stream.empty() && IsPattern(place.name)) {
            CFindHandle search;
            return search.First(path.data(), found);
        }
        status = FindOne(place, path, found);
    }
    return status;
}

}  // namespace

int FindEntry(std::u16string_view path, SFindData& found) {
    int status = LookUp(path, found);
    // Asked twice, because a file is copied if a refusal does not last, and its stream is a mark.
    if (status == ERROR_ACCESS_DENIED && HasStream(path)) {
        status = LookUp(path, found);
    }
    if (!IsAnswer(status) && HasStream(path)) {
        status = ERROR_READ_FAULT;
    }
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
