// host/diff/diff_command.h - tells what two results differ in.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Returns the exit status. With --json the members of the result are added to `json`.
[[nodiscard]] int RunDiff(const SCommand& command, CJsonWriter& json);

}  // namespace host
