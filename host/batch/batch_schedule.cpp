#include "host/batch/batch_schedule.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <optional>

#include "host/batch/batch_signals.h"
#include "host/batch/many_messages.h"
#include "host/console.h"
#include "host/processes.h"
#include "host/system.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

// How long a child that was asked to end has for that.
constexpr std::chrono::seconds kPatienceOfTimeout{2};
constexpr std::chrono::seconds kPatienceOfSignal{10};
// How often the limits of time are looked at, and signals.
constexpr std::chrono::milliseconds kTick{100};

// An exit status above says which signal has ended a process.
constexpr int kFirstSignal = 128;

// Whether somebody else has told a child to end: by SIGHUP, SIGINT or SIGTERM, which it may have
// been too young to catch.
bool IsToldToEnd(const SChildEnd& end) {
    constexpr int kSignals[] = {1, 2, 15};
    return std::any_of(std::begin(kSignals), std::end(kSignals), [&](int number) {
        return end.signal == number || end.status == kFirstSignal + number;
    });
}

// One run of RunBatchWork.
class CSchedule {
public:
    CSchedule(const SBatchRules& rules, const std::vector<SPackage>& packages, std::size_t jobs,
              const std::string& machine, CBatchDisplay& display)
        : m_rules(rules),
          m_packages(packages),
          m_jobs(jobs),
          m_display(display),
          m_digests(machine, JoinOptions(rules.options)) {
        // After the children, which need the signals of the system as they are.
        CatchBatchSignals();
    }
    SBatchRun Run();

private:
    struct SRunning {
        std::size_t index = 0;
        std::unique_ptr<CBatchWork> work;
        std::optional<Clock::time_point> endTime;   // when it is asked to end
        std::optional<Clock::time_point> killTime;  // when it is killed
        EEnd end = EEnd::Exit;
    };

    void Convert(const std::vector<std::size_t>& indices);
    void Begin(std::size_t index);
    void Wait(std::chrono::milliseconds patience);
    void Finish(const SChildEnd& end);
    void CheckTimes();
    void EndChildren();
    void Fail(std::size_t index, const std::string& problem);
    [[nodiscard]] bool MayGoOn() const { return CountSignals() == 0 && m_run.lockProblem.empty(); }

    const SBatchRules& m_rules;
    const std::vector<SPackage>& m_packages;
    std::size_t m_jobs;
    CBatchDisplay& m_display;
    CDigests m_digests;
    SBatchRun m_run;
    std::map<std::intptr_t, SRunning> m_running;  // by the number of the child
    CChildren m_children;  // after the claims, so that they are held until all children have ended
    CManyMessages m_warnings{"warning"};
    std::vector<std::size_t> m_taken;
    int m_seenSignals = 0;
};

SBatchRun CSchedule::Run() {
    std::vector<std::size_t> indices(m_packages.size());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        indices[i] = i;
    }
    Convert(indices);
    // Once more, because who has held them may have been killed. If not, they are done or not.
    const std::vector<std::size_t> taken = std::move(m_taken);
    m_taken.clear();
    Convert(taken);
    for (const std::size_t index : m_taken) {
        ++m_run.counts.others;
        m_run.taken.insert(index);
        m_run.problems[index] = "another process converts it now";
    }
    m_run.endStatus = GetSignalStatus();
    return std::move(m_run);
}

void CSchedule::Convert(const std::vector<std::size_t>& indices) {
    auto next = indices.begin();
    while ((next != indices.end() && MayGoOn()) || !m_running.empty()) {
        while (next != indices.end() && MayGoOn() && m_running.size() < m_jobs) {
            Begin(*next++);
            // Meanwhile others may have ended.
            Wait(std::chrono::milliseconds(0));
        }
        if (!m_running.empty()) {
            Wait(kTick);
        }
    }
}

