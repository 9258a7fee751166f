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

bool CRunLog::HasEntries() const {
    return std::ifstream(m_file.GetTemporary(), std::ios::binary).peek() != kUntouched;
}

SLogSummary CRunLog::Count() const {
    SLogSummary summary;
    if (HasEntries()) {
        std::ifstream log(m_file.GetTemporary(), std::ios::binary);
        std::size_t unwritten = 0;
        summary = ReadLog(log, [&](bool /*isError*/, std::u16string_view text) {
            unwritten += TellsFullDisk(text) ? 1 : 0;
        });
        summary.unwritten = unwritten;
    }
    return summary;
}

void CRunLog::Show(const std::function<bool(std::uint64_t number)>& isTold) const {
    if (!HasEntries()) {
        return;
    }
    std::ifstream log(m_file.GetTemporary(), std::ios::binary);
    // The advice is about loading hives, which a described machine does without Windows.
    const bool isLive = platform::GetLiveAnswers() == &platform::GetAnswers();
    std::uint64_t number = 0;
    static_cast<void>(ReadLog(log, [&](bool isError, std::u16string_view text) {
        // Each entry counts, shown or not, because the record numbers all of them.
        if (!isTold(++number) && !TellsFullDisk(text)) {
            const std::string words = Printable(text) + (isLive ? AdviseOnEntry(text) : "");
            Tell({.level = isError ? "error" : "warning", .text = words},
                 (isError ? "error: " : "warning: ") + words);
        }
    }));
}

bool CRunLog::Publish() {
    if (!HasEntries()) {
        // The user gets an empty file, without the mark.
        std::ofstream(m_file.GetTemporary(), std::ios::binary | std::ios::trunc);
    }
    return m_file.Publish();
}

}  // namespace host
