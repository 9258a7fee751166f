// host/verify_command.h - the command "verify".
#pragma once

#include "host/command_line.h"

namespace host {

// Checks manifests and what lies beside them, tells each problem on stderr, and returns the exit
// status.
[[nodiscard]] int RunVerify(const SCommand& command);

}  // namespace host
