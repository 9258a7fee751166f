// platform/registry.h - hives, keys and values of the registry, and the privileges for loading
// hives.
//
// Results are 0 or a Windows error number, on every system. The named ones are promised; any other
// one just means "failed". A failure is also the thread's last error. An out parameter is written
// only on success, unless an operation says more. Nothing throws except std::bad_alloc. One thread
// at a time.
//
// Names are 16-bit units, which need not be valid UTF-16; letter case does not count. A name that
// contains a NUL ends there, as in every program that takes texts up to their NUL.
//
// A described machine has no registry: HKEY_LOCAL_MACHINE contains only the hives that this process
// has loaded, and the other predefined keys are empty. A key that is a link to another key is read
// as an ordinary key, because there is no machine with the other key.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// An open key. Whoever opens it owns it and closes it by CloseKey. Null is no key.
class COpenKey;
using KeyHandle = COpenKey*;

// The content of a key in numbers. Lengths count UTF-16 units, without a terminator.
struct SKeyInfo {
    std::uint32_t subKeyCount = 0;
    std::uint32_t longestSubKeyName = 0;
    std::uint32_t valueCount = 0;
    std::uint32_t longestValueName = 0;
};

// Opens HKEY_LOCAL_MACHINE of this machine as a key of its own, for loading hives. The caller
// closes it.
[[nodiscard]] int ConnectMachine(KeyHandle& machine);

// Makes the keys of a hive file readable below HKEY_LOCAL_MACHINE under `mountName`, a single name.
// Data that an interrupted write has left out of the file is taken from the log files beside it.
// ERROR_FILE_NOT_FOUND and ERROR_PATH_NOT_FOUND as for any file; ERROR_BADDB when the file is not a
// hive or its root key cannot be read; ERROR_ACCESS_DENIED when the mount name is in use. A
// described machine changes no file and skips damage: a key or value that cannot be read is
// missing, and all others are there. Keys may nest 512 levels below the mount; deeper ones count as
// damage.
[[nodiscard]] int LoadHive(KeyHandle machine, const char16_t* mountName, const char16_t* fileName);

// What a loaded hive lacks. Nothing on the running Windows, which does not load another hive.
enum class EHiveState {
    Whole,
    Damaged,  // it declares more keys or values than it has
    Dirty,    // its last write was interrupted, and the log files do not complete it
};
[[nodiscard]] EHiveState GetHiveState(const char16_t* mountName);

// Unloads such a hive. ERROR_FILE_NOT_FOUND when nothing is loaded under that name;
// ERROR_ACCESS_DENIED while a key of the hive is open.
[[nodiscard]] int UnloadHive(KeyHandle machine, const char16_t* mountName);

// Opens a key for reading: `subKey`, names joined by backslashes, below the predefined key with
// that number (0x80000002 is HKEY_LOCAL_MACHINE), or that key itself when `subKey` is empty.
// ERROR_FILE_NOT_FOUND when there is none; ERROR_INVALID_HANDLE for any other number. The caller
// closes the key.
[[nodiscard]] int OpenKey(std::uint32_t predefinedKey, std::u16string_view subKey, KeyHandle& key);

// Opens the subkey of that name, which is not empty and has no backslash. ERROR_FILE_NOT_FOUND when
// there is none. The caller closes it.
[[nodiscard]] int OpenSubKey(KeyHandle parent, std::u16string_view name, KeyHandle& key);

// Closes a key. Does nothing for null.
void CloseKey(KeyHandle key);

[[nodiscard]] int QueryKeyInfo(KeyHandle key, SKeyInfo& info);

// The name of the subkey at `index`, counted from 0. On a described machine it is never empty and
// has no backslash. ERROR_NO_MORE_ITEMS after the last one.
[[nodiscard]] int EnumKey(KeyHandle key, std::uint32_t index, std::u16string& name);

// Name and type of the value at `index`, counted from 0; the default value has an empty name.
// ERROR_NO_MORE_ITEMS after the last one.
[[nodiscard]] int EnumValue(KeyHandle key, std::uint32_t index, std::u16string& name,
                            std::uint32_t& type);

// Copies the data of a value; an empty name means the default value. `size` is the room in `data`,
// in bytes, and becomes the size of the value. A null `data` only asks for type and size.
// ERROR_MORE_DATA when there is not enough room: type and size are written, and the content of
// `data` is undefined. ERROR_FILE_NOT_FOUND when the key has no such value.
[[nodiscard]] int QueryValue(KeyHandle key, std::u16string_view name, std::uint32_t& type,
                             void* data, std::uint32_t& size);

// Turns a privilege of the process on. Returns -1 on failure, 0 when it was on already, 1 when it
// is on now. On a described machine every privilege is always on.
[[nodiscard]] int EnablePrivilege(const char16_t* name);

// Turns a privilege of the process off; false on failure.
bool DisablePrivilege(const char16_t* name);

}  // namespace platform
