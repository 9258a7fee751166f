// host/batch/batch_signals.h - what a signal does while a batch runs.
#pragma once

namespace host {

// From now on a signal that ends processes is counted, for the engine to act on. Call it before
// other threads are started. The rest is for any thread.
void CatchBatchSignals();

// 128 and the number of the last signal; 0 before the first.
[[nodiscard]] int GetSignalStatus();
[[nodiscard]] int CountSignals();

// From now on a signal ends the process at once: when all packages have been dealt with, and
// nothing is left that must not be ended anywhere.
void LetSignalsEnd();

}  // namespace host
