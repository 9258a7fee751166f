// host/convert_command.h - the command that converts a package.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Converts a package and reports the result: with --json as members of the object that is open,
// else as lines. Returns the exit status.
[[nodiscard]] int RunConvert(const SCommand& command, CJsonWriter& json);

}  // namespace host
