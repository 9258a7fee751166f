#include "support/package_builder.h"

#include <algorithm>
#include <cctype>

#include "support/temp_folder.h"

namespace fs = std::filesystem;

namespace {

fs::path ToPath(std::string_view text) { return fs::path(std::u8string(text.begin(), text.end())); }

// As a profile holds it: escaped for XML, and the tilde by itself.
std::string ToXmlText(std::string_view text) {
    std::string xml;
    for (const char c : text) {
        xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '~' ? "~~" : std::string(1, c);
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

}  // namespace

void STestContent::AddScript(std::string_view name, std::string_view text,
                             std::string_view elementsOfScript) {
    scripts += Element("Script", Element("Filename", ToXmlText(name)).append(elementsOfScript));
    AddFile(std::string("Scripts/").append(name), text);
}

void STestContent::Write(const fs::path& folder) const {
    for (const auto& [name, bytes] : files) {
        WriteFileBytes(folder / ToPath(name), bytes);
    }
}

CTestTarget& CTestTarget::Service(std::string_view elements) {
    m_services += Element("Service", elements);
    return *this;
}

std::string CTestTarget::FolderName() const {
    std::string name = m_guid;
    std::ranges::transform(name, name.begin(),
                           [](char c) { return static_cast<char>(std::toupper(c)); });
    return name + "_" + m_version;
}

std::string CTestTarget::ToXml() const {
    return Element("Target", Element("Guid", m_guid) + Element("Ver", m_version) +
                                 m_content.elements + Collection("Services", m_services) +
                                 Collection("Scripts", m_content.scripts));
}

fs::path CTestPackage::Write(const fs::path& folder, std::string_view profileName) const {
    m_content.Write(folder);
    for (const CTestTarget& target : m_targets) {
        const fs::path targetFolder = folder / ToPath(target.FolderName());
        for (const std::string& name : target.m_folders) {
            fs::create_directories(targetFolder / ToPath(name));
        }
        target.m_content.Write(targetFolder);
    }
    fs::path profile = folder / ToPath(profileName);
    WriteFileBytes(profile, m_profile.empty() ? ToXml() : m_profile);
    return profile;
}

std::string CTestPackage::ToXml() const {
    std::string targets;
    for (const CTestTarget& target : m_targets) {
        targets += target.ToXml();
    }
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" +
           Element("Package", m_content.elements + Collection("Targets", targets) +
                                  Collection("Scripts", m_content.scripts));
}
