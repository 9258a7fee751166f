// reporting/logger.h - the log: HTML lines in memory, saved once at the end.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <exception>
#include <vector>

#include "foundation/wide_string.h"
#include "reporting/message_ids.h"

// Gathers lines in the order of arrival, each an error or a warning. Formats take the inserts "%1",
// "%2", which are const char16_t*. Used by one thread at a time.
class CLogger {
public:
    CLogger() = default;
    virtual ~CLogger() = default;
    CLogger(const CLogger&) = delete;
    CLogger& operator=(const CLogger&) = delete;

    // Logs a string resource of `module` as an error; null means the program's main module. A
    // missing text gives a line all the same.
    void LogMessage(std::uint32_t id, const void* module, ...);
    void LogError(const char16_t* format, ...);
    void LogWarning(const char16_t* format, ...);
    // Logs `text` and the system's words for `status`: a negative status as an error, any other as
    // a warning.
    void LogStatus(int status, const CStrW& text);
    // Logs message 102 with what the exception says; at most 255 characters of it.
    void LogException(const std::exception& exception);

    [[nodiscard]] const std::vector<CStrW>& GetLines() const { return m_lines; }

private:
    void AddLine(const char16_t* lineFormat, const CStrW& text);
    void AddFormatted(const char16_t* lineFormat, const char16_t* format, std::va_list arguments);

    std::int32_t m_level = 2;  // 1 keeps errors, 2 warnings too
    std::vector<CStrW> m_lines;
};

// The logger of the process.
class CCasLogger : public CLogger {};

// Makes it on the first call; it is never destroyed, and its lines gather over all conversions.
[[nodiscard]] CCasLogger& GetLogger();

// Message 101 for a file, whose status the log adds behind it.
[[nodiscard]] CStrW ReadFailedText(const CStrW& file);
