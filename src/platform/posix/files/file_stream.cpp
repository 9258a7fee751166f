#include "platform/posix/files/file_stream.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_name.h"
#include "platform/status.h"

namespace platform {

namespace {

// Gives the names of the attributes, each ended by a NUL. False when they cannot be asked for; a
// file system without attributes has none of them.
// The first buffer is enough for nearly every file, and XATTR_LIST_MAX for any.
bool ListAttributes(int file, std::string& names) {
    std::array<char, 1024> few;
    ssize_t size = flistxattr(file, few.data(), few.size());
    if (size >= 0) {
        names.assign(few.data(), static_cast<std::size_t>(size));
        return true;
    }
    if (errno == ERANGE) {
        names.resize(XATTR_LIST_MAX);
        size = flistxattr(file, names.data(), names.size());
    }
    const bool isAnswered = size >= 0 || errno == ENOTSUP || errno == ENOSYS;
    names.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return isAnswered;
}

// File servers for Windows keep a stream as "user.DosStream.name:$DATA". Drivers for NTFS show one
// as "user.name".
bool IsStreamAttribute(std::string_view attribute, std::u16string_view stream) {
    constexpr std::string_view kPlain = "user.";
    constexpr std::string_view kDos = "user.DosStream.";
    constexpr std::string_view kDosEnd = ":$DATA";
    const auto is = [stream](std::string_view bytes) {
        return IsSameName(TextFromName(bytes), stream);
    };
    if (attribute.starts_with(kDos) && attribute.ends_with(kDosEnd) &&
        attribute.size() > kDos.size() + kDosEnd.size()) {
        attribute.remove_prefix(kDos.size());
        attribute.remove_suffix(kDosEnd.size());
        return is(attribute);
    }
    return attribute.starts_with(kPlain) && is(attribute.substr(kPlain.size()));
}

int FindStreamAttribute(int file, std::u16string_view stream) {
    std::string attributes;
    if (!ListAttributes(file, attributes)) {
        return ERROR_READ_FAULT;
    }
    std::string_view rest = attributes;
    while (!rest.empty()) {
        // A list without its last NUL gets shorter with each round too.
        const std::size_t end = std::min(rest.find('\0'), rest.size() - 1);
        if (IsStreamAttribute(rest.substr(0, end), stream)) {
            return ERROR_SUCCESS;
        }
        rest.remove_prefix(end + 1);
    }
    return ERROR_FILE_NOT_FOUND;
}

// Finds the file and opens it. A file that may not be opened, or has no attributes because of its
// kind, is no failure here: it stays closed, and whoever reads it gets the error.
int FindAndOpen(SFilePlace& place, CFileDescriptor& file) {
    if (const int status = FindEntryAt(place)) {
        return status;
    }
    const auto open = [&] {
        if (!place.entry.IsFolder()) {
            struct stat info {};
            return OpenEntry(place, file, info);
        }
        file = CFileDescriptor(openat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                      O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return file.IsOpen() ? ERROR_SUCCESS : StatusFromErrno(errno);
    };
    int status = open();
    // Asked twice, because a refusal that does not last would not be the reader's too.
    if (status == ERROR_ACCESS_DENIED) {
        status = open();
    }
    const bool isRefused = status == ERROR_ACCESS_DENIED || status == ERROR_CANT_ACCESS_FILE;
    return isRefused ? ERROR_SUCCESS : status;
}

// Looks for the stream of the file or folder that was found. It is open unless that was refused.
int LookForStream(const SFilePlace& place, const CFileDescriptor& file) {
    const CNameSet* const names = place.folder->GetNames();
    const int error = names == nullptr ? errno : 0;
    // A stream may also be a file "file:stream" beside its file. This look costs no further system
    // call.
    if (names != nullptr && names->HasStream(place.name, place.stream)) {
        return ERROR_SUCCESS;
    }
    int status =
        file.IsOpen() ? FindStreamAttribute(file.Get(), place.stream) : ERROR_FILE_NOT_FOUND;
    // In a folder that may be passed but not listed, nobody can see a sibling file.
    if (status == ERROR_FILE_NOT_FOUND && error != 0 && error != EACCES) {
        status = StatusFromErrno(error);
    }
    return status;
}

}  // namespace

int FindStream(SFilePlace& place, CFileDescriptor& file) {
    const int status = FindAndOpen(place, file);
    return status == ERROR_SUCCESS ? LookForStream(place, file) : status;
}

int FindStreamOfRegular(SFilePlace& place, CFileDescriptor& file) {
    if (OpenUnseen(place, file) != ERROR_SUCCESS) {
        return FindStream(place, file);
    }
    const int status = LookForStream(place, file);
    // If it is another one by now and has no stream, its reader sees that (CKeptFile).
    const bool isSeen = status != ERROR_SUCCESS || fstat(file.Get(), &place.entry.info) == 0;
    return isSeen ? status : ERROR_READ_FAULT;
}

}  // namespace platform
