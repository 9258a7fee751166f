#include "host/result_file.h"

#include <cerrno>
#include <cstring>

#include "foundation/wide_string.h"
#include "host/console.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"

namespace host {

namespace {

// A file of the program's own beside the user's.
// In the same folder, so that renaming stays within one file system.
std::filesystem::path Beside(const std::filesystem::path& file) {
    std::filesystem::path name = ".";
    name += file.filename();
    name += ".cas2orv";
    return file.parent_path() / name;
}

}  // namespace

bool CResultFile::Open(const std::string& argument, const std::filesystem::path& temporary) {
    m_temporary = temporary;
    if (argument.empty()) {
        return true;
    }
    m_userPath = platform::LocalPath(argument);
    return IsSpecialFile(m_userPath) ? OpenSpecialFile()
                                     : CheckPlace(FindFolder() / Beside(m_userPath).filename());
}

bool CResultFile::OpenOwn(const std::string& argument) {
    m_userPath = platform::LocalPath(argument);
    const bool isSpecial = IsSpecialFile(m_userPath);
    std::error_code error;
    const std::filesystem::path folder =
        isSpecial ? std::filesystem::temp_directory_path(error) : FindFolder();
    if (error) {
        return ComplainOf(DescribeError(error) + "; " + m_undone);
    }
    // A name of its own, because two programs may write the same file.
    m_temporary = folder / (u'.' + std::u16string(CreateGuidString().View()) + u".cas2orv");
    m_isOwn = true;
    return isSpecial ? OpenSpecialFile() : CheckPlace(m_temporary);
}

void CResultFile::RemoveOwn() const {
    if (m_isOwn) {
        RemoveTree(m_temporary);
    }
}

bool CResultFile::OpenSpecialFile() {
    // It stays open until Publish, because closing a pipe would end the input of its reader.
    m_special.open(m_userPath, std::ios::binary | std::ios::trunc);
    return m_special.is_open() || ComplainOf(std::strerror(errno) + std::string("; ") + m_undone);
}

// The folder of the user's file, or the innermost one above it that exists.
std::filesystem::path CResultFile::FindFolder() const {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::absolute(m_userPath, error).parent_path();
    // Each round goes up by one name; the root exists.
    while (!Exists(folder) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    return folder;
}

// Tries what Publish does, so that a file that cannot be written is told before the work.
bool CResultFile::CheckPlace(const std::filesystem::path& probe) const {
    bool isMade = false;
    bool isWritable = false;
    std::string reason;
    try {
        std::error_code error;
        errno = 0;
        isMade = std::ofstream(probe).is_open();
        // A file that is there is opened to read and write, which leaves it unchanged.
        isWritable =
            isMade &&
            (!std::filesystem::exists(m_userPath, error) ||
             std::fstream(m_userPath, std::ios::binary | std::ios::in | std::ios::out).is_open());
        reason = std::strerror(errno);
    } catch (const std::bad_alloc&) {
        RemoveTree(probe);  // a stream that gets no memory has made its file
        throw;
    }
    if (isMade && !RemoveTree(probe)) {
        return ComplainOf(Quote(probe) + " cannot be removed; remove it by hand; " + m_undone);
    }
    return isWritable || ComplainOf(reason + "; " + m_undone);
}

bool CResultFile::Publish(bool isEmptied) {
    if (m_userPath.empty()) {
        return true;
    }
    errno = 0;
    if (isEmptied && !std::ofstream(m_temporary, std::ios::binary | std::ios::trunc).is_open()) {
        return ComplainOf(std::strerror(errno));
    }
    if (!m_special.is_open()) {
        const std::error_code error = Rename();
        return !error || ComplainOf(DescribeError(error));
    }
    const std::error_code error = CopyTo(m_special);
    return !error || ComplainOf(DescribeError(error));
}

// Piece by piece, because `operator<<(streambuf*)` cannot tell a full disk from the end of its
// source.
std::error_code CResultFile::CopyTo(std::ofstream& target) const {
    errno = 0;
    std::ifstream file(m_temporary, std::ios::binary);
    std::string piece(std::size_t{64} << 10, '\0');
    while (target.good() && file.good()) {
        file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        target.write(piece.data(), file.gcount());
    }
    target.close();
    const bool isWhole = file.eof() && !target.fail();
    return isWhole ? std::error_code()
                   : std::error_code(errno != 0 ? errno : EIO, std::generic_category());
}

std::error_code CResultFile::Rename() {
    std::error_code error;
    std::filesystem::create_directories(m_userPath.parent_path(), error);  // shows below
    // What the user has made of the file stays: where it is, and who may read it.
    constexpr int kMostLinks = 40;
    // A link may lead to a file that is not there yet, so each is followed by itself.
    for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(m_userPath, error); ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(m_userPath, error);
        if (error) {
            break;
        }
        m_userPath = m_userPath.parent_path() / next;
    }
    const std::filesystem::file_status former = std::filesystem::status(m_userPath, error);
    const auto keepPermissions = [&former, &error](const std::filesystem::path& file) {
        if (std::filesystem::is_regular_file(former)) {
            std::filesystem::permissions(file, former.permissions(), error);
        }
    };
    keepPermissions(m_temporary);
    std::filesystem::rename(m_temporary, m_userPath, error);
    // The user's file is on another file system. A copy beside it then takes its place in one step.
    if (error == std::errc::cross_device_link) {
        const std::filesystem::path beside = Beside(m_userPath);
        std::ofstream copy(beside, std::ios::binary | std::ios::trunc);
        error = CopyTo(copy);
        if (!error) {
            keepPermissions(beside);
            std::filesystem::rename(beside, m_userPath, error);
        }
        if (error) {
            RemoveTree(beside);
        }
    }
    return error;
}

bool CResultFile::ComplainOf(const std::string& reason) const {
    Complain("the " + m_what + ' ' + Quote(m_userPath) + " cannot be written: " + reason);
    return false;
}

}  // namespace host
