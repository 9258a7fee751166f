// platform/local_paths.h - files by the names that users and other programs of this system use.
//
// Such a name is a path of the system: an argument of a program, in bytes (UTF-8 on Windows, any
// bytes on POSIX), or a std::filesystem::path. The library itself uses Windows names. One thread at
// a time.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace platform {

// The Windows name of the file of an argument, for the library. A Windows path is passed on
// unchanged. Any other path is made absolute and written in the form of Windows. No value when the
// current folder does not exist any more.
[[nodiscard]] std::optional<std::u16string> LibraryPath(const std::string& argument);

// The local path of the file that an argument names.
[[nodiscard]] std::filesystem::path LocalPath(const std::string& argument);
// The local path of the file that the library knows by `path`, or would create; empty when this
// machine has no such drive or share.
[[nodiscard]] std::filesystem::path LocalPath(const std::u16string& path);

// A path as bytes for other programs, and as text. A byte that is not UTF-8 becomes U+DC00 plus the
// byte.
[[nodiscard]] std::string PathBytes(const std::filesystem::path& path);
[[nodiscard]] std::u16string PathText(const std::filesystem::path& path);

// The file that an environment variable of this process names, not one of a described machine.
// Empty when the variable is not set or has no text.
[[nodiscard]] std::filesystem::path GetPathVariable(const char* name);

}  // namespace platform
