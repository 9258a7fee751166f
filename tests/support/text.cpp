#include "support/text.h"

#include "platform/utf8.h"

std::string Utf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

std::u16string Utf16(std::string_view text) { return platform::Utf8ToUtf16(text); }

void PrintTo(const CStrW& text, std::ostream* stream) { *stream << '"' << Utf8(text) << '"'; }
