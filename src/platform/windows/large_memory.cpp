#include "platform/large_memory.h"

namespace platform {

// Large pages need a privilege that few users have, and cannot be added to memory that is there.
void UseLargePages(void* /*block*/, std::size_t /*size*/) {}

}  // namespace platform
