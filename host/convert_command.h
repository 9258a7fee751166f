// host/convert_command.h - the command that converts a package.
#pragma once

#include "host/command_line.h"

namespace host {

// Converts a package and reports the result. Returns the exit status.
[[nodiscard]] int RunConvert(const SCommand& command);

}  // namespace host
