#include "platform/posix/files/file_access.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_location.h"
#include "platform/posix/files/folder_cache.h"
#include "platform/status.h"

namespace platform {

int FindFolder(std::u16string_view path, SFilePlace& place) {
    CFolderCache& cache = CFolderCache::Get();
    // Nearly every path is a folder of a moment ago and a name, and need not be read again.
    SSplitPath split;
    const bool isSplit = SplitPath(path, split);
    if (isSplit && cache.FindRecent(split.folder, place.folder)) {
        place.name = split.name;
        place.stream = split.stream;
        return ERROR_SUCCESS;
    }
    SFileLocation location;
    if (const int status = ReadLocation(path, location)) {
        return status;
    }
    place.name = location.GetName();
    place.stream = location.stream;
    const int status = cache.Open(
        location, location.IsRoot() ? location.path : location.GetFolderPath(), place.folder);
    // The folder of a share that is its own root is no folder.
    if (status == ERROR_SUCCESS && isSplit && !location.IsRoot()) {
        cache.NoteRecent(split.folder, place.folder);
    }
    return status;
}

int FindEntryAt(SFilePlace& place) {
    if (!place.name.empty()) {
        return place.folder->Find(place.name, place.entry);
    }
    // A root has no name and no parent to look it up in.
    const int error = place.folder->Look(".", place.entry);
    return error == 0 ? ERROR_SUCCESS : StatusFromErrno(error);
}

int FindFile(std::u16string_view path, SFilePlace& place) {
    if (const int status = FindFolder(path, place)) {
        return status;
    }
    return place.stream.empty() ? FindEntryAt(place) : ERROR_INVALID_NAME;
}

int OpenEntry(const SFilePlace& place, CFileDescriptor& file, struct stat& info) {
    if (place.entry.IsFolder()) {
        return ERROR_ACCESS_DENIED;
    }
    if (!place.entry.IsRegular()) {
        // Outside the package, a link that was not followed has no target, so there is no file.
        // Below the package folder no link is followed, whatever its target is.
        const bool leadsNowhere = place.entry.IsUnfollowed() && !place.folder->IsSealed();
        return leadsNowhere ? ERROR_FILE_NOT_FOUND : ERROR_CANT_ACCESS_FILE;
    }
    CFileDescriptor opened;
    if (const int status = OpenUnseen(place, opened)) {
        return status;
    }
    if (fstat(opened.Get(), &info) != 0) {
        return StatusFromErrno(errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return ERROR_CANT_ACCESS_FILE;
    }
    file = std::move(opened);
    return ERROR_SUCCESS;
}

// The file may be replaced between the look and the opening. Then O_NONBLOCK keeps a pipe from
// blocking this thread, and fstat shows what was opened.
int OpenUnseen(const SFilePlace& place, CFileDescriptor& file) {
    const int follow = place.folder->IsSealed() ? O_NOFOLLOW : 0;
    file = CFileDescriptor(openat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                  O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | follow));
    return file.IsOpen() ? ERROR_SUCCESS : StatusFromErrno(errno);
}

int OpenFile(std::u16string_view path, CFileDescriptor& file, struct stat& info) {
    if (CFolderCache::Get().TakeKept(path, file, info)) {
        return ERROR_SUCCESS;
    }
    SFilePlace place;
    const int status = FindFile(path, place);
    return status == ERROR_SUCCESS ? OpenEntry(place, file, info) : status;
}

int OpenForReading(const char16_t* name, CFileDescriptor& file) {
    struct stat info {};
    const int status = OpenFile(name, file, info);
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
