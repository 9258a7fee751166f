#include "host/console.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace {

// Of the run of the program, which has one thread that tells.
bool s_keepsMessages = false;
std::vector<SMessage> s_messages;

}  // namespace

std::string Printable(std::u16string_view text) {
    // Unit by unit, because no control character is part of a surrogate pair.
    std::u16string shown(text);
    for (char16_t& unit : shown) {
        if (platform::IsControlUnit(unit)) {
            unit = 0xFFFD;
        }
    }
    return platform::Utf16ToUtf8(shown);
}

std::string Count(std::uint64_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
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

void KeepMessages() { s_keepsMessages = true; }

const std::vector<SMessage>& GetMessages() { return s_messages; }

bool PrintResult(std::string_view result) {
    // A short write may set no errno. Then the error of an earlier call must not be shown.
    errno = 0;
    const bool isWritten = std::fwrite(result.data(), 1, result.size(), stdout) == result.size();
    // Some failures, such as a full disk, show only when the buffer is flushed.
    if (isWritten && std::fflush(stdout) == 0) {
        return true;
    }
    Complain(std::string("the result cannot be written to stdout: ") + std::strerror(errno));
    return false;
}

}  // namespace host
