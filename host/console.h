// host/console.h - text for stdout and stderr.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/system.h"

namespace host {

// Converts a text to UTF-8 that has no effect on a terminal: control characters become U+FFFD.
[[nodiscard]] std::string Printable(std::u16string_view text);

// Appends the same to `bytes`.
void AppendPrintable(std::string& bytes, std::u16string_view text);

// "1 file", "2 files".
[[nodiscard]] std::string Count(std::uint64_t count, const std::string& what);

// The last line of what a program has said; empty when it has said nothing.
[[nodiscard]] std::string LastLine(const std::string& text);

// A path for people: without what DeepPath puts in front.
[[nodiscard]] std::u16string ShownPath(const std::filesystem::path& path);

// A path in single quotes, as Printable.
[[nodiscard]] std::string Quote(const std::filesystem::path& path);

// What the program tells its user: on stderr, and with --json as part of the result.
struct SMessage {
    std::string_view level;  // "error", "warning", "loss" or "missing"
    std::string text;
    std::u16string path = {};      // what it is about, if it is one thing
    std::int64_t status = 0;       // a Windows error number or an HRESULT
    std::string_view reason = {};  // of the record
    std::string_view advice = {};
};

// Writes a line to stderr, and keeps the message if KeepMessages was called.
void Tell(const SMessage& message, std::string_view line);

// Tells of an error, after the program's name.
void Complain(std::string_view message);
// The same of a file or folder, whose path comes first.
void ComplainOf(const std::filesystem::path& place, const std::string& words);

void KeepMessages();
[[nodiscard]] const std::vector<SMessage>& GetMessages();

// Whether what is printed there may have colours: not where the user has set NO_COLOR.
[[nodiscard]] bool HasColors(const SOutput& output);

// Writes a result to stdout and flushes it. False on failure, with the reason on stderr. After a
// failure nothing more is written or told.
[[nodiscard]] bool PrintResult(std::string_view result);

}  // namespace host
