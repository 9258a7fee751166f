// host/result_file.h - a file that the user gets beside the targets: the log, the record.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace host {

// The library writes a temporary file. It then takes the place of the one that the user named, or
// is written into it if that is a device or a pipe.
class CResultFile {
public:
    // `what` names the kind of file in messages.
    explicit CResultFile(std::string what) : m_what(std::move(what)) {}

    // `argument` names the user's file, which is not changed yet; empty for none. False, with the
    // reason on stderr, when it cannot be written.
    [[nodiscard]] bool Open(const std::string& argument, const std::filesystem::path& temporary);

    [[nodiscard]] const std::filesystem::path& GetTemporary() const { return m_temporary; }

    // Has the user's file hold what the temporary one holds. Its missing folders are made. False,
    // with the reason on stderr, when it cannot be written.
    [[nodiscard]] bool Publish();

private:
    [[nodiscard]] bool OpenSpecialFile();
    [[nodiscard]] bool CheckPlace() const;
    [[nodiscard]] std::error_code CopyTo(std::ofstream& target) const;
    [[nodiscard]] std::error_code Rename();
    [[nodiscard]] bool ComplainOf(const std::string& reason) const;

    std::string m_what;
    std::filesystem::path m_temporary;
    std::filesystem::path m_userPath;  // empty for none
    std::ofstream m_special;
};

}  // namespace host
