// host/export_command.h - writes the registry of a manifest as a .reg file.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Returns the exit status. With --json the members of the result are added to `json`.
[[nodiscard]] int RunExport(const SCommand& command, CJsonWriter& json);

}  // namespace host
