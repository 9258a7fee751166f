// host/console.h - the program's two streams.
#pragma once

#include <string>
#include <string_view>

namespace host {

// Text in UTF-8 that does nothing to a terminal: control characters show as U+FFFD.
[[nodiscard]] std::string Printable(std::u16string_view text);

// Puts a message for people on stderr, behind the program's name.
void Complain(std::string_view message);

// Puts a result on stdout and has it written. False, with the reason on stderr, when it cannot be.
[[nodiscard]] bool PrintResult(std::string_view result);

}  // namespace host
