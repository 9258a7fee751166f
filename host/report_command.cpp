#include "host/report_command.h"

#include "host/console.h"
#include "host/exit_status.h"

namespace host {

int RunReport(const SCommand& /*command*/, CJsonWriter& /*json*/) {
    Complain("not there yet");
    return kExitFailed;
}

}  // namespace host
