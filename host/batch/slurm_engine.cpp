#include "host/batch/slurm_engine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <system_error>
#include <thread>

#include "host/batch/batch_folder.h"
#include "host/batch/batch_signals.h"
#include "host/batch/many_messages.h"
#include "host/batch/queue_watch.h"
#include "host/batch/result_watch.h"
#include "host/batch/slurm_array.h"
#include "host/batch/slurm_commands.h"
#include "host/batch/task_size.h"
#include "host/console.h"
#include "host/path_rules.h"
#include "host/processes.h"
#include "host/status_text.h"
#include "host/system.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTick{100};
// How long the tasks have to end when there is nothing left for them to do, or after a signal.
constexpr std::chrono::seconds kPatienceOfEnd{60};
constexpr std::chrono::seconds kPatienceOfEarlier{5};  // it may have packages of other runs
constexpr std::chrono::seconds kPatienceOfSignal{10};

bool IsStopped() { return GetSignalStatus() != 0; }

std::string ShowSeconds(double seconds) {
    char text[32];
    constexpr double kLong = 10;
    std::snprintf(text, sizeof text, "%.*f", seconds < kLong ? 2 : 0, seconds);
    return text;
}

// An array with packages of this run.
struct SArray {
    SArrayFiles files;
    CQueueWatch watch;
    bool isOwn = false;
    bool isUsed = false;  // whether it has had packages of this run
    bool isCancelled = false;
    std::size_t waiting = 0;  // packages without a result
};

// One run of RunOnSlurm.
class CSlurmEngine {
public:
    CSlurmEngine(const SBatchRules& rules, const std::vector<SPackage>& packages,
                 const SSlurmRequest& request, const std::string& machine, CBatchDisplay& display)
        : m_rules(rules),
          m_packages(packages),
          m_request(request),
          m_display(display),
          m_digests(machine, JoinOptions(rules.options)),
          m_slurm(request.slurmOptions, [this] { return IsInterrupted(); }),
          m_results(rules, packages, [this](const SAwaited& awaited, const SPackageResult& result) {
              Take(awaited, result);
          }) {
        CatchBatchSignals();
    }
    SSlurmRun Run();

private:
    [[nodiscard]] bool Prepare();
    [[nodiscard]] bool HoldSubmission();
    [[nodiscard]] bool FindEarlierArrays();
    [[nodiscard]] bool SortOut();
    [[nodiscard]] bool Submit();
    [[nodiscard]] bool SubmitArray(SArray& array, const STaskPlan& plan);
    [[nodiscard]] bool MakePlan(const std::vector<const SPackage*>& packages, STaskPlan& plan);
    void TellSubmission(const STaskPlan& plan, const SPackageTime& time);
    void TellArrays();

    void Wait();
    void Take(const SAwaited& awaited, const SPackageResult& result);
    [[nodiscard]] bool FollowArrays();
    // Whether a command of Slurm is not to be waited for any more.
    [[nodiscard]] bool IsInterrupted() const { return CountSignals() != m_seenSignals; }
    void CancelOwn();
    void WaitForStaleFolders();
    void Finish();
    void Say(const std::string& line);
    void Warn(const std::string& problem);
    bool Fail(const std::string& problem);

    const SBatchRules& m_rules;
    const std::vector<SPackage>& m_packages;
    const SSlurmRequest& m_request;
    CBatchDisplay& m_display;
    CDigests m_digests;
    CSlurm m_slurm;
    CHeldFile m_submission;
    CManyMessages m_warnings{"warning"};
    SSlurmRun m_result;
    std::vector<SArray> m_arrays;
    std::map<std::string, std::size_t> m_earlier;  // arrays by the names of their packages
    std::vector<SAwaited> m_new;                   // packages that no array has yet
    CResultWatch m_results;                        // of those that an array has
    double m_seconds = 0;                          // of all known results
    std::size_t m_timed = 0;
    int m_seenSignals = 0;                    // how many signals the run has acted on
    std::optional<Clock::time_point> m_done;  // when all had their results
    std::optional<Clock::time_point> m_end;   // when the tasks are waited for no longer
};

void CSlurmEngine::Say(const std::string& line) {
    m_display.Clear();
    WriteTerminal(line + '\n');
}

