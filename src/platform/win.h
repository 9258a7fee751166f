// platform/win.h - the functions of Windows, without the macros that get in the way here.
//
// The only place that includes windows.h, for the sources in platform/windows and host/windows.
// Texts are char16_t in this code and wchar_t for Windows. Both have 16 bits here, and all casts
// between them are at the end of this file.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

// These would rename operations of this system.
#undef CompareString
#undef CopyFile
#undef CreateFile
#undef CreateFolder
#undef DeleteFile
#undef FormatMessage
#undef GetEnvironmentVariable
#undef GetMessage
#undef LoadString
#undef MoveFile

// These are constants of platform/status.h.
#undef ERROR_SUCCESS
#undef ERROR_FILE_NOT_FOUND
#undef ERROR_PATH_NOT_FOUND
#undef ERROR_TOO_MANY_OPEN_FILES
#undef ERROR_ACCESS_DENIED
#undef ERROR_INVALID_HANDLE
#undef ERROR_NOT_ENOUGH_MEMORY
#undef ERROR_INVALID_DATA
#undef ERROR_NOT_SAME_DEVICE
#undef ERROR_NO_MORE_FILES
#undef ERROR_WRITE_PROTECT
#undef ERROR_WRITE_FAULT
#undef ERROR_READ_FAULT
#undef ERROR_GEN_FAILURE
#undef ERROR_SHARING_VIOLATION
#undef ERROR_FILE_EXISTS
#undef ERROR_ALREADY_ASSIGNED
#undef ERROR_INVALID_PARAMETER
#undef ERROR_DISK_FULL
#undef ERROR_INSUFFICIENT_BUFFER
#undef ERROR_INVALID_NAME
#undef ERROR_DIR_NOT_EMPTY
#undef ERROR_BUSY
#undef ERROR_ALREADY_EXISTS
#undef ERROR_FILENAME_EXCED_RANGE
#undef ERROR_FILE_TOO_LARGE
#undef ERROR_MORE_DATA
#undef ERROR_NO_MORE_ITEMS
#undef ERROR_DIRECTORY
#undef ERROR_FILE_INVALID
#undef ERROR_BADDB
#undef ERROR_IO_DEVICE
#undef ERROR_NOT_FOUND
#undef ERROR_PRIVILEGE_NOT_HELD
#undef ERROR_DISK_QUOTA_EXCEEDED
#undef ERROR_CANT_ACCESS_FILE
#undef S_OK
#undef S_FALSE
#undef E_FAIL
#undef E_OUTOFMEMORY
#undef E_INVALIDARG

#include "platform/status.h"

namespace platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline const wchar_t* ToWide(const char16_t* text) {
    return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* ToWide(char16_t* text) { return reinterpret_cast<wchar_t*>(text); }
inline const char16_t* FromWide(const wchar_t* text) {
    return reinterpret_cast<const char16_t*>(text);
}

// The status of a call that returns a BOOL. Must be the first call after it, because every other
// call may change the thread's last error.
inline int StatusFromCall(BOOL result) {
    return result != FALSE ? ERROR_SUCCESS : static_cast<int>(::GetLastError());
}

}  // namespace platform
