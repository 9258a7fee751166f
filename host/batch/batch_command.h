// host/batch/batch_command.h - the command "batch".
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Converts many packages into one folder, each by a process of its own. Returns the exit status.
// With --json the command's members are written.
[[nodiscard]] int RunBatch(const SCommand& command, CJsonWriter& json);

}  // namespace host
