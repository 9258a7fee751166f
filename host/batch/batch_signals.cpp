#include "host/batch/batch_signals.h"

#include <atomic>

#include "host/console.h"
#include "host/system.h"

namespace host {

namespace {

// Set by the thread of the signals.
std::atomic<int> s_status = 0;
std::atomic<int> s_count = 0;
std::atomic<bool> s_doesEnd = false;

void OnSignal(int status) {
    s_status = status;
    ++s_count;
    if (s_doesEnd) {
        Complain("ended by a signal while the summary was made; the results are in their places");
        EndProcess(status);
    }
}

}  // namespace

void CatchBatchSignals() { CatchEndingSignals(&OnSignal); }

int GetSignalStatus() { return s_status; }

int CountSignals() { return s_count; }

void LetSignalsEnd() { s_doesEnd = true; }

}  // namespace host
