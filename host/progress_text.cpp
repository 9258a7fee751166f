#include "host/progress_text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "host/console.h"

namespace host {

namespace {

constexpr std::size_t kBarCells = 20;
constexpr std::size_t kCountColumns = 11;  // as "12345/12345"
constexpr std::size_t kLeastMessage = 16;  // less room than this is none
constexpr std::u16string_view kGap = u"...";

bool IsLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// The columns of a unit. A trail surrogate has none of its own, a lead one those of both: what lies
// beyond the basic plane is wide as a rule, and a line that is too short does no harm.
std::size_t CountColumns(char16_t unit) {
    const bool isWide = (unit >= 0x1100 && unit < 0x1160) || (unit >= 0x2E80 && unit < 0xA4D0) ||
                        (unit >= 0xAC00 && unit < 0xD7A4) || (unit >= 0xF900 && unit < 0xFB00) ||
                        (unit >= 0xFE30 && unit < 0xFE70) || (unit >= 0xFF00 && unit < 0xFFE7) ||
                        IsLead(unit);
    return IsTrail(unit) ? 0 : isWide ? 2 : 1;
}

std::size_t CountColumns(std::u16string_view text) {
    std::size_t columns = 0;
    for (const char16_t unit : text) {
        columns += CountColumns(unit);
    }
    return columns;
}

// How many units of the start fit. Trail surrogates need no room, so pairs stay together.
std::size_t FitStart(std::u16string_view text, std::size_t columns) {
    std::size_t count = 0;
    while (count < text.size() && CountColumns(text[count]) <= columns) {
        columns -= CountColumns(text[count++]);
    }
    return count;
}

std::size_t FitEnd(std::u16string_view text, std::size_t columns) {
    std::size_t start = text.size();
    while (start > 0 && CountColumns(text[start - 1]) <= columns) {
        columns -= CountColumns(text[--start]);
    }
    // The partner of a trail surrogate may not have fitted.
    while (start < text.size() && IsTrail(text[start])) {
        ++start;
    }
    return text.size() - start;
}

std::string FormatBar(const OrvProgress& level) {
    const std::uint64_t done = std::min(level.current, level.total);
    const std::size_t filled = level.total == 0 ? 0 : done * kBarCells / level.total;
    return '[' + std::string(filled, '#') + std::string(kBarCells - filled, '-') + ']';
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

std::u16string CutMiddle(std::u16string_view text, std::size_t columns) {
    if (CountColumns(text) <= columns) {
        return std::u16string(text);
    }
    if (columns <= kGap.size()) {
        return std::u16string(kGap.substr(0, columns));
    }
    const std::size_t room = columns - kGap.size();
    // The end of a path tells more than its start.
    const std::size_t head = FitStart(text, room / 2);
    const std::size_t tail = FitEnd(text.substr(head), room - room / 2);
    std::u16string cut(text.substr(0, head));
    cut += kGap;
    cut += text.substr(text.size() - tail);
    return cut;
}

std::string FormatLevel(const OrvProgress& level, std::size_t columns) {
    // In the last column a terminal would be about to begin a new line.
    std::size_t room = columns - std::min<std::size_t>(columns, 1);
    std::string line = FormatBar(level) + ' ' + FormatCount(level) + "  ";
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
    // The cursor rests on a line of its own below.
    const std::size_t limit = std::max<std::size_t>(size.rows, 2) - 1;
    lines = std::min(levels.size(), limit);
    std::string text;
    for (std::size_t i = levels.size() - lines; i < levels.size(); ++i) {
        text += FormatLevel(*levels[i], size.columns);
        text += "\x1b[K\n";
    }
    return text;
}

}  // namespace host
