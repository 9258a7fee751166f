// host/inquiry_commands.h - the commands that change nothing.
#pragma once

#include "host/command_line.h"

namespace host {

// Lists the targets of a package on stdout. Returns the exit status.
[[nodiscard]] int RunTargets(const SCommand& command);

// Prints the present machine as a machine description. Returns the exit status.
[[nodiscard]] int RunMachine();

}  // namespace host
