// host/show_command.h - shows the items of a manifest.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Returns the exit status. With --json the members of the result are added to `json`.
[[nodiscard]] int RunShow(const SCommand& command, CJsonWriter& json);

}  // namespace host
