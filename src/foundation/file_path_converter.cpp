#include "foundation/file_path_converter.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "foundation/file_system.h"
#include "platform/files.h"
#include "platform/machine.h"
#include "platform/text.h"

namespace {

CStrW TokenOf(const char16_t* name) { return u'%' + CStrW(name) + u'%'; }

// Whether a row takes part in collapsing. A new token must not complete further matches for ever,
// or a collapse would not end. A token has no colon and no backslash. So a path with a colon is
// safe, and so is one with a backslash and no percent sign, which matches no part of a token.
// Environment variables can have any text; a text with neither is not a path.
bool IsCollapsible(std::u16string_view path) {
    constexpr auto npos = std::u16string_view::npos;
    if (path.find(u':') != npos) {
        return true;
    }
    return path.size() > 1 && path.find(u'\\') != npos && path.find(u'%') == npos;
}

// Whether a path has a drive or a server, and no token.
bool IsAbsolute(std::u16string_view path) {
    return path.find(u'%') == std::u16string_view::npos &&
           ((path.size() > 1 && path[0] != u'\\' && path[1] == u':') || path.starts_with(uR"(\\)"));
}

std::u16string_view CommonPrefix(std::u16string_view left, std::u16string_view right) {
    const auto end = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first;
    return left.substr(0, static_cast<std::size_t>(end - left.begin()));
}

// Expands the tokens of one text from left to right. `m_done` is the part before the scan. `m_rest`
// is the part after it, in reverse, so that a path is inserted at its front in the length of the
// path alone. Each unit of the text and of the paths moves once, so the whole takes linear time.
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

// Collapses one text: `m_changed` is its changed start, and the rest of `m_original` follows it.
class CCollapsed {
public:
    explicit CCollapsed(std::u16string_view original) : m_original(original) {}

    // How many units of the original the changed part replaces, and the changed part.
    [[nodiscard]] std::size_t GetTaken() const { return m_taken; }
    [[nodiscard]] std::u16string_view Get() const { return m_changed; }
    // Appends the original up to `index` to the changed part, and returns the length of that.
    std::size_t TakeUpTo(std::size_t index);
    // Replaces `length` units of the changed part from `position` on by a token. The last of them
    // may still be in the rest.
    void Replace(std::size_t position, std::size_t length, std::u16string_view token);
    // Appends the rest and returns the whole text.
    [[nodiscard]] const std::u16string& Finish();

private:
    std::u16string_view m_original;
    std::u16string m_changed;
    std::size_t m_taken = 0;
};

// `index` counts in the original and is not before what is taken already.
std::size_t CCollapsed::TakeUpTo(std::size_t index) {
    m_changed.append(m_original, m_taken, index - m_taken);
    m_taken = index;
    return m_changed.size();
}

void CCollapsed::Replace(std::size_t position, std::size_t length, std::u16string_view token) {
    // A match that begins in the changed part may end in the original. That end is taken first, so
    // that the match is in one piece.
    const std::size_t end = position + length;
    TakeUpTo(m_taken + end - std::min(end, m_changed.size()));
    const std::u16string_view rest = end < m_changed.size()
                                         ? std::u16string_view(m_changed).substr(end)
                                         : m_original.substr(m_taken);
    // A token is always followed by a backslash, unless the text ends there. A path that matched in
    // the middle of a name, or ended in its own backslash, left none.
    const bool isAtName = !rest.empty() && rest.front() != u'\\';
    m_changed.replace(position, length, token);
    m_changed.insert(position + token.size(), isAtName ? 1 : 0, u'\\');
}

const std::u16string& CCollapsed::Finish() {
    TakeUpTo(m_original.size());
    return m_changed;
}

}  // namespace

// Of rows with the same path the one that is added first wins. So a folder of the system wins over
// an environment variable with the same path.
CFilePathConverter::CFilePathConverter() {
    AddFolders();
    AddEnvironment();
}

void CFilePathConverter::AddFolders() {
    std::u16string localAppDataLow;
    if (platform::GetLocalAppDataLow(localAppDataLow) && !localAppDataLow.empty()) {
        AddEntry(TokenOf(platform::kLocalAppDataLowName), localAppDataLow);
    }
    for (const platform::SSpecialFolder& folder : platform::kSpecialFolders) {
        CFilePathW path = GetSpecialFolderPath(folder.csidl);
        if (!path.IsEmpty()) {
            // The system may give a short name, but texts are searched for the long one.
            ExpandLongPath(path);
            AddEntry(TokenOf(folder.name), path.ToString());
        }
    }
}

