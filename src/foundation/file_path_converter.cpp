#include "foundation/file_path_converter.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "foundation/file_system.h"
#include "foundation/token_expansion.h"
#include "platform/files.h"
#include "platform/machine.h"
#include "platform/text.h"
#include "platform/unit_marks.h"

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

// A token is always followed by a backslash, unless the text ends there. A path that matched in the
// middle of a name, or ended in its own backslash, left none.
bool IsNameAfterToken(std::u16string_view rest) { return !rest.empty() && rest.front() != u'\\'; }

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
    [[nodiscard]] std::u16string Finish();

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
    const bool isAtName = IsNameAfterToken(rest);
    m_changed.replace(position, length, token);
    m_changed.insert(position + token.size(), isAtName ? 1 : 0, u'\\');
}

std::u16string CCollapsed::Finish() {
    TakeUpTo(m_original.size());
    return std::move(m_changed);
}

}  // namespace

// Of rows with the same path the one that is added first wins. So a folder of the system wins over
// an environment variable with the same path.
CFilePathConverter::CFilePathConverter() {
    AddFolders();
    AddEnvironment();
    IndexRows();
}

void CFilePathConverter::AddFolders() {
    std::u16string localAppDataLow;
    if (platform::GetLocalAppDataLow(localAppDataLow) && !localAppDataLow.empty()) {
        InsertRow(TokenOf(platform::kLocalAppDataLowName), localAppDataLow);
    }
    for (const platform::SSpecialFolder& folder : platform::kSpecialFolders) {
        CFilePathW path = GetSpecialFolderPath(folder.csidl);
        if (!path.IsEmpty()) {
            // The system may give a short name, but texts are searched for the long one.
            ExpandLongPath(path);
            InsertRow(TokenOf(folder.name), path.ToString());
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
        InsertRow(TokenOf(name), value);
    }
}

void CFilePathConverter::AddEntry(std::u16string_view token, std::u16string_view path) {
    InsertRow(token, path);
    IndexRows();
}

// The rows are not indexed yet after this.
void CFilePathConverter::InsertRow(std::u16string_view token, std::u16string_view path) {
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
}

void CFilePathConverter::IndexRows() {
    m_paths = {};
    m_hasServerPaths = false;
    m_looseRows.clear();
    m_longestLoosePath = 0;
    // In rising order, so that the first one of rows with the same path is found.
    for (std::size_t row = 0; row < m_entries.size(); ++row) {
        const std::u16string_view path = m_entries[row].lowerPath;
        if (!IsCollapsible(path)) {
            continue;
        }
        m_paths.Add(path, row);
        m_hasServerPaths |= path.starts_with(uR"(\\)");
        if (!IsAbsolute(path)) {
            m_looseRows.push_back(row);
            m_longestLoosePath = std::max(m_longestLoosePath, path.size());
        }
    }
}

std::size_t CFilePathConverter::ExpandTokens(CStrW& text) const {
    const STokenExpansion expansion =
        ReplaceTokens(text, [this](std::u16string_view token) { return FindPath(token); });
    if (expansion.count != 0) {
        text.Assign(expansion.text);
    }
    return expansion.count;
}

// The path of a token; empty when there is no such row.
std::u16string_view CFilePathConverter::FindPath(std::u16string_view token) const {
    const auto entry =
        std::find_if(m_entries.begin(), m_entries.end(), [token](const CFolderEntry& candidate) {
            return candidate.token.GetLength() == token.size() &&
                   candidate.token.EqualsNoCase(token);
        });
    return entry == m_entries.end() ? std::u16string_view() : entry->path.View();
}

CStrW CFilePathConverter::Expand(const CStrW& text) const {
    CStrW copy(text);
    ExpandTokens(copy);
    return copy;
}

bool CFilePathConverter::CollapsePaths(CStrW& text, bool expandLongName) const {
    bool changed = expandLongName && ExpandLongName(text);
    std::u16string collapsed;
    if (CollapsePaths(text.View(), collapsed)) {
        text.Assign(collapsed);
        changed = true;
    }
    return changed;
}

bool CFilePathConverter::CollapsePaths(std::u16string_view text, std::u16string& collapsed) const {
    const std::optional<bool> changed = CollapseInOnePass(text, collapsed);
    return changed ? *changed : CollapseRowByRow(text, collapsed);
}

// Replaces each match from left to right; none, if the matches depend on each other. They do not if
// no two of them touch and there is no loose row: a token then neither takes a match away nor
// completes one, since no path has a percent sign, and none begins with the backslash after it. So
// the order of the rows decides only between the paths that begin at one place.
std::optional<bool> CFilePathConverter::CollapseInOnePass(std::u16string_view text,
                                                          std::u16string& collapsed) const {
    if (!m_looseRows.empty()) {
        return std::nullopt;
    }
    collapsed.clear();
    std::size_t done = 0;
    for (SMatch match = FindNextPath(text, 0); match.entry != nullptr;) {
        const std::size_t end = match.position + match.entry->path.GetLength();
        const SMatch next = FindNextPath(text, match.position + 1);
        if (next.entry != nullptr && next.position <= end) {
            return std::nullopt;
        }
        if (done == 0) {
            collapsed.reserve(text.size() + match.entry->token.GetLength() + 1);
        }
        collapsed += text.substr(done, match.position - done);
        collapsed += match.entry->token.View();
        if (IsNameAfterToken(text.substr(end))) {
            collapsed += u'\\';
        }
        done = end;
        match = next;
    }
    if (done == 0) {
        return false;
    }
    collapsed += text.substr(done);
    return true;
}

// The first place at or after `start` where the text has the path of an absolute row, with the
// first of the rows that match there.
CFilePathConverter::SMatch CFilePathConverter::FindNextPath(std::u16string_view text,
                                                            std::size_t start) const {
    // The second unit of a path is a colon, or its first one is a backslash.
    const char16_t serverMark = m_hasServerPaths ? u'\\' : u':';
    const auto isOfPath = [serverMark](platform::UnitBlock units) {
        return platform::Equals(units, u':') | platform::Equals(units, serverMark);
    };
    constexpr std::size_t npos = std::u16string_view::npos;
    for (std::size_t at = platform::FindMarked(text, start, isOfPath); at != npos;
         at = platform::FindMarked(text, at + 1, isOfPath)) {
        const bool isDrive = text[at] == u':';
        if (isDrive && at == start) {
            continue;
        }
        const std::size_t place = isDrive ? at - 1 : at;
        const std::size_t row = m_paths.FindLongest(text.substr(place));
        if (row != CPrefixTree::kNone) {
            return {&m_entries[row], place};
        }
    }
    return {};
}

// Replaces row by row, as the rows are ordered, and searches all of the text again for each one.
bool CFilePathConverter::CollapseRowByRow(std::u16string_view text,
                                          std::u16string& collapsed) const {
    collapsed = text;
    std::u16string lower = platform::FoldedText(collapsed);
    bool changed = false;
    // Ends, because each round replaces all matches of one row, and no token completes a match of
    // an earlier row, except for loose rows, which are replaced at once.
    for (SMatch match = FindLongestPath(lower); match.entry != nullptr;
         match = FindLongestPath(lower)) {
        ReplaceByToken(collapsed, lower, match);
        lower = platform::FoldedText(collapsed);
        changed = true;
    }
    return changed;
}

// Replaces a match and all further matches of its row, which would be next anyway. A new token can
// complete only the path of an earlier loose row; that match is replaced at once. So each row is
// processed once, and a text of any length takes linear time.
void CFilePathConverter::ReplaceByToken(std::u16string& text, std::u16string_view lower,
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
    text = collapsed.Finish();
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
    for (std::size_t at = 0; at < lower.size(); ++at) {
        // The longest path at a place has the first row of those that match there.
        const std::size_t row = m_paths.FindLongest(lower.substr(at));
        if (row < best) {
            best = row;
            match = {&m_entries[row], at};
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
    const std::u16string lower = platform::FoldedText(folder);
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
