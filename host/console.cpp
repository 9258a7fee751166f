#include "host/console.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/unit_marks.h"
#include "platform/utf8.h"

namespace host {

namespace {

// Of the run of the program, which has one thread that tells.
bool s_keepsMessages = false;
std::vector<SMessage> s_messages;
bool s_isOutputBroken = false;

// Whether a text is ASCII without control characters.
bool IsPlain(std::u16string_view text) {
    return platform::CollectMarks(text, [](platform::UnitBlock units) {
               return units - platform::Repeat(0x20) >= platform::Repeat(0x7F - 0x20);
           }) == 0;
}

std::string ReplaceControls(std::u16string_view text) {
    // Unit by unit, because no control character is part of a surrogate pair.
    std::u16string shown(text);
    for (char16_t& unit : shown) {
        if (platform::IsControlUnit(unit)) {
            unit = 0xFFFD;
        }
    }
    return platform::Utf16ToUtf8(shown);
}

}  // namespace

std::string Printable(std::u16string_view text) {
    std::string bytes;
    AppendPrintable(bytes, text);
    return bytes;
}

void AppendPrintable(std::string& bytes, std::u16string_view text) {
    // Most texts are ASCII.
    if (!IsPlain(text)) {
        bytes += ReplaceControls(text);
        return;
    }
    const std::size_t size = bytes.size();
    bytes.resize(size + text.size());
    std::transform(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(size),
                   [](char16_t unit) { return static_cast<char>(unit); });
}

std::string Count(std::uint64_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string LastLine(const std::string& text) {
    const std::size_t end = text.find_last_not_of(" \r\n");
    if (end == std::string::npos) {
        return "";
    }
    const std::size_t begin = text.find_last_of('\n', end) + 1;  // npos + 1 is 0
    return text.substr(begin, end + 1 - begin);
}

std::u16string ShownPath(const std::filesystem::path& path) {
    std::u16string text = platform::PathText(path);
    text.erase(0, text.starts_with(uR"(\\?\)") ? 4 : 0);
    return text;
}

std::string Quote(const std::filesystem::path& path) {
    return "'" + Printable(platform::PathText(path)) + "'";
}

void Tell(const SMessage& message, std::string_view line) {
    // The line comes first: it is shown even if there is no memory to keep the message.
    WriteTerminal(std::string(line) + '\n');
    if (s_keepsMessages) {
        s_messages.push_back(message);
    }
}

void Complain(std::string_view message) {
    Tell({.level = "error", .text = std::string(message)}, "cas2orv: " + std::string(message));
}

void ComplainOf(const std::filesystem::path& place, const std::string& words) {
    const std::u16string path = ShownPath(place);
    Tell({.level = "error", .text = words, .path = path},
         "cas2orv: '" + Printable(path) + "': " + words);
}

void KeepMessages() { s_keepsMessages = true; }

const std::vector<SMessage>& GetMessages() { return s_messages; }

bool HasColors(const SOutput& output) {
    const auto variable = [](const char* name) {
        const char* const text = std::getenv(name);
        return std::string_view(text == nullptr ? "" : text);
    };
    return output.isTerminal && output.takesEscapes && variable("NO_COLOR").empty() &&
           variable("TERM") != "dumb";
}

bool PrintResult(std::string_view result) {
    if (s_isOutputBroken) {
        return false;
    }
    // A short write may set no errno. Then the error of an earlier call must not be shown.
    errno = 0;
    const bool isWritten = std::fwrite(result.data(), 1, result.size(), stdout) == result.size();
    // Some failures, such as a full disk, show only when the buffer is flushed.
    if (isWritten && std::fflush(stdout) == 0) {
        return true;
    }
    s_isOutputBroken = true;
    Complain(std::string("the result cannot be written to stdout: ") + std::strerror(errno));
    return false;
}

bool CResultText::Print() {
    constexpr std::size_t kMuch = std::size_t{64} << 10;  // bytes
    constexpr std::chrono::milliseconds kLongestWait{50};
    const bool isDue =
        !m_text.empty() &&
        (m_text.size() >= kMuch || std::chrono::steady_clock::now() - m_printed >= kLongestWait);
    return isDue ? Flush() : m_isWritten;
}

bool CResultText::Flush() {
    m_isWritten = m_isWritten && (m_text.empty() || PrintResult(m_text));
    m_text.clear();
    m_printed = std::chrono::steady_clock::now();
    return m_isWritten;
}

void TellNoMemory() {
    WriteTerminal(
        "cas2orv: out of memory; hidden files that are left are removed by the next run\n");
}

}  // namespace host
