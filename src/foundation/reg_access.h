// foundation/reg_access.h - the process's privileges and its user.
#pragma once

#include "foundation/wide_string.h"

// Turns a privilege of the process on. Returns -1 on failure, 0 when it was on already, 1 when it
// is on now.
[[nodiscard]] int EnablePrivilege(const char16_t* name);

// Turns a privilege of the process off, even one that was on at the start. False on failure.
bool DisablePrivilege(const char16_t* name);

// The SID of the process's user as text, even on a thread that impersonates another user. Empty
// when it is not available.
[[nodiscard]] CStrW GetCurrentUserSid();
