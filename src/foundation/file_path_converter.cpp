#include "foundation/file_path_converter.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "foundation/file_system.h"
#include "platform/machine.h"
#include "platform/text.h"

namespace {

CStrW TokenOf(const char16_t* name) { return u'%' + CStrW(name) + u'%'; }

// Whether a row takes part in collapsing. A token put in must never make room for another match, or
// a collapse would not end: it holds no colon, and no backslash. What is no path at all (a variable
// can hold anything) has neither.
bool IsCollapsible(std::u16string_view path) {
    constexpr auto npos = std::u16string_view::npos;
    if (path.find(u':') != npos) {
        return true;
    }
    return path.size() > 1 && path.find(u'\\') != npos && path.find(u'%') == npos;
}

// Whether a path names one place on any machine: with a drive, or a server.
bool IsAbsolute(std::u16string_view path) {
    return path.find(u'%') == std::u16string_view::npos &&
           ((path.size() > 1 && path[0] != u'\\' && path[1] == u':') || path.starts_with(uR"(\\)"));
}

std::u16string_view CommonPrefix(std::u16string_view left, std::u16string_view right) {
    const auto end = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first;
    return left.substr(0, static_cast<std::size_t>(end - left.begin()));
}

// Without a way out in the middle, the compiler makes this look at many units at a time.
bool HasTwoBackslashes(std::u16string_view text) {
    bool hasTwo = false;
    for (std::size_t i = 1; i < text.size(); ++i) {
        const bool isFirst = text[i - 1] == u'\\';
        const bool isSecond = text[i] == u'\\';
        hasTwo |= isFirst & isSecond;
    }
    return hasTwo;
}

// A text on its way through the expansion of its tokens. What the scan has passed is done. The rest
// is kept in reverse, so that a path is put in front of it in the path's own length: each unit of
// the text and of the paths moves once, and the whole takes linear time.
class CTokenScan {
public:
    explicit CTokenScan(std::u16string_view text) : m_rest(text.rbegin(), text.rend()) {}

    // Goes to the next two percent signs; false when there are none.
    bool FindSpan();
    // What they enclose, with both of them.
    [[nodiscard]] std::u16string_view GetSpan() const { return m_span; }
    // Goes on after the span. Its closing percent sign is not tried as an opening one.
    void PassSpan();
    // Puts `path` in the place of the span.
    void ReplaceSpan(std::u16string_view path);
    // The text as it is now; the scan is over then.
    [[nodiscard]] std::u16string TakeResult();

private:
    void PassTo(std::size_t restLength);

    std::u16string m_done;
    std::u16string m_rest;
    std::u16string m_span;
    // Where the scan goes on. It may be before the end of what is done, where no percent sign is.
    std::size_t m_position = 0;
};

bool CTokenScan::FindSpan() {
    const std::size_t first = m_rest.rfind(u'%');
    if (first == std::u16string::npos || first == 0) {
        return false;
    }
    const std::size_t last = m_rest.rfind(u'%', first - 1);
    if (last == std::u16string::npos) {
        return false;
    }
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
    if (m_rest.ends_with(u'\\') && path.ends_with(u'\\')) {
        m_rest.pop_back();
    }
    m_rest.append(path.rbegin(), path.rend());
    // Counted from the old position, not from the token: with text in front of the token the scan
    // goes on inside the path that was put in.
    m_position += path.size();
    if (m_position > m_done.size()) {
        PassTo(m_rest.size() - (m_position - m_done.size()));
    }
}

std::u16string CTokenScan::TakeResult() {
    PassTo(0);
    return std::move(m_done);
}

void CTokenScan::PassTo(std::size_t restLength) {
    const auto passed = static_cast<std::ptrdiff_t>(m_rest.size() - restLength);
    m_done.append(m_rest.rbegin(), m_rest.rbegin() + passed);
    m_rest.resize(restLength);
}

// A text on its way to tokens: a changed part, followed by the rest of the original.
class CCollapsed {
public:
    explicit CCollapsed(std::u16string_view original) : m_original(original) {}

