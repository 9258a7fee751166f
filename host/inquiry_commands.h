// host/inquiry_commands.h - the commands that list targets and print the machine.
//
// Results go to stdout; with --json they become members of the object that is open.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Lists the targets of a package. Returns the exit status.
[[nodiscard]] int RunTargets(const SCommand& command, CJsonWriter& json);

// Gives the present machine as a machine description. Returns the exit status.
[[nodiscard]] int RunMachine(const SCommand& command, CJsonWriter& json);

}  // namespace host
