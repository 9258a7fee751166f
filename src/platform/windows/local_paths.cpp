#include "platform/local_paths.h"

#include <string_view>
#include <system_error>

#include "platform/answers.h"
#include "platform/utf8.h"
#include "platform/windows/win.h"

namespace platform {

namespace {

// Longer paths need their prefix, by which Windows takes them as they are.
constexpr std::size_t kMaxPlainPath = 247;

bool IsLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }

bool HasDrive(std::u16string_view path) {
    return path.size() > 2 && IsLetter(path[0]) && path[1] == u':' && path[2] == u'\\';
}

bool IsShare(std::u16string_view path) { return path.substr(0, 2) == uR"(\\)"; }

}  // namespace

std::optional<std::u16string> LibraryPath(const std::string& argument) {
    std::u16string path = Utf8ToUtf16(argument);
    // Not made shorter by "..", which the library refuses where it is of no use.
    if (path.find(u'/') == std::u16string::npos && (HasDrive(path) || IsShare(path))) {
        return path;
    }
    std::error_code error;
    const std::filesystem::path whole =
        std::filesystem::absolute(std::filesystem::path(ToWide(path.c_str())), error);
    return error ? path : PathText(whole);
}

std::filesystem::path LocalPath(const std::string& argument) {
    return LocalPath(LibraryPath(argument).value_or(u""));
}

std::filesystem::path LocalPath(const std::u16string& path) {
    const bool isPlain = path.size() <= kMaxPlainPath || !HasDrive(path);
    return ToWide(isPlain ? path.c_str() : (uR"(\\?\)" + path).c_str());
}

std::string PathBytes(const std::filesystem::path& path) { return Utf16ToUtf8(PathText(path)); }

std::u16string PathText(const std::filesystem::path& path) { return FromWide(path.c_str()); }

// Asked of the system and not of the C run-time, which copies the environment at its start.
std::filesystem::path GetPathVariable(const char* name) {
    std::u16string value;
    const bool isSet =
        GetLiveAnswers()->machine.GetEnvironmentText(Utf8ToUtf16(name).c_str(), value);
    return isSet ? std::filesystem::path(ToWide(value.c_str())) : std::filesystem::path();
}

}  // namespace platform
