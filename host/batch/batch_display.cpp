#include "host/batch/batch_display.h"

#include <algorithm>
#include <cstdio>

#include "host/console.h"
#include "host/progress_text.h"
#include "platform/utf8.h"

namespace host {

namespace {

constexpr std::chrono::milliseconds kRedrawInterval{200};

std::string FormatDecimal(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", number);
    return text;
}

// "0:05", "12:34:56".
std::string FormatTime(double time) {
    constexpr double kLongest = 999.0 * 3600;
    constexpr int kSixty = 60;
    const auto seconds = static_cast<int>(std::min(time, kLongest));
    char text[32];
    if (seconds < kSixty * kSixty) {
        std::snprintf(text, sizeof text, "%d:%02d", seconds / kSixty, seconds % kSixty);
    } else {
        std::snprintf(text, sizeof text, "%d:%02d:%02d", seconds / kSixty / kSixty,
                      seconds / kSixty % kSixty, seconds % kSixty);
    }
    return text;
}

}  // namespace

void SBatchCounts::Add(EPackageOutcome outcome) {
    switch (outcome) {
        case EPackageOutcome::Whole:
            ++whole;
            break;
        case EPackageOutcome::NotWhole:
            ++notWhole;
            break;
        case EPackageOutcome::Failed:
            ++failed;
            break;
    }
}

std::string DescribeResult(const SPackageResult& result) {
    const SConversion& conversion = result.conversion;
    const std::string rest =
        ", " + Count(conversion.items, "item") + ", " + FormatDecimal(result.seconds) + " s";
    switch (OutcomeOf(result)) {
        case EPackageOutcome::Whole:
            return "whole" + rest;
        case EPackageOutcome::NotWhole:
            return "not whole, " + std::to_string(conversion.losses) +
                   (conversion.losses == 1 ? " loss" : " losses") + rest;
        case EPackageOutcome::Failed:
            break;
    }
    // The file may have been written by anybody.
    return "failed: " + Printable(platform::Utf8ToUtf16(result.reason));
}

std::string FormatBatchLine(const SBatchCounts& counts, std::size_t total,
                            std::chrono::duration<double> passed, std::size_t columns) {
    constexpr double kMinute = 60;
    const std::size_t done = counts.whole + counts.notWhole + counts.failed + counts.others;
    // What was done before takes no time worth counting.
    const std::size_t converted = done - std::min(done, counts.kept + counts.others);
    const double rate = passed.count() > 0 ? static_cast<double>(converted) / passed.count() : 0;
    std::string line = std::to_string(done) + '/' + std::to_string(total);
    const auto add = [&line](std::size_t count, const char* what) {
        line += count == 0 ? "" : ", " + std::to_string(count) + ' ' + what;
    };
    add(counts.failed, "failed");
    add(counts.notWhole, "not whole");
    if (rate > 0) {
        line += ", " + std::to_string(static_cast<std::size_t>(rate * kMinute)) + " a minute, " +
                FormatTime(static_cast<double>(total - done) / rate) + " left";
    }
    // The last column stays free, because there a terminal may begin a new line.
    const std::size_t room = columns - std::min<std::size_t>(columns, 1);
    const std::string bar = FormatBar(done, total) + ' ';
    return (bar.size() + line.size() <= room ? bar + line : line).substr(0, room);
}

void CBatchDisplay::ShowPackage(const std::u16string& name, const std::string& words) {
    if (m_kind == EProgressDisplay::Lines) {
        m_write(Printable(name) + ": " + words + '\n');
    }
}

void CBatchDisplay::Show(const SBatchCounts& counts, Time now) {
    if (m_kind == EProgressDisplay::Block && now - m_lastDraw >= kRedrawInterval) {
        m_lastDraw = now;
        // The escape clears what a longer line has left at the end.
        m_write('\r' + FormatBatchLine(counts, m_total, now - m_begin, m_getSize().columns) +
                "\x1b[K");
        m_isDrawn = true;
    }
}

void CBatchDisplay::Clear() {
    if (m_isDrawn) {
        m_write("\r\x1b[K");
        m_isDrawn = false;
    }
}

}  // namespace host
