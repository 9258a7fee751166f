#include "platform/posix/files/folder_way.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

#include <algorithm>

#include "platform/posix/files/file_name.h"

namespace platform {

namespace {

// False when one of the names cannot be on disk.
bool WayFromNames(std::u16string_view names, std::string& way) {
    std::string name;
    way.clear();
    for (std::size_t start = 0; start <= names.size();) {
        const std::size_t end = std::min(names.find(u'\\', start), names.size());
        if (!NameFromText(names.substr(start, end - start), name)) {
            return false;
        }
        way += start == 0 ? name : '/' + name;
        start = end + 1;
    }
    return true;
}

}  // namespace

CFileDescriptor OpenFar(int start, std::u16string_view names, std::string& way) {
    if (!WayFromNames(names, way)) {
        return {};
    }
    // Without links and mounts the path cannot lead out of what is below `start`. So the folder is
    // in the package exactly if `start` is.
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV;
    const long opened = syscall(SYS_openat2, start, way.c_str(), &how, sizeof(how));
    return CFileDescriptor(static_cast<int>(opened));
}

std::vector<FileId> GetWayUp(int folder) {
    std::vector<FileId> way;
    struct stat info {};
    if (fstat(folder, &info) != 0) {
        return {};
    }
    // Ends at the root folder, which is its own parent. By descriptors, because the path by which
    // the folder was opened may contain links.
    CFileDescriptor parent;
    while (way.empty() || way.back() != GetFileId(info)) {
        way.push_back(GetFileId(info));
        const int start = parent.IsOpen() ? parent.Get() : folder;
        CFileDescriptor above(openat(start, "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!above.IsOpen() || fstat(above.Get(), &info) != 0) {
            return {};
        }
        parent = std::move(above);
    }
    return way;
}

}  // namespace platform
