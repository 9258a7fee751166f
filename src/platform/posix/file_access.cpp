#include "platform/posix/file_access.h"

#include "platform/posix/file_place.h"
#include "platform/status.h"

namespace platform {

int OpenForReading(const char16_t* name, CFileDescriptor& file) {
    SFilePlace place;
    struct stat info {};
    if (const int status = FindPlace(name, place)) {
        return SetLastError(status);
    }
    const int status = OpenPlace(place, file, info);
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

}  // namespace platform
