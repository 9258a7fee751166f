#include "platform/files.h"

#include "platform/windows/win.h"

namespace platform {

int SetAttributes(const char16_t* name, std::uint32_t attributes) {
    return StatusFromCall(SetFileAttributesW(ToWide(name), attributes));
}

int DeleteFile(const char16_t* name) { return StatusFromCall(DeleteFileW(ToWide(name))); }

int CopyFile(const char16_t* source, const char16_t* destination) {
    return StatusFromCall(CopyFileW(ToWide(source), ToWide(destination), FALSE));
}

int MoveFile(const char16_t* from, const char16_t* to) {
    return StatusFromCall(MoveFileW(ToWide(from), ToWide(to)));
}

int CreateFolder(const char16_t* name) {
    return StatusFromCall(CreateDirectoryW(ToWide(name), nullptr));
}

int GetLongName(const char16_t* name, std::u16string& longName) {
    std::u16string buffer;
    // Another name may have come in the meantime, and be longer.
    for (DWORD size = GetLongPathNameW(ToWide(name), nullptr, 0); size != 0;) {
        buffer.resize(size);
        const DWORD length = GetLongPathNameW(ToWide(name), ToWide(buffer.data()), size);
        if (length != 0 && length < size) {
            buffer.resize(length);
            longName = std::move(buffer);
            return ERROR_SUCCESS;
        }
        size = length;
    }
    return GetLastError();
}

void SetPackageFolder(const char16_t* /*name*/) {}

}  // namespace platform
