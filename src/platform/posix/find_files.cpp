#include <cerrno>

#include "platform/files.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/file_location.h"
#include "platform/posix/file_name.h"
#include "platform/posix/file_place.h"
#include "platform/posix/file_stream.h"
#include "platform/posix/folder_cache.h"
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

// Looks up what is no pattern.
int FindOne(const SFileLocation& location, SFindData& found) {
    constexpr char16_t kColonOnDisk = 0xF03A;
    SFilePlace place;
    if (const int status = FindPlace(location, place)) {
        return status;
    }
    std::u16string name(location.GetName());
    if (!location.stream.empty()) {
        // Without a file in front, a file that is named like the stream is found as itself.
        const bool isOwnFile =
            location.IsRoot() &&
            place.folder->Find(kColonOnDisk + location.stream, place.entry) == ERROR_SUCCESS;
        if (!isOwnFile && !HasStream(place, name, location.stream)) {
            return ERROR_FILE_NOT_FOUND;
        }
    }
    found.attributes = GetAttributes(place.entry);
    found.name = location.IsRoot() ? name : TextFromName(place.entry.name);
    return ERROR_SUCCESS;
}

}  // namespace

// Goes from name to name rather than through a copy of them, so that it bears any change.
struct CFindHandle::SSearch {
    std::shared_ptr<CFolder> folder;
    std::u16string pattern;  // empty when there is but one answer, which First has given
    std::string last;        // name on disk, empty at the start
    int ownNames = 0;        // how many of "." and ".." are done

    int Next(SFindData& found);

private:
    bool NextOwnName(SFindData& found);
};

// Windows has both in every folder, so that a search through one that is empty does find something.
bool CFindHandle::SSearch::NextOwnName(SFindData& found) {
    constexpr const char16_t* kOwnNames[] = {u".", u".."};
    while (ownNames < 2) {
        const std::u16string_view name = kOwnNames[ownNames++];
        if (MatchesPattern(name, pattern)) {
            found.name = name;
            found.attributes = kAttributeDirectory;
            return true;
        }
    }
    return false;
}

int CFindHandle::SSearch::Next(SFindData& found) {
    if (pattern.empty()) {
        return ERROR_NO_MORE_FILES;
    }
    if (NextOwnName(found)) {
        return ERROR_SUCCESS;
    }
    const CNameSet* const names = folder->GetHeldNames();
    if (names == nullptr) {
        return StatusFromErrno(errno);
    }
    while (const std::string* const name = names->FindNext(last)) {
        last = *name;
        SEntry entry;
        std::u16string text = names->GetText(last);
        if (!names->IsStream(last) && MatchesPattern(text, pattern) &&
            folder->Look(last, entry) == 0) {
            found.attributes = GetAttributes(entry);
            found.name = std::move(text);
            return ERROR_SUCCESS;
        }
    }
    return ERROR_NO_MORE_FILES;
}

CFindHandle::CFindHandle() = default;
CFindHandle::~CFindHandle() = default;

int CFindHandle::First(const char16_t* pattern, SFindData& found) {
    Close();
    SFileLocation location;
    if (const int status = ReadLocation(pattern, location)) {
        return SetLastError(status);
    }
    auto search = std::make_unique<SSearch>();
    if (!location.stream.empty() || !IsPattern(location.GetName())) {
        const int status = FindOne(location, found);
        if (status == ERROR_SUCCESS) {
            m_search = std::move(search);
        }
        return status == ERROR_SUCCESS ? status : SetLastError(status);
    }
    if (const int status =
            CFolderCache::Get().Open(location, location.GetFolderPath(), search->folder)) {
        return SetLastError(status);
    }
    if (search->folder->GetNames() == nullptr) {
        return FailWithErrno();
    }
    search->pattern = location.GetName();
    const int status = search->Next(found);
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

int FindEntry(const char16_t* name, SFindData& found) {
    SFileLocation location;
    int status = ReadLocation(name, location);
    if (status == ERROR_SUCCESS) {
        if (IsPattern(location.GetName()) && location.stream.empty()) {
            CFindHandle search;
            return search.First(name, found);
        }
        status = FindOne(location, found);
    }
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
