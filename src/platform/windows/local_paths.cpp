#include "platform/local_paths.h"

#include <string_view>
#include <system_error>

#include "platform/answers.h"
#include "platform/utf8.h"
#include "platform/win.h"

namespace platform {

namespace {

// Units. Longer paths need the prefix with which Windows takes them as they are. 247 is the limit
// for a folder, in which a short name must have room.
constexpr std::size_t kMaxPlainPath = 247;

bool IsLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }

bool HasDrive(std::u16string_view path) {
    return path.size() > 2 && IsLetter(path[0]) && path[1] == u':' && path[2] == u'\\';
}

bool IsShare(std::u16string_view path) { return path.substr(0, 2) == uR"(\\)"; }

}  // namespace

std::optional<std::u16string> LibraryPath(const std::string& argument) {
    std::u16string path = Utf8ToUtf16(argument);
    // A full path is not normalized: the library itself refuses a ".." that leads nowhere.
    if (path.find(u'/') == std::u16string::npos && (HasDrive(path) || IsShare(path))) {
        return path;
    }
    std::error_code error;
    const std::filesystem::path whole =
        std::filesystem::absolute(std::filesystem::path(ToWide(path.c_str())), error);
    // After a failure the path is passed on unchanged, and its first use gives the error.
    return error ? path : PathText(whole);
}

std::filesystem::path LocalPath(const std::string& argument) {
    return LocalPath(LibraryPath(argument).value_or(u""));
}

std::filesystem::path LocalPath(const std::u16string& path) {
    // A path that has the prefix already does not begin with a drive.
    const bool isPlain = path.size() <= kMaxPlainPath || !HasDrive(path);
    return ToWide(isPlain ? path.c_str() : (uR"(\\?\)" + path).c_str());
}

std::string PathBytes(const std::filesystem::path& path) { return Utf16ToUtf8(PathText(path)); }

std::u16string PathText(const std::filesystem::path& path) { return FromWide(path.c_str()); }

// Asks the system, because the C run-time has only a copy from the start of the process.
std::filesystem::path GetPathVariable(const char* name) {
    std::u16string value;
    const bool isSet =
        GetLiveAnswers()->machine.GetEnvironmentText(Utf8ToUtf16(name).c_str(), value);
    return isSet ? std::filesystem::path(ToWide(value.c_str())) : std::filesystem::path();
}

}  // namespace platform
