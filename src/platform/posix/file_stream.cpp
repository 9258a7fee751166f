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

// The names of the attributes, each ended by a NUL; empty when there are none or they cannot be
// had.
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

// Only files and folders can have attributes of a user, and a device must not be opened.
std::string ListAttributes(const SFilePlace& place) {
    if (place.entry.IsFolder()) {
        const CFileDescriptor folder(openat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                            O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return ListAttributes(folder.Get());
    }
    CFileDescriptor file;
    struct stat info {};
    if (OpenEntry(place, file, info) != ERROR_SUCCESS) {
        return {};
    }
    std::string names = ListAttributes(file.Get());
    // A file that has no such stream is copied next.
    KeepOpen(std::move(file), info);
    return names;
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

}  // namespace

bool HasStream(const SFilePlace& place) {
    const CNameSet* const names = place.folder->GetNames();
    if (names != nullptr && names->HasStream(place.name, place.stream)) {
        return true;
    }
    const std::string attributes = ListAttributes(place);
    std::string_view rest = attributes;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\0'), rest.size() - 1);
        if (IsStreamAttribute(rest.substr(0, end), place.stream)) {
            return true;
        }
        rest.remove_prefix(end + 1);
    }
    return false;
}

}  // namespace platform
