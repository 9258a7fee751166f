// foundation/file_system.h - what paths ask of the file system: folder chains, deletion, long
// names.
#pragma once

#include "foundation/file_path.h"

namespace platform {
class CFileCopier;
}

// Makes a folder with all the folders above it that are missing. False for an empty path, for a UNC
// path without a share, and when a folder cannot be made, also because a file has its name.
bool CreateDirectoryChain(const CFilePathW& path);

// Deletes a file, also a read-only one; the result of the deletion.
bool DeleteFileForce(const CFilePathW& path);

// Copies a file, by the status of platform::CopyFile. A file that is there already is deleted
// first, also a read-only one, and missing folders are made. With a `copier` it does the copying.
[[nodiscard]] int CopyFileOver(const CStrW& source, const CFilePathW& destination,
                               platform::CFileCopier* copier = nullptr);

// The folder of a CSIDL number for the current user, as a long name; empty on any failure.
[[nodiscard]] CFilePathW GetSpecialFolderPath(int csidl);

// The Windows folder as a long name; empty on any failure.
[[nodiscard]] CFilePathW GetWindowsDirectoryPath();

// Turn the short (8.3) names at the front of a path into long ones, as far as the path exists. True
// when a part of it was looked up with success; the form on text gives false also when the long
// form is what stood there, and when it has 260 units or more.
bool ExpandLongPath(CFilePathW& path);
bool ExpandLongName(CStrW& text);
