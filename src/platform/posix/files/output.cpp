#include "platform/posix/files/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/files.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_io.h"
#include "platform/status.h"

namespace platform {

namespace {

// Opening a pipe must not wait for its reader.
constexpr int kWrite = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// COutputFile keeps the descriptor plus one, because 0 means none.
int Descriptor(std::intptr_t handle) { return static_cast<int>(handle - 1); }

int OpenNew(SOutput& output, mode_t mode) {
    if (const int error = CreateOutput(mode, output)) {
        return StatusFromErrno(error);
    }
    output.place.folder->NoteAdded(output.place.entry.name, EEntryKind::Regular);
    return ERROR_SUCCESS;
}

int OpenExisting(SOutput& output) {
    const CFolder& folder = *output.place.folder;
    const SEntry& entry = output.place.entry;
    if (entry.IsUnfollowed()) {
        return ERROR_CANT_ACCESS_FILE;
    }
    if (!entry.IsRegular() || entry.IsReadOnly()) {
        return ERROR_ACCESS_DENIED;
    }
    const int follow = folder.IsSealed() ? O_NOFOLLOW : 0;
    output.file =
        CFileDescriptor(openat(folder.GetDescriptor(), entry.name.c_str(), kWrite | follow));
    if (!output.file.IsOpen() || fstat(output.file.Get(), &output.info) != 0) {
        return StatusFromErrno(errno);
    }
    // Checked again on the open file: it may be another one by now, and a link has no mode.
    const bool isWritable = S_ISREG(output.info.st_mode) && (output.info.st_mode & S_IWUSR) != 0;
    return isWritable ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

}  // namespace

int OpenOutput(std::u16string_view name, mode_t mode, EExisting existing, SOutput& output) {
    SFilePlace& place = output.place;
    if (const int status = FindFolder(name, place)) {
        return status;
    }
    if (!place.stream.empty()) {
        return ERROR_INVALID_NAME;
    }
    // To create it is the reliable test of whether a file has appeared since the names were read.
    if (place.folder->LacksName(place.name, place.entry)) {
        const int status = OpenNew(output, mode);
        if (status != ERROR_ALREADY_EXISTS) {
            return status;
        }
        place.folder->NoteAdded(place.entry.name, EEntryKind::Unknown);
    }
    const int status = FindEntryAt(place);
    if (status == ERROR_FILE_NOT_FOUND) {
        return OpenNew(output, mode);
    }
    if (status != ERROR_SUCCESS) {
        return status;
    }
    return existing == EExisting::Keep ? ERROR_FILE_EXISTS : OpenExisting(output);
}

int PlaceOutput(std::u16string_view name, SOutput& output) {
    SFilePlace& place = output.place;
    if (const int status = FindFolder(name, place)) {
        return status;
    }
    if (!place.stream.empty()) {
        return ERROR_INVALID_NAME;
    }
    return place.folder->LacksName(place.name, place.entry) ? ERROR_SUCCESS : ERROR_FILE_EXISTS;
}

int CreateOutput(mode_t mode, SOutput& output) {
    const SFilePlace& place = output.place;
    output.file = CFileDescriptor(openat(place.folder->GetDescriptor(), place.entry.name.c_str(),
                                         kWrite | O_CREAT | O_EXCL, mode));
    output.isNew = output.file.IsOpen();
    return output.isNew ? 0 : errno;
}

// Another process may have put its own file in the place; that one stays. Where the system does not
// tell which file it is, what was made here is removed, because half a file looks like a whole one.
void DiscardOutput(SOutput& output) {
    CFolder& folder = *output.place.folder;
    const std::string& name = output.place.entry.name;
    output.file.Close();
    struct stat info {};
    const bool isKnown = output.info.st_nlink != 0 && fstatat(folder.GetDescriptor(), name.c_str(),
                                                              &info, AT_SYMLINK_NOFOLLOW) == 0;
    const bool isInPlace = isKnown ? GetFileId(info) == GetFileId(output.info) : output.isNew;
    if (isInPlace && unlinkat(folder.GetDescriptor(), name.c_str(), 0) == 0) {
        folder.NoteRemoved(name);
    }
}

COutputFile::~COutputFile() { Close(); }

int COutputFile::Create(const char16_t* name) {
    Close();
    SOutput output;
    if (const int status = OpenOutput(name, 0666, EExisting::Replace, output)) {
        return SetLastError(status);
    }
    // Emptied only now that it is known to be a regular file and not read-only. O_TRUNC would empty
    // it before that is checked.
    if (!output.isNew && ftruncate(output.file.Get(), 0) != 0) {
        return FailWithErrno();
    }
    m_handle = output.file.Release() + 1;
    return ERROR_SUCCESS;
}

// The operations change the file, though not the object that holds it.
// NOLINTBEGIN(readability-make-member-function-const)
int COutputFile::Rewind() {
    return lseek(Descriptor(m_handle), 0, SEEK_SET) < 0 ? FailWithErrno() : ERROR_SUCCESS;
}

int COutputFile::Write(const void* bytes, std::size_t count) {
    const int error = WriteAll(Descriptor(m_handle), bytes, count);
    return error == 0 ? ERROR_SUCCESS : SetLastError(StatusFromErrno(error));
}

int COutputFile::SetEnd() {
    const off_t position = lseek(Descriptor(m_handle), 0, SEEK_CUR);
    const bool isSet = position >= 0 && ftruncate(Descriptor(m_handle), position) == 0;
    return isSet ? ERROR_SUCCESS : FailWithErrno();
}
// NOLINTEND(readability-make-member-function-const)

void COutputFile::Close() {
    if (IsOpen()) {
        close(Descriptor(m_handle));
        m_handle = 0;
    }
}

}  // namespace platform
