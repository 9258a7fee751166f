// host/run_log.h - the log of one conversion.
#pragma once

#include <fstream>
#include <string>

#include "host/log_reader.h"
#include "host/system.h"

namespace host {

// The library saves its log to a private file. From there the entries are shown on stderr, and the
// whole is copied to the file that the user named.
class CRunLog {
public:
    // Creates both files. `argument` names the user's file; empty for none. Its missing folders are
    // made. False, with the reason on stderr, when one of the files cannot be written.
    [[nodiscard]] bool Open(const std::string& argument);

    // The file into which the library saves its log.
    [[nodiscard]] std::u16string GetLibraryPath() const;

    // Shows the entries on stderr, counts them and completes the user's file. False, with the
    // reason on stderr, when entries may be missing or the file cannot be written.
    [[nodiscard]] bool Finish(SLogSummary& summary);

private:
    [[nodiscard]] bool OpenUserFile(const std::string& argument);
    void CopyToUserFile(std::ifstream& log);
    [[nodiscard]] bool CloseUserFile();

    CPrivateFolder m_folder;
    std::filesystem::path m_userPath;
    std::ofstream m_userFile;
};

}  // namespace host
