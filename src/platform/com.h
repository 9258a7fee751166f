// platform/com.h - GUIDs, and the memory and threads that a COM host shares with this library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "orvcasconv/orvcasconv.h"

namespace platform {

// A new random GUID; false, with `guid` untouched, when none can be had.
[[nodiscard]] bool CreateGuid(GUID& guid);

// The 38 characters of a GUID: in braces, upper case.
[[nodiscard]] std::u16string GuidToText(const GUID& guid);

// Reads such a text, in any letter case. False, with `guid` untouched, when it is malformed.
bool TextToGuid(std::u16string_view text, GUID& guid);

// Memory that the caller of an exported function frees: CoTaskMemAlloc, and malloc on POSIX. Null
// when there is none left.
[[nodiscard]] void* AllocateForCaller(std::size_t size);

// Bracket the use of COM on the calling thread; may be nested. An apartment that the host has
// chosen for its thread stays as it is. POSIX has nothing to do.
void EnterApartment();
void LeaveApartment();

}  // namespace platform
