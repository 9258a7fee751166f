// host/progress_text.h - progress as text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/system.h"
#include "orvcasconv/orvcasconv.h"

namespace host {

// The message of a level; empty when it has none.
[[nodiscard]] std::u16string_view GetMessage(const OrvProgress& level);

// The columns that a text takes on a terminal.
[[nodiscard]] std::size_t CountColumns(std::u16string_view text);

// Cuts a text to at most `columns` columns: "..." replaces the middle of a longer one.
[[nodiscard]] std::u16string CutMiddle(std::u16string_view text, std::size_t columns);

// A bar of fixed length. `total` may be an estimate, so more may be done than that.
[[nodiscard]] std::string FormatBar(std::uint64_t done, std::uint64_t total);

// A level as bar, count and message, in fewer than `columns` columns. With little room, only the
// message.
[[nodiscard]] std::string FormatLevel(const OrvProgress& level, std::size_t columns);

// A line for each level, from the root down, as many as a terminal of this size can show; the
// deepest ones have priority. `lines` receives their number.
[[nodiscard]] std::string FormatLevels(const OrvProgress& root, const STerminalSize& size,
                                       std::size_t& lines);

}  // namespace host
