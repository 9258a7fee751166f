#include "host/run_log.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "host/console.h"
#include "host/status_text.h"
#include "platform/answers.h"
#include "platform/local_paths.h"

namespace host {

namespace {

// The first content of the private file. The library replaces the file only if there is something
// to log. So a file that is missing or empty afterwards means a full disk.
constexpr char kUntouched = '-';

}  // namespace

bool CRunLog::Open(const std::string& argument) {
    std::string problem;
    if (!m_folder.Create(std::string(1, kUntouched), problem)) {
        Complain(problem);
        return false;
    }
    return argument.empty() || OpenUserFile(argument);
}

// Opened before the conversion, so that a file that cannot be written is reported before the work
// is done.
bool CRunLog::OpenUserFile(const std::string& argument) {
    m_userPath = platform::LocalPath(argument);
    std::error_code error;
    std::filesystem::create_directories(m_userPath.parent_path(), error);  // open() reports it
    m_userFile.open(m_userPath, std::ios::binary | std::ios::trunc);
    if (!m_userFile.is_open()) {
        Complain("the log '" + Printable(platform::PathText(m_userPath)) +
                 "' cannot be written: " + std::strerror(errno) + "; nothing was converted");
    }
    return m_userFile.is_open();
}

std::u16string CRunLog::GetLibraryPath() const {
    // Never empty: only a relative path can fail.
    return platform::LibraryPath(m_folder.GetFile()).value_or(u"");
}

bool CRunLog::Finish(SLogSummary& summary) {
    std::ifstream log(m_folder.GetFile(), std::ios::binary);
    if (log.peek() != kUntouched) {
        const bool isLive = platform::GetLiveAnswers() == &platform::GetAnswers();
        summary = ReadLog(log, [isLive](bool isError, std::u16string_view text) {
            WriteTerminal((isError ? "error: " : "warning: ") + Printable(text) +
                          (isLive ? AdviseOnEntry(text) : "") + '\n');
        });
        log.clear();
        log.seekg(0);
        CopyToUserFile(log);
    }
    if (!summary.isComplete) {
        Complain(
            std::string("errors and warnings may be missing, since the temporary log is cut off; "
                        "see whether the disk is full, or name another place in the variable ") +
            kTemporaryVariable);
    }
    return CloseUserFile() && summary.isComplete;
}

// Piece by piece, because `operator<<(streambuf*)` cannot tell a full disk from the end of its
// source.
void CRunLog::CopyToUserFile(std::ifstream& log) {
    constexpr std::size_t kPieceBytes = std::size_t{64} << 10;
    std::vector<char> piece(kPieceBytes);
    while (m_userFile.is_open() && m_userFile.good() && log.good()) {
        log.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        m_userFile.write(piece.data(), log.gcount());
    }
}

bool CRunLog::CloseUserFile() {
    if (!m_userFile.is_open()) {
        return true;
    }
    m_userFile.close();
    if (m_userFile.fail()) {
        Complain("the log '" + Printable(platform::PathText(m_userPath)) +
                 "' cannot be written: " + std::strerror(errno));
        return false;
    }
    return true;
}

}  // namespace host
