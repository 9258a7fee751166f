// platform/local_paths.h - files by the names that users and other programs of this system give
// them.
//
// Such a name is a path of the system: an argument of a program, bytes, which are UTF-8 on Windows
// and on POSIX whatever they are; or a std::filesystem::path. The library itself knows files by
// their Windows names. One thread at a time.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace platform {

// The name by which the library knows the file of an argument. A Windows path goes through as it
// is; what else an argument of this system means is made absolute and spelled as Windows would.
// Nothing when the current folder is gone.
[[nodiscard]] std::optional<std::u16string> LibraryPath(const std::string& argument);

// Where the file is that an argument names.
[[nodiscard]] std::filesystem::path LocalPath(const std::string& argument);
// Where the file is that the library knows by `path`, or would be put; empty when the path leads
// nowhere on this machine.
[[nodiscard]] std::filesystem::path LocalPath(const std::u16string& path);

// A path as bytes for other programs, and as text; bytes that are no UTF-8 become U+DC00 plus the
// byte.
[[nodiscard]] std::string PathBytes(const std::filesystem::path& path);
[[nodiscard]] std::u16string PathText(const std::filesystem::path& path);

// The file that a variable of this process's environment names, which is not the environment of a
// described machine; empty when the variable is not set or has no text.
[[nodiscard]] std::filesystem::path GetPathVariable(const char* name);

}  // namespace platform
