// platform/com.h - GUIDs, memory for the host, and COM on threads.
//
// Safe on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "orvcasconv/orvcasconv.h"

namespace platform {

// Makes a new random GUID; false, with `guid` unchanged, on failure.
[[nodiscard]] bool CreateGuid(GUID& guid);

// The 38 characters of a GUID, in braces and upper case.
[[nodiscard]] std::u16string GuidToText(const GUID& guid);

// Reads such a text in any letter case. False, with `guid` unchanged, when it is malformed.
bool TextToGuid(std::u16string_view text, GUID& guid);

// Allocates `size` bytes that the caller of an exported function frees: with CoTaskMemAlloc on
// Windows, with malloc on POSIX. Null when there is no memory.
[[nodiscard]] void* AllocateForCaller(std::size_t size);

// Begin and end the use of COM on the calling thread; calls may be nested. If the host has chosen
// an apartment for its thread, it stays. They do nothing on POSIX.
void EnterApartment();
void LeaveApartment();

}  // namespace platform
