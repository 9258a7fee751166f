// host/command_line.h - what the program's arguments ask for.
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace host {

enum class EVerb { Convert, Targets, Machine };

enum class EProgressStyle { Auto, Plain, None };

// A command with its arguments, as they were written; an option that was not given is empty.
struct SCommand {
    EVerb verb = EVerb::Convert;
    std::string profile;
    std::string output;
    std::string log;
    std::string machine;
    EProgressStyle progress = EProgressStyle::Auto;
    bool isJson = false;
};

// What to tell in place of running a command: help and the version, or what is wrong with the
// arguments and what to write instead.
struct SReply {
    std::string text;
    bool isError = false;
};

// Reads the arguments behind the program's name.
[[nodiscard]] std::variant<SCommand, SReply> ParseCommandLine(
    const std::vector<std::string>& arguments);

}  // namespace host
