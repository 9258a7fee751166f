#include "platform/posix/file_access.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include "platform/posix/errno_status.h"
#include "platform/posix/file_location.h"
#include "platform/posix/file_name.h"
#include "platform/status.h"

namespace platform {

namespace {

int PosixPath(const char16_t* name, std::string& path) {
    SFileLocation location;
    if (const int status = ReadLocation(name, location)) {
        return status;
    }
    path = location.root;
    std::u16string_view rest = std::u16string_view(location.path).substr(location.rootLength);
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::size_t end = std::min(rest.find(u'\\'), rest.size());
        std::string bytes;
        if (!NameFromText(rest.substr(0, end), bytes)) {
            return ERROR_INVALID_NAME;
        }
        path += '/' + bytes;
        rest.remove_prefix(end);
    }
    return ERROR_SUCCESS;
}

}  // namespace

int OpenForReading(const char16_t* name, CFileDescriptor& file) {
    std::string path;
    if (const int status = PosixPath(name, path)) {
        return SetLastError(status);
    }
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        return FailWithErrno();
    }
    if (S_ISDIR(info.st_mode)) {
        return SetLastError(ERROR_ACCESS_DENIED);
    }
    if (!S_ISREG(info.st_mode)) {
        return SetLastError(ERROR_CANT_ACCESS_FILE);
    }
    CFileDescriptor opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened.IsOpen()) {
        return FailWithErrno();
    }
    file = std::move(opened);
    return ERROR_SUCCESS;
}

}  // namespace platform
