#include "host/batch/batch_command.h"

#include <chrono>
#include <iostream>
#include <system_error>

#include "host/batch/batch_display.h"
#include "host/batch/batch_folder.h"
#include "host/batch/batch_schedule.h"
#include "host/batch/batch_sources.h"
#include "host/batch/batch_summary.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/path_rules.h"
#include "host/processes.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/machine_report.h"

namespace host {

namespace {

SBatchRules MakeRules(const SCommand& command, const std::filesystem::path& folder) {
    constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;
    SBatchRules rules{.folder = folder,
                      .options = {},
                      .maxMemory = command.batch.memory * kMebibyte,
                      .timeout = std::chrono::seconds(command.batch.timeout),
                      .isRetry = command.batch.isRetry};
    if (command.hasSums) {
        rules.options.emplace_back("--sums");
    }
    if (command.isStrict) {
        rules.options.emplace_back("--strict");
    }
    return rules;
}

std::vector<SPackage> TakeShare(const std::vector<SPackage>& packages, const SShare& share) {
    std::vector<SPackage> own;
    for (std::size_t i = share.number - 1; i < packages.size(); i += share.count) {
        own.push_back(packages[i]);
    }
    return own;
}

EProgressDisplay ChooseDisplay(EProgressStyle style) {
    return style == EProgressStyle::None                    ? EProgressDisplay::None
           : style == EProgressStyle::Auto && HasTerminal() ? EProgressDisplay::Block
                                                            : EProgressDisplay::Lines;
}

bool MakeOutput(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(DeepPath(folder), error);
    if (error) {
        Complain("the folder " + Quote(folder) + " cannot be made: " + DescribeError(error));
    }
    return !error;
}

void TellEnd(const SBatchRun& run) {
    if (!run.hasLocks) {
        Complain("the file system of the output has no locks, so nothing can be converted there; " +
                 run.problems.rbegin()->second);
    }
    if (run.endStatus != 0) {
        Complain("ended by a signal; the same command goes on with the packages that are left");
    }
}

}  // namespace

int RunBatch(const SCommand& command, CJsonWriter& json) {
    const std::filesystem::path folder = AbsolutePath(platform::LocalPath(command.output));
    if (folder.empty()) {
        Complain("the folder " + Quote(command.output) +
                 " cannot be found; name it by its full path");
        return kExitFailed;
    }
    const SSources sources = FindSources(command.paths, folder, std::cin);
    if (sources.isWrong) {
        return kExitUsage;
    }
    if (sources.packages.empty()) {
        Complain("there is no package to convert");
        return kExitFailed;
    }
    if (!MakeOutput(folder)) {
        return kExitFailed;
    }
    const SShare share{command.batch.share, command.batch.shares};
    const std::vector<SPackage> own = TakeShare(sources.packages, share);
    const SBatchRules rules = MakeRules(command, folder);
    CBatchDisplay display(ChooseDisplay(command.progress), own.size(), &WriteTerminal,
                          &GetTerminalSize, std::chrono::steady_clock::now());
    const std::size_t jobs = command.batch.jobs == 0 ? CountProcessors() : command.batch.jobs;
    const SBatchRun run =
        RunBatchWork(rules, own, jobs, HashOf(platform::DescribeMachine()), display);
    display.Clear();
    const int status =
        SumUpBatch(rules, sources.packages, share, run, command.isJson ? &json : nullptr);
    RemoveLeftovers(folder / kWorkFolder);
    TellEnd(run);
    return run.endStatus != 0 ? run.endStatus : sources.problems != 0 ? kExitFailed : status;
}

}  // namespace host
