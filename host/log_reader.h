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
    bool isComplete = true;  // false when a file was cut off, so that entries may be missing
};

// Takes one entry, without its HTML.
using LogEntryHandler = std::function<void(bool isError, std::u16string_view text)>;

// Gives the entries of a log in their order. An entry whose text has line breaks stays one. Since a
// log is saved only if it has entries, one without any was cut off.
[[nodiscard]] SLogSummary ReadLog(std::istream& log, const LogEntryHandler& handle);

}  // namespace host
