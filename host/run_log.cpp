#include "host/run_log.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "host/console.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/answers.h"
#include "platform/local_paths.h"

namespace host {

namespace {

// The first content of the temporary file. The library replaces the file only if there is something
// to log. So a file that is missing or empty afterwards means a full disk.
constexpr char kUntouched = '-';

// A file of the program's own beside a log.
std::filesystem::path Beside(const std::filesystem::path& log) {
    std::filesystem::path name = ".";
    name += log.filename();
    name += ".cas2orv";
    return log.parent_path() / name;
}

}  // namespace

bool CRunLog::Open(const std::string& argument, const std::u16string& temporary) {
    m_temporary = platform::LocalPath(temporary);
    std::ofstream file(m_temporary, std::ios::binary);
    file << kUntouched;
    file.close();
    if (file.fail()) {
        Complain(Quote(m_temporary) + " cannot be written: " + std::strerror(errno) +
                 "; nothing was converted");
        return false;
    }
    if (argument.empty()) {
        return true;
    }
    m_userPath = platform::LocalPath(argument);
    return IsSpecialFile(m_userPath) ? OpenSpecialFile() : CheckPlace();
}

bool CRunLog::OpenSpecialFile() {
    m_special.open(m_userPath, std::ios::binary | std::ios::trunc);
    return m_special.is_open() ||
           ComplainOf(std::strerror(errno) + std::string("; nothing was converted"));
}

// Tries what Publish does, so that a file that cannot be written is told before the work.
bool CRunLog::CheckPlace() const {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::absolute(m_userPath, error).parent_path();
    // Each round goes up by one name; the root exists.
    while (!Exists(folder) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    const std::filesystem::path probe = folder / Beside(m_userPath).filename();
    errno = 0;
    const bool isPlace = std::ofstream(probe).is_open();
    const bool isFile =
        !std::filesystem::exists(m_userPath, error) ||
        std::fstream(m_userPath, std::ios::binary | std::ios::in | std::ios::out).is_open();
    const std::string reason = std::strerror(errno);
    if (isPlace) {
        RemoveTree(probe);
    }
    return (isPlace && isFile) || ComplainOf(reason + "; nothing was converted");
}

bool CRunLog::HasEntries() const {
    return std::ifstream(m_temporary, std::ios::binary).peek() != kUntouched;
}

SLogSummary CRunLog::Count() const {
    SLogSummary summary;
    if (HasEntries()) {
        std::ifstream log(m_temporary, std::ios::binary);
        std::size_t unwritten = 0;
        summary = ReadLog(log, [&](bool /*isError*/, std::u16string_view text) {
            unwritten += TellsFullDisk(text) ? 1 : 0;
        });
        summary.unwritten = unwritten;
    }
    return summary;
}

void CRunLog::Show() const {
    if (HasEntries()) {
        std::ifstream log(m_temporary, std::ios::binary);
        const bool isLive = platform::GetLiveAnswers() == &platform::GetAnswers();
        static_cast<void>(ReadLog(log, [isLive](bool isError, std::u16string_view text) {
            if (!TellsFullDisk(text)) {
                WriteTerminal((isError ? "error: " : "warning: ") + Printable(text) +
                              (isLive ? AdviseOnEntry(text) : "") + '\n');
            }
        }));
    }
}

bool CRunLog::Publish() {
    if (m_userPath.empty()) {
        return true;
    }
    if (!HasEntries()) {
        std::ofstream(m_temporary, std::ios::binary | std::ios::trunc);
    }
    if (!m_special.is_open()) {
        const std::error_code error = Rename();
        return !error || ComplainOf(DescribeError(error));
    }
    std::ifstream log(m_temporary, std::ios::binary);
    // Piece by piece, because `operator<<(streambuf*)` cannot tell a full disk from the end of its
    // source.
    std::string piece(std::size_t{64} << 10, '\0');
    while (m_special.good() && log.good()) {
        log.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        m_special.write(piece.data(), log.gcount());
    }
    m_special.close();
    return !m_special.fail() || ComplainOf(std::strerror(errno));
}

std::error_code CRunLog::Rename() {
    std::error_code error;
    std::filesystem::create_directories(m_userPath.parent_path(), error);  // shows below
    // What the user has made of the file stays: where it is, and who may read it.
    if (std::filesystem::is_symlink(m_userPath, error)) {
        m_userPath = FullPath(m_userPath);
    }
    const std::filesystem::file_status former = std::filesystem::status(m_userPath, error);
    if (std::filesystem::is_regular_file(former)) {
        std::filesystem::permissions(m_temporary, former.permissions(), error);
    }
    std::filesystem::rename(m_temporary, m_userPath, error);
    if (error == std::errc::cross_device_link) {
        const std::filesystem::path beside = Beside(m_userPath);
        std::filesystem::copy_file(m_temporary, beside,
                                   std::filesystem::copy_options::overwrite_existing, error);
        if (!error) {
            std::filesystem::rename(beside, m_userPath, error);
        }
        if (error) {
            RemoveTree(beside);
        }
    }
    return error;
}

bool CRunLog::ComplainOf(const std::string& reason) const {
    Complain("the log " + Quote(m_userPath) + " cannot be written: " + reason);
    return false;
}

}  // namespace host
