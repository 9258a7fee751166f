#include "host/batch/slurm_array.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <system_error>

#include "host/batch/batch_folder.h"
#include "host/path_rules.h"
#include "host/system.h"
#include "platform/com.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kIdDigits = 16;
constexpr const char* kScriptEnd = ".sh";
constexpr const char* kMessagesEnd = ".task-";  // and the index of the task
constexpr const char* kNewEnd = ".new";         // of a file that is being written

// It is the same for all arrays: names and paths are its arguments, which no shell reads. A task
// reads its own lines only, so that the cost of all tasks together is in proportion to the list.
// The program takes the place of the shell, so that it gets the signals of Slurm itself.
constexpr const char* kScript = R"(#!/bin/sh
# A task of an array: converts its part of the list.
program=$1 list=$2 output=$3 each=$4 jobs=${5:-${SLURM_CPUS_PER_TASK:-1}}
shift 5
exec >>"$list.task-$SLURM_ARRAY_TASK_ID" 2>&1
first=$((SLURM_ARRAY_TASK_ID * each + 1))
last=$((first + each - 1))
exec "$program" batch - --output "$output" --jobs "$jobs" --progress none --no-summary "$@" <<LINES
$(sed -n -e "$first,${last}p" -e "${last}q" "$list")
LINES
)";

bool IsId(const std::string& text) {
    return text.size() == kIdDigits && std::all_of(text.begin(), text.end(), [](char digit) {
               return std::isxdigit(static_cast<unsigned char>(digit)) != 0;
           });
}

// Writes beside and renames, so that nobody reads half a file.
bool WriteFile(const fs::path& file, const std::string& bytes, std::string& reason) {
    fs::path beside = file;
    beside += kNewEnd;
    return ReplaceFile(file, beside, bytes, reason);
}

}  // namespace

SArrayFiles::SArrayFiles(const fs::path& output, const std::string& arrayId)
    : id(arrayId),
      folder(output / kWorkFolder),
      list(folder / (kListStart + arrayId)),
      script(folder / (kListStart + arrayId + kScriptEnd)) {}

std::string MakeArrayId() {
    GUID guid{};
    if (!platform::CreateGuid(guid)) {
        return "";
    }
    std::string id;
    for (const char16_t unit : platform::GuidToText(guid)) {
        if (id.size() < kIdDigits && unit < 0x80 && std::isxdigit(unit) != 0) {
            id += static_cast<char>(std::tolower(unit));
        }
    }
    return id;
}

bool CanBeListed(const SPackage& package) {
    const std::string profile = platform::PathBytes(package.profile);
    return profile.find('\n') == std::string::npos && !profile.ends_with('\r');
}

bool WriteArrayFiles(const SArrayFiles& files, const std::vector<const SPackage*>& packages,
                     std::string& reason) {
    std::string lines;
    for (const SPackage* const package : packages) {
        lines += package->name + '\t' + platform::PathBytes(package->profile) + '\n';
    }
    if (WriteFile(files.list, lines, reason) && WriteFile(files.script, kScript, reason)) {
        return true;
    }
    RemoveArrayFiles(files);
    return false;
}

std::vector<std::string> MakeSubmission(const SArrayFiles& files, const fs::path& output,
                                        const fs::path& program, const STaskPlan& plan,
                                        const std::vector<std::string>& slurmOptions) {
    // Slurm replaces percent signs in the path of an output, so the script opens it by itself. The
    // present folder need not be there on the nodes.
    std::vector<std::string> words = {
        "--array=0-" + std::to_string(plan.tasks - 1),
        "--job-name=" + files.GetJobName(),
        "--requeue",
        "--chdir=/",
        "--output=/dev/null",
    };
    words.insert(words.end(), slurmOptions.begin(), slurmOptions.end());
    words.insert(words.end(), {platform::PathBytes(files.script), platform::PathBytes(program),
                               platform::PathBytes(files.list), platform::PathBytes(output),
                               std::to_string(plan.packagesPerTask),
                               plan.jobs == 0 ? "" : std::to_string(plan.jobs)});
    words.insert(words.end(), plan.options.begin(), plan.options.end());
    return words;
}

std::vector<SArrayFiles> FindArrays(const fs::path& output) {
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(DeepPath(output / kWorkFolder), entries));  // there may be none
    std::vector<SArrayFiles> arrays;
    for (const SFolderEntry& entry : entries) {
        const std::string name = platform::PathBytes(entry.name);
        if (name.starts_with(kListStart) && IsId(name.substr(std::string(kListStart).size()))) {
            arrays.emplace_back(output, name.substr(std::string(kListStart).size()));
        } else if (name.starts_with(kListStart) && name.ends_with(kNewEnd)) {
            RemoveTree(output / kWorkFolder / entry.name);  // of a process that was killed
        }
    }
    return arrays;
}

bool ReadArrayNames(const SArrayFiles& files, std::set<std::string>& names) {
    std::ifstream list(DeepPath(files.list), std::ios::binary);
    for (std::string line; std::getline(list, line);) {
        names.insert(line.substr(0, line.find('\t')));
    }
    return list.eof();
}

void RemoveArrayFiles(const SArrayFiles& files) {
    const std::string start = platform::PathBytes(files.list.filename()) + kMessagesEnd;
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(DeepPath(files.folder), entries));  // what is not found stays
    for (const SFolderEntry& entry : entries) {
        if (platform::PathBytes(entry.name).starts_with(start)) {
            RemoveTree(files.folder / entry.name);
        }
    }
    RemoveTree(files.script);
    // Last, because the others are found by it.
    RemoveTree(files.list);
}

fs::path GetMessagesPattern(const SArrayFiles& files) {
    fs::path pattern = files.list;
    return pattern += std::string(kMessagesEnd) + "*";
}

}  // namespace host
