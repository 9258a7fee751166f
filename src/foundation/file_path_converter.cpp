#include "foundation/file_path_converter.h"

#include <algorithm>
#include <string>

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
           ((path.size() > 1 && path[1] == u':') || path.starts_with(uR"(\\)"));
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
    m_hasOnlyAbsolutePaths = true;
    for (std::size_t row = 0; row < m_entries.size(); ++row) {
        const std::u16string_view path = m_entries[row].lowerPath;
        if (!IsCollapsible(path)) {
            continue;
        }
        m_hasOnlyAbsolutePaths = m_hasOnlyAbsolutePaths && IsAbsolute(path);
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
    std::size_t position = 0;
    std::size_t count = 0;
    while (true) {
        const std::size_t first = text.View().find(u'%', position);
        if (first == std::u16string_view::npos) {
            return count;
        }
        const std::size_t last = text.View().find(u'%', first + 1);
        if (last == std::u16string_view::npos) {
            return count;
        }
        const std::size_t length = last + 1 - first;
        const CFolderEntry* const entry = FindToken(text.View().substr(first, length));
        if (entry == nullptr) {
            // The closing percent sign is not tried as an opening one.
            position = last + 1;
            continue;
        }
        text.Delete(first, length);
        const bool doublesBackslash = first < text.GetLength() && text.View()[first] == u'\\' &&
                                      entry->path.View().back() == u'\\';
        text.Delete(first, doublesBackslash ? 1 : 0);
        text.Insert(first, entry->path.View());
        ++count;
        // Counted from the old position, not from the token: with text in front of the token the
        // scan goes on inside the path that was put in.
        position += entry->path.GetLength();
    }
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

// Replaces a match, and with it all further matches of its row where they come next anyway: a table
// of absolute paths finds nothing new in what was put in, so no earlier row can have become
// possible.
void CFilePathConverter::ReplaceByToken(CStrW& text, std::u16string_view lower,
                                        const SMatch& match) const {
    const std::u16string_view path = match.entry->lowerPath;
    const std::u16string_view original = text;
    std::u16string result;
    std::size_t done = 0;
    std::size_t at = match.position;
    do {
        result.append(original, done, at - done);
        result.append(match.entry->token.View());
        done = at + path.size();
        if (done < original.size() && original[done] != u'\\') {
            result += u'\\';
        }
        at = lower.find(path, done);
    } while (m_hasOnlyAbsolutePaths && at != std::u16string_view::npos);
    result.append(original, done);
    text.Assign(result);
}

// False when none of the paths can stand in a text, which most texts tell at a glance.
bool CFilePathConverter::MayHoldPath(std::u16string_view text) const {
    return !m_hasOnlyAbsolutePaths || HasUnit(text, u':') || HasTwoBackslashes(text);
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
