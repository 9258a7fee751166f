// host/console.h - text for stdout and stderr.
#pragma once

#include <chrono>
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
// Tells that there is no memory, without any.
void TellNoMemory();

void KeepMessages();
[[nodiscard]] const std::vector<SMessage>& GetMessages();

// Whether what is printed there may have colours: not where the user has set NO_COLOR.
[[nodiscard]] bool HasColors(const SOutput& output);

// Writes a result to stdout and flushes it. False on failure, with the reason on stderr. After a
// failure nothing more is written or told.
[[nodiscard]] bool PrintResult(std::string_view result);

// A long result for stdout. PrintResult flushes each time, so text is gathered, but not for longer
// than people wait for the next line. One thread at a time.
class CResultText {
public:
    // Where to append text. Print or Flush comes after it.
    [[nodiscard]] std::string& GetText() { return m_text; }
    // Prints what was gathered if it is much, or old. False when stdout takes no more: what is
    // appended then goes nowhere.
    bool Print();
    // Prints all that was gathered. Returns the same.
    bool Flush();
    [[nodiscard]] bool IsWritten() const { return m_isWritten; }

private:
    std::string m_text;
    // At first the clock's start, so that the first line does not wait.
    std::chrono::steady_clock::time_point m_printed;
    bool m_isWritten = true;
};

}  // namespace host