void CSlurmEngine::Warn(const std::string& problem) {
    m_display.Clear();
    Tell({.level = "warning", .text = problem}, "cas2orv: warning: " + problem);
}

bool CSlurmEngine::Fail(const std::string& problem) {
    m_display.Clear();
    Complain(problem);
    m_result.hasFailed = true;
    return false;
}

SSlurmRun CSlurmEngine::Run() {
    if (Prepare()) {
        TellArrays();
        if (m_result.waiting == 0) {
            Wait();
            Finish();
        }
    }
    m_result.run.endStatus = GetSignalStatus();
    return std::move(m_result);
}

bool CSlurmEngine::Prepare() {
    const bool isReady = HoldSubmission() && FindEarlierArrays() && SortOut() &&
                         (m_new.empty() || IsStopped() || Submit());
    m_submission.Release();
    return isReady;
}

// Two runs that look for packages at once would both submit them.
bool CSlurmEngine::HoldSubmission() {
    const std::filesystem::path folder = m_rules.folder / kWorkFolder;
    const std::error_code error = HoldWorkFile(m_submission, folder, kSubmissionName);
    if (error == std::errc::resource_unavailable_try_again) {
        return Fail("another run is submitting packages of this output; try again when it has");
    }
    return !error ||
           Fail("no file in " + Quote(folder) + " can be locked: " + DescribeError(error));
}

// What is left of arrays that have ended is removed.
bool CSlurmEngine::FindEarlierArrays() {
    for (const SArrayFiles& files : FindArrays(m_rules.folder)) {
        SArray array{.files = files, .watch = CQueueWatch(files.GetJobName())};
        if (!array.watch.Ask(m_slurm, Clock::now())) {
            return IsStopped() ||
                   Fail("it cannot be told whether the array of a former run is in the queue: " +
                        m_slurm.GetProblem());
        }
        if (!array.watch.IsPresent()) {
            RemoveArrayFiles(files);
            continue;
        }
        std::set<std::string> names;
        if (!ReadArrayNames(files, names)) {
            return Fail(Quote(files.list) + " cannot be read; job " + array.watch.GetJob() +
                        " needs it too: cancel that one, and remove the file");
        }
        for (const std::string& name : names) {
            m_earlier[name] = m_arrays.size();
        }
        m_arrays.push_back(std::move(array));
    }
    return true;
}

// Finds out which packages need work, and which of these are in the queue. A package without a
// result is not hashed here, and neither is one whose hives are unchanged.
bool CSlurmEngine::SortOut() {
    for (std::size_t index = 0; index < m_packages.size() && !IsStopped(); ++index) {
        const SPackage& package = m_packages[index];
        SAwaited awaited{.index = index, .array = 0, .before = {}};
        // Before the result is read, so that a later one is seen as another one.
        awaited.before = GetFileState(ResultFolder(m_rules, package) / kResultFile);
        CBatchWork work(m_rules, package);
        const bool isDone = work.IsDone(m_digests);
        if (!work.GetWarning().empty()) {
            m_display.Clear();
            m_warnings.Tell(Printable(NameText(package)) + ": " + work.GetWarning());
        }
        if (work.GetResult().seconds > 0) {
            m_seconds += work.GetResult().seconds;
            ++m_timed;
        }
        const auto earlier = m_earlier.find(package.name);
        if (isDone) {
            m_result.run.AddKept(work.GetResult());
        } else if (earlier != m_earlier.end()) {
            awaited.array = earlier->second;
            ++m_arrays[awaited.array].waiting;
            m_arrays[awaited.array].isUsed = true;
            m_results.Add(awaited);
        } else if (!CanBeListed(package)) {
            return Fail("the path " + Quote(package.profile) +
                        " has a line end, so no list can name it; rename the folder, or use the "
                        "local engine");
        } else {
            m_new.push_back(awaited);
        }
        m_display.Show(m_result.run.counts, Clock::now());
    }
    return true;
}

