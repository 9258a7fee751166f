#include "platform/posix/file_stream.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

#include "platform/posix/file_name.h"
#include "platform/status.h"

namespace platform {

namespace {

// The names of the attributes, each ended by a NUL; empty when there are none, or the file system
// has none.
std::string ListAttributes(int file) {
    std::array<char, 1024> names;
    ssize_t size = flistxattr(file, names.data(), names.size());
    if (size >= 0) {
        return {names.data(), static_cast<std::size_t>(size)};
    }
    if (errno != ERANGE) {
        return {};
    }
    std::string longNames(XATTR_LIST_MAX, '\0');
    size = flistxattr(file, longNames.data(), longNames.size());
    longNames.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return longNames;
}

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

bool HasStreamAttribute(int file, std::u16string_view stream) {
    const std::string attributes = ListAttributes(file);
    std::string_view rest = attributes;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\0'), rest.size() - 1);
        if (IsStreamAttribute(rest.substr(0, end), stream)) {
            return true;
        }
        rest.remove_prefix(end + 1);
    }
    return false;
}

// Finds the file and opens it, unless it is of the kinds that have no attributes, or cannot be
// opened.
int FindAndOpen(SFilePlace& place, CFileDescriptor& file) {
    struct stat info {};
    // A walk has come by the file a moment ago, so that opening it tells enough.
    if (place.folder->Recall(place.name, place.entry) &&
        OpenEntry(place, file, info) == ERROR_SUCCESS) {
        place.entry.info = info;
        return ERROR_SUCCESS;
    }
    if (const int status = FindEntryAt(place)) {
        return status;
    }
    if (place.entry.IsFolder()) {
        file = CFileDescriptor(openat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                      O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    } else {
        static_cast<void>(OpenEntry(place, file, info));  // It says so by `file`.
    }
    return ERROR_SUCCESS;
}

}  // namespace

int FindStream(SFilePlace& place, std::u16string_view path) {
    CFileDescriptor file;
    if (const int status = FindAndOpen(place, file)) {
        return status;
    }
    const CNameSet* const names = place.folder->GetNames();
    if ((names != nullptr && names->HasStream(place.name, place.stream)) ||
        (file.IsOpen() && HasStreamAttribute(file.Get(), place.stream))) {
        return ERROR_SUCCESS;
    }
    if (place.entry.IsRegular()) {
        // A file without a mark is copied next.
        KeepOpen(std::move(file), path.substr(0, path.find(u':', path.rfind(u'\\') + 1)));
    }
    return ERROR_FILE_NOT_FOUND;
}

}  // namespace platform
