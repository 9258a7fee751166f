#include "host/status_text.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "host/console.h"
#include "platform/local_paths.h"
#include "platform/status.h"
#include "platform/text.h"

namespace host {

namespace {

std::string FormatNumber(std::uint32_t status) {
    if (status < 0x80000000U) {
        return std::to_string(status);
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
    return text;
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
        default:
            return "";
    }
}

}  // namespace

std::string DescribeStatus(std::uint32_t status) {
    std::u16string words = platform::SystemErrorText(status);
    // The message of the system ends in a line break and may contain others.
    while (!words.empty() && (words.back() == u'\r' || words.back() == u'\n')) {
        words.pop_back();
    }
    for (char16_t& unit : words) {
        unit = unit == u'\r' || unit == u'\n' ? u' ' : unit;
    }
    const std::string number = "status " + FormatNumber(status);
    return words.empty() ? number : number + ": " + Printable(words);
}

std::string DescribeFailure(const std::string& action, const std::string& profile,
                            std::uint32_t status) {
    return "cannot " + action + " '" + Printable(platform::PathText(profile)) +
           "': " + DescribeStatus(status) + Advise(status, platform::LocalPath(profile));
}

}  // namespace host
