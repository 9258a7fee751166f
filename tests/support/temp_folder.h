// tests/support/temp_folder.h - a folder of a test's own.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/system.h"

// Writes a file anew, with missing parents; throws std::exception where that fails.
inline void WriteFileBytes(const std::filesystem::path& path, std::string_view bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

// Makes an empty folder and removes it at the end with all that is in it, be it read-only. What
// stands in it is named by its path from there, with slashes; "" is the folder itself. A failure to
// make something fails the test by an exception.
class CTempFolder {
public:
    CTempFolder() {
        const auto parent = std::filesystem::canonical(std::filesystem::temp_directory_path());
        std::random_device random;
        do {
            m_path = parent / ("orvcasconv-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~CTempFolder() { RemoveTree(m_path); }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    // As the operating system spells it.
    [[nodiscard]] std::filesystem::path Path(std::string_view relative = {}) const {
        return relative.empty() ? m_path : m_path / relative;
    }
    // As the library spells it: the Windows path, below "Z:" on POSIX.
    [[nodiscard]] std::u16string Name(std::string_view relative = {}) const {
        std::u16string name = Path(relative).make_preferred().u16string();
        if (!RunsOnWindows()) {
            std::ranges::replace(name, u'/', u'\\');
            name.insert(0, u"Z:");
        }
        return name;
    }

    // These make missing parents, and give the library's spelling.
    std::u16string MakeFolder(std::string_view relative) const {
        std::filesystem::create_directories(Path(relative));
        return Name(relative);
    }
    std::u16string WriteFile(std::string_view relative, std::string_view bytes = {}) const {
        WriteFileBytes(Path(relative), bytes);
        return Name(relative);
    }

    [[nodiscard]] std::string ReadFile(std::string_view relative) const {
        std::ifstream file(Path(relative), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // Whether a file, a folder or a link of that name is there.
    [[nodiscard]] bool Exists(std::string_view relative) const {
        return symlink_status(Path(relative)).type() != std::filesystem::file_type::not_found;
    }

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