bool CSlurmEngine::MakePlan(const std::vector<const SPackage*>& packages, STaskPlan& plan) {
    const std::size_t maxTasks = m_slurm.AskMaxTasks();
    if (maxTasks == 0) {
        return Fail(m_slurm.GetProblem());
    }
    const SPackageTime time =
        m_timed == 0 ? EstimateTime(packages)
                     : SPackageTime{m_seconds / static_cast<double>(m_timed), "by earlier results"};
    const std::size_t jobs = std::max<std::size_t>(1, m_request.jobs);
    plan = {.packagesPerTask = m_request.packagesPerTask,
            .tasks = 0,
            .jobs = m_request.jobs,
            .options = m_request.taskOptions};
    if (plan.packagesPerTask == 0) {
        plan.packagesPerTask = ChoosePackagesPerTask(
            packages.size(), time.seconds / static_cast<double>(jobs), maxTasks);
    }
    plan.tasks = (packages.size() + plan.packagesPerTask - 1) / plan.packagesPerTask;
    if (plan.tasks > maxTasks) {
        return Fail("an array of this Slurm may have " + Count(maxTasks, "task") +
                    "; give --packages-per-task at least " +
                    std::to_string((packages.size() + maxTasks - 1) / maxTasks));
    }
    TellSubmission(plan, time);
    return true;
}

void CSlurmEngine::TellSubmission(const STaskPlan& plan, const SPackageTime& time) {
    const std::string words =
        m_request.packagesPerTask != 0
            ? std::string()
            : ", each about " + ShowSeconds(time.seconds) + " s " + time.basis;
    Say("submitting " + Count(m_new.size(), "package") + " in " + Count(plan.tasks, "task") +
        " of up to " + std::to_string(plan.packagesPerTask) + words);
}

bool CSlurmEngine::Submit() {
    std::vector<const SPackage*> packages;
    for (const SAwaited& awaited : m_new) {
        packages.push_back(&m_packages[awaited.index]);
    }
    STaskPlan plan;
    if (!MakePlan(packages, plan)) {
        return false;
    }
    const SArrayFiles files(m_rules.folder, MakeArrayId());
    SArray array{.files = files, .watch = CQueueWatch(files.GetJobName()), .isOwn = true};
    std::string reason = "this system has no random numbers";
    if (files.id.empty() || !WriteArrayFiles(files, packages, reason)) {
        return Fail(Quote(files.list) + " cannot be written: " + reason);
    }
    if (!SubmitArray(array, plan)) {
        return false;
    }
    array.watch.Expect(m_result.job);
    array.waiting = m_new.size();
    m_result.tasks = plan.tasks;
    for (SAwaited& awaited : m_new) {
        awaited.array = m_arrays.size();
        m_results.Add(awaited);
    }
    m_arrays.push_back(std::move(array));
    return true;
}

bool CSlurmEngine::SubmitArray(SArray& array, const STaskPlan& plan) {
    const std::filesystem::path program = GetProgramFile();
    if (program.empty()) {
        RemoveArrayFiles(array.files);
        return Fail("the file of this program is gone or was replaced; start the new one");
    }
    if (m_slurm.Submit(
            MakeSubmission(array.files, m_rules.folder, program, plan, m_request.slurmOptions),
            m_result.job)) {
        return true;
    }
    const std::string problem = m_slurm.GetProblem();
    // When the answer was lost the array is there all the same.
    if (!array.watch.Ask(m_slurm, Clock::now())) {
        return Fail("it is not known whether the packages were submitted: " + problem +
                    "; the same command finds out when Slurm answers");
    }
    if (!array.watch.IsPresent()) {
        RemoveArrayFiles(array.files);
        return Fail("nothing was submitted: " + problem);
    }
    m_result.job = array.watch.GetJob();
    return true;
}

void CSlurmEngine::TellArrays() {
    for (const SArray& array : m_arrays) {
        if (array.waiting != 0) {
            Say((array.isOwn ? "submitted as job " : "still in the queue is job ") +
                array.watch.GetJob() + " with " + Count(array.waiting, "package"));
        }
    }
    m_result.waiting = m_request.isDetached ? m_results.GetAwaited().size() : 0;
    if (m_result.waiting != 0) {
        Say("the same command without --detach waits for it and writes the summary");
    }
}

