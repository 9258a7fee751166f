// foundation/reg_access.h - the process's privileges and its user.
#pragma once

#include "foundation/wide_string.h"

// Turns a privilege of the process on: -1 on failure, 0 when it was on already, 1 when it is on
// now.
[[nodiscard]] int EnablePrivilege(const char16_t* name);

// Turns a privilege of the process off, also one that was on from the start; false on failure.
bool DisablePrivilege(const char16_t* name);

// The SID of the process's user as text, also on a thread that impersonates another; empty when it
// cannot be had.
[[nodiscard]] CStrW GetCurrentUserSid();
