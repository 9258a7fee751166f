#include "foundation/token_expansion.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "foundation/wide_string.h"
#include "platform/unit_marks.h"

namespace {

// Replaces the tokens of any text from left to right. `m_done` is the part before the scan.
// `m_rest` is the part after it, in reverse, so that a path is inserted at its front in the length
// of the path alone. Each unit of the text and of the paths moves once, so the whole takes linear
// time.
class CTokenScan {
public:
    explicit CTokenScan(std::u16string_view text) : m_rest(text.rbegin(), text.rend()) {}

    // Goes to the next pair of percent signs; false when there is none.
    bool FindSpan();
    // The pair and the text between them.
    [[nodiscard]] std::u16string_view GetSpan() const { return m_span; }
    // Goes on after the span. Its second percent sign starts no other pair.
    void PassSpan();
    // Replaces the span by `path`.
    void ReplaceSpan(std::u16string_view path);
    // The expanded text. Ends the scan.
    [[nodiscard]] std::u16string TakeResult();

private:
    void PassTo(std::size_t restLength);

    std::u16string m_done;
    std::u16string m_rest;
    std::u16string m_span;
    // Where the scan goes on. It may be less than the length of `m_done`, but there is no percent
    // sign in between.
    std::size_t m_position = 0;
};

bool CTokenScan::FindSpan() {
    // `m_rest` is reversed: the first percent sign of the text is the last one here, and the span
    // from `first` down to `last` is read backwards.
    const std::size_t first = m_rest.rfind(u'%');
    if (first == std::u16string::npos || first == 0) {
        return false;
    }
    const std::size_t last = m_rest.rfind(u'%', first - 1);
    if (last == std::u16string::npos) {
        return false;
    }
    // What is before the span is done. The span itself is then the start of the rest.
    PassTo(first + 1);
    m_span.assign(m_rest.rbegin(), m_rest.rend() - static_cast<std::ptrdiff_t>(last));
    return true;
}

void CTokenScan::PassSpan() {
    PassTo(m_rest.size() - m_span.size());
    m_position = m_done.size();
}

void CTokenScan::ReplaceSpan(std::u16string_view path) {
    m_rest.resize(m_rest.size() - m_span.size());
    // One backslash where the path ends in one and the text goes on with one.
    if (m_rest.ends_with(u'\\') && path.ends_with(u'\\')) {
        m_rest.pop_back();
    }
    m_rest.append(path.rbegin(), path.rend());
    // Counted from the old position, not from the token. So after text in front of the token the
    // scan goes on inside the new path. This must stay: it decides which tokens are found.
    m_position += path.size();
    // The part of the new path before the position is not searched, so it is done.
    if (m_position > m_done.size()) {
        PassTo(m_rest.size() - (m_position - m_done.size()));
    }
}

std::u16string CTokenScan::TakeResult() {
    PassTo(0);
    return std::move(m_done);
}

// Moves units from the start of the rest to the end of the done part, until the rest has
// `restLength` units.
void CTokenScan::PassTo(std::size_t restLength) {
    const auto passed = static_cast<std::ptrdiff_t>(m_rest.size() - restLength);
    m_done.append(m_rest.rbegin(), m_rest.rbegin() + passed);
    m_rest.resize(restLength);
}

// Nothing if a path has a percent sign, because a token may begin in it. Every other path the scan
// passes over. Gain: half the instructions of CTokenScan for a text with one token.
std::optional<STokenExpansion> ReplaceInOnePass(std::u16string_view text,
                                                const FindTokenPath& findPath) {
    STokenExpansion expansion;
    std::size_t done = 0;
    for (std::size_t first = platform::FindUnit(text, u'%', 0); first < text.size();) {
        const std::size_t last = platform::FindUnit(text, u'%', first + 1);
        if (last == std::u16string_view::npos) {
            break;
        }
        const std::u16string_view path = findPath(text.substr(first, last + 1 - first));
        if (!path.empty()) {
            if (HasUnit(path, u'%')) {
                return std::nullopt;
            }
            expansion.text += text.substr(done, first - done);
            expansion.text += path;
            ++expansion.count;
            // One backslash where the path ends in one and the text goes on with one.
            const bool hasTwo = path.ends_with(u'\\') && text.substr(last + 1).starts_with(u'\\');
            done = last + (hasTwo ? 2 : 1);
        }
        first = platform::FindUnit(text, u'%', last + 1);
    }
    if (expansion.count != 0) {
        expansion.text += text.substr(done);
    }
    return expansion;
}

STokenExpansion ReplaceByScan(std::u16string_view text, const FindTokenPath& findPath) {
    CTokenScan scan(text);
    STokenExpansion expansion;
    while (scan.FindSpan()) {
        const std::u16string_view path = findPath(scan.GetSpan());
        if (path.empty()) {
            scan.PassSpan();
        } else {
            scan.ReplaceSpan(path);
            ++expansion.count;
        }
    }
    if (expansion.count != 0) {
        expansion.text = scan.TakeResult();
    }
    return expansion;
}

}  // namespace

STokenExpansion ReplaceTokens(std::u16string_view text, const FindTokenPath& findPath) {
    std::optional<STokenExpansion> expansion = ReplaceInOnePass(text, findPath);
    return expansion ? *std::move(expansion) : ReplaceByScan(text, findPath);
}
