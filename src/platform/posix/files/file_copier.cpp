#include <atomic>
#include <deque>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/posix/files/copy_file.h"
#include "platform/status.h"
#include "platform/threads.h"

namespace platform {

namespace {

// Copies change hands by the batch, for waking a thread costs as much as copying a small file. A
// batch is full at so many files or so many bytes; the number of waiting batches bounds the open
// files to some 130, far from the usual limit of 1024.
constexpr std::size_t kBatchFiles = 32;
constexpr off_t kBatchBytes = 1 << 20;
constexpr std::size_t kMaxWaiting = 2;

struct SCopyJob {
    std::u16string source;
    std::u16string destination;
    SFileCopy copy;
};

struct SBatch {
    std::vector<SCopyJob> jobs;
    off_t bytes = 0;
    std::atomic<bool> isDone = false;

    SBatch() { jobs.reserve(kBatchFiles); }

    void Run() {
        for (SCopyJob& job : jobs) {
            MoveData(job.copy);
        }
        isDone = true;
    }
};

}  // namespace

// Other threads do nothing but move data: what comes before and after deals with folders, and is
// left to the owner's thread, which takes the batches back in their order.
struct CFileCopier::SState {
    explicit SState(Failed toTell) : failed(std::move(toTell)) {}

    void Add(SCopyJob job);
    void Finish();

    Failed failed;

private:
    const std::shared_ptr<SBatch>& BeginNext();
    void HandOver();
    void TakeBack();
    void EndFirst();
    void End(SBatch& batch) const;

    std::shared_ptr<SBatch> m_batch = std::make_shared<SBatch>();  // still filled
    std::deque<std::shared_ptr<SBatch>> m_underWay;
    CJobQueue m_queue{kMaxWaiting};
};

void CFileCopier::SState::Add(SCopyJob job) {
    m_batch->bytes += job.copy.sourceInfo.st_size;
    m_batch->jobs.push_back(std::move(job));
    if (m_batch->jobs.size() >= kBatchFiles || m_batch->bytes >= kBatchBytes) {
        HandOver();
        TakeBack();
    }
}

// Puts the filled batch under way, and has an empty one take its place. Where there is no memory
// for that, nothing changes.
const std::shared_ptr<SBatch>& CFileCopier::SState::BeginNext() {
    auto next = std::make_shared<SBatch>();
    m_underWay.push_back(m_batch);
    m_batch = std::move(next);
    return m_underWay.back();
}

void CFileCopier::SState::HandOver() {
    m_queue.Add([batch = BeginNext()] { batch->Run(); });
}

void CFileCopier::SState::TakeBack() {
    while (!m_underWay.empty() && m_underWay.front()->isDone) {
        EndFirst();
    }
}

void CFileCopier::SState::EndFirst() {
    const std::shared_ptr<SBatch> batch = std::move(m_underWay.front());
    m_underWay.pop_front();
    End(*batch);
}

void CFileCopier::SState::End(SBatch& batch) const {
    for (SCopyJob& job : batch.jobs) {
        int status = EndCopy(job.copy);
        if (status == ERROR_FILE_EXISTS) {
            status = CopyFile(job.source.c_str(), job.destination.c_str(), EExisting::Replace);
        }
        if (status == ERROR_SUCCESS && job.copy.isChanged) {
            status = ERROR_FILE_INVALID;
        }
        if (status != ERROR_SUCCESS && failed) {
            failed(job.source, SetLastError(status));
        }
    }
}

void CFileCopier::SState::Finish() {
    // Rather than to wait for the thread, the owner moves the last ones itself.
    if (!m_batch->jobs.empty()) {
        BeginNext()->Run();
    }
    m_queue.Finish();
    while (!m_underWay.empty()) {
        if (!m_underWay.front()->isDone) {  // it was not handed over for want of memory
            m_underWay.front()->Run();
        }
        EndFirst();
    }
}

CFileCopier::CFileCopier(Failed failed) : m_state(std::make_unique<SState>(std::move(failed))) {}

CFileCopier::~CFileCopier() {
    m_state->failed = nullptr;
    try {
        m_state->Finish();
    } catch (const std::bad_alloc&) {
        // Nothing is left here unless memory has run out before, which Finish has told of.
    }
}

int CFileCopier::Copy(const char16_t* source, const char16_t* destination, EExisting existing) {
    SCopyJob job{source, destination, {}};
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
    m_state->Add(std::move(job));
    return ERROR_SUCCESS;
}

void CFileCopier::Finish() { m_state->Finish(); }

}  // namespace platform
