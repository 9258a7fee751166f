// host/console.h - text for stdout and stderr.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace host {

// Converts a text to UTF-8 that has no effect on a terminal: control characters become U+FFFD.
[[nodiscard]] std::string Printable(std::u16string_view text);

// A path in single quotes, as Printable.
[[nodiscard]] std::string Quote(const std::filesystem::path& path);

// Writes a message to stderr, after the program's name.
void Complain(std::string_view message);

// Writes a result to stdout and flushes it. False, with the reason on stderr, on failure.
[[nodiscard]] bool PrintResult(std::string_view result);

}  // namespace host
