#include <atomic>
#include <deque>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/posix/files/copy_file.h"
#include "platform/posix/files/file_io.h"
#include "platform/status.h"
#include "platform/threads.h"

namespace platform {

namespace {

// Copies are handed over in batches, because to wake a thread costs as much as to copy a small
// file. A batch is full at this many files or bytes. The number of batches limits the open files to
// about 130, of the usual 1024. Where a process may open fewer, a batch has fewer files.
constexpr std::size_t kBatchFiles = 32;
constexpr off_t kBatchBytes = 1 << 20;
constexpr std::size_t kMaxWaiting = 2;
// Nearly as many are under way at most: those that wait, and the one that is copied.
constexpr std::size_t kMaxSpares = kMaxWaiting + 1;

struct SCopyJob {
    std::u16string source;
    std::u16string destination;
    SFileCopy copy;
};

// The jobs are used again and again, for the memory of their texts.
struct SBatch {
    std::vector<SCopyJob> all = std::vector<SCopyJob>(kBatchFiles);
    std::size_t count = 0;  // of those that are filled
    off_t bytes = 0;
    std::atomic<bool> isDone = false;

    [[nodiscard]] std::span<SCopyJob> GetJobs() { return std::span(all).first(count); }

    void Clear() {
        for (SCopyJob& job : GetJobs()) {
            job.copy.Clear();
        }
        count = 0;
        bytes = 0;
        isDone = false;
    }

    void Run() {
        for (SCopyJob& job : GetJobs()) {
            MoveData(job.copy);
        }
        isDone = true;
    }
};

}  // namespace

// Copies files on a thread beside the walk. That thread only runs MoveData. What comes before and
// after deals with folders, and is done on the owner's thread, which takes the batches back in
// their order.
//
// INVARIANT: a batch belongs to the owner's thread until it is handed over, and again once `isDone`
// is true; in between only the other thread touches it. Each copy is begun once and ended once, in
// the order of Add. No two copies under way have the same output, because PlaceCopy finds the name
// taken by the first, and then all of them are finished.
// Threads: the owner's calls everything here but SBatch::Run.
// Gain: for bench files-memory with 12,500 files, the walk takes 0.15 s of CPU time and this thread
// 0.16 s. So with two free processors the stage takes half the time; with one nothing is gained.
struct CFileCopier::SState {
    explicit SState(Failed toTell) : failed(std::move(toTell)) { m_spares.reserve(kMaxSpares); }

    // Gives a job that is not added yet. Add then adds it, and Finish takes it back.
    [[nodiscard]] SFileCopy& Begin(std::u16string_view source, std::u16string_view destination);
    void Add();
    void Finish();

    Failed failed;

private:
    const std::shared_ptr<SBatch>& BeginNext();
    void HandOver();
    void TakeBack();
    void EndFirst();
    void End(SBatch& batch) const;

    const std::size_t m_batchFiles = ShareOfDescriptors(kBatchFiles);
    std::shared_ptr<SBatch> m_batch = std::make_shared<SBatch>();  // still filled
    std::vector<std::shared_ptr<SBatch>> m_spares;  // empty ones, for the memory of their texts
    std::deque<std::shared_ptr<SBatch>> m_underWay;
    CJobQueue m_queue{kMaxWaiting};
};

SFileCopy& CFileCopier::SState::Begin(std::u16string_view source, std::u16string_view destination) {
    // Full only if there was no memory for the next batch.
    if (m_batch->count >= m_batchFiles) {
        HandOver();
    }
    SCopyJob& job = m_batch->all[m_batch->count];
    job.source = source;
    job.destination = destination;
    return job.copy;
}

void CFileCopier::SState::Add() {
    m_batch->bytes += m_batch->all[m_batch->count].copy.sourceInfo.st_size;
    ++m_batch->count;
    if (m_batch->count >= m_batchFiles || m_batch->bytes >= kBatchBytes) {
        HandOver();
        TakeBack();
    }
}

// Adds the filled batch to those under way, and an empty one takes its place. If there is no memory
// for that, nothing changes.
const std::shared_ptr<SBatch>& CFileCopier::SState::BeginNext() {
    auto next = m_spares.empty() ? std::make_shared<SBatch>() : m_spares.back();
    m_underWay.push_back(m_batch);
    m_batch = std::move(next);
    if (!m_spares.empty()) {
        m_spares.pop_back();
    }
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
    batch->Clear();
    if (m_spares.size() < kMaxSpares) {
        m_spares.push_back(batch);
    }
}

void CFileCopier::SState::End(SBatch& batch) const {
    for (SCopyJob& job : batch.GetJobs()) {
        int status = EndCopy(job.copy);
        // Someone else has made a file there after PlaceCopy. It is replaced, as CopyFile would.
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
    // The owner moves the last files itself, while the thread may still be busy with others.
    if (m_batch->count != 0) {
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

int CFileCopier::Copy(std::u16string_view source, std::u16string_view destination,
                      EExisting existing) {
    SFileCopy* copy = &m_state->Begin(source, destination);
    int status = PlaceCopy(source, destination, *copy);
    if (status == ERROR_FILE_EXISTS || status == ERROR_TOO_MANY_OPEN_FILES) {
        // The file that is there may be one of those that are still under way. And the descriptors
        // that are missing may be theirs.
        copy->Clear();
        m_state->Finish();
        copy = &m_state->Begin(source, destination);
        status = BeginCopy(source, destination, existing, *copy);
    }
    if (status != ERROR_SUCCESS) {
        copy->Clear();
        return SetLastError(status);
    }
    m_state->Add();
    return ERROR_SUCCESS;
}

void CFileCopier::Finish() { m_state->Finish(); }

}  // namespace platform
