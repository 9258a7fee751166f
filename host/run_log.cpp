#include "host/run_log.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "host/console.h"
#include "host/status_text.h"
#include "platform/answers.h"

namespace host {

namespace {

// The first content of the temporary file. The library replaces the file only if there is something
// to log. So a file that is missing or empty afterwards means a full disk.
constexpr char kUntouched = '-';

}  // namespace

bool CRunLog::Open(const std::string& argument, const std::filesystem::path& temporary) {
    std::ofstream file(temporary, std::ios::binary);
    file << kUntouched;
    file.close();
    if (file.fail()) {
        Complain(Quote(temporary) + " cannot be written: " + std::strerror(errno) +
                 "; nothing was converted");
        return false;
    }
    return m_file.Open(argument, temporary);
}

SLogSummary CRunLog::Count() {
    SLogSummary summary;
    // Asked once: a file that cannot be read later is not taken for one of the other kind.
    m_hasEntries = std::ifstream(m_file.GetTemporary(), std::ios::binary).peek() != kUntouched;
    if (m_hasEntries) {
        std::ifstream log(m_file.GetTemporary(), std::ios::binary);
        std::size_t unwritten = 0;
        summary = ReadLog(log, [&](bool /*isError*/, std::u16string_view text) {
            unwritten += TellsFullDisk(text) ? 1 : 0;
        });
        summary.unwritten = unwritten;
    }
    return summary;
}

bool CRunLog::Show(const IsTold& isTold) const {
    if (!m_hasEntries) {
        return true;
    }
    std::ifstream log(m_file.GetTemporary(), std::ios::binary);
    // The advice is about loading hives, which a described machine does without Windows.
    const bool isLive = platform::GetLiveAnswers() == &platform::GetAnswers();
    std::uint64_t number = 0;
    const SLogSummary shown = ReadLog(log, [&](bool isError, std::u16string_view text) {
        // Each entry counts, shown or not, because the record numbers all of them.
        if (!isTold(++number, text)) {
            const std::string words = Printable(text) + (isLive ? AdviseOnEntry(text) : "");
            Tell({.level = isError ? "error" : "warning", .text = words},
                 (isError ? "error: " : "warning: ") + words);
        }
    });
    return shown.isComplete;
}

bool CRunLog::Publish() {
    // Without entries the user gets an empty file, without the mark.
    return m_file.Publish(!m_hasEntries);
}

}  // namespace host
