#include "platform/posix/folder.h"

#include <fcntl.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>

#include "platform/posix/errno_status.h"
#include "platform/posix/file_name.h"
#include "platform/status.h"

namespace platform {

namespace {

// Looks a path up that is longer than the system takes at once.
int StatLongPath(std::string_view path, struct stat& info) {
    CFileDescriptor folder;
    int start = AT_FDCWD;
    while (path.size() >= PATH_MAX) {
        const std::size_t cut = path.rfind('/', PATH_MAX - 1);
        if (cut == std::string_view::npos) {
            errno = ENAMETOOLONG;
            return -1;
        }
        const std::string head(path.substr(0, cut + 1));
        folder = CFileDescriptor(openat(start, head.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder.IsOpen()) {
            return -1;
        }
        start = folder.Get();
        path.remove_prefix(cut + 1);
    }
    return fstatat(start, std::string(path).c_str(), &info, 0);
}

// Whether a folder that changed at `changed` may change again without showing it: a clock that
// ticks coarsely gives two changes the same time.
bool IsRecent(const struct timespec& changed) {
    constexpr long long kMillisecond = 1'000'000;
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    const long long age =
        (static_cast<long long>(now.tv_sec) - changed.tv_sec) * 1000 * kMillisecond +
        (now.tv_nsec - changed.tv_nsec);
    // Without parts of a second the file system probably counts whole ones.
    const long long tick = (changed.tv_nsec == 0 ? 2000 : 20) * kMillisecond;
    return std::llabs(age) < tick;
}

}  // namespace

CFolder::SStamp::SStamp(const struct stat& info)
    : modified(info.st_mtim.tv_sec),
      changed(info.st_ctim.tv_sec),
      modifiedPart(info.st_mtim.tv_nsec),
      changedPart(info.st_ctim.tv_nsec),
      size(info.st_size),
      links(info.st_nlink) {}

// Whether the changes behind the two lie closer together than any coarse clock ticks.
bool CFolder::SStamp::IsRightAfter(const SStamp& other) const {
    constexpr long kShortest = 900'000;
    const long apart = changedPart - other.changedPart;
    return changed == other.changed && apart > 0 && apart < kShortest;
}

CFolder::CFolder(CFileDescriptor folder, std::string path, const struct stat& info, bool isSealed)
    : m_folder(std::move(folder)),
      m_path(std::move(path)),
      m_device(info.st_dev),
      m_number(info.st_ino),
      m_isSealed(isSealed),
      m_stamp(info) {}

bool CFolder::IsCurrent() {
    struct stat info {};
    const int result = m_searches > 0             ? fstat(m_folder.Get(), &info)
                       : m_path.size() < PATH_MAX ? stat(m_path.c_str(), &info)
                                                  : StatLongPath(m_path, info);
    if (result != 0 || !IsSameAs(info)) {
        return false;
    }
    const SStamp stamp(info);
    if (stamp != m_stamp) {
        m_stamp = stamp;
        m_names.reset();
    }
    return true;
}

bool CFolder::IsSameAs(const struct stat& info) const {
    return info.st_dev == m_device && info.st_ino == m_number;
}

int CFolder::Look(const std::string& name, SEntry& entry) const {
    struct stat info {};
    if (fstatat(m_folder.Get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    entry.isLink = S_ISLNK(info.st_mode);
    if (entry.isLink && !m_isSealed) {
        struct stat target {};
        if (fstatat(m_folder.Get(), name.c_str(), &target, 0) == 0) {
            info = target;
        }
    }
    entry.info = info;
    entry.name = name;
    return 0;
}

int CFolder::Find(std::u16string_view text, SEntry& entry) {
    std::string name;
    if (!NameFromText(text, name)) {
        return ERROR_INVALID_NAME;
    }
    // Not to ask in vain: a missing name is what costs most.
    if (m_hasFineTimes && m_names && m_names->Find(text) == nullptr) {
        entry.name = std::move(name);
        return ERROR_FILE_NOT_FOUND;
    }
    if (const int error = Look(name, entry); error != ENOENT) {
        return error == 0 ? ERROR_SUCCESS : StatusFromErrno(error);
    }
    const CNameSet* const names = GetNames();
    const std::string* const other = names == nullptr ? nullptr : names->Find(text);
    if (other == nullptr || Look(std::string(*other), entry) != 0) {
        entry.name = std::move(name);
        return ERROR_FILE_NOT_FOUND;
    }
    return ERROR_SUCCESS;
}

bool CFolder::LacksName(std::u16string_view text, SEntry& entry) {
    const CNameSet* const names = GetNames();
    return names != nullptr && names->Find(text) == nullptr && NameFromText(text, entry.name);
}

const CNameSet* CFolder::GetNames() {
    if (!m_names || m_isRecent) {
        struct stat info {};
        if (fstat(m_folder.Get(), &info) != 0) {
            return nullptr;
        }
        m_stamp = SStamp(info);
        m_isRecent = IsRecent(info.st_ctim);
        if (const int error = m_names.emplace().Read(m_folder.Get())) {
            m_names.reset();
            errno = error;
            return nullptr;
        }
    }
    return &*m_names;
}

void CFolder::NoteAdded(const std::string& name) {
    if (m_names) {
        m_names->Add(name);
        // To find that the name was free, the names were read a moment ago.
        m_isRecent = false;
        NoteOwnChange();
    }
}

void CFolder::NoteRemoved(const std::string& name) {
    if (m_names) {
        m_names->Remove(name);
        NoteOwnChange();
    }
}

void CFolder::NoteOwnChange() {
    struct stat info {};
    if (fstat(m_folder.Get(), &info) != 0) {
        m_names.reset();
        return;
    }
    const SStamp stamp(info);
    m_hasFineTimes = m_hasFineTimes || stamp.IsRightAfter(m_stamp);
    m_stamp = stamp;
}

}  // namespace platform