void CFilePathConverter::AddEnvironment() {
    for (const char16_t* name : platform::kEnvironmentVariables) {
        CStrW value = GetEnvironmentVariable(name);
        if (value.IsEmpty()) {
            continue;
        }
        // "C:" alone is the current folder of the drive; its root is meant.
        if (value.View().back() == u':') {
            value.Append(u'\\');
        }
        ExpandLongName(value);
        AddEntry(TokenOf(name), value);
    }
}

void CFilePathConverter::AddEntry(std::u16string_view token, std::u16string_view path) {
    // An empty path would match at every place of a text.
    if (path.empty()) {
        return;
    }
    // After the rows of the same length, so that the first one of them stays first.
    const auto place = std::find_if(
        m_entries.begin(), m_entries.end(),
        [path](const CFolderEntry& entry) { return entry.path.GetLength() < path.size(); });
    CFolderEntry entry{CStrW(token), CStrW(path), CStrW(path)};
    entry.lowerPath.Fold();
    m_entries.insert(place, std::move(entry));
    GroupRows();
}

void CFilePathConverter::GroupRows() {
    m_groups.clear();
    m_looseRows.clear();
    m_longestLoosePath = 0;
    // In rising order, so that the rows of a group rise too. FindLongestPath relies on it.
    for (std::size_t row = 0; row < m_entries.size(); ++row) {
        const std::u16string_view path = m_entries[row].lowerPath;
        if (!IsCollapsible(path)) {
            continue;
        }
        if (!IsAbsolute(path)) {
            m_looseRows.push_back(row);
            m_longestLoosePath = std::max(m_longestLoosePath, path.size());
        }
        // One group for each first unit: in practice the drive letters and the backslash of UNC
        // paths.
        // The prefix is a view into a row. It is valid, because all groups are built again whenever
        // a row is added.
        const auto group = std::find_if(
            m_groups.begin(), m_groups.end(),
            [path](const SGroup& candidate) { return candidate.prefix.front() == path.front(); });
        if (group == m_groups.end()) {
            m_groups.push_back({path, {row}});
        } else {
            group->prefix = CommonPrefix(group->prefix, path);
            group->rows.push_back(row);
        }
    }
}

std::size_t CFilePathConverter::ExpandTokens(CStrW& text) const {
    CTokenScan scan(text);
    std::size_t count = 0;
    while (scan.FindSpan()) {
        if (const CFolderEntry* const entry = FindToken(scan.GetSpan())) {
            scan.ReplaceSpan(entry->path);
            ++count;
        } else {
            scan.PassSpan();
        }
    }
    if (count != 0) {
        text.Assign(scan.TakeResult());
    }
    return count;
}

const CFolderEntry* CFilePathConverter::FindToken(std::u16string_view span) const {
    const auto entry =
        std::find_if(m_entries.begin(), m_entries.end(), [span](const CFolderEntry& candidate) {
            return candidate.token.GetLength() == span.size() && candidate.token.EqualsNoCase(span);
        });
    return entry == m_entries.end() ? nullptr : &*entry;
}

CStrW CFilePathConverter::Expand(const CStrW& text) const {
    CStrW copy(text);
    ExpandTokens(copy);
    return copy;
}

bool CFilePathConverter::CollapsePaths(CStrW& text, bool expandLongName) const {
    bool changed = expandLongName && ExpandLongName(text);
    // Keeps its storage from text to text; each thread has its own. The content means nothing to
    // the next call. Gain: 1.6 times in CollapsePaths/Long.
    thread_local std::u16string lower;
    const auto findPath = [this, &text] {
        lower = text.View();
        platform::FoldText(lower.data(), lower.size());
        return FindLongestPath(lower);
    };
    // Ends, because each round replaces all matches of one row, and no token completes a match of
    // an earlier row, except for loose rows, which are replaced at once.
    for (SMatch match = findPath(); match.entry != nullptr; match = findPath()) {
        ReplaceByToken(text, lower, match);
        changed = true;
    }
    return changed;
}

