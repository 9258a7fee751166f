// host/batch/task_size.h - how many packages one task of an array converts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/batch/batch_sources.h"

namespace host {

// What conversions take on average.
struct SPackageTime {
    double seconds = 0;
    std::string basis;  // where that is from, for people
};

// Estimates it from the sizes of captured trees. A few packages are looked at: of each some
// hundred folders are listed, some thousand files are counted, and the sizes of some hundred files
// are asked for. So it takes no time worth counting.
[[nodiscard]] SPackageTime EstimateTime(const std::vector<const SPackage*>& packages);

// How many packages make a task of some minutes, an allocation being dear, without more than
// `maxTasks` tasks. At least 1.
[[nodiscard]] std::size_t ChoosePackagesPerTask(std::size_t packages, double seconds,
                                                std::size_t maxTasks);

}  // namespace host
