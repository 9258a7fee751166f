#include "host/suggestion.h"

#include <algorithm>

namespace host {

namespace {

// More is another word.
constexpr std::size_t kMaxWord = 32;

// How many letters to insert, remove, replace, or exchange with their neighbour, turn one word into
// the other. A letter takes part in one of these at most.
std::size_t Distance(std::string_view from, std::string_view to) {
    // Three lines of the table are enough: `row` is the present one, `above` the one ahead of it,
    // and `before` that ahead of `above`.
    std::vector<std::size_t> before(to.size() + 1);
    std::vector<std::size_t> above(to.size() + 1);
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t column = 0; column <= to.size(); ++column) {
        row[column] = column;
    }
    for (std::size_t line = 1; line <= from.size(); ++line) {
        before.swap(above);
        above.swap(row);
        row[0] = line;
        for (std::size_t column = 1; column <= to.size(); ++column) {
            const std::size_t other = from[line - 1] == to[column - 1] ? 0 : 1;
            row[column] =
                std::min({above[column] + 1, row[column - 1] + 1, above[column - 1] + other});
            if (line > 1 && column > 1 && from[line - 1] == to[column - 2] &&
                from[line - 2] == to[column - 1]) {
                row[column] = std::min(row[column], before[column - 2] + 1);
            }
        }
    }
    return row.back();
}

}  // namespace

std::string FindSimilar(std::string_view word, const std::vector<std::string>& words) {
    std::string nearest;
    if (word.empty() || word.size() > kMaxWord) {
        return nearest;
    }
    // One letter of three may be wrong.
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : words) {
        // A start of one or two letters could be that of many words.
        const bool isStart = word.size() > 2 && candidate.starts_with(word);
        const std::size_t distance = isStart ? 0 : Distance(word, candidate);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace host