// Replaces a match and all further matches of its row, which would be next anyway. A new token can
// complete only the path of an earlier loose row; that match is replaced at once. So each row is
// processed once, and a text of any length takes linear time.
void CFilePathConverter::ReplaceByToken(CStrW& text, std::u16string_view lower,
                                        const SMatch& match) const {
    const std::u16string_view path = match.entry->lowerPath;
    CCollapsed collapsed(text);
    for (std::size_t at = match.position; at != std::u16string_view::npos;
         at = lower.find(path, collapsed.GetTaken())) {
        const std::size_t token = collapsed.TakeUpTo(at);
        SMatch next{match.entry, token};
        // INVARIANT: the changed part before `changed` has been searched already, so a new match
        // reaches at least the unit at `changed`.
        std::size_t changed = token;
        while (next.entry != nullptr) {
            collapsed.Replace(next.position, next.entry->path.GetLength(), next.entry->token);
            changed = std::min(changed, next.position);
            next = FindNewPath(collapsed.Get(), changed, lower.substr(collapsed.GetTaken()),
                               *match.entry);
        }
    }
    text.Assign(collapsed.Finish());
}

// The first loose row up to `last` whose path the part of `done` from `changed` on has completed,
// together with the text before or after that part.
CFilePathConverter::SMatch CFilePathConverter::FindNewPath(std::u16string_view done,
                                                           std::size_t changed,
                                                           std::u16string_view lowerRest,
                                                           const CFolderEntry& last) const {
    if (m_looseRows.empty()) {
        return {};
    }
    // Folds only so much text on both sides as the longest loose path can reach. Folding all of it
    // at each token would be quadratic.
    const std::size_t start = changed - std::min(changed, m_longestLoosePath);
    std::u16string around(done.substr(start));
    platform::FoldText(around.data(), around.size());
    around += lowerRest.substr(0, m_longestLoosePath);
    for (const std::size_t row : m_looseRows) {
        const CFolderEntry& entry = m_entries[row];
        const std::u16string_view path = entry.lowerPath;
        const std::size_t first = changed - std::min(changed, path.size() - 1);
        const std::size_t at = around.find(path, first - start);
        // A later row has its turn in a later round of CollapsePaths. A match that begins after
        // `done` has no part of the new token, so a later search finds it.
        if (&entry <= &last && at < done.size() - start) {
            return {&entry, start + at};
        }
    }
    return {};
}

// The first row whose path is in the text, with the leftmost place of that path.
CFilePathConverter::SMatch CFilePathConverter::FindLongestPath(std::u16string_view lower) const {
    SMatch match;
    std::size_t best = m_entries.size();
    // `best` only falls, and a row below it is taken at its first match. So each row that becomes
    // the best one has its leftmost place.
    for (const SGroup& group : m_groups) {
        for (std::size_t at = lower.find(group.prefix); at != std::u16string_view::npos;
             at = lower.find(group.prefix, at + 1)) {
            const std::u16string_view rest = lower.substr(at + group.prefix.size());
            for (const std::size_t row : group.rows) {
                // Rows of a group rise, so no later one of it is better.
                if (row >= best) {
                    break;
                }
                const std::u16string_view path = m_entries[row].lowerPath;
                const std::u16string_view tail = path.substr(group.prefix.size());
                if (platform::HasSameUnits(rest.substr(0, tail.size()), tail)) {
                    best = row;
                    match = {&m_entries[row], at};
                }
            }
        }
    }
    return match;
}

CStrW CFilePathConverter::Collapse(const CStrW& text) const {
    CStrW copy(text);
    CollapsePaths(copy, true);
    return copy;
}

// A row that is no loose one matches only from a drive on, or from two backslashes on. Such a path
// has these at its start alone, and a name has neither. So only a row that goes on after the whole
// folder reaches into a name. A short name may be that of the file.
bool CFilePathConverter::KeepsNamesIn(std::u16string_view folder) const {
    std::u16string lower(folder);
    platform::FoldText(lower.data(), lower.size());
    const auto goesOn = [&lower](const CFolderEntry& entry) {
        const std::u16string_view path = entry.lowerPath;
        return path.size() > lower.size() && path.starts_with(lower);
    };
    return !platform::HasShortNames() && m_looseRows.empty() &&
           std::none_of(m_entries.begin(), m_entries.end(), goesOn);
}

void ExpandFileTokens(CStrW& text) {
    if (HasUnit(text, u'%')) {
        CSharedHolder<CFilePathConverter>()->ExpandTokens(text);
    }
}
