// host/batch/queue_watch.h - what is known of an array in the queue of Slurm.
#pragma once

#include <chrono>
#include <string>

#include "host/batch/slurm_commands.h"

namespace host {

// Asks for an array, first often and then rarely. A failure of squeue ends nothing: the controller
// may be started anew, and arrays survive that. One thread at a time.
class CQueueWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit CQueueWatch(const std::string& name) : m_name(name) {}

    // The array was submitted as this job just now.
    void Expect(const std::string& job);

    // Asks once. False when that fails.
    [[nodiscard]] bool Ask(CSlurm& slurm, Time now);
    [[nodiscard]] bool IsDue(Time now) const { return now >= m_next; }
    // From here on it is asked for often again.
    void Hurry();

    // Whether it was there when it was last asked for.
    [[nodiscard]] bool IsPresent() const { return m_state.isPresent; }
    // Whether results may still come: it is there, and squeue has not failed for too long.
    [[nodiscard]] bool MayCome(Time now) const;
    [[nodiscard]] const std::string& GetJob() const { return m_job; }

    // What is to be told, once: that squeue fails, and why no task begins. Empty for nothing.
    [[nodiscard]] std::string TakeMessage(Time now);
    // What has become of the job, after its number in a sentence.
    [[nodiscard]] std::string DescribeEnd() const;

private:
    std::string m_name;
    std::string m_job;
    SQueueState m_state;
    Time m_next{};
    std::chrono::milliseconds m_pause{0};
    Time m_answered{};      // when squeue last succeeded
    Time m_busy{};          // when a task last ran, or it was first asked for
    std::string m_problem;  // of squeue, if it fails now
    bool m_isProblemTold = false;
    std::string m_toldReason;
};

}  // namespace host
