// platform/registry.h - the privileges that loading a hive needs.
#pragma once

namespace platform {

// Turns a privilege of the process on: -1 on failure, 0 when it was on already, 1 when it is on
// now. On POSIX every privilege is always held.
[[nodiscard]] int EnablePrivilege(const char16_t* name);

// Turns a privilege of the process off; false on failure.
bool DisablePrivilege(const char16_t* name);

}  // namespace platform
