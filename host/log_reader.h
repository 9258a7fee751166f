// host/log_reader.h - reads the log that the library saves.
#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <string_view>

namespace host {

struct SLogSummary {
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t unwritten = 0;  // of both, those that are about a full disk; not set by ReadLog
    bool isComplete = true;     // false when the log was cut off, so that entries may be missing
};

// Whether a stream begins as a log that has entries.
[[nodiscard]] bool IsLog(std::istream& log);

// Receives one entry, without its HTML.
using LogEntryHandler = std::function<void(bool isError, std::u16string_view text)>;

// Calls `handle` with the entries of a log, in their order. An entry whose text has line breaks
// stays one entry. A log is saved only if it has entries, so a log without any was cut off.
[[nodiscard]] SLogSummary ReadLog(std::istream& log, const LogEntryHandler& handle);

}  // namespace host
