#include "foundation/lost_memory.h"

#include <atomic>

namespace {

std::atomic<bool> s_isLost = false;

}  // namespace

void NoteLostMemory() { s_isLost = true; }

bool TakeLostMemory() { return s_isLost.exchange(false); }
