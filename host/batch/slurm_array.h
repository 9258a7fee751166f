// host/batch/slurm_array.h - the files of a job array: what its tasks convert, and what they say.
//
// All of them are in FOLDER/.cas2orv-batch. An array has an ID of its own, and is called
// "cas2orv-ID" in the queue, so that it is found there even if whoever has submitted it was killed
// before it could note the number of the job.
#pragma once

#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "host/batch/batch_sources.h"

namespace host {

// The packages of an array: each line of `list` has the name of one, a tab and its profile. The
// file is never changed, and stays as long as the array is in the queue: a task that Slurm starts
// once more finds its lines as the first time.
struct SArrayFiles {
    std::string id;  // 16 hexadecimal digits
    std::filesystem::path folder;
    std::filesystem::path list;
    std::filesystem::path script;

    SArrayFiles(const std::filesystem::path& output, const std::string& arrayId);

    [[nodiscard]] std::string GetJobName() const { return "cas2orv-" + id; }
};

// What the tasks of an array are to do.
struct STaskPlan {
    std::size_t packagesPerTask = 1;
    std::size_t tasks = 0;
    std::size_t jobs = 0;              // at a time; 0 for as many as a task has processors
    std::vector<std::string> options;  // of batch, for each task
};

// An ID that no other array has; empty when the system gives none.
[[nodiscard]] std::string MakeArrayId();

// Whether the list can name a package: line ends separate its lines.
[[nodiscard]] bool CanBeListed(const SPackage& package);

// Writes the list and the script. `reason` says why it failed; then neither is there.
[[nodiscard]] bool WriteArrayFiles(const SArrayFiles& files,
                                   const std::vector<const SPackage*>& packages,
                                   std::string& reason);

// The arguments of sbatch for an array. Those of its user are `slurmOptions`.
[[nodiscard]] std::vector<std::string> MakeSubmission(const SArrayFiles& files,
                                                      const std::filesystem::path& output,
                                                      const std::filesystem::path& program,
                                                      const STaskPlan& plan,
                                                      const std::vector<std::string>& slurmOptions);

// The arrays whose lists are in the folder for the work. Removes lists that were not written to
// their end, so the caller holds what keeps others from writing one.
[[nodiscard]] std::vector<SArrayFiles> FindArrays(const std::filesystem::path& output);

// The names of the packages of an array. False when its list cannot be read.
[[nodiscard]] bool ReadArrayNames(const SArrayFiles& files, std::set<std::string>& names);

// Removes the list, the script and what the tasks have said.
void RemoveArrayFiles(const SArrayFiles& files);

// Where the messages of the tasks are, for people.
[[nodiscard]] std::filesystem::path GetMessagesPattern(const SArrayFiles& files);

}  // namespace host
