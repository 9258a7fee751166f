// foundation/file_system.h - operations on files and folders by their paths.
//
// A failure is also the thread's last error, as platform/files.h says. One thread at a time.
#pragma once

#include "foundation/file_path.h"

namespace platform {
class CFileCopier;
}

// Whether the process only checks what a conversion would read: then the three operations below
// change nothing. The first two do nothing and succeed, and CopyFileOver reads the source to its
// end.
void SetCheckOnly(bool isCheckOnly);
[[nodiscard]] bool IsCheckOnly();

// Makes a folder and all missing folders above it. False for an empty path, for a UNC path without
// a share, and when a folder cannot be made, for example because a file has its name.
bool CreateDirectoryChain(const CFilePathW& path);

// Deletes a file, even a read-only one. Returns whether the file was deleted.
bool DeleteFileForce(const CFilePathW& path);

// Copies a file and makes missing folders. An existing destination is deleted first, even a
// read-only one. Returns the status of platform::CopyFile. A `copier` does the copying if there is
// one; it may then report a failure later.
[[nodiscard]] int CopyFileOver(const CStrW& source, const CFilePathW& destination,
                               platform::CFileCopier* copier = nullptr);
// The same to a file in `folder`; `destination` is its path as text.
[[nodiscard]] int CopyFileInto(const CStrW& source, const CFilePathW& folder,
                               const CStrW& destination, platform::CFileCopier* copier);

// The folder of a CSIDL number for the current user, as a long name; empty on failure.
[[nodiscard]] CFilePathW GetSpecialFolderPath(int csidl);

// The Windows folder as a long name; empty on failure.
[[nodiscard]] CFilePathW GetWindowsDirectoryPath();

// Turn the short (8.3) names at the start of a path into long ones, for as much of the path as
// exists. True when some part of the path exists. The form on text is also false, with the text
// unchanged, when the long form equals the text or has more than 259 units.
bool ExpandLongPath(CFilePathW& path);
bool ExpandLongName(CStrW& text);
