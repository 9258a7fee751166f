// platform/status.h - the status numbers of this system, by their Windows names.
//
// A status is a signed 32-bit number: 0, a positive Windows error number, or a negative HRESULT.
// Only its sign tells the two kinds of failure apart, so a status is passed on unchanged.
#pragma once

#include <cstdint>

constexpr int ERROR_SUCCESS = 0;
constexpr int ERROR_FILE_NOT_FOUND = 2;
constexpr int ERROR_PATH_NOT_FOUND = 3;
constexpr int ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr int ERROR_ACCESS_DENIED = 5;
constexpr int ERROR_INVALID_HANDLE = 6;
constexpr int ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr int ERROR_INVALID_DATA = 13;
constexpr int ERROR_NOT_SAME_DEVICE = 17;
constexpr int ERROR_NO_MORE_FILES = 18;
constexpr int ERROR_WRITE_PROTECT = 19;
constexpr int ERROR_WRITE_FAULT = 29;
constexpr int ERROR_READ_FAULT = 30;
constexpr int ERROR_GEN_FAILURE = 31;
constexpr int ERROR_SHARING_VIOLATION = 32;
constexpr int ERROR_FILE_EXISTS = 80;
constexpr int ERROR_ALREADY_ASSIGNED = 85;
constexpr int ERROR_INVALID_PARAMETER = 87;
constexpr int ERROR_DISK_FULL = 112;
constexpr int ERROR_INSUFFICIENT_BUFFER = 122;
constexpr int ERROR_INVALID_NAME = 123;
constexpr int ERROR_DIR_NOT_EMPTY = 145;
constexpr int ERROR_BUSY = 170;
constexpr int ERROR_ALREADY_EXISTS = 183;
constexpr int ERROR_FILENAME_EXCED_RANGE = 206;
constexpr int ERROR_FILE_TOO_LARGE = 223;
constexpr int ERROR_MORE_DATA = 234;
constexpr int ERROR_NO_MORE_ITEMS = 259;
constexpr int ERROR_DIRECTORY = 267;
constexpr int ERROR_FILE_INVALID = 1006;
constexpr int ERROR_BADDB = 1009;
constexpr int ERROR_IO_DEVICE = 1117;
constexpr int ERROR_NOT_FOUND = 1168;
constexpr int ERROR_PRIVILEGE_NOT_HELD = 1314;
constexpr int ERROR_DISK_QUOTA_EXCEEDED = 1295;
constexpr int ERROR_CANT_ACCESS_FILE = 1920;

constexpr int S_OK = 0;
constexpr int S_FALSE = 1;
constexpr int E_FAIL = static_cast<int>(0x80004005U);
constexpr int E_OUTOFMEMORY = static_cast<int>(0x8007000EU);
constexpr int E_INVALIDARG = static_cast<int>(0x80070057U);

// The HRESULT of an error number. 0 and an HRESULT are returned unchanged.
constexpr int HresultFromError(int status) {
    return status <= 0 ? status
                       : static_cast<int>(0x80070000U | (static_cast<unsigned>(status) & 0xFFFFU));
}

namespace platform {

// Statuses of the XML reader and writer.
constexpr int kXmlBadCharacter = static_cast<int>(0xC00CEE2BU);   // WC_E_XMLCHARACTER
constexpr int kXmlNotWellFormed = static_cast<int>(0xC00CEE2DU);  // WC_E_SYNTAX
constexpr int kXmlDtdProhibited = static_cast<int>(0xC00CEE4FU);  // WC_E_DTDPROHIBITED
constexpr int kXmlNonWhitespace = static_cast<int>(0xC00CEF01U);  // WR_E_NONWHITESPACE
constexpr int kXmlInvalidAction = static_cast<int>(0xC00CEF0BU);  // WR_E_INVALIDACTION

// The status of the last operation of this layer that failed on the calling thread; 0 when none has
// failed. A success does not change it.
[[nodiscard]] int GetLastError();

// Sets the calling thread's last error, and returns it.
int SetLastError(int status);

}  // namespace platform
