// host/batch/slurm_engine.h - has the packages of a batch converted by a job array of Slurm.
//
// Each task of the array runs "cas2orv batch" over a part of a list, so claims and results are
// those of any batch. Nothing of Slurm is used but its commands, and nothing is remembered but the
// files of slurm_array.h.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/batch/batch_display.h"
#include "host/batch/batch_schedule.h"
#include "host/batch/batch_work.h"

namespace host {

struct SSlurmRequest {
    std::vector<std::string> slurmOptions;  // for sbatch
    std::vector<std::string> taskOptions;   // for the batch of each task
    std::size_t packagesPerTask = 0;        // 0 for as many as take some minutes
    std::size_t jobs = 0;                   // at a time in a task; 0 for its number of processors
    bool isDetached = false;                // whether not to wait for the array
};

struct SSlurmRun {
    SBatchRun run;
    bool hasFailed = false;   // whether nothing could be submitted; it was told why
    std::size_t waiting = 0;  // packages that are left to arrays that nobody waits for
    std::string job;          // the number of the array that was submitted, or empty
    std::size_t tasks = 0;
};

// Submits those of the packages that need work as one array, and waits for them. Packages that an
// array of a former run still has in the queue are waited for and not submitted again.
//
// A signal cancels the own array and ends the run. What tells of a package's end is its result; the
// queue is asked only whether more can come. A package whose array is gone without a result is a
// problem of the run.
[[nodiscard]] SSlurmRun RunOnSlurm(const SBatchRules& rules, const std::vector<SPackage>& packages,
                                   const SSlurmRequest& request, const std::string& machine,
                                   CBatchDisplay& display);

}  // namespace host
