#include "reporting/logger.h"

#include <string>
#include <string_view>

namespace {

// The form of a line is fixed, because hosts recognise errors and warnings by it.
constexpr const char16_t* kErrorLine =
    u"<font color=\"#FF0000\"><span style=\"font-weight: bold\">Error:</span></font> %s<br>";
constexpr const char16_t* kWarningLine =
    u"<font color=\"#C0C000\"><span style=\"font-weight: bold\">Warning:</span></font> %s<br>";
constexpr std::size_t kMaxWhat = 255;  // bytes

}  // namespace

// The text is an argument of the format, so a "%" in it is no placeholder. It goes into the line as
// it is: no character of it is escaped for HTML.
void CLogger::AddLine(const char16_t* lineFormat, const CStrW& text) {
    m_lines.emplace_back(PrintfStyle, lineFormat, text.Get());
}

void CLogger::AddFormatted(const char16_t* lineFormat, const char16_t* format,
                           std::va_list arguments) {
    CStrW text;
    text.FormatMessage(format, arguments);
    AddLine(lineFormat, text);
}

void CLogger::LogMessage(std::uint32_t id, const void* module, ...) {
    if (m_level < 1) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, module);
    CStrW text;
    text.LoadFormatMessage(id, module, arguments);
    va_end(arguments);
    AddLine(kErrorLine, text);
}

void CLogger::LogError(const char16_t* format, ...) {
    if (m_level < 1) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    AddFormatted(kErrorLine, format, arguments);
    va_end(arguments);
}

void CLogger::LogWarning(const char16_t* format, ...) {
    if (m_level < 2) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    AddFormatted(kWarningLine, format, arguments);
    va_end(arguments);
}

void CLogger::LogStatus(int status, const CStrW& text) {
    // Both texts are inserts and not part of the format, because a path may have a "%".
    const CStrW words = GetSystemErrorMessage(status);
    if (status < 0) {
        LogError(u"%1.  %2", text.Get(), words.Get());
    } else {
        LogWarning(u"%1.  %2", text.Get(), words.Get());
    }
}

void CLogger::LogException(const std::exception& exception) {
    std::u16string text;
    for (const char c : std::string_view(exception.what()).substr(0, kMaxWhat)) {
        // The encoding of such a text is not known, so only ASCII is kept.
        // A char may be signed, and is then negative from 0x80 on.
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x80 ? static_cast<char16_t>(byte) : u'?';
    }
    LogMessage(MessageException, nullptr, text.c_str());
}

CCasLogger& GetLogger() {
    // Not destroyed, because a thread of the host may still log while the process ends.
    static auto* const logger = new CCasLogger;
    return *logger;
}

CStrW ReadFailedText(const CStrW& file) {
    // The second insert is the reason, which LogStatus adds.
    return CStrW(FormatMessageStyle, MessageReadFailed, nullptr, file.Get(), u"");
}
