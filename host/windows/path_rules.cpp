#include "host/path_rules.h"

#include "platform/local_paths.h"
#include "platform/status.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "platform/win.h"

namespace host {

namespace {

constexpr std::u16string_view kPrefix = uR"(\\?\)";

// None for `end`, which is how a search that finds no more ends.
std::error_code ErrorOf(DWORD status, int end) {
    const auto number = static_cast<int>(status);
    return number == end ? std::error_code() : std::error_code(number, std::system_category());
}

}  // namespace

// Windows takes a full path with the prefix as it is, and at any length: there a slash parts no
// names, and two dots are a name.
std::filesystem::path DeepPath(const std::filesystem::path& path) {
    if (path.native().starts_with(LR"(\\?\)") || !path.is_absolute()) {
        return path;
    }
    const std::wstring text = path.lexically_normal().native();
    return text.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + text.substr(1) : LR"(\\?\)" + text;
}

// With the prefix, Windows takes neither slashes nor dots for what they are elsewhere.
std::filesystem::path AbsolutePath(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::path full = std::filesystem::absolute(path, error).lexically_normal();
    return error ? std::filesystem::path() : full.make_preferred();
}

std::filesystem::path PathOfBytes(const std::string& bytes) {
    return platform::ToWide(platform::Utf8ToUtf16(bytes).c_str());
}

// Without the prefix, and without case, which does not tell files apart.
std::u16string PathKey(const std::filesystem::path& path) {
    std::u16string text = platform::PathText(path);
    if (text.starts_with(kPrefix)) {
        text.erase(0, kPrefix.size());
    }
    return platform::FoldedText(text);
}

// By the system's own search: that of the C run-time ends where paths become long.
std::error_code ListFolder(const std::filesystem::path& folder,
                           std::vector<SFolderEntry>& entries) {
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW((DeepPath(folder) / L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return ErrorOf(::GetLastError(), ERROR_FILE_NOT_FOUND);
    }
    do {
        const std::wstring_view name = found.cFileName;
        const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (name != L"." && name != L"..") {
            entries.push_back({name, isFolder && !isLink, !isFolder && !isLink});
        }
    } while (FindNextFileW(search, &found) != FALSE);
    // Before the search is closed, which may set another error.
    const std::error_code error = ErrorOf(::GetLastError(), ERROR_NO_MORE_FILES);
    FindClose(search);
    return error;
}

std::chrono::seconds GetStaleTime(const std::filesystem::path& /*folder*/) {
    return std::chrono::seconds(0);
}

}  // namespace host
