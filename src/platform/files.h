// platform/files.h - files and folders of the machine.
//
// Names are absolute, as CFilePathW::ToString() prints them, or relative to the current directory.
// Where an operation says so, a name may end in the name of a stream ("C:\a:stream"). Results are 0
// or a Windows error number, on every system. The named ones are promised; any other one just means
// "failed". A failure is also the thread's last error, which the frames of the stages read. Nothing
// throws or logs. An out parameter is written only on success. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace platform {

constexpr std::uint32_t kAttributeReadOnly = 0x1;
constexpr std::uint32_t kAttributeDirectory = 0x10;
constexpr std::uint32_t kAttributeNormal = 0x80;

// The data of one entry.
struct SFindData {
    std::u16string name;
    std::uint32_t attributes = 0;

    [[nodiscard]] bool IsFolder() const { return (attributes & kAttributeDirectory) != 0; }
    [[nodiscard]] bool IsReadOnly() const { return (attributes & kAttributeReadOnly) != 0; }
};

// A search in one folder. The entries come in the order of their upper-cased names; "." and ".."
// may be among them or not. The attributes tell folders from files, but only FindEntry reliably
// tells what is read-only. The destructor closes it.
class CFindHandle {
public:
    CFindHandle();
    ~CFindHandle();
    CFindHandle(const CFindHandle&) = delete;
    CFindHandle& operator=(const CFindHandle&) = delete;

    // Ends any search in progress and starts one for `pattern`, whose last segment may contain "*"
    // and "?". ERROR_FILE_NOT_FOUND when nothing matches, ERROR_PATH_NOT_FOUND when there is no
    // such folder.
    [[nodiscard]] int First(const char16_t* pattern, SFindData& found);

    // Gives the next entry. ERROR_NO_MORE_FILES at the end; the search stays open until Close.
    [[nodiscard]] int Next(SFindData& found);

    // Gives the next folder. Adds the number of files that it passes to `passed`, also when it
    // reaches the end: ERROR_NO_MORE_FILES.
    [[nodiscard]] int NextFolder(SFindData& found, std::uint32_t& passed);

    // Looks up a stream of the file that was given last, which is `found`. `stream` is a name
    // without a colon. The statuses are those of FindEntry for the whole path, which takes longer.
    // `exists` is always set; it is false for the stream of a folder.
    [[nodiscard]] int FindStream(const SFindData& found, std::u16string_view stream, bool& exists);

    [[nodiscard]] bool IsOpen() const { return m_search != nullptr; }
    void Close();

private:
    struct SSearch;
    std::unique_ptr<SSearch> m_search;
};

// Looks up one entry. For a name with a stream name it looks up the stream and gives the attributes
// of its file. ERROR_FILE_NOT_FOUND when only the last part is missing, ERROR_PATH_NOT_FOUND when
// something above it is. ERROR_READ_FAULT when the system does not tell whether the stream exists.
// A NUL must follow the name.
[[nodiscard]] int FindEntry(std::u16string_view name, SFindData& found);

// Replaces the attributes of a file. POSIX keeps only the read-only one.
[[nodiscard]] int SetAttributes(const char16_t* name, std::uint32_t attributes);

// Deletes a file. ERROR_ACCESS_DENIED for a folder and for a read-only file.
[[nodiscard]] int DeleteFile(const char16_t* name);

// What happens to an existing destination.
enum class EExisting { Replace, Keep };

// Copies data, last write time and the read-only attribute. An existing file is replaced, or kept
// with ERROR_FILE_EXISTS. ERROR_ACCESS_DENIED when it is to be replaced and is read-only or a
// folder. A failed copy leaves no partial file; if only the time cannot be set, the copy stays,
// with a failure as its status. ERROR_CANT_ACCESS_FILE when the source is a link that may not be
// followed.
[[nodiscard]] int CopyFile(const char16_t* source, const char16_t* destination,
                           EExisting existing = EExisting::Replace);

// Copies many files; it may copy their data on a thread of its own while the caller goes on. One
// thread uses the object. Its own thread, if any, only touches the files that are being copied.
class CFileCopier {
public:
    // Called for every copy that failed after Copy had returned 0, with the name of the source and
    // the status. ERROR_FILE_INVALID when the copy is there, but the source changed while it was
    // copied; Windows does not tell. Called within Copy and Finish, in the order of the copies.
    using Failed = std::function<void(const std::u16string& source, int status)>;

    explicit CFileCopier(Failed failed);
    // Completes the copies in progress; their failures are not reported any more.
    ~CFileCopier();
    CFileCopier(const CFileCopier&) = delete;
    CFileCopier& operator=(const CFileCopier&) = delete;

    // Like CopyFile, except that a failure to copy the data may be reported later, through
    // `failed`.
    [[nodiscard]] int Copy(std::u16string_view source, std::u16string_view destination,
                           EExisting existing);

    // Returns when all copies have ended and all failures have been reported.
    void Finish();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

// Renames a file. ERROR_ALREADY_EXISTS when the new name is taken.
[[nodiscard]] int MoveFile(const char16_t* from, const char16_t* to);

// Makes one folder, whose parent must exist. ERROR_ALREADY_EXISTS when a folder or a file has the
// name. ERROR_PATH_NOT_FOUND when the parent is missing or is a file.
[[nodiscard]] int CreateFolder(const char16_t* name);

// Whether files may have short (8.3) names in addition to their own.
[[nodiscard]] bool HasShortNames();

// Gives the long form of an existing name. ERROR_FILE_NOT_FOUND when only its last part is missing,
// ERROR_PATH_NOT_FOUND when something above it is; after these two a caller may try the parent.
// POSIX has no short names: it gives the name unchanged if it exists.
[[nodiscard]] int GetLongName(const char16_t* name, std::u16string& longName);

// Whether two names lead to the same existing folder.
[[nodiscard]] bool IsSameFolder(const char16_t* left, const char16_t* right);

// Whether a name is a symbolic link below the package folder. Such a link is not followed, so what
// it leads to is hidden. Always false on Windows.
[[nodiscard]] bool IsSealedLink(const char16_t* name);

// Sets the folder of the package that is read; null ends this. On POSIX symbolic links below it are
// not followed, so that a package cannot reach other files; links on the way to the folder are.
// Does nothing on Windows.
void SetPackageFolder(const char16_t* name);

// A file that is written from its start, replacing an existing one. The destructor closes it.
class COutputFile {
public:
    COutputFile() = default;
    ~COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    // Opens `name` for writing and empties it. ERROR_ACCESS_DENIED for a folder and for a read-only
    // file.
    [[nodiscard]] int Create(const char16_t* name);
    [[nodiscard]] bool IsOpen() const { return m_handle != 0; }

    // Moves the position to the start.
    [[nodiscard]] int Rewind();
    // Writes all bytes at the position.
    [[nodiscard]] int Write(const void* bytes, std::size_t count);
    // Truncates the file at the position.
    [[nodiscard]] int SetEnd();
    void Close();

private:
    std::intptr_t m_handle = 0;
};

}  // namespace platform
