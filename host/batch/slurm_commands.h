// host/batch/slurm_commands.h - the commands of Slurm, of which sbatch, squeue, scontrol and
// scancel are all that is used.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "host/external_command.h"

namespace host {

// What squeue says of an array.
struct SQueueState {
    bool isPresent = false;  // whether any of its tasks waits or runs
    bool isRunning = false;  // whether any runs
    std::string job;         // its number; empty when it is not present
    std::string reason;      // why tasks wait, in the word of Slurm; empty when none waits
};

// Asks the Slurm of this machine, or the cluster that --clusters among the options of sbatch names.
// Each operation returns false, or 0, when the command fails, with the reason in GetProblem: one
// line that is free of control characters.
class CSlurm {
public:
    // When `isStopped` gives true, a command is killed; but not sbatch, which may just have
    // submitted the array, nor scancel.
    CSlurm(const std::vector<std::string>& options, std::function<bool()> isStopped);

    // Gives the number of tasks that an array may have; at least 1 unless it fails.
    [[nodiscard]] std::size_t AskMaxTasks();

    // Submits an array; `job` gets its number, and is unchanged on failure. `words` are the
    // arguments of sbatch.
    [[nodiscard]] bool Submit(const std::vector<std::string>& words, std::string& job);

    // Asks for the array of this name. An array that has ended is not present any more.
    [[nodiscard]] bool AskQueue(const std::string& name, SQueueState& state);

    // Ends an array, or only those of its tasks that wait.
    [[nodiscard]] bool Cancel(const std::string& job, bool onlyWaiting);

    [[nodiscard]] const std::string& GetProblem() const { return m_problem; }

private:
    [[nodiscard]] bool Run(SExternalCommand command, const std::function<bool()>& isStopped);
    void SetClusters(const std::string& names);

    std::vector<std::string> m_cluster;  // the option for it, for each command
    std::function<bool()> m_isStopped;
    std::string m_output;
    std::string m_problem;
};

// Why this cannot be an option of sbatch, as the end of a sentence; empty for a good one. Those
// that the array needs for itself are refused.
[[nodiscard]] std::string CheckSlurmOption(const std::string& option);

// Takes the limits of an array out of what "scontrol show config" prints; 0 when arrays are off.
[[nodiscard]] std::size_t ReadMaxTasks(const std::string& configuration);

}  // namespace host
