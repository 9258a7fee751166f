#include "host/batch/batch_command.h"

#include <chrono>
#include <iostream>
#include <system_error>

#include "host/batch/batch_display.h"
#include "host/batch/batch_folder.h"
#include "host/batch/batch_schedule.h"
#include "host/batch/batch_signals.h"
#include "host/batch/batch_sources.h"
#include "host/batch/batch_summary.h"
#include "host/batch/slurm_engine.h"
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
                      .isRetry = command.batch.isRetry,
                      .hasSummary = !command.batch.isWithoutSummary};
    if (command.hasSums) {
        rules.options.emplace_back("--sums");
    }
    if (command.isStrict) {
        rules.options.emplace_back("--strict");
    }
    return rules;
}

std::size_t CountJobs(const SCommand& command) {
    return command.batch.jobs == 0 ? CountProcessors() : command.batch.jobs;
}

// A task runs in another folder and perhaps with another environment, so all of it goes into its
// options.
SSlurmRequest MakeSlurmRequest(const SCommand& command, const SBatchRules& rules) {
    SSlurmRequest request{.slurmOptions = command.batch.slurmOptions,
                          .taskOptions = rules.options,
                          .packagesPerTask = command.batch.packagesPerTask,
                          .jobs = command.batch.jobs,
                          .isDetached = command.batch.isDetached};
    const auto add = [&request](const char* option, const std::string& value) {
        request.taskOptions.insert(request.taskOptions.end(), {option, value});
    };
    if (command.batch.timeout != 0) {
        add("--timeout", std::to_string(command.batch.timeout));
    }
    if (command.batch.memory != 0) {
        add("--memory", std::to_string(command.batch.memory));
    }
    if (command.batch.isRetry) {
        request.taskOptions.emplace_back("--retry");
    }
    // The option has set the variable too.
    const std::filesystem::path machine = platform::GetPathVariable("ORVCASCONV_MACHINE");
    if (!machine.empty()) {
        add("--machine", machine == "built-in"
                             ? "built-in"
                             : platform::PathBytes(std::filesystem::absolute(machine)));
    }
    return request;
}

void WriteSlurmRun(const SSlurmRun& slurm, CJsonWriter& json) {
    if (slurm.waiting != 0) {
        json.Key("waiting");
        json.Number(static_cast<std::int64_t>(slurm.waiting));
    }
    if (!slurm.job.empty()) {
        json.Key("job");
        json.Ascii(slurm.job);
        json.Key("tasks");
        json.Number(static_cast<std::int64_t>(slurm.tasks));
    }
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
    if (!run.lockProblem.empty()) {
        Complain("the file system of the output has no locks, so nothing can be converted there: " +
                 run.lockProblem);
    }
    if (run.endStatus != 0) {
        Complain("ended by a signal; the same command goes on with the packages that are left");
    }
}

int ConvertPackages(const SCommand& command, const SBatchRules& rules, const SSources& sources,
                    CJsonWriter& json) {
    const SShare share{command.batch.share, command.batch.shares};
    const std::vector<SPackage> own = TakeShare(sources.packages, share);
    CBatchDisplay display(ChooseDisplay(command.progress), own.size(), &WriteTerminal,
                          &GetTerminalSize, std::chrono::steady_clock::now());
    const std::string machine = HashOf(platform::DescribeMachine());
    SSlurmRun slurm;
    if (command.batch.usesSlurm) {
        slurm = RunOnSlurm(rules, own, MakeSlurmRequest(command, rules), machine, display);
        WriteSlurmRun(slurm, json);
    }
    const SBatchRun run = command.batch.usesSlurm
                              ? slurm.run
                              : RunBatchWork(rules, own, CountJobs(command), machine, display);
    display.Clear();
    LetSignalsEnd();
    if (slurm.hasFailed || slurm.waiting != 0) {
        return run.endStatus != 0                         ? run.endStatus
               : slurm.hasFailed || sources.problems != 0 ? kExitFailed
                                                          : kExitDone;
    }
    const int status =
        SumUpBatch(rules, sources.packages, share, run, command.isJson ? &json : nullptr);
    // Whoever writes the summary cleans up too: it takes time for all that others have there.
    if (rules.hasSummary) {
        RemoveLeftovers(rules.folder / kWorkFolder);
    }
    TellEnd(run);
    return run.endStatus != 0 ? run.endStatus : sources.problems != 0 ? kExitFailed : status;
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
    return ConvertPackages(command, MakeRules(command, folder), sources, json);
}

}  // namespace host
