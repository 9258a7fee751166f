// tests/support/manifest.h - the text of what a conversion writes.
#pragma once

#include <string>
#include <string_view>

#include "support/system.h"
#include "support/text.h"

// The text of a UTF-16 file with its byte order mark taken off, line ends as "\n".
inline std::string ReadUtf16File(const std::string& bytes) {
    std::u16string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        text += static_cast<char16_t>(GetNumber(bytes, i, 2));
    }
    std::erase(text, u'\r');
    return Utf8(text);
}

// The same for a manifest. Wine refuses to write the line end behind the declaration; here it is
// there as on every other system.
inline std::string ReadManifestFile(const std::string& bytes) {
    const std::string_view end = "?><";
    std::string text = ReadUtf16File(bytes);
    const std::size_t found = RunsInWine() ? text.find(end) : std::string::npos;
    return found == std::string::npos ? text : text.insert(found + end.size() - 1, "\n");
}
