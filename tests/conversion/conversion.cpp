#include "conversion/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "orvcasconv/orvcasconv.h"
#include "support/manifest.h"
#include "support/text.h"

namespace {

std::vector<std::string> g_progress;

std::uint32_t Note(const OrvProgress* root) {
    std::string line;
    for (const OrvProgress* level = root; level != nullptr; level = level->child) {
        line += std::to_string(level->current) + "/" + std::to_string(level->total) + " ";
        line += Utf8({level->message, level->messageLength}) + "|";
    }
    g_progress.push_back(line);
    return 0;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// "Error: text" from a line of the log.
std::string WithoutHtml(const std::string& line) {
    std::string text;
    bool isTag = false;
    for (const char c : line) {
        isTag = isTag || c == '<';
        text += isTag ? "" : std::string(1, c);
        isTag = isTag && c != '>';
    }
    return text;
}

}  // namespace

std::uint32_t CTestConversion::Convert(const CTestPackage& package) {
    package.Write(m_folder.Path("package"), "App.profile");
    return ConvertFile("package/App.profile");
}

std::uint32_t CTestConversion::ConvertFile(std::string_view profile) {
    g_progress.clear();
    m_guids.clear();
    m_logLines.clear();
    GUID* guids = nullptr;
    std::uint32_t count = 0;
    const std::uint32_t status =
        CasToOrvW(m_folder.Name(profile).c_str(), m_folder.Name("out/app.orv").c_str(),
                  m_folder.Name("log.html").c_str(), &guids, &count, &Note);
    EXPECT_EQ(guids == nullptr, count == 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        char text[40];
        std::snprintf(text, sizeof(text), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                      guids[i].Data1, guids[i].Data2, guids[i].Data3, guids[i].Data4[0],
                      guids[i].Data4[1], guids[i].Data4[2], guids[i].Data4[3], guids[i].Data4[4],
                      guids[i].Data4[5], guids[i].Data4[6], guids[i].Data4[7]);
        m_guids.emplace_back(text);
    }
    std::free(guids);
    ReadLog();
    return status;
}

// The log holds the lines of every conversion of the process; those from before are passed over.
void CTestConversion::ReadLog() {
    static std::size_t oldLines = 0;
    if (m_folder.Exists("log.html")) {
        const std::vector<std::string> lines =
            LinesOf(ReadUtf16File(m_folder.ReadFile("log.html")));
        for (std::size_t i = oldLines; i < lines.size(); ++i) {
            m_logLines.push_back(WithoutHtml(lines[i]));
        }
        oldLines = lines.size();
    }
}

const std::vector<std::string>& CTestConversion::Progress() const { return g_progress; }

std::string CTestConversion::Manifest(std::string_view guid) const {
    return ReadManifestFile(m_folder.ReadFile("out/" + std::string(guid) + "/app.orv"));
}

std::string CTestConversion::Collection(std::string_view guid, const std::string& name) const {
    const std::string manifest = Manifest(guid);
    const std::string end = "</" + name + ">\n";
    const std::size_t first = manifest.find("<" + name + ">");
    return first == std::string::npos
               ? std::string()
               : manifest.substr(first, manifest.find(end) + end.size() - first);
}

std::vector<std::string> CTestConversion::Payload(std::string_view guid) const {
    const std::filesystem::path root = m_folder.Path("out/" + std::string(guid));
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).string();
        if (!entry.is_directory() && name != "app.orv") {
            files.push_back(name);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}
