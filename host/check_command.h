// host/check_command.h - the command that tells what a conversion would lose.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Has the library read all that a conversion would read, and reports the targets: with --json as
// members of the object that is open, else as lines. Returns the exit status.
[[nodiscard]] int RunCheck(const SCommand& command, CJsonWriter& json);

}  // namespace host
