// host/result_file.h - a file that the user gets: the log and the record of a conversion, an
// export.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>

namespace host {

// The library or the command writes a temporary file. It then takes the place of the one that the
// user named, or is written into it if that is a device or a pipe.
class CResultFile {
public:
    // `what` names the kind of file in messages, and `undone` says what a failure of Open means.
    explicit CResultFile(std::string what, std::string undone = "nothing was converted")
        : m_what(std::move(what)), m_undone(std::move(undone)) {}
    ~CResultFile() { RemoveOwn(); }
    CResultFile(const CResultFile&) = delete;
    CResultFile& operator=(const CResultFile&) = delete;

    // `argument` names the user's file, which is not changed yet; empty for none. False, with the
    // reason on stderr, when it cannot be written.
    [[nodiscard]] bool Open(const std::string& argument, const std::filesystem::path& temporary);

    // The same with a temporary file of its own, hidden beside the user's, which is removed in the
    // end. `argument` is not empty.
    [[nodiscard]] bool OpenOwn(const std::string& argument);
    // Removes that file early, on any thread, because the process ends.
    void RemoveOwn() const;

    [[nodiscard]] const std::filesystem::path& GetTemporary() const { return m_temporary; }

    // Has the user's file hold what the temporary one holds, or nothing if `isEmptied`. Its missing
    // folders are made. False, with the reason on stderr, when it cannot be written.
    [[nodiscard]] bool Publish(bool isEmptied = false);

private:
    [[nodiscard]] bool OpenSpecialFile();
    [[nodiscard]] std::filesystem::path FindFolder() const;
    [[nodiscard]] bool CheckPlace(const std::filesystem::path& probe) const;
    [[nodiscard]] std::error_code CopyTo(std::ofstream& target) const;
    [[nodiscard]] std::error_code Rename();
    [[nodiscard]] bool ComplainOf(const std::string& reason) const;

    std::string m_what;
    std::string m_undone;
    std::filesystem::path m_temporary;
    bool m_isOwn = false;              // the temporary file
    std::filesystem::path m_userPath;  // empty for none
    std::ofstream m_special;
};

}  // namespace host
