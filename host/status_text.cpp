#include "host/status_text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "host/console.h"
#include "platform/local_paths.h"
#include "platform/status.h"
#include "platform/text.h"

namespace host {

namespace {

constexpr int kHandleDiskFull = 39;  // the Windows number ERROR_HANDLE_DISK_FULL
constexpr int kFullDisk[] = {ERROR_DISK_FULL, kHandleDiskFull, ERROR_DISK_QUOTA_EXCEEDED};

std::string FormatNumber(std::uint32_t status) {
    // An HRESULT of a failure has the highest bit set, and is known by its hexadecimal form.
    if (status < 0x80000000U) {
        return std::to_string(status);
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
    return text;
}

constexpr const char* kHiveAdvice =
    "\nWindows loads a captured hive only for an account that may back up and restore files, and "
    "write to the hive.\nRun this command elevated, as an administrator, or convert by a "
    "description of this machine, which needs no privilege:\n"
    "    cas2orv machine > m.toml\n"
    "    cas2orv convert --machine m.toml PROFILE OUT.orv";

// The system's words for a status, in one line, as the reader of the log gives them.
std::u16string GetWords(std::uint32_t status) {
    std::u16string words;
    for (const char16_t unit : platform::SystemErrorText(status)) {
        if (unit != u'\r') {
            words += unit == u'\n' ? u' ' : unit;
        }
    }
    while (words.ends_with(u' ')) {
        words.pop_back();
    }
    return words;
}

const char* Advise(std::uint32_t status, const std::filesystem::path& file) {
    std::error_code error;
    switch (static_cast<int>(status)) {
        case ERROR_FILE_NOT_FOUND:
            return std::filesystem::is_directory(file, error)
                       ? "\nThis is a folder; name the profile file of a package."
                       : "\nThere is no such file; name the profile file of a package.";
        case ERROR_NOT_FOUND:
            return "\nThis is no whole XML document with the root element Package; name the "
                   "profile file of a package.";
        case ERROR_INVALID_PARAMETER:
            return "\nWindows has no such path: a name has at most 260 characters, and none of "
                   "\"/<>|.";
        case ERROR_PRIVILEGE_NOT_HELD:
            return kHiveAdvice;
        default:
            return "";
    }
}

}  // namespace

std::string DescribeStatus(std::uint32_t status) {
    const std::u16string words = GetWords(status);
    const std::string number = "status " + FormatNumber(status);
    return words.empty() ? number : number + ": " + Printable(words);
}

bool IsXmlFault(int status) {
    // A parser has many statuses for a file that is no good XML, of which the last byte differs.
    constexpr unsigned kOneKind = 0xFFFFFF00U;
    return (static_cast<unsigned>(status) & kOneKind) ==
           (static_cast<unsigned>(platform::kXmlNotWellFormed) & kOneKind);
}

std::string DescribeXmlFailure(int status) {
    return IsXmlFault(status)
               ? "the file is not well-formed from here on"
               : "the file cannot be read: " + DescribeStatus(static_cast<std::uint32_t>(status));
}

std::string DescribeError(const std::error_code& error) {
    // Windows numbers have this category. Errors of POSIX have the generic one, with words of its
    // own.
    const std::u16string words = error.category() == std::system_category()
                                     ? GetWords(static_cast<std::uint32_t>(error.value()))
                                     : u"";
    return words.empty() ? error.message() : Printable(words);
}

bool IsFullDisk(std::int64_t status) {
    return std::ranges::any_of(kFullDisk, [status](int full) {
        return status == full || status == HresultFromError(full);
    });
}

bool TellsFullDisk(std::u16string_view entry) {
    while (entry.ends_with(u' ')) {
        entry.remove_suffix(1);
    }
    for (const int status : kFullDisk) {
        const std::u16string words = GetWords(static_cast<std::uint32_t>(status));
        // The log has the words of a status, but not its number.
        if (!words.empty() && entry.ends_with(words)) {
            return true;
        }
    }
    return false;
}

std::string DescribeFailure(const std::string& action, const std::string& profile,
                            std::uint32_t status) {
    return "cannot " + action + " '" + Printable(platform::PathText(profile)) +
           "': " + DescribeStatus(status) + Advise(status, platform::LocalPath(profile));
}

std::string AdviseOnEntry(std::u16string_view entry) {
    // An entry is a text of the host, the hive's path in quotes, and the system's words.
    constexpr std::u16string_view kHive = u"\\InstallRoot.dat'";
    for (const int status : {ERROR_ACCESS_DENIED, ERROR_PRIVILEGE_NOT_HELD}) {
        const std::u16string words = GetWords(static_cast<std::uint32_t>(status));
        const std::size_t hive = entry.find(kHive);
        // In this order, so that words within the path do not count.
        if (!words.empty() && hive != std::u16string_view::npos &&
            entry.find(words, hive) != std::u16string_view::npos) {
            return kHiveAdvice;
        }
    }
    return "";
}

}  // namespace host