    // How much of the original the changed part stands for, and that part itself.
    [[nodiscard]] std::size_t GetTaken() const { return m_taken; }
    [[nodiscard]] std::u16string_view Get() const { return m_changed; }
    // Takes the original in up to `index`. Returns the length of the changed part.
    std::size_t TakeUpTo(std::size_t index);
    // Puts a token in the place of `length` units, some of which may be in the rest.
    void Replace(std::size_t position, std::size_t length, std::u16string_view token);
    // Takes the rest in and gives the whole.
    [[nodiscard]] const std::u16string& Finish();

private:
    std::u16string_view m_original;
    std::u16string m_changed;
    std::size_t m_taken = 0;
};

std::size_t CCollapsed::TakeUpTo(std::size_t index) {
    m_changed.append(m_original, m_taken, index - m_taken);
    m_taken = index;
    return m_changed.size();
}

void CCollapsed::Replace(std::size_t position, std::size_t length, std::u16string_view token) {
    const std::size_t end = position + length;
    TakeUpTo(m_taken + end - std::min(end, m_changed.size()));
    const std::u16string_view rest = end < m_changed.size()
                                         ? std::u16string_view(m_changed).substr(end)
                                         : m_original.substr(m_taken);
    const bool isAtName = !rest.empty() && rest.front() != u'\\';
    m_changed.replace(position, length, token);
    m_changed.insert(position + token.size(), isAtName ? 1 : 0, u'\\');
}

const std::u16string& CCollapsed::Finish() {
    TakeUpTo(m_original.size());
    return m_changed;
}

}  // namespace

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
        if (value.View().back() == u':') {
            value.Append(u'\\');
        }
        ExpandLongName(value);
        AddEntry(TokenOf(name), value);
    }
}

void CFilePathConverter::AddEntry(std::u16string_view token, std::u16string_view path) {
    if (path.empty()) {
        return;
    }
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
    for (std::size_t row = 0; row < m_entries.size(); ++row) {
        const std::u16string_view path = m_entries[row].lowerPath;
        if (!IsCollapsible(path)) {
            continue;
        }
        if (!IsAbsolute(path)) {
            m_looseRows.push_back(row);
            m_longestLoosePath = std::max(m_longestLoosePath, path.size());
        }
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
    thread_local std::u16string lower;  // kept, for one is made for every text
    while (MayHoldPath(text)) {
        lower = text.View();
        platform::FoldText(lower.data(), lower.size());
        const SMatch match = FindLongestPath(lower);
        if (match.entry == nullptr) {
            break;
        }
        ReplaceByToken(text, lower, match);
        changed = true;
    }
    return changed;
}

// Replaces a match, and with it all further matches of its row, which come next anyway. No earlier
// row has become possible by then but around a token that was put in, and what did is replaced at
// once. So each row is gone through once, and a text of any length takes linear time.
void CFilePathConverter::ReplaceByToken(CStrW& text, std::u16string_view lower,
                                        const SMatch& match) const {
    const std::u16string_view path = match.entry->lowerPath;
    CCollapsed collapsed(text);
    for (std::size_t at = match.position; at != std::u16string_view::npos;
         at = lower.find(path, collapsed.GetTaken())) {
        const std::size_t token = collapsed.TakeUpTo(at);
        SMatch next{match.entry, token};
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

// The first row up to `last` whose path the part of `done` from `changed` on has completed, be it
// with some of what is before it or with some of the rest.
CFilePathConverter::SMatch CFilePathConverter::FindNewPath(std::u16string_view done,
                                                           std::size_t changed,
                                                           std::u16string_view lowerRest,
                                                           const CFolderEntry& last) const {
    if (m_looseRows.empty()) {
        return {};
    }
    const std::size_t start = changed - std::min(changed, m_longestLoosePath);
    std::u16string around(done.substr(start));
    platform::FoldText(around.data(), around.size());
    around += lowerRest.substr(0, m_longestLoosePath);
    for (const std::size_t row : m_looseRows) {
        const CFolderEntry& entry = m_entries[row];
        const std::u16string_view path = entry.lowerPath;
        const std::size_t first = changed - std::min(changed, path.size() - 1);
        const std::size_t at = around.find(path, first - start);
        if (&entry <= &last && at < done.size() - start) {
            return {&entry, start + at};
        }
    }
    return {};
}

// False when none of the paths can stand in a text, which most texts tell at a glance.
bool CFilePathConverter::MayHoldPath(std::u16string_view text) const {
    return !m_looseRows.empty() || HasUnit(text, u':') || HasTwoBackslashes(text);
}

// The first row, in their order, whose path stands in the text, at its leftmost place.
CFilePathConverter::SMatch CFilePathConverter::FindLongestPath(std::u16string_view lower) const {
    SMatch match;
    std::size_t best = m_entries.size();
    for (const SGroup& group : m_groups) {
        for (std::size_t at = lower.find(group.prefix); at != std::u16string_view::npos;
             at = lower.find(group.prefix, at + 1)) {
            const std::u16string_view rest = lower.substr(at + group.prefix.size());
            for (const std::size_t row : group.rows) {
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

void ExpandFileTokens(CStrW& text) {
    if (HasUnit(text, u'%')) {
        CSharedHolder<CFilePathConverter>()->ExpandTokens(text);
    }
}
