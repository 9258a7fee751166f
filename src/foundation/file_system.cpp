#include "foundation/file_system.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/input_file.h"
#include "platform/machine.h"
#include "platform/status.h"

namespace {

// In UTF-16 units. A text whose long form would be longer stays as it is.
constexpr std::size_t kMaxLongName = 259;

// Written only while no other thread of a conversion runs, so it needs no lock.
bool s_isCheckOnly = false;

// Reads a file to its end.
int ReadThrough(const CStrW& source) {
    constexpr std::size_t kPiece = std::size_t{1} << 16;
    platform::CInputFile file;
    int status = file.Open(source.Get());
    std::vector<std::byte> piece(kPiece);
    std::size_t count = kPiece;
    // Read fills a piece unless the file ends in it, so a short piece is the last one.
    for (std::uint64_t at = 0; status == ERROR_SUCCESS && count == kPiece; at += count) {
        status = file.Read(at, piece, count);
    }
    return status;
}

bool IsExistingFolder(const CFilePathW& path) {
    platform::SFindData found;
    return platform::FindEntry(path.ToString().Get(), found) == ERROR_SUCCESS && found.IsFolder();
}

// Whether the parent may exist, so that it is worth asking for its long name.
bool IsMissing(int status) {
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

// Deletes a file, even a read-only one.
bool DeleteByName(const CStrW& name) {
    platform::SFindData found;
    if (platform::FindEntry(name.Get(), found) != ERROR_SUCCESS) {
        return false;
    }
    if (found.IsReadOnly() && !found.IsFolder()) {
        // If this fails, the deletion fails too, and the result says so.
        static_cast<void>(
            platform::SetAttributes(name.Get(), found.attributes & ~platform::kAttributeReadOnly));
    }
    return platform::DeleteFile(name.Get()) == ERROR_SUCCESS;
}

// Copies a file to `name`, which is in `folder`.
int CopyTo(const CStrW& source, const CStrW& name, const CFilePathW& folder,
           platform::CFileCopier* copier) {
    const auto copy = [&](platform::EExisting existing) {
        return copier != nullptr ? copier->Copy(source.View(), name.View(), existing)
                                 : platform::CopyFile(source.Get(), name.Get(), existing);
    };
    // First the usual case, without any look-up: the folder exists and the name is free. The steps
    // in between are not checked: if they did not help, the last copy fails and tells why.
    int status = copy(platform::EExisting::Keep);
    if (status == ERROR_PATH_NOT_FOUND) {
        static_cast<void>(CreateDirectoryChain(folder));
        status = copy(platform::EExisting::Keep);
    }
    if (status != ERROR_SUCCESS) {
        static_cast<void>(DeleteByName(name));
        static_cast<void>(CreateDirectoryChain(folder));
        status = copy(platform::EExisting::Replace);
    }
    return status;
}

}  // namespace

void SetCheckOnly(bool isCheckOnly) { s_isCheckOnly = isCheckOnly; }

bool IsCheckOnly() { return s_isCheckOnly; }

bool CreateDirectoryChain(const CFilePathW& path) {
    if (path.IsEmpty() || s_isCheckOnly) {
        return s_isCheckOnly;
    }
    // First the usual cases, in one or two system calls: only the folder itself is missing, or it
    // exists already. Not for "C:a" and "\a": the chain below makes "C:\a" and "a" of them.
    const bool isOwnChain =
        path.GetKind() != FilePathDriveRelative && path.GetKind() != FilePathRootRelative;
    if (isOwnChain && !path.IsRoot() &&
        (platform::CreateFolder(path.ToString().Get()) == ERROR_SUCCESS ||
         IsExistingFolder(path))) {
        return true;
    }
    CFilePathW folder;
    if (path.GetKind() == FilePathUnc) {
        folder = path.GetUncRoot();
        if (folder.IsEmpty()) {
            return false;
        }
    } else {
        folder.AssignSegment(path.GetDriveSegment());
    }
    // A drive or share exists or not; it cannot be made.
    if (folder.GetSegmentCount() == path.GetSegmentCount()) {
        return IsExistingFolder(folder);
    }
    if (isOwnChain) {
        // From the bottom up, because mostly only the last few folders are missing: looking at each
        // from the root on would take a deep capture the square of its depth.
        CFilePathW existing = path.GetParent();
        while (existing.GetSegmentCount() > folder.GetSegmentCount() &&
               !IsExistingFolder(existing)) {
            existing.RemoveLast(1);
        }
        folder = std::move(existing);
    }
    for (std::size_t i = folder.GetSegmentCount(); i < path.GetSegmentCount(); ++i) {
        static_cast<void>(folder.AppendSegment(path.GetSegment(i)));
        // The first ones may exist: for "C:a" and "\a" the chain begins at the top.
        if (!IsExistingFolder(folder) &&
            platform::CreateFolder(folder.ToString().Get()) != ERROR_SUCCESS) {
            return false;
        }
    }
    return true;
}

bool DeleteFileForce(const CFilePathW& path) {
    return s_isCheckOnly || DeleteByName(path.ToString());
}

int CopyFileOver(const CStrW& source, const CFilePathW& destination,
                 platform::CFileCopier* copier) {
    return s_isCheckOnly ? ReadThrough(source)
                         : CopyTo(source, destination.ToString(), destination.GetParent(), copier);
}

int CopyFileInto(const CStrW& source, const CFilePathW& folder, const CStrW& destination,
                 platform::CFileCopier* copier) {
    return s_isCheckOnly ? ReadThrough(source) : CopyTo(source, destination, folder, copier);
}

CFilePathW GetSpecialFolderPath(int csidl) {
    std::u16string path;
    return platform::GetSpecialFolder(csidl, path) ? CFilePathW(path) : CFilePathW();
}

CFilePathW GetWindowsDirectoryPath() {
    std::u16string path;
    return platform::GetWindowsFolder(path) ? CFilePathW(path) : CFilePathW();
}

bool ExpandLongPath(CFilePathW& path) {
    // Each round removes a name, so the loop ends.
    CFilePathW existing(path);
    while (!existing.IsEmpty()) {
        std::u16string longName;
        const int status = platform::GetLongName(existing.ToString().Get(), longName);
        if (status == ERROR_SUCCESS) {
            // The names that do not exist stay as they are written.
            path.DropFirst(existing.GetSegmentCount());
            static_cast<void>(path.Prepend(CFilePathW(longName)));
            return true;
        }
        if (!IsMissing(status)) {
            return false;
        }
        existing.RemoveLast(1);
    }
    return false;
}

bool ExpandLongName(CStrW& text) {
    if (!platform::HasShortNames()) {
        return false;
    }
    // Each round cuts off the last name, so the loop ends. The text need not be a path: for any
    // other text the system finds nothing.
    CStrW existing(text);
    while (!existing.IsEmpty()) {
        std::u16string longName;
        const int status = platform::GetLongName(existing.Get(), longName);
        if (status == ERROR_SUCCESS) {
            if (longName.size() > kMaxLongName || existing.EqualsNoCase(longName)) {
                return false;
            }
            text.Delete(0, existing.GetLength());
            text.Prepend(longName);
            return true;
        }
        // Before a backslash at the very start there is nothing to ask for.
        const std::size_t cut = existing.View().rfind(u'\\');
        if (!IsMissing(status) || cut == std::u16string_view::npos || cut == 0) {
            return false;
        }
        existing.Truncate(cut);
    }
    return false;
}
