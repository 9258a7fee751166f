// reporting/logger.h - the log: HTML lines in memory, saved once at the end.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <exception>
#include <vector>

#include "foundation/wide_string.h"
#include "reporting/message_ids.h"

// Collects lines in the order of arrival; each is an error or a warning. A format has the inserts
// "%1" and "%2", which are const char16_t*. One thread at a time.
class CLogger {
public:
    CLogger() = default;
    virtual ~CLogger() = default;
    CLogger(const CLogger&) = delete;
    CLogger& operator=(const CLogger&) = delete;

    // Logs a string resource of `module` as an error; null is the main module of the program. If
    // the text is missing, the line is written without it.
    void LogMessage(std::uint32_t id, const void* module, ...);
    void LogError(const char16_t* format, ...);
    void LogWarning(const char16_t* format, ...);
    // Logs `text` and the system's message for `status`. A negative status is an error, any other a
    // warning.
    void LogStatus(int status, const CStrW& text);
    // Logs message 102 with the text of the exception, cut after 255 bytes. Each byte that is not
    // ASCII becomes "?".
    void LogException(const std::exception& exception);

    [[nodiscard]] const std::vector<CStrW>& GetLines() const { return m_lines; }

private:
    void AddLine(const char16_t* lineFormat, const CStrW& text);
    void AddFormatted(const char16_t* lineFormat, const char16_t* format, std::va_list arguments);

    std::int32_t m_level = 2;  // 1: errors only, 2: also warnings
    std::vector<CStrW> m_lines;
};

// The logger of the process.
class CCasLogger : public CLogger {};

// Makes the logger on the first call. It is never destroyed, and it keeps the lines of all
// conversions.
[[nodiscard]] CCasLogger& GetLogger();

// Message 101 for a file. LogStatus adds the status after it.
[[nodiscard]] CStrW ReadFailedText(const CStrW& file);
