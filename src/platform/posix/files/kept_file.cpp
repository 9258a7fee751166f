#include "platform/posix/files/kept_file.h"

#include <utility>

#include "platform/text.h"

namespace platform {

namespace {

// A file may have a long path with its prefix, and its folder a shorter one without.
std::u16string_view WithoutPrefix(std::u16string_view path) {
    constexpr std::u16string_view kLong = uR"(\\?\)";
    const bool isLong = path.starts_with(kLong) && path.substr(kLong.size() + 1, 1) == u":";
    return isLong ? path.substr(kLong.size()) : path;
}

}  // namespace

void CKeptFile::Keep(std::u16string_view folder, std::u16string_view name, CFileDescriptor file) {
    m_file = std::move(file);
    m_path = WithoutPrefix(folder);
    m_path += name;
}

bool CKeptFile::Take(std::u16string_view path, CFileDescriptor& file, struct stat& info) {
    if (!m_file.IsOpen() || !HasSameUnits(m_path, WithoutPrefix(path))) {
        return false;
    }
    // Whatever comes of it, the file is not kept any longer. One without a name was deleted, and
    // its path leads nowhere or to another file. What is no regular file is not read at all.
    CFileDescriptor kept = std::move(m_file);
    if (fstat(kept.Get(), &info) != 0 || info.st_nlink == 0 || !S_ISREG(info.st_mode)) {
        return false;
    }
    file = std::move(kept);
    return true;
}

}  // namespace platform
