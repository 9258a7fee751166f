// host/command_texts.h - what the help and the usage messages say.
#pragma once

#include <span>
#include <string>

#include "host/command_line.h"

namespace host {

struct SVerbTexts {
    EVerb verb;
    const char* name;
    const char* description;
    const char* footer;  // of the help
    const char* usage;
    const char* missing;  // completes a sentence that begins with the name
};

extern const char* const kProgramDescription;
extern const char* const kProgramFooter;
extern const char* const kHelpFooter;
extern const char* const kHelpUsage;

// All commands but help, in the order in which the help lists them.
[[nodiscard]] std::span<const SVerbTexts> GetVerbs();

// The names of all commands, for a sentence: "convert, check ... or help".
[[nodiscard]] std::string ListCommands();

}  // namespace host
