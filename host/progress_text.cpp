#include "host/progress_text.h"

#include <algorithm>
#include <vector>

#include "host/console.h"

namespace host {

namespace {

constexpr std::size_t kBarCells = 20;
constexpr std::size_t kCountColumns = 11;  // such as "12345/12345"
constexpr std::size_t kLeastMessage =
    16;  // columns; with less room for the message, bar and count are left out
constexpr std::u16string_view kGap = u"...";

bool IsLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// The columns of a unit. A lead surrogate counts for the pair and the trail for nothing. Characters
// beyond the basic plane are usually wide; counting one too wide only makes a line shorter.
std::size_t ColumnsOf(char16_t unit) {
    // Hangul, Chinese, Japanese, Yi, and the wide forms of other characters.
    const bool isWide = (unit >= 0x1100 && unit < 0x1160) || (unit >= 0x2E80 && unit < 0xA4D0) ||
                        (unit >= 0xAC00 && unit < 0xD7A4) || (unit >= 0xF900 && unit < 0xFB00) ||
                        (unit >= 0xFE30 && unit < 0xFE70) || (unit >= 0xFF00 && unit < 0xFFE7) ||
                        IsLead(unit);
    return IsTrail(unit) ? 0 : isWide ? 2 : 1;
}

// How many units from the start fit. A trail surrogate needs no room, so a pair stays together.
std::size_t FitStart(std::u16string_view text, std::size_t columns) {
    std::size_t count = 0;
    while (count < text.size() && ColumnsOf(text[count]) <= columns) {
        columns -= ColumnsOf(text[count++]);
    }
    return count;
}

std::size_t FitEnd(std::u16string_view text, std::size_t columns) {
    std::size_t start = text.size();
    while (start > 0 && ColumnsOf(text[start - 1]) <= columns) {
        columns -= ColumnsOf(text[--start]);
    }
    // A trail surrogate whose lead did not fit is left out.
    while (start < text.size() && IsTrail(text[start])) {
        ++start;
    }
    return text.size() - start;
}

std::string FormatCount(const OrvProgress& level) {
    const std::string count = std::to_string(level.current) + '/' + std::to_string(level.total);
    return std::string(kCountColumns - std::min(count.size(), kCountColumns), ' ') + count;
}

}  // namespace

std::u16string_view GetMessage(const OrvProgress& level) {
    return level.message == nullptr
               ? std::u16string_view()
               : std::u16string_view(reinterpret_cast<const char16_t*>(level.message),
                                     level.messageLength);
}

std::size_t CountColumns(std::u16string_view text) {
    std::size_t columns = 0;
    for (const char16_t unit : text) {
        columns += ColumnsOf(unit);
    }
    return columns;
}

std::u16string CutMiddle(std::u16string_view text, std::size_t columns) {
    if (CountColumns(text) <= columns) {
        return std::u16string(text);
    }
    if (columns <= kGap.size()) {
        return std::u16string(kGap.substr(0, columns));
    }
    const std::size_t room = columns - kGap.size();
    // The end gets more room, because the end of a path says more than its start.
    const std::size_t head = FitStart(text, room / 2);
    const std::size_t tail = FitEnd(text.substr(head), room - room / 2);
    std::u16string cut(text.substr(0, head));
    cut += kGap;
    cut += text.substr(text.size() - tail);
    return cut;
}

std::string FormatBar(std::uint64_t done, std::uint64_t total) {
    const std::size_t filled = total == 0 ? 0 : std::min(done, total) * kBarCells / total;
    return '[' + std::string(filled, '#') + std::string(kBarCells - filled, '-') + ']';
}

std::string FormatLevel(const OrvProgress& level, std::size_t columns) {
    // The last column stays free, because there a terminal may begin a new line.
    std::size_t room = columns - std::min<std::size_t>(columns, 1);
    std::string line = FormatBar(level.current, level.total) + ' ' + FormatCount(level) + "  ";
    if (line.size() + kLeastMessage > room) {
        line.clear();
    }
    return line + Printable(CutMiddle(GetMessage(level), room - line.size()));
}

std::string FormatLevels(const OrvProgress& root, const STerminalSize& size, std::size_t& lines) {
    std::vector<const OrvProgress*> levels;
    for (const OrvProgress* level = &root; level != nullptr; level = level->child) {
        levels.push_back(level);
    }
    // One line less than the terminal has: the cursor is on the line below.
    const std::size_t limit = std::max<std::size_t>(size.rows, 2) - 1;
    lines = std::min(levels.size(), limit);
    std::string text;
    for (std::size_t i = levels.size() - lines; i < levels.size(); ++i) {
        text += FormatLevel(*levels[i], size.columns);
        // The escape clears what a longer line has left at the end.
        text += "\x1b[K\n";
    }
    return text;
}

}  // namespace host
