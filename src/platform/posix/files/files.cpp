#include "platform/files.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_access.h"
#include "platform/posix/files/file_name.h"
#include "platform/posix/files/folder_cache.h"
#include "platform/posix/files/output.h"
#include "platform/status.h"

namespace platform {

namespace {

constexpr mode_t kAllWrite = S_IWUSR | S_IWGRP | S_IWOTH;

// This library never makes pipes and devices, and the machine may need them. A link that is not
// followed is deleted itself. POSIX deletes a read-only file too, but Windows does not.
bool IsDeletable(const SEntry& entry) {
    return (entry.IsRegular() && !entry.IsReadOnly()) || entry.IsUnfollowed();
}

// Renames without replacing anything.
int Rename(const SFilePlace& from, const SFilePlace& to, const std::string& newName) {
    const int fromFolder = from.folder->GetDescriptor();
    const int toFolder = to.folder->GetDescriptor();
    const char* const oldName = from.entry.name.c_str();
    if (renameat2(fromFolder, oldName, toFolder, newName.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    // Not every file system can refuse to replace. Move has just seen that nothing is there.
    const bool isUnknown = errno == EINVAL || errno == ENOSYS;
    return isUnknown ? renameat(fromFolder, oldName, toFolder, newName.c_str()) : -1;
}

int Move(std::u16string_view from, std::u16string_view to) {
    SFilePlace source;
    if (const int status = FindFile(from, source)) {
        return status;
    }
    SFilePlace target;
    const int status = FindFile(to, target);
    std::string newName = target.entry.name;
    if (status == ERROR_SUCCESS) {
        // A file may change the letter case of its own name.
        const bool isSelf = target.folder->GetId() == source.folder->GetId() &&
                            target.entry.name == source.entry.name &&
                            NameFromText(target.name, newName);
        if (!isSelf || newName == source.entry.name) {
            return isSelf ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS;
        }
    } else if (status != ERROR_FILE_NOT_FOUND) {
        return status;
    }
    if (Rename(source, target, newName) != 0) {
        return StatusFromErrno(errno);
    }
    // Without its kind the new name is looked at by whoever needs to know.
    source.folder->NoteRemoved(source.entry.name);
    target.folder->NoteAdded(newName, EEntryKind::Unknown);
    return ERROR_SUCCESS;
}

}  // namespace

int SetAttributes(const char16_t* name, std::uint32_t attributes) {
    SFilePlace place;
    if (const int status = FindFile(name, place)) {
        return SetLastError(status);
    }
    // Neither a folder nor a link has the attribute.
    if (place.entry.isLink || !place.entry.IsRegular()) {
        return ERROR_SUCCESS;
    }
    // Nobody may write to a read-only file. Afterwards only its owner may again, because it is not
    // known who else could before.
    const mode_t mode = place.entry.info.st_mode & 07777;
    const bool isReadOnly = (attributes & kAttributeReadOnly) != 0;
    const int result = fchmodat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                isReadOnly ? mode & ~kAllWrite : mode | S_IWUSR,
                                place.folder->IsSealed() ? AT_SYMLINK_NOFOLLOW : 0);
    return result == 0 ? ERROR_SUCCESS : FailWithErrno();
}

int DeleteFile(const char16_t* name) {
    SFilePlace place;
    if (const int status = FindFile(name, place)) {
        return SetLastError(status);
    }
    if (!IsDeletable(place.entry)) {
        return SetLastError(ERROR_ACCESS_DENIED);
    }
    if (unlinkat(place.folder->GetDescriptor(), place.entry.name.c_str(), 0) != 0) {
        return FailWithErrno();
    }
    place.folder->NoteRemoved(place.entry.name);
    return ERROR_SUCCESS;
}

int MoveFile(const char16_t* from, const char16_t* to) {
    const int status = Move(from, to);
    return status == ERROR_SUCCESS ? status : SetLastError(status);
}

int CreateFolder(const char16_t* name) {
    SFilePlace place;
    const int status = FindFile(name, place);
    if (status != ERROR_FILE_NOT_FOUND) {
        return SetLastError(status == ERROR_SUCCESS ? ERROR_ALREADY_EXISTS : status);
    }
    // The look-up has left the name for the new folder in the entry.
    if (mkdirat(place.folder->GetDescriptor(), place.entry.name.c_str(), 0777) != 0) {
        return FailWithErrno();
    }
    place.folder->NoteAdded(place.entry.name, EEntryKind::Folder);
    return ERROR_SUCCESS;
}

bool HasShortNames() { return false; }

int GetLongName(const char16_t* name, std::u16string& longName) {
    SFilePlace place;
    if (const int status = FindFile(name, place)) {
        return SetLastError(status);
    }
    longName = name;
    return ERROR_SUCCESS;
}

bool IsSameFolder(const char16_t* left, const char16_t* right) {
    SFilePlace first;
    SFilePlace second;
    return FindFile(left, first) == ERROR_SUCCESS && first.entry.IsFolder() &&
           FindFile(right, second) == ERROR_SUCCESS &&
           GetFileId(first.entry.info) == GetFileId(second.entry.info);
}

bool IsSealedLink(const char16_t* name) {
    SFilePlace place;
    return FindFile(name, place) == ERROR_SUCCESS && place.folder->IsSealed() && place.entry.isLink;
}

void SetPackageFolder(const char16_t* name) {
    // First without any package folder: the folder itself may be reached by links.
    CFolderCache& cache = CFolderCache::Get();
    cache.SetPackageFolder(nullptr);
    SFileLocation location;
    std::shared_ptr<CFolder> folder;
    if (name != nullptr && ReadLocation(name, location) == ERROR_SUCCESS &&
        cache.Open(location, location.path, folder) == ERROR_SUCCESS) {
        cache.SetPackageFolder(folder);
    }
}

}  // namespace platform
