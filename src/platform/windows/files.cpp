#include "platform/files.h"

#include "platform/win.h"

namespace platform {

namespace {

// A folder that is open only to ask about it: with no rights, and shared with everyone, so that it
// disturbs nobody.
class CFolderHandle {
public:
    explicit CFolderHandle(const char16_t* name)
        : m_handle(CreateFileW(ToWide(name), 0,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               // Without this flag the call opens no folder.
                               OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    ~CFolderHandle() {
        if (m_handle != INVALID_HANDLE_VALUE) {
            CloseHandle(m_handle);
        }
    }
    CFolderHandle(const CFolderHandle&) = delete;
    CFolderHandle& operator=(const CFolderHandle&) = delete;

    // False when there is no such folder.
    bool GetInfo(BY_HANDLE_FILE_INFORMATION& info) const {
        return m_handle != INVALID_HANDLE_VALUE &&
               GetFileInformationByHandle(m_handle, &info) != FALSE &&
               (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }

private:
    HANDLE m_handle;
};

constexpr std::size_t kLongestName = 32767;  // units

}  // namespace

int SetAttributes(const char16_t* name, std::uint32_t attributes) {
    // Windows has an attribute for a file without attributes; 0 would change nothing.
    return StatusFromCall(SetFileAttributesW(
        ToWide(name), attributes != 0 ? attributes : DWORD{FILE_ATTRIBUTE_NORMAL}));
}

int DeleteFile(const char16_t* name) { return StatusFromCall(DeleteFileW(ToWide(name))); }

int CopyFile(const char16_t* source, const char16_t* destination, EExisting existing) {
    return StatusFromCall(
        // The last argument makes an existing destination a failure.
        CopyFileW(ToWide(source), ToWide(destination), existing == EExisting::Keep));
}

int MoveFile(const char16_t* from, const char16_t* to) {
    return StatusFromCall(MoveFileW(ToWide(from), ToWide(to)));
}

int CreateFolder(const char16_t* name) {
    return StatusFromCall(CreateDirectoryW(ToWide(name), nullptr));
}

bool HasShortNames() { return true; }

int GetLongName(const char16_t* name, std::u16string& longName) {
    // A text of the kernel has no more units. Callers retry with shorter and shorter parents, which
    // with a text as long as a document would take very many calls.
    if (std::char_traits<char16_t>::length(name) >= kLongestName) {
        return SetLastError(ERROR_FILENAME_EXCED_RANGE);
    }
    std::u16string buffer;
    // Between the two calls a folder may be renamed to a longer name. Then the size is asked again.
    // A size of 0 is a failure, whose reason is the last error.
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

bool IsSameFolder(const char16_t* left, const char16_t* right) {
    // Both are open at the same time: the number of a folder that was removed may be given to
    // another one.
    const CFolderHandle first(left);
    const CFolderHandle second(right);
    BY_HANDLE_FILE_INFORMATION one;
    BY_HANDLE_FILE_INFORMATION other;
    return first.GetInfo(one) && second.GetInfo(other) &&
           one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
           one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

bool IsSealedLink(const char16_t* /*name*/) { return false; }

void SetPackageFolder(const char16_t* /*name*/) {}

// The system copies a file in one call, which returns every failure at once. So nothing is left for
// Finish.
struct CFileCopier::SState {};
CFileCopier::CFileCopier(Failed /*failed*/) {}
CFileCopier::~CFileCopier() = default;

int CFileCopier::Copy(std::u16string_view source, std::u16string_view destination,
                      EExisting existing) {
    return CopyFile(std::u16string(source).c_str(), std::u16string(destination).c_str(), existing);
}

void CFileCopier::Finish() {}

}  // namespace platform
