#include "platform/described/description_rules.h"

#include <algorithm>
#include <charconv>

#include "platform/path_names.h"
#include "platform/text.h"

namespace platform {

namespace {

// The bit makes an ASCII capital small. It brings no unit beyond ASCII into the range.
bool IsLetter(char16_t unit) {
    const char16_t lower = unit | 0x20;
    return lower >= u'a' && lower <= u'z';
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// Removes the drive, or the server, from a full path; false when it has neither. The share after
// the server is a name like any other.
bool TakeRoot(std::u16string_view& path) {
    constexpr std::u16string_view kLong = uR"(\\?\)";
    constexpr std::u16string_view kLongShare = uR"(\\?\UNC\)";
    const bool isLongShare = EqualText(path.substr(0, kLongShare.size()), kLongShare);
    if (isLongShare || (path.starts_with(uR"(\\)") && !path.starts_with(kLong))) {
        path.remove_prefix(isLongShare ? kLongShare.size() : 2);
        const std::u16string_view server = path.substr(0, path.find(u'\\'));
        path.remove_prefix(std::min(server.size() + 1, path.size()));
        return IsServerName(server);
    }
    path.remove_prefix(path.starts_with(kLong) ? kLong.size() : 0);
    const bool hasDrive = IsDrive(path.substr(0, 2)) && path.substr(2, 1) == u"\\";
    path.remove_prefix(hasDrive ? 3 : 0);
    return hasDrive;
}

}  // namespace

bool IsDrive(std::u16string_view text) {
    return text.size() == 2 && IsLetter(text[0]) && text[1] == u':';
}

// A further backslash is in no name, so it is refused: a share is mapped as a whole and not a
// folder in it. A share whose name no path may have could not be used.
bool IsShare(std::u16string_view text) {
    const std::size_t middle = std::min(text.find(u'\\', 2), text.size());
    return text.starts_with(uR"(\\)") && IsServerName(text.substr(2, middle - 2)) &&
           IsPathName(text.substr(std::min(middle + 1, text.size()))) &&
           text.find_first_of(u":*?") == std::u16string_view::npos;
}

bool IsWindowsPath(std::u16string_view path) {
    bool isGood = TakeRoot(path);
    // Each round cuts off a name and the backslash after it. A backslash at the end leaves nothing,
    // so it is allowed. Two in a row make an empty name, which is refused.
    while (isGood && !path.empty()) {
        const std::u16string_view name = path.substr(0, path.find(u'\\'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        isGood = IsPathName(name);
    }
    return isGood;
}

// After the start has been found the text is not empty, so it has a last unit. The numbers are not
// checked further.
bool IsSid(std::u16string_view text) {
    constexpr std::u16string_view kStart = u"S-1-";
    return text.starts_with(kStart) && IsDigit(text.back()) &&
           std::all_of(text.begin() + kStart.size(), text.end(),
                       [](char16_t unit) { return unit == u'-' || IsDigit(unit); });
}

// An empty name is the invariant locale.
bool IsLocaleName(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t unit) {
        return IsLetter(unit) || IsDigit(unit) || unit == u'-' || unit == u'_';
    });
}

bool IsFolderName(std::u16string_view name) {
    return name == kLocalAppDataLowName ||
           std::any_of(kSpecialFolders.begin(), kSpecialFolders.end(),
                       [name](const SSpecialFolder& folder) { return name == folder.name; });
}

bool IsHive(std::u16string_view text) {
    constexpr std::u16string_view kStart = uR"(\REGISTRY\)";
    return text.size() > kStart.size() && EqualText(text.substr(0, kStart.size()), kStart);
}

bool ParseVersion(std::string_view text, SSystemVersion& version) {
    // Without a dot the second number is empty.
    const std::size_t dot = std::min(text.find('.'), text.size());
    // Refuses signs, blanks and numbers that are too large, also an empty text.
    const auto parse = [](std::string_view digits, std::uint32_t& number) {
        const char* const end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, number);
        return error == std::errc() && stop == end;
    };
    return parse(text.substr(0, dot), version.major) &&
           parse(text.substr(std::min(dot + 1, text.size())), version.minor);
}

}  // namespace platform
