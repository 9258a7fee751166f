// host/batch/batch_schedule.h - converts the packages of a batch, several at a time.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/batch/batch_display.h"
#include "host/batch/batch_work.h"

namespace host {

struct SBatchRun {
    SBatchCounts counts;
    // Why packages have no result of this run, by their indices: another process has them, or their
    // results could not be written.
    std::map<std::size_t, std::string> problems;
    std::set<std::size_t> taken;   // those of them that another process has
    std::size_t failedBefore = 0;  // packages that have failed in a former run, and are left so
    int endStatus = 0;             // the exit status of a signal that has ended the run, or 0
    std::string lockProblem;       // why nothing can be converted: the file system has no locks

    // Counts a package that had its result before.
    void AddKept(const SPackageResult& result);
};

// The options of the conversions as one text, for their digests.
[[nodiscard]] std::string JoinOptions(const std::vector<std::string>& options);

// Converts those of the packages that need it, in their order, at most `jobs` at a time. A package
// that another process holds is tried once more at the end; nobody is waited for.
//
// A signal (CatchBatchSignals) ends the run: no package is begun any more, and the children are
// asked to end, which leaves their packages as they were. A second one kills them.
[[nodiscard]] SBatchRun RunBatchWork(const SBatchRules& rules,
                                     const std::vector<SPackage>& packages, std::size_t jobs,
                                     const std::string& machine, CBatchDisplay& display);

}  // namespace host
