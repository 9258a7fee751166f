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

// Looks up a stream. A file without it stays open for its reader (CKeptFile), because whoever asks
// for a stream of a file mostly reads the file next.
int FindStreamOf(SFilePlace& place, std::u16string_view path) {
    CFileDescriptor file;
    const int status = FindStream(place, file);
    if (status == ERROR_FILE_NOT_FOUND && file.IsOpen() && place.entry.IsRegular()) {
        const std::size_t colon = path.find(u':', path.rfind(u'\\') + 1);
        CFolderCache::Get().KeepOpen(path.substr(0, colon), std::move(file));
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
    SSearch() = default;
    SSearch(std::shared_ptr<CFolder> folder, std::u16string pattern)
        : m_folder(std::move(folder)), m_pattern(std::move(pattern)) {
        m_folder->BeginSearch();
    }
    ~SSearch() {
        if (m_folder) {
            m_folder->EndSearch();
        }
    }
    SSearch(const SSearch&) = delete;
    SSearch& operator=(const SSearch&) = delete;

    int Next(SFindData& found);

private:
    bool NextOwnName(SFindData& found);
    bool PassEntry(EEntryKind kind, std::uint32_t& attributes);

    std::shared_ptr<CFolder> m_folder;
    std::u16string m_pattern;
    std::string m_last;     // name on disk, empty at the start
    std::u16string m_text;  // kept for its memory
    std::size_t m_ownNames = 0;
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
        const bool isThere = m_folder->Look(m_last, entry) == 0;
        attributes = isThere ? GetAttributes(entry) : 0;
        return isThere;
    }
    // Whether a file is read-only is not known, and no walk asks for it.
    attributes = kind == EEntryKind::Folder ? kAttributeDirectory : kAttributeNormal;
    if (kind == EEntryKind::Regular) {
        m_folder->NotePassed(m_last);
    }
    return true;
}

int CFindHandle::SSearch::Next(SFindData& found) {
    if (!m_folder) {
        return ERROR_NO_MORE_FILES;
    }
    if (NextOwnName(found)) {
        return ERROR_SUCCESS;
    }
    const CNameSet* const names = m_folder->GetHeldNames();
    if (names == nullptr) {
        return StatusFromErrno(errno);
    }
    // A file that is the stream of another is passed over, as Windows shows no streams in a folder.
    // So is an entry that has been deleted since the names were read.
    while (const std::optional<SName> name = names->FindNext(m_last)) {
        m_last = name->text;
        names->GetText(m_last, m_text);
        std::uint32_t attributes = 0;
        if (!names->IsStream(m_last) && MatchesPattern(m_text, m_pattern) &&
            PassEntry(name->kind, attributes)) {
            found.name.swap(m_text);
            found.attributes = attributes;
            return ERROR_SUCCESS;
        }
    }
    return ERROR_NO_MORE_FILES;
}

CFindHandle::CFindHandle() = default;
CFindHandle::~CFindHandle() = default;

int CFindHandle::First(const char16_t* pattern, SFindData& found) {
    Close();
    SFilePlace place;
    if (const int status = FindFolder(pattern, place)) {
        return SetLastError(status);
    }
    std::unique_ptr<SSearch> search;
    int status = ERROR_SUCCESS;
    if (!place.stream.empty() || !IsPattern(place.name)) {
        search = std::make_unique<SSearch>();
        status = FindOne(place, pattern, found);
    } else if (place.folder->GetNames() == nullptr) {
        status = StatusFromErrno(errno);
    } else {
        search = std::make_unique<SSearch>(std::move(place.folder), std::move(place.name));
        status = search->Next(found);
    }
    if (status != ERROR_SUCCESS) {
        return SetLastError(status == ERROR_NO_MORE_FILES ? ERROR_FILE_NOT_FOUND : status);
    }
    m_search = std::move(search);
    return ERROR_SUCCESS;
}

int CFindHandle::Next(SFindData& found) {
    if (!m_search) {
        return SetLastError(ERROR_INVALID_HANDLE);
    }
    const int status = m_search->Next(found);
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

void CFindHandle::Close() { m_search.reset(); }

int FindEntry(std::u16string_view path, SFindData& found) {
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
    if (!IsAnswer(status) && HasStream(path)) {
        status = ERROR_READ_FAULT;
    }
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
