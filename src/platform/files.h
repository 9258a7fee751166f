// platform/files.h - files and folders of the machine.
//
// Names are absolute, as CFilePathW::ToString() prints them, or relative to the current directory;
// a name may carry a stream name behind its last segment ("C:\a:stream") where an operation says
// so. Results are 0 or a Windows error number, on every system; the listed ones are promised, any
// other just means "failed". A failure is also the thread's last error, which the stages' frames
// read. Nothing throws or logs; an out parameter is written only on success. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace platform {

constexpr std::uint32_t kAttributeReadOnly = 0x1;
constexpr std::uint32_t kAttributeDirectory = 0x10;
constexpr std::uint32_t kAttributeNormal = 0x80;

// What a search tells of one entry.
struct SFindData {
    std::u16string name;
    std::uint32_t attributes = 0;

    [[nodiscard]] bool IsFolder() const { return (attributes & kAttributeDirectory) != 0; }
    [[nodiscard]] bool IsReadOnly() const { return (attributes & kAttributeReadOnly) != 0; }
};

// A search through one folder. The entries come by upper-cased name; "." and ".." may or may not be
// among them. It tells folders from files, but only FindEntry tells for sure what is read-only.
// Closes itself.
class CFindHandle {
public:
    CFindHandle();
    ~CFindHandle();
    CFindHandle(const CFindHandle&) = delete;
    CFindHandle& operator=(const CFindHandle&) = delete;

    // Ends a search in progress and starts one for `pattern`, whose last segment may hold "*" and
    // "?". ERROR_FILE_NOT_FOUND when nothing matches, ERROR_PATH_NOT_FOUND when there is no such
    // folder.
    [[nodiscard]] int First(const char16_t* pattern, SFindData& found);

    // Gives the next entry. ERROR_NO_MORE_FILES at the end; the search stays open until it is
    // closed.
    [[nodiscard]] int Next(SFindData& found);

    [[nodiscard]] bool IsOpen() const { return m_search != nullptr; }
    void Close();

private:
    struct SSearch;
    std::unique_ptr<SSearch> m_search;
};

// Looks one entry up. A name with a stream name asks for that stream and tells the attributes of
// its file. ERROR_FILE_NOT_FOUND when only the last part is missing, ERROR_PATH_NOT_FOUND when
// something above is. ERROR_READ_FAULT when the system does not tell whether there is such a
// stream.
[[nodiscard]] int FindEntry(const char16_t* name, SFindData& found);

// Replaces the attributes of a file; only the read-only one is kept on POSIX.
[[nodiscard]] int SetAttributes(const char16_t* name, std::uint32_t attributes);

// Removes a file. ERROR_ACCESS_DENIED for a folder and for a read-only file.
[[nodiscard]] int DeleteFile(const char16_t* name);

// What becomes of a file that is there already.
enum class EExisting { Replace, Keep };

// Copies data, last write time and the read-only attribute. An existing file is replaced, unless it
// is read-only or a folder (ERROR_ACCESS_DENIED), or kept (ERROR_FILE_EXISTS). A failed copy leaves
// no half-written file; one that only lacks its time stays, and has a status all the same.
// ERROR_CANT_ACCESS_FILE when the source is a link that may not be followed.
[[nodiscard]] int CopyFile(const char16_t* source, const char16_t* destination,
                           EExisting existing = EExisting::Replace);

// Copies many files, and may move their data while the caller goes on. It is used by one thread;
// its other thread, if it has one, touches nothing but the files that are being copied.
class CFileCopier {
public:
    // Is told of every copy that failed after Copy had given 0: the source's name and the status.
    // Runs within Copy and Finish, in the order of the copies.
    using Failed = std::function<void(const std::u16string& source, int status)>;

    explicit CFileCopier(Failed failed);
    // What is still under way is finished, but nobody is told any more.
    ~CFileCopier();
    CFileCopier(const CFileCopier&) = delete;
    CFileCopier& operator=(const CFileCopier&) = delete;

    // As CopyFile, but a failure to move the data may be told later.
    [[nodiscard]] int Copy(const char16_t* source, const char16_t* destination, EExisting existing);

    // Returns when all copies have ended and all failures are told.
    void Finish();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

// Renames a file. ERROR_ALREADY_EXISTS when the new name is taken.
[[nodiscard]] int MoveFile(const char16_t* from, const char16_t* to);

// Makes one folder, whose parent must exist. ERROR_ALREADY_EXISTS when the name is taken, be it by
// a folder or by a file. ERROR_PATH_NOT_FOUND when the parent is missing or is a file.
[[nodiscard]] int CreateFolder(const char16_t* name);

// Whether files can have short (8.3) names beside their own.
[[nodiscard]] bool HasShortNames();

// Gives the long form of a name that exists. ERROR_FILE_NOT_FOUND when only its last part is
// missing, ERROR_PATH_NOT_FOUND when something above is: on these two a caller may retry with the
// parent. POSIX has no short names: there the name comes back as it is, if it exists.
[[nodiscard]] int GetLongName(const char16_t* name, std::u16string& longName);

// Whether two names lead to one and the same folder, which is there.
[[nodiscard]] bool IsSameFolder(const char16_t* left, const char16_t* right);

// Whether a name is a link below the package folder, which is not followed and so hides all that it
// leads to. Windows has no such links.
[[nodiscard]] bool IsSealedLink(const char16_t* name);

// Names the folder of the package that is being read. On POSIX no symbolic link below it is
// followed, so that a package cannot reach out of itself; Windows has no use for it. A null name
// ends this. The way to the folder itself may hold links.
void SetPackageFolder(const char16_t* name);

// A file that is written from its start, replacing what stood there. Closes itself.
class COutputFile {
public:
    COutputFile() = default;
    ~COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    // Opens `name` for writing, empty. ERROR_ACCESS_DENIED for a folder and for a read-only file.
    [[nodiscard]] int Create(const char16_t* name);
    [[nodiscard]] bool IsOpen() const { return m_handle != 0; }

    // Puts the position back to the start.
    [[nodiscard]] int Rewind();
    [[nodiscard]] int Write(const void* bytes, std::size_t count);
    // Cuts the file off at the position.
    [[nodiscard]] int SetEnd();
    void Close();

private:
    std::intptr_t m_handle = 0;
};

}  // namespace platform
