#include <system_error>

#include "host/system.h"
#include "platform/utf8.h"
#include "platform/windows/win.h"

namespace host {

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
    std::u16string path = platform::Utf8ToUtf16(argument);
    // Not made shorter by "..", which the library refuses where it is of no use.
    if (path.find(u'/') == std::u16string::npos && (HasDrive(path) || IsShare(path))) {
        return path;
    }
    std::error_code error;
    const std::filesystem::path whole =
        std::filesystem::absolute(std::filesystem::path(platform::ToWide(path.c_str())), error);
    return error ? path : PathText(whole);
}

std::filesystem::path LocalPath(const std::string& argument) {
    return LocalPath(LibraryPath(argument).value_or(u""));
}

std::filesystem::path LocalPath(const std::u16string& path) {
    const bool isPlain = path.size() <= kMaxPlainPath || !HasDrive(path);
    return platform::ToWide(isPlain ? path.c_str() : (uR"(\\?\)" + path).c_str());
}

std::string PathBytes(const std::filesystem::path& path) {
    return platform::Utf16ToUtf8(PathText(path));
}

std::u16string PathText(const std::filesystem::path& path) {
    return platform::FromWide(path.c_str());
}

bool IsWritable(const std::filesystem::path& folder) {
    HANDLE handle = CreateFileW(folder.c_str(), FILE_ADD_FILE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return false;
    }
    CloseHandle(handle);
    return true;
}

}  // namespace host
