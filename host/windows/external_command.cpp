#include "host/external_command.h"

namespace host {

// The only ones that are asked for are those of schedulers, which do not exist for Windows.
SCommandEnd RunExternal(const SExternalCommand& /*command*/,
                        const std::function<bool()>& /*isStopped*/) {
    SCommandEnd end;
    end.isFound = false;
    return end;
}

}  // namespace host
