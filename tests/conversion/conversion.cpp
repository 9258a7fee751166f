#include "conversion/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "orvcasconv/orvcasconv.h"
#include "platform/com.h"
#include "support/manifest.h"
#include "support/system.h"
#include "support/text.h"

namespace {

constexpr const char* kMachineVariable = "ORVCASCONV_MACHINE";

std::vector<std::string> g_progress;

std::uint32_t Note(const OrvProgress* root) {
    std::string line;
    for (const OrvProgress* level = root; level != nullptr; level = level->child) {
        line += std::to_string(level->current) + "/" + std::to_string(level->total) + " ";
        line +=
            Utf8({reinterpret_cast<const char16_t*>(level->message), level->messageLength}) + "|";
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

std::basic_string<OrvChar> HostText(const std::u16string& text) {
    return {text.begin(), text.end()};
}

std::string TextOfHost(const OrvChar* text) {
    return Utf8(reinterpret_cast<const char16_t*>(text));
}

void CTestConversion::UseMachine(std::string_view toml) {
    m_folder.WriteFile("machine.toml", toml);
    SetEnvironment(kMachineVariable, m_folder.Path("machine.toml").string());
}

CTestConversion::~CTestConversion() { SetEnvironment(kMachineVariable, ""); }

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
    const std::uint32_t status = CasToOrvW(
        HostText(m_folder.Name(profile)).c_str(), HostText(m_folder.Name("out/app.orv")).c_str(),
        HostText(m_folder.Name("log.html")).c_str(), &guids, &count, &Note);
    EXPECT_EQ(guids == nullptr, count == 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        m_guids.push_back(Utf8(platform::GuidToText(guids[i])));
    }
    FreeAsHost(guids);
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
        const std::filesystem::path below = entry.path().native().substr(root.native().size() + 1);
        const std::string name = below.generic_string();
        if (!entry.is_directory() && name != "app.orv") {
            files.push_back(name);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}
