#include "platform/status.h"
#include "platform/text.h"

namespace platform {

namespace {

struct SErrorText {
    int status;
    const char16_t* text;
};

// The texts of an English Windows 10, for each status that this system can give. A line break ends
// each, as there.
constexpr SErrorText kErrorTexts[] = {
    {ERROR_SUCCESS, u"The operation completed successfully."},
    {S_FALSE, u"Incorrect function."},
    {ERROR_FILE_NOT_FOUND, u"The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, u"The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, u"The system cannot open the file."},
    {ERROR_ACCESS_DENIED, u"Access is denied."},
    {ERROR_INVALID_HANDLE, u"The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY,
     u"Not enough memory resources are available to process this command."},
    {ERROR_INVALID_DATA, u"The data is invalid."},
    {E_OUTOFMEMORY, u"Not enough memory resources are available to complete this operation."},
    {ERROR_NOT_SAME_DEVICE, u"The system cannot move the file to a different disk drive."},
    {ERROR_NO_MORE_FILES, u"There are no more files."},
    {ERROR_WRITE_PROTECT, u"The media is write protected."},
    {ERROR_WRITE_FAULT, u"The system cannot write to the specified device."},
    {ERROR_READ_FAULT, u"The system cannot read from the specified device."},
    {ERROR_GEN_FAILURE, u"A device attached to the system is not functioning."},
    {ERROR_SHARING_VIOLATION,
     u"The process cannot access the file because it is being used by another process."},
    {ERROR_FILE_EXISTS, u"The file exists."},
    {ERROR_ALREADY_ASSIGNED, u"The local device name is already in use."},
    {ERROR_INVALID_PARAMETER, u"The parameter is incorrect."},
    {ERROR_DISK_FULL, u"There is not enough space on the disk."},
    {ERROR_INSUFFICIENT_BUFFER, u"The data area passed to a system call is too small."},
    {ERROR_INVALID_NAME, u"The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_DIR_NOT_EMPTY, u"The directory is not empty."},
    {ERROR_BUSY, u"The requested resource is in use."},
    {ERROR_ALREADY_EXISTS, u"Cannot create a file when that file already exists."},
    {ERROR_FILENAME_EXCED_RANGE, u"The filename or extension is too long."},
    {ERROR_FILE_TOO_LARGE, u"The file size exceeds the limit allowed and cannot be saved."},
    {ERROR_MORE_DATA, u"More data is available."},
    {ERROR_NO_MORE_ITEMS, u"No more data is available."},
    {ERROR_DIRECTORY, u"The directory name is invalid."},
    {ERROR_BADDB, u"The configuration registry database is corrupt."},
    {ERROR_IO_DEVICE, u"The request could not be performed because of an I/O device error."},
    {ERROR_NOT_FOUND, u"Element not found."},
    {ERROR_DISK_QUOTA_EXCEEDED,
     u"The requested file operation failed because the storage quota was exceeded.\r\n"
     u"To free up disk space, move files to a different location or delete unnecessary files. "
     u"For more information, contact your system administrator."},
    {ERROR_PRIVILEGE_NOT_HELD, u"A required privilege is not held by the client."},
    {ERROR_CANT_ACCESS_FILE, u"The file cannot be accessed by the system."},
    {E_FAIL, u"Unspecified error"},
    {kXmlBadCharacter, u"The text holds a character that XML does not allow."},
    {kXmlNotWellFormed, u"The document is not well-formed."},
    {kXmlDtdProhibited, u"A document type definition is not allowed."},
    {kXmlNonWhitespace, u"Only white space may stand at this place in the document."},
    {kXmlInvalidAction, u"This cannot stand at this place in the document."},
};

}  // namespace

std::u16string SystemErrorText(std::uint32_t code) {
    for (const SErrorText& row : kErrorTexts) {
        // An HRESULT that was made of an error number has that number's words.
        if (code == static_cast<std::uint32_t>(row.status) ||
            code == static_cast<std::uint32_t>(HresultFromError(row.status))) {
            return std::u16string(row.text) + u"\r\n";
        }
    }
    return {};
}

}  // namespace platform
