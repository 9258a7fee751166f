#include "host/batch/queue_watch.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::chrono::milliseconds kFirstPause{1000};
constexpr std::chrono::milliseconds kLongestPause{30'000};
// A controller that is started anew needs less.
constexpr std::chrono::minutes kPatience{10};
// Arrays wait for their turn; this is when people begin to wonder.
constexpr std::chrono::seconds kUsualWait{15};

}  // namespace

void CQueueWatch::Expect(const std::string& job) {
    m_job = job;
    m_state = {.isPresent = true, .isRunning = false, .job = job, .reason = {}};
    const Time now = std::chrono::steady_clock::now();
    m_answered = now;
    m_busy = now;
    Hurry();
}

void CQueueWatch::Hurry() {
    m_pause = kFirstPause;
    m_next = std::min(m_next, std::chrono::steady_clock::now() + m_pause);
}

bool CQueueWatch::Ask(CSlurm& slurm, Time now) {
    m_pause = std::clamp(m_pause * 3 / 2, kFirstPause, kLongestPause);
    SQueueState state;
    const bool isAnswered = slurm.AskQueue(m_name, state);
    m_next = std::chrono::steady_clock::now() + m_pause;
    if (m_answered == Time()) {
        m_answered = now;
        m_busy = now;
    }
    if (!isAnswered) {
        m_problem = slurm.GetProblem();
        return false;
    }
    m_answered = now;
    m_problem.clear();
    m_isProblemTold = false;
    m_state = state;
    m_job = state.job.empty() ? m_job : state.job;
    m_busy = state.isRunning ? now : m_busy;
    return true;
}

bool CQueueWatch::MayCome(Time now) const {
    return m_state.isPresent && now - m_answered < kPatience;
}

std::string CQueueWatch::TakeMessage(Time now) {
    if (!m_problem.empty() && !m_isProblemTold) {
        m_isProblemTold = true;
        return m_problem + "; trying again";
    }
    const bool isWaiting = m_state.isPresent && !m_state.isRunning && !m_state.reason.empty();
    if (isWaiting && now - m_busy >= kUsualWait && m_toldReason != m_state.reason) {
        m_toldReason = m_state.reason;
        return "no task of job " + m_job + " runs: " + m_state.reason;
    }
    return "";
}

std::string CQueueWatch::DescribeEnd() const {
    return m_problem.empty() ? "has ended" : "could not be followed any more";
}

}  // namespace host
