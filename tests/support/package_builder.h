// tests/support/package_builder.h - captured packages made on disk.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Texts are UTF-8, and elements are given as XML. Paths lead from the captured machine's drives,
// with slashes: "C/Windows/a.txt".

// What a target and a whole package have alike: elements, scripts, and files of their folder by
// name.
struct STestContent {
    void AddScript(std::string_view name, std::string_view text, std::string_view elements);
    void AddFile(std::string name, std::string_view bytes) {
        files.emplace_back(std::move(name), bytes);
    }
    void Write(const std::filesystem::path& folder) const;

    std::string elements;
    std::string scripts;
    std::vector<std::pair<std::string, std::string>> files;
};

// One target: its part of the profile, and what its folder holds.
class CTestTarget {
public:
    explicit CTestTarget(std::string_view guid, std::string_view version = "1")
        : m_guid(guid), m_version(version) {}

    // Adds elements to the target's own, such as "<CreateOS>3</CreateOS>".
    CTestTarget& Elements(std::string_view elements) {
        m_content.elements += elements;
        return *this;
    }
    CTestTarget& Service(std::string_view elements);
    // Adds a script and its file; `elements` as "<Prelaunch>1</Prelaunch>".
    CTestTarget& Script(std::string_view name, std::string_view text,
                        std::string_view elements = {}) {
        m_content.AddScript(name, text, elements);
        return *this;
    }

    // Captured files and folders; a missing parent is made.
    CTestTarget& File(std::string_view path, std::string_view bytes = {}) {
        return Put(std::string("Device/").append(path), bytes);
    }
    CTestTarget& Folder(std::string_view path) {
        m_folders.push_back(std::string("Device/").append(path));
        return *this;
    }
    // A file that carries the mark of having been deleted: a stream, and where there are no streams
    // a file beside it.
    CTestTarget& DeletedFile(std::string_view path) {
        return File(path).File(std::string(path) + ":CTX_FILE_DELETE_MARKER");
    }
    // The file that keeps an otherwise empty folder alive.
    CTestTarget& Placeholder(std::string_view folder) {
        return File(std::string(folder) + "/$CTX$Placeholder.txt");
    }

    // InstallRoot.dat and SandboxData.xml; neither is there without.
    CTestTarget& Hive(std::string_view bytes) { return Put("InstallRoot.dat", bytes); }
    CTestTarget& Sandbox(std::string_view xml = "<CitrixAIE><AIE/></CitrixAIE>") {
        return Put("SandboxData.xml", xml);
    }

    [[nodiscard]] std::string FolderName() const;

private:
    friend class CTestPackage;

    CTestTarget& Put(std::string name, std::string_view bytes) {
        m_content.AddFile(std::move(name), bytes);
        return *this;
    }
    [[nodiscard]] std::string ToXml() const;

    std::string m_guid;  // without braces
    std::string m_version;
    std::string m_services;
    STestContent m_content;
    std::vector<std::string> m_folders;
};

// A package. Its profile is put together from what is added, in this order, unless it is given.
class CTestPackage {
public:
    // As a target's, but of the whole package.
    CTestPackage& Elements(std::string_view elements) {
        m_content.elements += elements;
        return *this;
    }
    CTestPackage& Target(CTestTarget target) {
        m_targets.push_back(std::move(target));
        return *this;
    }
    CTestPackage& Script(std::string_view name, std::string_view text,
                         std::string_view elements = {}) {
        m_content.AddScript(name, text, elements);
        return *this;
    }
    // The whole profile as it is written to its file.
    CTestPackage& Profile(std::string_view xml) {
        m_profile = xml;
        return *this;
    }

    // Writes the package into `folder`, which is made when missing, and gives the profile's path.
    // Throws std::exception when something cannot be written.
    std::filesystem::path Write(const std::filesystem::path& folder,
                                std::string_view profileName = "Sample.profile") const;

private:
    [[nodiscard]] std::string ToXml() const;

    STestContent m_content;
    std::vector<CTestTarget> m_targets;
    std::string m_profile;
};
