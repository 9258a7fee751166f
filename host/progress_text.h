// host/progress_text.h - how progress is written for people.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/system.h"
#include "orvcasconv/orvcasconv.h"

namespace host {

// The message of a level; empty where there is none.
[[nodiscard]] std::u16string_view GetMessage(const OrvProgress& level);

// At most `columns` columns of a text: the middle of a longer one gives way to "...".
[[nodiscard]] std::u16string CutMiddle(std::u16string_view text, std::size_t columns);

// One level as bar, count and message in fewer than `columns` columns. Where there is little room,
// the message alone.
[[nodiscard]] std::string FormatLevel(const OrvProgress& level, std::size_t columns);

// A line for each level that is alive, from the root down, as many as a terminal of this size can
// show: the deepest ones stay. `lines` receives their number.
[[nodiscard]] std::string FormatLevels(const OrvProgress& root, const STerminalSize& size,
                                       std::size_t& lines);

}  // namespace host
