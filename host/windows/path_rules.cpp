#include "host/path_rules.h"

#include "host/status_text.h"
#include "platform/local_paths.h"
#include "platform/status.h"
#include "platform/text.h"
#include "platform/win.h"

namespace host {

namespace {

constexpr std::u16string_view kPrefix = uR"(\\?\)";

}  // namespace

// Windows takes a path with the prefix as it is, and at any length.
std::filesystem::path DeepPath(const std::filesystem::path& path) {
    const std::u16string text = platform::PathText(path);
    const bool hasDrive = text.size() > 2 && text[1] == u':' && text[2] == u'\\';
    return hasDrive ? std::filesystem::path(std::u16string(kPrefix) + text) : path;
}

// Without the prefix, and without case, which does not tell files apart.
std::u16string PathKey(const std::filesystem::path& path) {
    std::u16string text = platform::PathText(path);
    if (text.starts_with(kPrefix)) {
        text.erase(0, kPrefix.size());
    }
    platform::FoldText(text.data(), text.size());
    return text;
}

// By the system's own search: that of the C run-time ends where paths become long.
std::string ListFolder(const std::filesystem::path& folder, std::vector<SFolderEntry>& entries) {
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW((DeepPath(folder) / L"*").c_str(), &found);
    const DWORD failure = GetLastError();
    if (search == INVALID_HANDLE_VALUE) {
        return failure == ERROR_FILE_NOT_FOUND ? "" : DescribeStatus(failure);  // an empty root
    }
    do {
        const std::wstring_view name = found.cFileName;
        const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (name != L"." && name != L"..") {
            entries.push_back({name, isFolder && !isLink, !isFolder && !isLink});
        }
    } while (FindNextFileW(search, &found) != FALSE);
    const DWORD end = GetLastError();
    FindClose(search);
    return end == ERROR_NO_MORE_FILES ? "" : DescribeStatus(end);
}

}  // namespace host
