// host/run_log.h - the log of one conversion.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "host/log_reader.h"

namespace host {

// The library saves its log to a temporary file. From there the entries are shown on stderr. The
// file then takes the place of the one that the user named, or is written into it if that is a
// device or a pipe.
class CRunLog {
public:
    // Makes the temporary file, which the library knows by the name `temporary`. `argument` names
    // the user's file, which is not changed yet; empty for none. False, with the reason on stderr,
    // when one of the files cannot be written.
    [[nodiscard]] bool Open(const std::string& argument, const std::u16string& temporary);

    // Counts the entries.
    [[nodiscard]] SLogSummary Count() const;
    // Shows the entries on stderr, without those about a full disk.
    void Show() const;

    // Has the user's file hold the log. Its missing folders are made. False, with the reason on
    // stderr, when it cannot be written.
    [[nodiscard]] bool Publish();

private:
    [[nodiscard]] bool OpenSpecialFile();
    [[nodiscard]] bool CheckPlace() const;
    [[nodiscard]] bool HasEntries() const;
    [[nodiscard]] std::error_code Rename();
    bool ComplainOf(const std::string& reason) const;

    std::filesystem::path m_temporary;
    std::filesystem::path m_userPath;  // empty for none
    std::ofstream m_special;
};

}  // namespace host
