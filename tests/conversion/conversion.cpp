#include "conversion/conversion.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <utility>

#include "host/manifest_check.h"
#include "platform/com.h"
#include "platform/local_paths.h"
#include "platform/machine.h"
#include "support/system.h"

namespace {

constexpr const char* kMachineVariable = "ORVCASCONV_MACHINE";

std::vector<std::string> g_progress;
std::function<void(const std::string& line)> g_onProgress;

std::uint32_t Note(const OrvProgress* root) {
    std::string line;
    for (const OrvProgress* level = root; level != nullptr; level = level->child) {
        line += std::to_string(level->current) + "/" + std::to_string(level->total) + " ";
        line +=
            Utf8({reinterpret_cast<const char16_t*>(level->message), level->messageLength}) + "|";
    }
    g_progress.push_back(line);
    if (g_onProgress) {
        g_onProgress(line);
    }
    return 0;
}

// Copies what a conversion reads into the folder that ORVCASCONV_KEEP_PACKAGES names, if any, so
// that the packages of the tests can be converted by other programs too. What no copy can be made
// of, such as a pipe, is left out. A machine whose folders are in the test's gets those of the
// copy.
void KeepPackage(const CTempFolder& folder) {
    const char* const place = std::getenv("ORVCASCONV_KEEP_PACKAGES");
    if (place == nullptr) {
        return;
    }
    static int number = 0;
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::filesystem::path copy =
        std::filesystem::path(place) /
        (std::string(test.test_suite_name()) + '.' + test.name() + '-' + std::to_string(++number));
    std::filesystem::create_directories(copy);
    std::error_code ignored;
    std::filesystem::copy(
        folder.Path("package"), copy / "package",
        std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks,
        ignored);
    std::string machine = folder.ReadFile("machine.toml");
    const std::string before = Utf8(folder.Name("package"));
    const std::string after = Utf8(*platform::LibraryPath((copy / "package").string()));
    for (std::size_t i = machine.find(before); i != std::string::npos;
         i = machine.find(before, i + after.size())) {
        machine.replace(i, before.size(), after);
    }
    std::ofstream(copy / "machine.toml", std::ios::binary) << machine;
}

// "Error: text" from a line of the log.
std::string WithoutHtml(const std::string& line) {
    static const std::regex tag("<[^>]*>");
    return std::regex_replace(line, tag, "");
}

}  // namespace

CTestTarget TestTarget(const CTestHive& hive) {
    return CTestTarget("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9").Sandbox().Hive(hive.LoadableBytes());
}

CTestTarget OtherTarget() { return CTestTarget("11111111-2222-3333-4444-555555555555"); }

void ConversionTest::SetUp() {
    UseMachine(
        "[folders]\nCSIDL_PROGRAM_FILES = 'C:\\Program Files'\nCSIDL_WINDOWS = 'C:\\Windows'\n"
        "[environment]\nSystemDrive = 'C:'\n"
        "[user]\nsid = 'S-1-5-21-1-2-3-1000'\n[registry]\nhivelist = []\n");
}

// Whatever a test has converted, its manifests hold only what they may. Wine's XML reader misreads
// letters at the borders of its buffers.
void ConversionTest::TearDown() {
    UseMachineFile("");
    for (const std::string& guid : m_guids) {
        const std::string manifest = "out/" + guid + "/app.orv";
        if (!RunsInWine() && m_folder.Exists(manifest)) {
            host::CheckManifest(m_folder.Name(manifest),
                                {[&](std::uint32_t line, const std::string& words) {
                                     ADD_FAILURE() << manifest << ": " << line << ": " << words;
                                 },
                                 [](const std::u16string& /*file*/) {}});
        }
    }
}

void ConversionTest::UseMachine(std::string_view toml) {
    m_folder.WriteFile("machine.toml", toml);
    UseMachineFile(m_folder.Path("machine.toml").string());
}

void ConversionTest::UseMachineFile(const std::string& file) {
    SetEnvironment(kMachineVariable, file);
    // The test asks the same machine as the library, which tells what is wrong with its file.
    std::u16string problem;
    static_cast<void>(platform::LoadMachine(problem));
}

std::uint32_t ConversionTest::ConvertNamed(const std::u16string& profile) {
    KeepPackage(m_folder);
    g_progress.clear();
    g_onProgress = std::exchange(m_onProgress, {});
    m_guids.clear();
    GUID* guids = nullptr;
    std::uint32_t count = 0;
    const std::uint32_t status =
        CasToOrvW(HostText(profile).c_str(), HostText(m_folder.Name("out/app.orv")).c_str(),
                  HostText(m_folder.Name("log.html")).c_str(), &guids, &count, &Note);
    EXPECT_EQ(guids == nullptr, count == 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        m_guids.push_back(Utf8(platform::GuidToText(guids[i])));
    }
    FreeAsHost(guids);
    m_progress = g_progress;
    ReadLog();
    return status;
}

// The log holds the lines of every conversion of the process; those from before are passed over.
void ConversionTest::ReadLog() {
    static std::size_t oldLines = 0;
    m_logLines.clear();
    if (m_folder.Exists("log.html")) {
        std::istringstream log(ReadUtf16File(m_folder.ReadFile("log.html")));
        std::size_t count = 0;
        for (std::string line; std::getline(log, line); ++count) {
            if (count >= oldLines) {
                m_logLines.push_back(WithoutHtml(line));
            }
        }
        oldLines = count;
    }
}

std::string ConversionTest::Collection(const std::string& name, const std::string& guid) const {
    const std::string manifest = Manifest(guid);
    const std::string end = "</" + name + ">\n";
    const std::size_t first = manifest.find("<" + name + ">");
    return first == std::string::npos
               ? std::string()
               : manifest.substr(first, manifest.find(end) + end.size() - first);
}

std::vector<std::string> ConversionTest::Payload(const std::string& guid) const {
    const std::filesystem::path root = m_folder.Path("out/" + guid);
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
