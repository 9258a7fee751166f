// host/batch/batch_summary.h - what all packages of a batch have come to.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/json_writer.h"
#include "host/batch/batch_schedule.h"
#include "host/batch/batch_sources.h"
#include "host/batch/batch_work.h"

namespace host {

// A share of the packages: every `count`th one, from the one with the number `number` - 1 on.
struct SShare {
    std::size_t number = 1;
    std::size_t count = 1;
};

// Reads the results of all packages and writes summary.json and summary.csv; without a summary it
// reads those of the share only. Tells on stderr what of the share has failed or is not whole, and
// why, and of all that the most frequent reasons. With `json` the members of the command's object
// are written. Returns the exit status for the share.
[[nodiscard]] int SumUpBatch(const SBatchRules& rules, const std::vector<SPackage>& packages,
                             const SShare& share, const SBatchRun& run, CJsonWriter* json);

}  // namespace host
