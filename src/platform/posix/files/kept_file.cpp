#include "platform/posix/files/kept_file.h"

#include <utility>

#include "platform/text.h"

namespace platform {

void CKeptFile::Keep(std::u16string_view path, CFileDescriptor file) {
    m_file = std::move(file);
    m_path = path;
}

bool CKeptFile::Take(std::u16string_view path, CFileDescriptor& file, struct stat& info) {
    if (!m_file.IsOpen() || !HasSameUnits(m_path, path)) {
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
