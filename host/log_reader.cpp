#include "host/log_reader.h"

#include <string>

#include "host/utf16_reader.h"

namespace host {

namespace {

// The HTML with which each entry begins, to the unit. The blank at the end is part of it.
constexpr std::u16string_view kErrorStart =
    u"<font color=\"#FF0000\"><span style=\"font-weight: bold\">Error:</span></font> ";
constexpr std::u16string_view kWarningStart =
    u"<font color=\"#C0C000\"><span style=\"font-weight: bold\">Warning:</span></font> ";
constexpr std::u16string_view kEntryEnd = u"<br>";

bool StartsWith(std::u16string_view text, std::u16string_view start) {
    return text.substr(0, start.size()) == start;
}

// Joins lines to entries. An entry is known to be complete only when the next one starts, or the
// log ends.
class CEntryBuilder {
public:
    CEntryBuilder(SLogSummary& summary, const LogEntryHandler& handle)
        : m_summary(summary), m_handle(handle) {}

    void AddLine(const std::u16string& line) {
        const bool isError = StartsWith(line, kErrorStart);
        if (isError || StartsWith(line, kWarningStart)) {
            Flush();
            ++(isError ? m_summary.errors : m_summary.warnings);
            m_hasEntry = true;
            m_isError = isError;
            m_entry = line.substr((isError ? kErrorStart : kWarningStart).size());
        } else {
            // The text of a system error may have line breaks. What comes before the first entry is
            // never given out, because only a start sets `m_hasEntry`.
            m_entry += u' ';
            m_entry += line;
        }
    }

    void Flush() {
        if (!m_hasEntry) {
            return;
        }
        std::u16string_view text = m_entry;
        const bool isWhole = text.size() >= kEntryEnd.size() &&
                             text.substr(text.size() - kEntryEnd.size()) == kEntryEnd;
        // The last entry decides, because only the end of a log can be cut off.
        m_summary.isComplete = isWhole;
        text.remove_suffix(isWhole ? kEntryEnd.size() : 0);
        m_handle(m_isError, text);
        m_hasEntry = false;
    }

private:
    SLogSummary& m_summary;
    const LogEntryHandler& m_handle;
    std::u16string m_entry;
    bool m_hasEntry = false;
    bool m_isError = false;
};

}  // namespace

bool IsLog(std::istream& log) {
    CUtf16Reader reader(log);
    std::u16string start;
    for (int unit = reader.Next();
         unit != CUtf16Reader::kEnd && start.size() < kWarningStart.size(); unit = reader.Next()) {
        start += static_cast<char16_t>(unit);
    }
    return StartsWith(start, kErrorStart) || StartsWith(start, kWarningStart);
}

SLogSummary ReadLog(std::istream& log, const LogEntryHandler& handle) {
    SLogSummary summary;
    summary.isComplete = false;
    CUtf16Reader reader(log);
    CEntryBuilder builder(summary, handle);
    std::u16string line;
    for (int unit = reader.Next(); unit != CUtf16Reader::kEnd; unit = reader.Next()) {
        if (unit == u'\n') {
            builder.AddLine(line);
            line.clear();
        } else if (unit != u'\r') {
            line += static_cast<char16_t>(unit);
        }
    }
    // A log that was cut off may end within a line.
    if (!line.empty()) {
        builder.AddLine(line);
    }
    builder.Flush();
    return summary;
}

}  // namespace host
