// Composes messages with hostile inserts, and reads the log of them. The input is a format and its
// inserts, parted by NULs, and is a log as well.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <sstream>
#include <utility>
#include <vector>

#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "host/log_reader.h"
#include "platform/text.h"
#include "reporting/logger.h"
#include "support/little_endian.h"

namespace {

// A format may name 99 inserts, and each "*" takes one more.
constexpr std::size_t kInserts = 101;
using Inserts = std::vector<std::u16string>;

bool Compose(std::u16string& text, const char16_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const bool isGood = platform::ComposeMessage(text, format, arguments);
    va_end(arguments);
    return isGood;
}

template <std::size_t... kIndex>
bool ComposeAll(std::u16string& text, const char16_t* format, const Inserts& inserts,
                std::index_sequence<kIndex...> /*indexes*/) {
    return Compose(text, format, inserts[kIndex % inserts.size()].c_str()...);
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// The same for formats without "!format!", one unit after the other.
bool ComposeNaively(std::u16string& text, std::u16string_view format, const Inserts& inserts) {
    std::u16string result;
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char16_t next = i + 1 < format.size() ? format[i + 1] : u'\0';
        if (format[i] == u'\r' || format[i] == u'\n') {
            i += format[i] == u'\r' && next == u'\n' ? 1 : 0;
            result += u"\r\n";
        } else if (format[i] != u'%') {
            result += format[i];
        } else if (next == u'0') {
            break;
        } else if (next == u'\0') {
            return false;
        } else if (IsDigit(next)) {
            const bool hasTwo = i + 2 < format.size() && IsDigit(format[i + 2]);
            const auto one = static_cast<std::size_t>(next - u'0');
            const std::size_t number =
                hasTwo ? one * 10 + static_cast<std::size_t>(format[i + 2] - u'0') : one;
            result += inserts[(number - 1) % inserts.size()];
            i += hasTwo ? 2 : 1;
        } else {
            result += next == u'n'   ? u"\r\n"
                      : next == u'r' ? u"\r"
                      : next == u't' ? u"\t"
                      : next == u'b' ? u" "
                                     : std::u16string(1, next);
            ++i;
        }
    }
    text = result;
    return true;
}

// Numbers have the text that the C library gives them. The input chooses flags, width, precision,
// conversion and value.
void CompareNumbers(std::string_view input) {
    if (input.size() < 12) {
        return;
    }
    const auto byte = [input](std::size_t index) { return GetNumber(input, index, 1); };
    std::string start = "%";
    for (unsigned i = 0; i < 5; ++i) {
        start += (byte(0) >> i & 1) != 0 ? std::string(1, "-+ #0"[i]) : "";
    }
    start += std::to_string(byte(1) % 70 + 1);
    start += byte(2) > 127 ? "" : "." + std::to_string(byte(2) % 40);
    const char conversion = "diuxXo"[byte(3) % 6];
    const std::uint64_t value = GetNumber(input, 4, 8);
    char expected[128] = {};
    std::snprintf(expected, sizeof expected, (start + "ll" + conversion).c_str(), value);
    const std::string spec = start + "I64" + conversion;
    const CStrW text(PrintfStyle, std::u16string(spec.begin(), spec.end()).c_str(), value);
    Require(std::ranges::equal(text.View(), std::string_view(expected)));
}

// Each line of the log is one entry, be there line breaks in it or not.
void ReadLogOf(const Inserts& inserts) {
    CLogger logger;
    logger.LogError(u"%1.  %2", inserts[0].c_str(), inserts.back().c_str());
    logger.LogMessage(MessageCopyFailed, nullptr, inserts.back().c_str(), inserts[0].c_str());
    logger.LogStatus(5, CStrW(std::u16string_view(inserts[0])));
    std::u16string text = u"\uFEFF";
    for (const CStrW& line : logger.GetLines()) {
        (text += line.View()) += u"\r\n";
    }
    std::istringstream log(UnitBytes(text));
    Require(host::IsLog(log));
    log.clear();
    log.seekg(0);
    std::vector<std::u16string> entries;
    const host::SLogSummary summary = host::ReadLog(
        log, [&](bool /*isError*/, std::u16string_view entry) { entries.emplace_back(entry); });
    Require(summary.isComplete && summary.errors + summary.warnings == entries.size());
    // A line of a text may begin as an entry does.
    Require(entries.size() == 3 || (entries.size() > 3 && text.find(u"\n<font") != text.npos));
}

void ReadAnyLog(std::string_view bytes) {
    std::istringstream log("\xFF\xFE" + std::string(bytes));
    std::size_t units = 0;
    static_cast<void>(host::ReadLog(
        log, [&](bool /*isError*/, std::u16string_view entry) { units += entry.size() + 1; }));
    Require(units <= bytes.size() / 2 + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input = BytesOf(data, size);
    ReadAnyLog(input);
    CompareNumbers(input);
    const auto takeText = [&input] {
        const std::u16string text = TextOf(TakePart(input, '\0'));
        return text.substr(0, text.find(u'\0'));
    };
    const std::u16string format = takeText();
    Inserts inserts;
    do {
        inserts.push_back(takeText());
    } while (!input.empty() && inserts.size() < kInserts);
    std::u16string text = u"unchanged";
    const bool isGood =
        ComposeAll(text, format.c_str(), inserts, std::make_index_sequence<kInserts>());
    Require(isGood || text == u"unchanged");
    if (format.find(u'!') == format.npos) {
        std::u16string naive = u"unchanged";
        Require(ComposeNaively(naive, format, inserts) == isGood && naive == text);
    }
    ReadLogOf(inserts);
    return 0;
}
