// host/batch/batch_folder.h - the names in the folder of a batch's output.
//
// FOLDER/NAME has the result of the package NAME: the folders of its targets, and the files below.
// FOLDER/.cas2orv-batch is for the work: a locked file for each package that is being converted,
// and a folder with what is not in its place yet.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "host/system.h"

namespace host {

constexpr const char* kResultFile = "result.json";
constexpr const char* kRecordFile = "record.jsonl";
constexpr const char* kLogFile = "log.html";
constexpr const char* kMessagesFile = "messages.txt";
constexpr const char* kSummaryJson = "summary.json";
constexpr const char* kSummaryCsv = "summary.csv";
constexpr const char* kWorkFolder = ".cas2orv-batch";
// Begins the names of the files that a job array needs; see slurm_array.h.
constexpr const char* kListStart = "list-";
// What is held while packages are submitted, and while the summary is written.
constexpr const char* kSubmissionName = "submission";
constexpr const char* kSummaryName = "summary";
// In the folder of a package within the folder for the work: where a former result is while the new
// one is moved to its place.
constexpr const char* kFormerFolder = "old";

// Whether a name is hidden as what the program itself makes. Letter case does not count.
[[nodiscard]] bool IsHiddenName(std::u16string_view name);

// Whether the first part of a package's name is taken: a summary, or hidden. Letter case does
// not count.
[[nodiscard]] bool IsOwnName(std::u16string_view name);

// Whether a folder is called as that of a captured target: a GUID, an underscore and a version.
[[nodiscard]] bool IsCaptureName(std::u16string_view name);

// The hexadecimal digits that stand for a package in the folder for the work.
[[nodiscard]] std::string WorkName(const std::string& package);

// Replaces a file as a whole: `beside`, on the same file system, is written and takes its place.
// Whoever calls this is the only one that uses `beside`. On failure the file is unchanged, and
// `reason` says why.
[[nodiscard]] bool ReplaceFile(const std::filesystem::path& file,
                               const std::filesystem::path& beside, const std::string& bytes,
                               std::string& reason);

// Holds the file NAME.lock in the folder for the work, which is made where it is missing: others
// remove it while it is empty. The result is that of CHeldFile::Hold, or says why the folder cannot
// be made.
[[nodiscard]] std::error_code HoldWorkFile(CHeldFile& claim, const std::filesystem::path& folder,
                                           const std::string& name);

// Removes what killed processes have left in the folder for the work, and that folder if nothing is
// in it then. What others hold, what job arrays need, and former results that belong back to their
// places, stay.
void RemoveLeftovers(const std::filesystem::path& folder);

}  // namespace host
