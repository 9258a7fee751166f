#include "host/verify_command.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "host/check_sums.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/manifest_check.h"
#include "host/path_rules.h"
#include "host/payload_check.h"
#include "host/status_text.h"
#include "host/system.h"
#include "host/target_folder.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// One run of the command.
class CVerification {
public:
    int Run(const std::vector<std::string>& arguments);
    void WriteJson(CJsonWriter& json) const;

private:
    void VerifyArgument(const fs::path& path);
    [[nodiscard]] bool VerifyIfTarget(const fs::path& folder);
    void VerifyOutput(const fs::path& folder);
    void VerifyTarget(const fs::path& folder, std::span<const SFoundFile> files,
                      const std::string& onlyManifest);
    // Returns whether it was read to its end.
    [[nodiscard]] bool VerifyManifest(const SFoundFile& manifest, bool isTold,
                                      CPayloadCheck& payload);
    void Tell(const fs::path& place, const std::string& words);

    std::size_t m_manifests = 0;
    std::size_t m_items = 0;
    std::size_t m_files = 0;
    std::size_t m_problems = 0;
    const TellProblem m_tell = [this](const fs::path& place, const std::string& words) {
        Tell(place, words);
    };
};

void CVerification::Tell(const fs::path& place, const std::string& words) {
    ++m_problems;
    ComplainOf(place, words);
}

int CVerification::Run(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        // In full, and spelt as the paths of the payload will be.
        const std::optional<std::u16string> path = platform::LibraryPath(argument);
        const fs::path local = path ? platform::LocalPath(*path) : fs::path();
        VerifyArgument(local.empty() ? platform::LocalPath(argument) : local);
    }
    WriteTerminal(Count(m_manifests, "manifest") + ", " + Count(m_items, "item") + ", " +
                  Count(m_files, "file") + ", " + Count(m_problems, "problem") + '\n');
    return m_problems == 0 ? kExitDone : kExitFailed;
}

void CVerification::WriteJson(CJsonWriter& json) const {
    const auto write = [&json](std::string_view key, std::size_t count) {
        json.Key(key);
        json.Number(static_cast<std::int64_t>(count));
    };
    write("manifests", m_manifests);
    write("items", m_items);
    write("files", m_files);
    write("problems", m_problems);
}

void CVerification::VerifyArgument(const fs::path& path) {
    std::error_code error;
    // A link that the user names is followed, unlike those in the folders.
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        if (!VerifyIfTarget(path)) {
            VerifyOutput(path);
        }
    } else if (fs::is_regular_file(status)) {
        // The whole folder, because its other manifests name files in it too.
        const fs::path folder = path.parent_path();
        VerifyTarget(folder, ListFiles(folder, m_tell), platform::PathBytes(path.filename()));
    } else {
        Tell(path, fs::exists(status) ? "this is neither a manifest nor a folder"
                                      : "there is no such manifest or folder");
    }
}

// Verifies a folder that is a target's: it is called so, or has a manifest.
bool CVerification::VerifyIfTarget(const fs::path& folder) {
    std::vector<SFolderEntry> entries;
    const bool isTarget =
        IsGuidName(platform::PathBytes(folder.filename())) ||
        (!ListFolder(folder, entries) &&
         std::any_of(entries.begin(), entries.end(), [&](const SFolderEntry& entry) {
             return IsManifest(
                 {DeepPath(folder) / entry.name, platform::PathBytes(entry.name), entry.isRegular});
         }));
    if (isTarget) {
        VerifyTarget(folder, ListFiles(folder, m_tell), "");
    }
    return isTarget;
}

void CVerification::VerifyOutput(const fs::path& folder) {
    std::vector<SFolderEntry> entries;
    const std::error_code error = ListFolder(folder, entries);
    // Systems list a folder in any order.
    std::sort(entries.begin(), entries.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    bool hasTarget = false;
    for (const SFolderEntry& entry : entries) {
        hasTarget |= entry.isFolder && VerifyIfTarget(folder / entry.name);
    }
    if (error) {
        Tell(folder, "the folder cannot be listed: " + DescribeError(error));
    } else if (!hasTarget) {
        Tell(folder, "there is no manifest here, nor in a folder of a target");
    }
}

// Files that other manifests of the folder name are theirs, when one alone is verified.
void CVerification::VerifyTarget(const fs::path& folder, std::span<const SFoundFile> files,
                                 const std::string& onlyManifest) {
    CPayloadCheck payload(folder, files);
    std::set<std::string> others;
    bool hasSums = false;
    bool isWhole = true;
    for (const SFoundFile& file : files) {
        const bool isTold = onlyManifest.empty() || file.name == onlyManifest;
        // The file that the user names is read as a manifest whatever it begins with.
        if (file.name == onlyManifest || IsManifest(file)) {
            isWhole &= VerifyManifest(file, isTold, payload);
            others.insert(file.name);
        } else if (file.name == kSumsName && file.isRegular) {
            hasSums = true;
            others.insert(file.name);
        }
    }
    // `others` has the manifests, and the list of check sums if there is one.
    if (others.size() == (hasSums ? 1U : 0U)) {
        Tell(folder, "there is no manifest in this folder of a target");
    }
    // After all manifests, because the SID is the one with which most of their files are there.
    payload.FinishNames(
        [&](const fs::path& /*place*/, const std::string& words) { Tell(folder, words); });
    // What the rest of a broken manifest would name is not known.
    if (isWhole) {
        payload.TellStrays(others, m_tell);
    }
    if (hasSums) {
        VerifyCheckSums(folder, files, m_tell);
    }
    m_files += files.size();
}

bool CVerification::VerifyManifest(const SFoundFile& manifest, bool isTold,
                                   CPayloadCheck& payload) {
    const auto tell = [&](const fs::path& /*place*/, const std::string& words) {
        Tell(manifest.path, words);
    };
    const SManifestFindings findings{
        [&](std::uint32_t line, const std::string& words) {
            if (isTold) {
                Tell(manifest.path,
                     (line == 0 ? "" : "line " + std::to_string(line) + ": ") + words);
            }
        },
        [&](const std::u16string& file) { payload.Name(file, isTold, tell); },
    };
    const std::u16string path =
        platform::LibraryPath(platform::PathBytes(manifest.path)).value_or(u"");
    const SManifestCheck check = CheckManifest(path, findings);
    // One that is not told was read only for the files that it names.
    m_manifests += isTold ? 1 : 0;
    m_items += isTold ? check.items : 0;
    return check.isWhole;
}

}  // namespace

int RunVerify(const SCommand& command, CJsonWriter& json) {
    CVerification verification;
    const int status = verification.Run(command.paths);
    if (command.isJson) {
        verification.WriteJson(json);
    }
    return status;
}

}  // namespace host
