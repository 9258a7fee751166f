// tests/support/temp_folder.h - a folder of a test's own.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Makes an empty folder and removes it at the end with all that is in it, be it read-only. What
// stands in it is named by its path from there, with slashes; "" is the folder itself. A failure to
// make something fails the test by an exception.
class CTempFolder {
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    // As the operating system spells it.
    [[nodiscard]] std::filesystem::path Path(std::string_view relative = {}) const;
    // As the library spells it: the Windows path, below "Z:" on POSIX.
    [[nodiscard]] std::u16string Name(std::string_view relative = {}) const;

    // These make missing parents, and give the library's spelling.
    std::u16string MakeFolder(std::string_view relative) const;
    std::u16string WriteFile(std::string_view relative, std::string_view bytes = {}) const;

    [[nodiscard]] std::string ReadFile(std::string_view relative) const;
    // Whether a file, a folder or a link of that name is there.
    [[nodiscard]] bool Exists(std::string_view relative) const;

private:
    std::filesystem::path m_path;
};

// Makes a folder the current one while it lives.
class CCurrentFolder {
public:
    explicit CCurrentFolder(const std::filesystem::path& folder) {
        std::filesystem::current_path(folder);
    }
    ~CCurrentFolder() { std::filesystem::current_path(m_before); }
    CCurrentFolder(const CCurrentFolder&) = delete;
    CCurrentFolder& operator=(const CCurrentFolder&) = delete;

private:
    std::filesystem::path m_before = std::filesystem::current_path();
};
