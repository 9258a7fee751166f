#include "platform/shell_link.h"

#include <sys/stat.h>

#include "platform/posix/errno_status.h"
#include "platform/posix/file_access.h"
#include "platform/posix/file_io.h"
#include "platform/posix/machine_description.h"
#include "platform/posix/shell_link_parser.h"
#include "platform/status.h"

namespace platform {

namespace {

// Real links have a few thousand bytes. What is larger than this only calls itself a link.
constexpr off_t kMaxFileSize = off_t{64} * 1024 * 1024;

// Reads the file to its end, or to where it ended when the reading began. E_FAIL when it is too
// large.
int ReadBytes(const CFileDescriptor& file, std::vector<std::byte>& bytes) {
    struct stat info {};
    if (fstat(file.Get(), &info) != 0) {
        return FailWithErrno();
    }
    if (info.st_size > kMaxFileSize) {
        return E_FAIL;
    }
    bytes.resize(static_cast<std::size_t>(info.st_size));
    const SRead read = ReadAt(file.Get(), bytes.data(), bytes.size(), 0);
    bytes.resize(read.count);
    return read.error == 0 ? ERROR_SUCCESS : SetLastError(StatusFromErrno(read.error));
}

// A token stands for a folder of the machine or for one of its variables.
bool FindTokenFolder(std::u16string_view name, std::u16string& path) {
    const SMachineDescription& machine = GetMachineDescription();
    if (const auto folder = machine.folders.find(name); folder != machine.folders.end()) {
        path = folder->second;
        return true;
    }
    return GetEnvironmentText(std::u16string(name).c_str(), path);
}

}  // namespace

int ReadShellLink(const char16_t* name, SShellLink& link) {
    CFileDescriptor file;
    if (const int status = OpenForReading(name, file)) {
        return HresultFromError(status);
    }
    std::vector<std::byte> bytes;
    if (const int status = ReadBytes(file, bytes)) {
        return HresultFromError(status);
    }
    return ParseShellLink(bytes, &FindTokenFolder, link) ? S_OK : E_FAIL;
}

}  // namespace platform
