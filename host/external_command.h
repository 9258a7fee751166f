// host/external_command.h - other programs, such as the commands of a scheduler.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace host {

struct SExternalCommand {
    // The program, which is looked for where PATH says, and its arguments, in bytes.
    std::vector<std::string> words;
    // Variables of the environment whose names begin so are kept from it; empty for none.
    std::string hiddenVariables = {};
    std::chrono::seconds patience{120};  // after which it is killed
};

struct SCommandEnd {
    bool isFound = true;  // whether there is such a program
    bool isLate = false;  // whether it was killed because it took too long
    int status = -1;      // the exit status; negative for one that has ended in another way
    std::string output;
    std::string errors;
};

// Runs a program to its end, with an empty stdin. A signal from the terminal does not reach it.
// When `isStopped` gives true it is killed. On Windows nothing is found.
[[nodiscard]] SCommandEnd RunExternal(const SExternalCommand& command,
                                      const std::function<bool()>& isStopped);

}  // namespace host
