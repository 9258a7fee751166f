#include "platform/local_paths.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <system_error>

#include "platform/described/description_in_effect.h"
#include "platform/posix/files/file_location.h"
#include "platform/posix/files/file_name.h"
#include "platform/posix/files/folder_cache.h"
#include "platform/status.h"

namespace platform {

namespace {

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// "C:file" may be a file of this system, so a drive needs a backslash after it.
bool IsWindowsPath(std::string_view argument) {
    const bool hasDrive =
        argument.size() > 2 && IsLetter(argument[0]) && argument[1] == ':' && argument[2] == '\\';
    return hasDrive || argument.substr(0, 2) == R"(\\)";
}

// UTF-16 with every character unchanged: in a Windows path, a colon or a "?" is no part of a name.
std::u16string PlainText(std::string_view bytes) {
    std::u16string text;
    CNameReader reader(bytes, 0);
    for (int unit = reader.Next(); unit != CNameReader::kEnd; unit = reader.Next()) {
        text += static_cast<char16_t>(unit);
    }
    return text;
}

// Takes a path one folder up, to where the system would go: a link is followed first.
void GoUp(std::string& path) {
    struct SFree {
        void operator()(char* text) const { free(text); }
    };
    // Fails for a folder that does not exist. Then only the text is cut.
    const std::unique_ptr<char, SFree> real(realpath(path.empty() ? "/" : path.c_str(), nullptr));
    if (real) {
        path = real.get();
    }
    path.resize(path.empty() ? 0 : path.rfind('/'));
}

// A full path without ".", ".." and doubled slashes; empty for the root.
std::string Normalize(std::string_view whole) {
    std::string path;
    while (!whole.empty()) {
        const std::string_view name = whole.substr(0, whole.find('/'));
        whole.remove_prefix(name.size() == whole.size() ? name.size() : name.size() + 1);
        if (name == "..") {
            GoUp(path);
        } else if (!name.empty() && name != ".") {
            path += '/';
            path += name;
        }
    }
    return path;
}

// The start of a path that means the POSIX root. If the description uses Z: for something else, it
// is a path without a drive, which is always below the root.
std::u16string RootText() {
    const auto& drives = GetMachineDescription().drives;
    const auto drive = drives.find(u'Z');
    return drive != drives.end() && drive->second == "/" ? u"Z:" : u"";
}

// Where a path leads when not all of its folders exist: each name as it would be created.
std::filesystem::path SpellOut(const SFileLocation& location) {
    std::filesystem::path path = location.root;
    std::u16string_view rest = std::u16string_view(location.path).substr(location.rootLength);
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::u16string_view name = rest.substr(0, rest.find(u'\\'));
        rest.remove_prefix(name.size());
        std::string bytes;
        static_cast<void>(NameFromText(name, bytes));  // what is no name stays empty
        path /= bytes;
    }
    return path;
}

}  // namespace

std::optional<std::u16string> LibraryPath(const std::string& argument) {
    if (IsWindowsPath(argument)) {
        return PlainText(argument);
    }
    std::string whole = argument;
    if (whole.empty() || whole[0] != '/') {
        std::error_code error;
        const std::filesystem::path current = std::filesystem::current_path(error);
        if (error) {
            return std::nullopt;
        }
        whole = current.native() + '/' + whole;
    }
    const std::string path = Normalize(whole);
    std::u16string text = RootText();
    // Each name begins with a slash, which becomes a backslash.
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start + 1), path.size());
        text += u'\\';
        text += TextFromName(std::string_view(path).substr(start + 1, end - start - 1));
        start = end;
    }
    return path.empty() ? text + u'\\' : text;
}

std::filesystem::path LocalPath(const std::string& argument) {
    return IsWindowsPath(argument) ? LocalPath(PlainText(argument))
                                   : std::filesystem::path(argument);
}

std::filesystem::path LocalPath(const std::u16string& path) {
    SFileLocation location;
    if (ReadLocation(path, location) != ERROR_SUCCESS) {
        return {};
    }
    std::shared_ptr<CFolder> folder;
    const int status = location.IsRoot()
                           ? ERROR_PATH_NOT_FOUND
                           : CFolderCache::Get().Open(location, location.GetFolderPath(), folder);
    if (status != ERROR_SUCCESS) {
        return SpellOut(location);
    }
    SEntry entry;
    const int found = folder->Find(location.GetName(), entry);
    // A file that does not exist gets the name that a new file would have, and so does one that the
    // system tells nothing of.
    if (found != ERROR_SUCCESS && found != ERROR_FILE_NOT_FOUND) {
        return SpellOut(location);
    }
    return std::filesystem::path(folder->GetPath()) / entry.name;
}

std::string PathBytes(const std::filesystem::path& path) { return path.native(); }

std::u16string PathText(const std::filesystem::path& path) { return PlainText(path.native()); }

std::filesystem::path GetPathVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace platform
