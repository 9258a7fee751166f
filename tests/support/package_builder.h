// tests/support/package_builder.h - captured packages made on disk.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Texts are UTF-8, and elements are given as XML. Paths lead from the captured machine's drives,
// with slashes: "C/Windows/a.txt".

// One target: its part of the profile, and what its folder holds.
class CTestTarget {
public:
    explicit CTestTarget(std::string_view guid, std::string_view version = "1");

    // Adds elements to the target's own, such as "<CreateOS>3</CreateOS>".
    CTestTarget& Elements(std::string_view elements);
    CTestTarget& Service(std::string_view elements);
    // Adds a script and its file; `elements` as "<Prelaunch>1</Prelaunch>".
    CTestTarget& Script(std::string_view name, std::string_view text,
                        std::string_view elements = {});

    // Captured files and folders; a missing parent is made.
    CTestTarget& File(std::string_view path, std::string_view bytes = {});
    CTestTarget& Folder(std::string_view path);
    // A file that carries the mark of having been deleted.
    CTestTarget& DeletedFile(std::string_view path);
    // The file that keeps an otherwise empty folder alive.
    CTestTarget& Placeholder(std::string_view folder);

    // InstallRoot.dat and SandboxData.xml; neither is there without.
    CTestTarget& Hive(std::string_view bytes);
    CTestTarget& Sandbox(std::string_view xml = "<CitrixAIE><AIE/></CitrixAIE>");

    [[nodiscard]] std::string FolderName() const;

private:
    friend class CTestPackage;

    [[nodiscard]] std::string ToXml() const;

    std::string m_guid;  // without braces
    std::string m_version;
    std::string m_elements;
    std::string m_services;
    std::string m_scripts;
    std::vector<std::pair<std::string, std::string>> m_files;  // name in the target's folder, bytes
    std::vector<std::string> m_folders;
};

// A package. Its profile is put together from what is added, in this order, unless it is given.
class CTestPackage {
public:
    // Adds elements to the profile's own.
    CTestPackage& Elements(std::string_view elements);
    CTestPackage& Target(CTestTarget target);
    // As a target's, but of the whole package.
    CTestPackage& Script(std::string_view name, std::string_view text,
                         std::string_view elements = {});
    // The whole profile as it is written to its file.
    CTestPackage& Profile(std::string_view xml);

    // Writes the package into `folder`, which is made when missing, and gives the profile's path.
    // Throws std::exception when something cannot be written.
    std::filesystem::path Write(const std::filesystem::path& folder,
                                std::string_view profileName = "Sample.profile") const;

private:
    [[nodiscard]] std::string ToXml() const;

    std::string m_elements;
    std::vector<CTestTarget> m_targets;
    std::string m_scripts;
    std::vector<std::pair<std::string, std::string>> m_files;
    std::string m_profile;
};
