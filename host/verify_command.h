// host/verify_command.h - the command "verify".
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Checks manifests and what lies beside them, tells each problem on stderr, and returns the exit
// status. With --json the counts become members of the object that is open.
[[nodiscard]] int RunVerify(const SCommand& command, CJsonWriter& json);

}  // namespace host
