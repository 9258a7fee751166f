#include "platform/registry.h"

namespace platform {

int EnablePrivilege(const char16_t* /*name*/) { return 0; }

bool DisablePrivilege(const char16_t* /*name*/) { return true; }

}  // namespace platform