void CSchedule::Begin(std::size_t index) {
    auto work = std::make_unique<CBatchWork>(m_rules, m_packages[index]);
    const EBegin begin = work->Begin(m_digests, m_children);
    if (begin == EBegin::Started) {
        if (!work->GetWarning().empty()) {
            m_display.Clear();
            m_warnings.Tell(Printable(NameText(m_packages[index])) + ": " + work->GetWarning());
        }
        SRunning running{.index = index, .work = std::move(work), .endTime = {}, .killTime = {}};
        if (m_rules.timeout.count() != 0) {
            running.endTime = Clock::now() + m_rules.timeout;
        }
        const std::intptr_t child = running.work->GetChild();
        m_running.emplace(child, std::move(running));
    } else if (begin == EBegin::Kept) {
        m_run.AddKept(work->GetResult());
    } else if (begin == EBegin::Taken) {
        m_taken.push_back(index);
    } else {
        if (begin == EBegin::NoLocks) {
            m_run.lockProblem = work->GetProblem();
        }
        Fail(index, work->GetProblem());
    }
}

void CSchedule::Wait(std::chrono::milliseconds patience) {
    // More than one may have ended.
    for (std::optional<SChildEnd> end = m_children.WaitForAny(patience); end;
         end = m_children.WaitForAny(std::chrono::milliseconds(0))) {
        Finish(*end);
    }
    if (const int count = CountSignals(); m_seenSignals != count) {
        m_seenSignals = count;
        EndChildren();
    }
    CheckTimes();
    m_display.Show(m_run.counts, Clock::now());
}

void CSchedule::Finish(const SChildEnd& end) {
    const auto found = m_running.find(end.child);
    if (found == m_running.end()) {
        return;
    }
    const SRunning running = std::move(found->second);
    m_running.erase(found);
    CBatchWork& work = *running.work;
    // One that had begun to publish when the signal came has a result like any other.
    if (m_seenSignals != 0 && (end.signal != 0 || end.status > kFirstSignal)) {
        work.Abandon();
    } else if (running.end == EEnd::Exit && IsToldToEnd(end)) {
        // A scheduler may tell all processes to end, and the child be the first one to hear it.
        work.Abandon();
        Fail(running.index, "it was told to end, and has no result; the next run converts it");
    } else if (work.Finish(end, running.end)) {
        m_run.counts.Add(OutcomeOf(work.GetResult()));
        m_display.ShowPackage(NameText(work.GetPackage()), DescribeResult(work.GetResult()));
    } else {
        Fail(running.index, work.GetProblem());
    }
}

void CSchedule::CheckTimes() {
    const Clock::time_point now = Clock::now();
    for (auto& [child, running] : m_running) {
        if (running.killTime && now >= *running.killTime) {
            m_children.Kill(child);
        } else if (!running.killTime && running.endTime && now >= *running.endTime) {
            running.end = EEnd::Timeout;
            running.killTime = now + kPatienceOfTimeout;
            m_children.End(child);
        }
    }
}

// Asks them to end, and kills them when it is not the first time.
void CSchedule::EndChildren() {
    for (auto& [child, running] : m_running) {
        if (m_seenSignals > 1) {
            m_children.Kill(child);
        } else {
            m_children.End(child);
            running.killTime = Clock::now() + kPatienceOfSignal;
        }
    }
}

void CSchedule::Fail(std::size_t index, const std::string& problem) {
    ++m_run.counts.failed;
    m_run.problems[index] = problem;
    m_display.ShowPackage(NameText(m_packages[index]), "failed: " + problem);
}

}  // namespace

void SBatchRun::AddKept(const SPackageResult& result) {
    const EPackageOutcome outcome = OutcomeOf(result);
    ++counts.kept;
    failedBefore += outcome == EPackageOutcome::Failed ? 1 : 0;
    counts.Add(outcome);
}

std::string JoinOptions(const std::vector<std::string>& options) {
    std::string text;
    for (const std::string& option : options) {
        text += (text.empty() ? "" : " ") + option;
    }
    return text;
}

SBatchRun RunBatchWork(const SBatchRules& rules, const std::vector<SPackage>& packages,
                       std::size_t jobs, const std::string& machine, CBatchDisplay& display) {
    return CSchedule(rules, packages, jobs, machine, display).Run();
}

}  // namespace host
