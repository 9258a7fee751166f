#include "platform/posix/file_place.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/posix/errno_status.h"
#include "platform/posix/folder_cache.h"
#include "platform/status.h"

namespace platform {

int FindPlace(const SFileLocation& location, SFilePlace& place) {
    CFolderCache& cache = CFolderCache::Get();
    if (location.IsRoot()) {
        if (const int status = cache.Open(location, location.path, place.folder)) {
            return status;
        }
        const int error = place.folder->Look(".", place.entry);
        return error == 0 ? ERROR_SUCCESS : StatusFromErrno(error);
    }
    const int status = cache.Open(location, location.GetFolderPath(), place.folder);
    return status != ERROR_SUCCESS ? status : place.folder->Find(location.GetName(), place.entry);
}

int FindPlace(std::u16string_view name, SFilePlace& place) {
    SFileLocation location;
    if (const int status = ReadLocation(name, location)) {
        return status;
    }
    return location.stream.empty() ? FindPlace(location, place) : ERROR_INVALID_NAME;
}

int OpenPlace(const SFilePlace& place, CFileDescriptor& file, struct stat& info) {
    if (place.entry.IsFolder()) {
        return ERROR_ACCESS_DENIED;
    }
    if (!place.entry.IsRegular()) {
        const bool leadsNowhere = place.entry.IsUnfollowed() && !place.folder->IsSealed();
        return leadsNowhere ? ERROR_FILE_NOT_FOUND : ERROR_CANT_ACCESS_FILE;
    }
    // Should the file be replaced between the look and the opening, O_NONBLOCK keeps a pipe from
    // holding this thread up, and the second look finds out.
    const int follow = place.folder->IsSealed() ? O_NOFOLLOW : 0;
    CFileDescriptor opened(openat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                  O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | follow));
    if (!opened.IsOpen() || fstat(opened.Get(), &info) != 0) {
        return StatusFromErrno(errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return ERROR_CANT_ACCESS_FILE;
    }
    file = std::move(opened);
    return ERROR_SUCCESS;
}

}  // namespace platform
