#include "host/path_rules.h"

#include "platform/local_paths.h"
#include "platform/text.h"

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

}  // namespace host
