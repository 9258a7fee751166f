// foundation/lost_memory.h - whether a text was lost because there was no memory for it.
#pragma once

// A text without memory is empty or unchanged, and nothing is thrown. So that the loss is told all
// the same, it is noted here, and a stage that ends takes the note. Any thread may call these.
void NoteLostMemory();

// Whether a loss was noted since this was asked last.
[[nodiscard]] bool TakeLostMemory();
