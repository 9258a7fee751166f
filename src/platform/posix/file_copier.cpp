#include <condition_variable>
#include <mutex>
#include <queue>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/posix/copy_file.h"
#include "platform/status.h"

namespace platform {

namespace {

// Copies change hands by the batch, for waking a thread costs as much as copying a small file. A
// batch is full at so many files or so many bytes; the number of waiting batches bounds the open
// files.
constexpr std::size_t kBatchFiles = 64;
constexpr off_t kBatchBytes = 1 << 20;
constexpr std::size_t kMaxWaiting = 2;

struct SJob {
    std::u16string source;
    std::u16string destination;
    SFileCopy copy;
};

struct SBatch {
    std::vector<SJob> jobs;
    off_t bytes = 0;
};

void MoveData(SBatch& batch) {
    for (SJob& job : batch.jobs) {
        MoveData(job.copy);
    }
}

}  // namespace

// The thread that moves data is started with the first full batch. The batches come back in the
// order in which they were handed over, so that only the owner's thread deals with folders.
struct CFileCopier::SState {
    explicit SState(Failed toTell) : failed(std::move(toTell)) {}

    void Add(SJob job);
    void HandOver();
    void Finish();
    void EndThread();

    Failed failed;

private:
    bool StartThread();
    void Run();
    // Deals with what has come back; with `all`, waits for everything to come back.
    void TakeBack(std::unique_lock<std::mutex>& lock, bool all);
    void End(SBatch& batch);

    SBatch m_batch;  // still filled, the owner's alone
    std::thread m_thread;

    std::mutex m_mutex;
    std::condition_variable m_toThread;
    std::condition_variable m_toOwner;
    std::queue<SBatch> m_waiting;
    std::queue<SBatch> m_done;
    std::size_t m_underWay = 0;  // batches that have not come back
    bool m_isEnding = false;
};

void CFileCopier::SState::Add(SJob job) {
    m_batch.bytes += job.copy.sourceInfo.st_size;
    m_batch.jobs.push_back(std::move(job));
    if (m_batch.jobs.size() >= kBatchFiles || m_batch.bytes >= kBatchBytes) {
        HandOver();
    }
}

void CFileCopier::SState::HandOver() {
    SBatch batch = std::exchange(m_batch, {});
    m_batch.jobs.reserve(kBatchFiles);
    if (!StartThread()) {
        MoveData(batch);
        End(batch);
        return;
    }
    std::unique_lock lock(m_mutex);
    m_toOwner.wait(lock, [this] { return m_waiting.size() < kMaxWaiting; });
    m_waiting.push(std::move(batch));
    ++m_underWay;
    m_toThread.notify_one();
    TakeBack(lock, false);
}

bool CFileCopier::SState::StartThread() {
    if (!m_thread.joinable()) {
        try {
            m_thread = std::thread(&SState::Run, this);
        } catch (const std::system_error&) {
            return false;  // The owner's thread can do it as well.
        }
    }
    return true;
}

void CFileCopier::SState::Run() {
    std::unique_lock lock(m_mutex);
    while (true) {
        m_toThread.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            return;
        }
        SBatch batch = std::move(m_waiting.front());
        m_waiting.pop();
        lock.unlock();
        MoveData(batch);
        lock.lock();
        m_done.push(std::move(batch));
        m_toOwner.notify_one();
    }
}

void CFileCopier::SState::TakeBack(std::unique_lock<std::mutex>& lock, bool all) {
    while (m_underWay > 0) {
        if (all) {
            m_toOwner.wait(lock, [this] { return !m_done.empty(); });
        }
        if (m_done.empty()) {
            return;
        }
        SBatch batch = std::move(m_done.front());
        m_done.pop();
        --m_underWay;
        lock.unlock();
        End(batch);
        lock.lock();
    }
}

void CFileCopier::SState::End(SBatch& batch) {
    for (SJob& job : batch.jobs) {
        int status = EndCopy(job.copy);
        if (status == ERROR_FILE_EXISTS) {
            status = CopyFile(job.source.c_str(), job.destination.c_str(), EExisting::Replace);
        }
        if (status != ERROR_SUCCESS && failed) {
            failed(job.source, SetLastError(status));
        }
    }
}

void CFileCopier::SState::Finish() {
    SBatch last = std::exchange(m_batch, {});
    // Rather than to wait for the thread, the owner moves the last ones itself.
    MoveData(last);
    {
        std::unique_lock lock(m_mutex);
        TakeBack(lock, true);
    }
    End(last);
}

void CFileCopier::SState::EndThread() {
    if (m_thread.joinable()) {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
        }
        m_toThread.notify_one();
        m_thread.join();
    }
}

CFileCopier::CFileCopier(Failed failed) : m_state(std::make_unique<SState>(std::move(failed))) {}

CFileCopier::~CFileCopier() {
    m_state->failed = nullptr;
    m_state->Finish();
    m_state->EndThread();
}

int CFileCopier::Copy(const char16_t* source, const char16_t* destination, EExisting existing) {
    SJob job;
    int status = PlaceCopy(source, destination, job.copy);
    if (status == ERROR_FILE_EXISTS || status == ERROR_TOO_MANY_OPEN_FILES) {
        // What may be there already may also be still to be made.
        m_state->Finish();
        job.copy = {};
        status = BeginCopy(source, destination, existing, job.copy);
    }
    if (status != ERROR_SUCCESS) {
        return SetLastError(status);
    }
    job.source = source;
    job.destination = destination;
    m_state->Add(std::move(job));
    return ERROR_SUCCESS;
}

void CFileCopier::Finish() { m_state->Finish(); }

}  // namespace platform