// Asks the queue for the arrays and tells what is wrong with them. False when there is nothing to
// wait for any more.
bool CSlurmEngine::FollowArrays() {
    const Clock::time_point now = Clock::now();
    bool mayCome = false;
    for (SArray& array : m_arrays) {
        const bool isEnding = array.isUsed && (!m_done || now < *m_done + kPatienceOfEarlier);
        const bool isOfInterest = array.waiting != 0 || array.isOwn || isEnding;
        if (isOfInterest && array.watch.IsDue(now)) {
            static_cast<void>(array.watch.Ask(m_slurm, now));  // a failure is told by TakeMessage
        }
        const std::string words = array.watch.TakeMessage(now);
        if (isOfInterest && !words.empty()) {
            Warn(words);
        }
        mayCome = mayCome || (isOfInterest && array.watch.MayCome(now));
    }
    return mayCome;
}

void CSlurmEngine::Wait() {
    while (FollowArrays() && (!m_end || Clock::now() < *m_end)) {
        if (IsInterrupted()) {
            // After the first signal the tasks have time to end; a second one ends the wait.
            const bool isFirst = m_seenSignals == 0;
            m_seenSignals = CountSignals();
            m_end = Clock::now() + (isFirst ? kPatienceOfSignal : std::chrono::seconds(0));
            CancelOwn();
        } else if (!m_end && m_results.GetAwaited().empty()) {
            m_done = Clock::now();
            m_end = *m_done + kPatienceOfEnd;
            CancelOwn();
        }
        m_results.Look();
        m_display.Show(m_result.run.counts, Clock::now());
        std::this_thread::sleep_for(kTick);
    }
    if (!IsStopped() && !m_results.GetAwaited().empty()) {
        WaitForStaleFolders();
    }
}

// After a signal all of it; otherwise tasks that wait but have nothing left to do.
void CSlurmEngine::CancelOwn() {
    for (SArray& array : m_arrays) {
        array.watch.Hurry();
        if (!array.isOwn) {
            continue;
        }
        array.isCancelled = m_slurm.Cancel(array.watch.GetJob(), !IsStopped());
        if (!array.isCancelled && IsStopped()) {
            Warn("job " + array.watch.GetJob() + " was not cancelled: " + m_slurm.GetProblem() +
                 "; end it by scancel --name=" + array.files.GetJobName());
        }
    }
}

void CSlurmEngine::Take(const SAwaited& awaited, const SPackageResult& result) {
    --m_arrays[awaited.array].waiting;
    m_result.run.counts.Add(OutcomeOf(result));
    m_display.ShowPackage(NameText(m_packages[awaited.index]), DescribeResult(result));
}

// This machine may not see yet what a node has written just before the array ended.
void CSlurmEngine::WaitForStaleFolders() {
    const Clock::time_point end = Clock::now() + GetStaleTime(m_rules.folder);
    do {
        m_results.LookForAll();
        m_display.Show(m_result.run.counts, Clock::now());
        std::this_thread::sleep_for(kTick);
    } while (!m_results.GetAwaited().empty() && Clock::now() < end && !IsStopped());
}

void CSlurmEngine::Finish() {
    for (const SAwaited& awaited : m_results.GetAwaited()) {
        const SArray& array = m_arrays[awaited.array];
        if (!IsStopped()) {
            m_result.run.problems[awaited.index] = "job " + array.watch.GetJob() + " " +
                                                   array.watch.DescribeEnd() + " without a result";
            ++m_result.run.counts.failed;
        }
    }
    for (const SArray& array : m_arrays) {
        if (!array.watch.IsPresent() && array.waiting == 0) {
            RemoveArrayFiles(array.files);
        } else if (array.waiting != 0 && !IsStopped()) {
            Warn(Count(array.waiting, "package") + " of job " + array.watch.GetJob() +
                 " got no result; the same command submits them again. What its "
                 "tasks have said is in " +
                 Quote(GetMessagesPattern(array.files)));
        } else if (IsStopped() && array.isCancelled) {
            Say("job " + array.watch.GetJob() + " is cancelled");
        }
    }
}

}  // namespace

SSlurmRun RunOnSlurm(const SBatchRules& rules, const std::vector<SPackage>& packages,
                     const SSlurmRequest& request, const std::string& machine,
                     CBatchDisplay& display) {
    return CSlurmEngine(rules, packages, request, machine, display).Run();
}

}  // namespace host
