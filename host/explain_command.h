// host/explain_command.h - the command "explain".
#pragma once

#include "foundation/json_writer.h"
#include "host/command_line.h"

namespace host {

// Tells on stdout what a record says: of the whole conversion, or of what a pattern names. Returns
// the exit status, which is a failure when the record is not whole or nothing has such a name. With
// --json the counts of what it tells become members of the object that is open.
[[nodiscard]] int RunExplain(const SCommand& command, CJsonWriter& json);

}  // namespace host
