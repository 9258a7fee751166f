#include "host/export_command.h"

#include "host/console.h"
#include "host/exit_status.h"

namespace host {

int RunExport(const SCommand& /*command*/, CJsonWriter& /*json*/) {
    Complain("not there yet");
    return kExitFailed;
}

}  // namespace host
