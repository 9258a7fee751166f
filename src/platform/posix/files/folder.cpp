#include "platform/posix/files/folder.h"

#include <fcntl.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <ctime>
#include <optional>

#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_name.h"
#include "platform/status.h"

namespace platform {

namespace {

// stat for a path that is too long for one call, which takes PATH_MAX bytes with the NUL.
int StatLongPath(std::string_view path, struct stat& info) {
    CFileDescriptor folder;
    int start = AT_FDCWD;
    while (path.size() >= PATH_MAX) {
        // The head has its slash and a NUL, so it fits into PATH_MAX bytes. Every round makes the
        // path shorter.
        const std::size_t cut = path.rfind('/', PATH_MAX - 2);
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

// Nanoseconds since some fixed moment, for intervals only.
std::int64_t Now() {
    struct timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

// Whether a folder that changed at `changed` may change now without a new time. A coarse clock
// gives two changes within one tick the same time.
bool IsRecent(const struct timespec& changed) {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    const double age = static_cast<double>(now.tv_sec) - static_cast<double>(changed.tv_sec) +
                       static_cast<double>(now.tv_nsec - changed.tv_nsec) * 1e-9;
    // Seconds. Without a fraction, the file system probably counts whole seconds, or two as FAT
    // does. With one, its tick is that of the kernel, which is 10 ms at most.
    return std::abs(age) < (changed.tv_nsec == 0 ? 2.0 : 0.02);
}

}  // namespace

SFolderStamp::SFolderStamp(const struct stat& info)
    : modified(info.st_mtim.tv_sec),
      changed(info.st_ctim.tv_sec),
      modifiedPart(info.st_mtim.tv_nsec),
      changedPart(info.st_ctim.tv_nsec),
      size(info.st_size),
      links(info.st_nlink) {}

CFolder::CFolder(CFileDescriptor folder, std::string path, const struct stat& info, bool isSealed,
                 const CFolder* parent)
    : m_folder(std::move(folder)),
      m_path(std::move(path)),
      m_id(GetFileId(info)),
      m_isSealed(isSealed),
      m_stamp(info),
      m_lastLookAtWay(parent == nullptr ? 0 : parent->m_lastLookAtWay) {}

// Gives the data of the folder, or of what its path leads to now if the path is checked. 0, or -1
// with errno. The interval between two checks is a millisecond, and one more for every 256 bytes of
// the path.
int CFolder::LookAtSelf(struct stat& info) {
    constexpr std::size_t kUsualLength = 256;
    constexpr std::int64_t kUsualMoment = 1'000'000;
    if (m_searches > 0) {
        return fstat(m_folder.Get(), &info);
    }
    const std::int64_t now = Now();
    const auto moment = kUsualMoment * static_cast<std::int64_t>(1 + m_path.size() / kUsualLength);
    // A relative path leads elsewhere as soon as the current directory changes.
    if (m_path.front() == '/' && now - m_lastLookAtWay < moment &&
        fstat(m_folder.Get(), &info) == 0 && SFolderStamp(info) == m_stamp) {
        return 0;
    }
    m_lastLookAtWay = now;
    return m_path.size() < PATH_MAX ? stat(m_path.c_str(), &info) : StatLongPath(m_path, info);
}

bool CFolder::IsCurrent() {
    struct stat info {};
    if (LookAtSelf(info) != 0 || GetFileId(info) != m_id) {
        return false;
    }
    const SFolderStamp stamp(info);
    if (stamp != m_stamp) {
        m_stamp = stamp;
        // While a file is added, the change may be that one, and the names stay.
        if (m_additions == 0) {
            m_names.reset();
        }
    }
    return true;
}

int CFolder::Look(const std::string& name, SEntry& entry) {
    struct stat info {};
    if (fstatat(m_folder.Get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    // A link without a target keeps its own data, as one that is not followed does.
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
    // The exact name first, because that takes one system call, and any other needs all names.
    // Where these cannot be listed, only the exact name is found.
    if (const int error = Look(name, entry); error != ENOENT) {
        return error == 0 ? ERROR_SUCCESS : StatusFromErrno(error);
    }
    const CNameSet* const names = GetNames();
    const auto other = names == nullptr ? std::nullopt : names->Find(text);
    if (!other || Look(std::string(*other), entry) != 0) {
        entry.name = std::move(name);
        return ERROR_FILE_NOT_FOUND;
    }
    return ERROR_SUCCESS;
}

bool CFolder::LacksName(std::u16string_view text, SEntry& entry) {
    const CNameSet* const names = GetNames();
    return names != nullptr && !names->Find(text) && NameFromText(text, entry.name);
}

const CNameSet* CFolder::GetNames() {
    if (!m_names || m_isRecent) {
        struct stat info {};
        if (fstat(m_folder.Get(), &info) != 0) {
            return nullptr;
        }
        // The stamp is taken before the names are read. A change in between gives another stamp, so
        // the names are read again. The other order would miss it.
        m_stamp = SFolderStamp(info);
        m_isRecent = IsRecent(info.st_ctim);
        m_names.reset();
        auto names = std::make_unique<CNameSet>();
        if (const int error = names->Read(m_folder.Get())) {
            errno = error;
            return nullptr;
        }
        m_names = std::move(names);
    }
    return m_names.get();
}

SKnownNames CFolder::TakeNames() {
    // The stamp would not show whether such names are still right.
    if (m_isRecent) {
        m_names.reset();
    }
    return {m_stamp, std::move(m_names)};
}

void CFolder::PutNames(SKnownNames known) {
    if (known.stamp == m_stamp) {
        m_names = std::move(known.names);
    }
}

void CFolder::NoteAdded(const std::string& name, EEntryKind kind) {
    if (m_names) {
        // The entry is there already, so names that have no memory for it are dropped.
        std::unique_ptr<CNameSet> names = std::move(m_names);
        names->Add(name, kind);
        m_names = std::move(names);
        // They were read just before, to see that the name was free.
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

void CFolder::BeginAdding(const std::string& name, EEntryKind kind) {
    if (m_names) {
        m_names->Add(name, kind);
        m_isRecent = false;
    }
    ++m_additions;
}

void CFolder::EndAdding(const std::string& name, bool isThere) {
    --m_additions;
    if (m_names && !isThere) {
        m_names->Remove(name);
    }
    if (m_names && m_additions == 0) {
        NoteOwnChange();
    }
}

void CFolder::NoteOwnChange() {
    struct stat info {};
    if (fstat(m_folder.Get(), &info) != 0) {
        // Without a stamp nothing would show a change by others.
        m_names.reset();
        return;
    }
    m_stamp = SFolderStamp(info);
}

}  // namespace platform
