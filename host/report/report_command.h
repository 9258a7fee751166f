// host/report/report_command.h - makes a page of results.
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Returns the exit status. With --json the members of the result are added to `json`.
[[nodiscard]] int RunReport(const SCommand& command, CJsonWriter& json);

}  // namespace host
