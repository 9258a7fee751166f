#include "support/package_builder.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

fs::path ToPath(std::string_view text) { return fs::path(std::u8string(text.begin(), text.end())); }

void WriteFile(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

// As a profile holds it: escaped for XML, and the tilde by itself.
std::string ToXmlText(std::string_view text) {
    std::string xml;
    for (const char c : text) {
        switch (c) {
            case '&':
                xml += "&amp;";
                break;
            case '<':
                xml += "&lt;";
                break;
            case '~':
                xml += "~~";
                break;
            default:
                xml += c;
        }
    }
    return xml;
}

std::string Element(std::string_view name, std::string_view content) {
    return std::string("<").append(name).append(">").append(content).append("</").append(name) +
           ">\n";
}

// A collection that has no items is left out.
std::string Collection(std::string_view name, std::string_view items) {
    return items.empty() ? std::string() : Element(name, items);
}

std::string ScriptElement(std::string_view name, std::string_view elements) {
    return Element("Script", Element("Filename", ToXmlText(name)).append(elements));
}

std::string InDevice(std::string_view path) { return std::string("Device/").append(path); }

}  // namespace

CTestTarget::CTestTarget(std::string_view guid, std::string_view version)
    : m_guid(guid), m_version(version) {}

CTestTarget& CTestTarget::Elements(std::string_view elements) {
    m_elements += elements;
    return *this;
}

CTestTarget& CTestTarget::Service(std::string_view elements) {
    m_services += Element("Service", elements);
    return *this;
}

CTestTarget& CTestTarget::Script(std::string_view name, std::string_view text,
                                 std::string_view elements) {
    m_scripts += ScriptElement(name, elements);
    m_files.emplace_back(std::string("Scripts/").append(name), text);
    return *this;
}

CTestTarget& CTestTarget::File(std::string_view path, std::string_view bytes) {
    m_files.emplace_back(InDevice(path), bytes);
    return *this;
}

CTestTarget& CTestTarget::Folder(std::string_view path) {
    m_folders.push_back(InDevice(path));
    return *this;
}

CTestTarget& CTestTarget::DeletedFile(std::string_view path) {
    // The second one is a stream of the first, and where there are no streams a file beside it.
    return File(path).File(std::string(path) + ":CTX_FILE_DELETE_MARKER");
}

CTestTarget& CTestTarget::Placeholder(std::string_view folder) {
    return File(std::string(folder) + "/$CTX$Placeholder.txt");
}

CTestTarget& CTestTarget::Hive(std::string_view bytes) {
    m_files.emplace_back("InstallRoot.dat", bytes);
    return *this;
}

CTestTarget& CTestTarget::Sandbox(std::string_view xml) {
    m_files.emplace_back("SandboxData.xml", xml);
    return *this;
}

std::string CTestTarget::FolderName() const {
    std::string name = m_guid;
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return name + "_" + m_version;
}

std::string CTestTarget::ToXml() const {
    return Element("Target", Element("Guid", m_guid) + Element("Ver", m_version) + m_elements +
                                 Collection("Services", m_services) +
                                 Collection("Scripts", m_scripts));
}

CTestPackage& CTestPackage::Elements(std::string_view elements) {
    m_elements += elements;
    return *this;
}

CTestPackage& CTestPackage::Target(CTestTarget target) {
    m_targets.push_back(std::move(target));
    return *this;
}

CTestPackage& CTestPackage::Script(std::string_view name, std::string_view text,
                                   std::string_view elements) {
    m_scripts += ScriptElement(name, elements);
    m_files.emplace_back(std::string("Scripts/").append(name), text);
    return *this;
}

CTestPackage& CTestPackage::Profile(std::string_view xml) {
    m_profile = xml;
    return *this;
}

fs::path CTestPackage::Write(const fs::path& folder, std::string_view profileName) const {
    for (const auto& [name, bytes] : m_files) {
        WriteFile(folder / ToPath(name), bytes);
    }
    for (const CTestTarget& target : m_targets) {
        const fs::path targetFolder = folder / ToPath(target.FolderName());
        for (const std::string& name : target.m_folders) {
            fs::create_directories(targetFolder / ToPath(name));
        }
        for (const auto& [name, bytes] : target.m_files) {
            WriteFile(targetFolder / ToPath(name), bytes);
        }
    }
    fs::path profile = folder / ToPath(profileName);
    WriteFile(profile, m_profile.empty() ? ToXml() : m_profile);
    return profile;
}

std::string CTestPackage::ToXml() const {
    std::string targets;
    for (const CTestTarget& target : m_targets) {
        targets += target.ToXml();
    }
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" +
           Element("Package",
                   m_elements + Collection("Targets", targets) + Collection("Scripts", m_scripts));
}
