#include "foundation/reg_access.h"

#include "platform/machine.h"
#include "platform/registry.h"

int EnablePrivilege(const char16_t* name) { return platform::EnablePrivilege(name); }

bool DisablePrivilege(const char16_t* name) { return platform::DisablePrivilege(name); }

CStrW GetCurrentUserSid() { return CStrW(platform::GetUserSid()); }
