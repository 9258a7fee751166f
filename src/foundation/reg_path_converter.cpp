#include "foundation/reg_path_converter.h"

#include <algorithm>
#include <functional>
#include <new>
#include <queue>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/reg_path.h"
#include "platform/machine.h"
#include "platform/unit_marks.h"

namespace {

// A key in the tables below. "%SID%" in the path is replaced by the current user's SID.
struct SKeyText {
    const char16_t* hive;
    const char16_t* path;
};

struct SKeyRow {
    SKeyText from;
    SKeyText to;
};

constexpr const char16_t* kClassesRoot = u"HKEY_CLASSES_ROOT";
constexpr const char16_t* kCurrentConfig = u"HKEY_CURRENT_CONFIG";
constexpr const char16_t* kCurrentUser = u"HKEY_CURRENT_USER";
constexpr const char16_t* kMachine = u"HKEY_LOCAL_MACHINE";
constexpr const char16_t* kUsers = u"HKEY_USERS";

// Tried in this order, so a longer alias is before a shorter one that it begins with. The second
// row of each alias of the classes never matches: the machine's classes win. The 32-bit view of a
// user's classes becomes the user's classes. Every text of both tables has "HKEY_" at its start and
// nowhere else; FindRoot relies on that.
constexpr SKeyRow kExpansions[] = {
    {{kClassesRoot, u"Wow6432Node"}, {kMachine, uR"(SOFTWARE\Wow6432Node\Classes)"}},
    {{kClassesRoot, u"Wow6432Node"}, {kUsers, u"%SID%_Classes"}},
    {{kClassesRoot, u""}, {kMachine, uR"(SOFTWARE\Classes)"}},
    {{kClassesRoot, u""}, {kUsers, u"%SID%_Classes"}},
    {{kCurrentUser, uR"(Software\Classes\Wow6432Node)"}, {kUsers, u"%SID%_Classes"}},
    {{kCurrentUser, uR"(Software\Classes)"}, {kUsers, u"%SID%_Classes"}},
    {{kCurrentUser, u""}, {kUsers, u"%SID%"}},
    {{kMachine, uR"(SOFTWARE\Classes\Wow6432Node)"},
     {kMachine, uR"(SOFTWARE\Wow6432Node\Classes)"}},
    {{kMachine, uR"(SYSTEM\ControlSet001\Control\Print\Printers)"},
     {kMachine, uR"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Print\Printers)"}},
    {{kMachine, uR"(SYSTEM\ControlSet001\Hardware Profiles\Current)"},
     {kMachine, uR"(SYSTEM\ControlSet001\Hardware Profiles\0001)"}},
    {{kMachine, uR"(SYSTEM\CurrentControlSet\Control\Print\Printers)"},
     {kMachine, uR"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Print\Printers)"}},
    {{kMachine, uR"(SYSTEM\CurrentControlSet\Hardware Profiles\Current)"},
     {kMachine, uR"(SYSTEM\ControlSet001\Hardware Profiles\0001)"}},
    {{kMachine, uR"(SYSTEM\CurrentControlSet)"}, {kMachine, uR"(SYSTEM\ControlSet001)"}},
    {{kUsers, u"S-1-5-18"}, {kUsers, u".DEFAULT"}},
    {{kUsers, uR"(S-1-5-19\Software\Classes)"}, {kUsers, u"S-1-5-19_Classes"}},
    {{kUsers, uR"(S-1-5-20\Software\Classes)"}, {kUsers, u"S-1-5-20_Classes"}},
    {{kUsers, uR"(%SID%\Software\Classes\Wow6432Node)"}, {kUsers, u"%SID%_Classes"}},
    {{kUsers, uR"(%SID%\Software\Classes)"}, {kUsers, u"%SID%_Classes"}},
    {{kUsers, uR"(%SID%_Classes\Wow6432Node)"}, {kUsers, u"%SID%_Classes"}},
    {{kCurrentConfig, u""}, {kMachine, uR"(SYSTEM\ControlSet001\Hardware Profiles\0001)"}},
};

// Here `to` is searched for and replaced by `from`. No row begins with the text of an earlier one,
// so the first row that matches at a place is the longest one.
constexpr SKeyRow kCollapses[] = {
    {{kMachine, uR"(SYSTEM\CurrentControlSet\Control\Print\Printers)"},
     {kMachine, uR"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Print\Printers)"}},
    {{kMachine, uR"(SYSTEM\CurrentControlSet\Hardware Profiles\Current)"},
     {kMachine, uR"(SYSTEM\ControlSet001\Hardware Profiles\0001)"}},
    {{kMachine, uR"(SYSTEM\CurrentControlSet)"}, {kMachine, uR"(SYSTEM\ControlSet001)"}},
    {{kCurrentUser, uR"(Software\Classes)"}, {kUsers, u"%SID%_Classes"}},
    {{kCurrentUser, u""}, {kUsers, u"%SID%"}},
};

// Without a SID the text around it is left: a path such as "_Classes", or the hive alone. The
// result is never empty, because an empty text would match everywhere; without memory this throws.
CStrW BuildKeyText(const SKeyText& key, std::u16string_view sid) {
    constexpr std::u16string_view kSid = u"%SID%";
    std::u16string path = key.path;
    if (const std::size_t place = path.find(kSid); place != std::u16string::npos) {
        path.replace(place, kSid.size(), sid);
    }
    CStrW text = CRegPathW(CRegPathW(key.hive), CRegPathW(path)).ToString();
    if (text.IsEmpty()) {
        throw std::bad_alloc();
    }
    return text;
}

template <std::size_t count>
std::vector<CKeyMapping> BuildRows(const SKeyRow (&rows)[count], std::u16string_view sid) {
    std::vector<CKeyMapping> mappings;
    mappings.reserve(count);
    for (const SKeyRow& row : rows) {
        mappings.push_back({BuildKeyText(row.from, sid), BuildKeyText(row.to, sid)});
    }
    return mappings;
}

constexpr std::size_t kNowhere = std::u16string_view::npos;

bool BeginsWith(std::u16string_view text, std::u16string_view prefix) {
    // The last unit first, because the keys differ mostly at their end. The letter case of ASCII is
    // a single bit.
    const auto endsOtherwise = [text, prefix] {
        const char16_t last = text[prefix.size() - 1];
        return ((last ^ prefix.back()) & ~0x20) != 0 && last < 0x80 && prefix.back() < 0x80;
    };
    return prefix.empty() || (text.size() >= prefix.size() && !endsOtherwise() &&
                              FindSubstringNoCaseIndex(text.substr(0, prefix.size()), prefix) == 0);
}

// The index of the next "hkey_" at or after `start`, ignoring case. Every text of both tables has
// it at its start and nowhere else, so a match begins at such a place, and matches never overlap.
std::size_t FindRoot(std::u16string_view text, std::size_t start) {
    constexpr std::u16string_view kLetters = u"hkey";
    // Searched by the underscore: it is rare, and no other unit folds to it.
    for (std::size_t mark = platform::FindUnit(text, u'_', start + kLetters.size());
         mark != kNowhere; mark = platform::FindUnit(text, u'_', mark + 1)) {
        if (BeginsWith(text.substr(mark - kLetters.size()), kLetters)) {
            return mark - kLetters.size();
        }
    }
    return kNowhere;
}

// The index of the first row whose alias is the start of `head` followed by `tail`.
std::size_t FindRow(const std::vector<CKeyMapping>& rows, std::u16string_view head,
                    std::u16string_view tail) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const std::u16string_view sought = rows[row].from;
        const std::size_t inHead = std::min(head.size(), sought.size());
        if (BeginsWith(head, sought.substr(0, inHead)) && BeginsWith(tail, sought.substr(inHead))) {
            return row;
        }
    }
    return kNowhere;
}

// Expands the aliases of one text.
//
// INVARIANT: `m_places` are the places of the first matches, from left to right. A replacement
// begins with "HKEY_" like the text that it replaces, so it changes the match at its own place and
// at no other one. `m_queue` has each place that matches a row, at most once, with that row. So the
// next replacement costs O(log n), and a text of n keys O(n log n); to search the text again after
// each one would be quadratic.
class CKeyExpansion {
public:
    CKeyExpansion(const std::vector<CKeyMapping>& rows, std::u16string_view text);

    // Makes all replacements and gives their number.
    std::size_t Run();
    [[nodiscard]] CStrW Print() const;

private:
    // The text of the place is now `head`, followed by the original text from `rest` to the next
    // place.
    struct SPlace {
        std::size_t start;
        std::size_t rest;
        std::u16string head;
    };
    // A row and the index of a place. The least pair is replaced next: the first row, at its
    // leftmost place.
    using SMatch = std::pair<std::size_t, std::size_t>;

    void Replace(std::size_t index, const CKeyMapping& row);
    void Rematch(std::size_t index);
    [[nodiscard]] std::size_t GetPosition(std::size_t index) const;
    void Shift(std::size_t index, std::size_t added);

    const std::vector<CKeyMapping>& m_rows;
    std::u16string_view m_text;
    std::vector<SPlace> m_places;
    std::priority_queue<SMatch, std::vector<SMatch>, std::greater<>> m_queue;
    // The growth of each place in UTF-16 units, as a Fenwick tree: the position of a place costs
    // O(log n). Shrinking counts modulo 2^64.
    std::vector<std::size_t> m_growth;
};

CKeyExpansion::CKeyExpansion(const std::vector<CKeyMapping>& rows, std::u16string_view text)
    : m_rows(rows), m_text(text) {
    for (std::size_t start = FindRoot(text, 0); start != kNowhere;) {
        const std::size_t row = FindRow(rows, {}, text.substr(start));
        if (row == kNowhere) {
            start = FindRoot(text, start + 1);
            continue;
        }
        m_queue.emplace(row, m_places.size());
        m_places.push_back({start, start, {}});
        start = FindRoot(text, start + rows[row].from.GetLength());
    }
    m_growth.resize(m_places.size());
}

std::size_t CKeyExpansion::Run() {
    std::size_t count = 0;
    std::size_t position = 0;
    while (!m_queue.empty()) {
        const auto [row, index] = m_queue.top();
        m_queue.pop();
        // A place before the position stays there: the position moves by the whole replacement, the
        // place by less. So it may be dropped.
        if (GetPosition(index) < position) {
            continue;
        }
        Replace(index, m_rows[row]);
        ++count;
        // Counted from the old position, not from the match. This must stay; see ExpandKeyText.
        position += m_rows[row].to.GetLength();
        Rematch(index);
    }
    return count;
}

void CKeyExpansion::Replace(std::size_t index, const CKeyMapping& row) {
    SPlace& place = m_places[index];
    const std::size_t matched = row.from.GetLength();
    // The match may go on from the head of an earlier replacement into the original text.
    const std::size_t fromHead = std::min(matched, place.head.size());
    place.head.replace(0, fromHead, row.to.View());
    place.rest += matched - fromHead;
    Shift(index, row.to.GetLength() - matched);
}

// Queues the place again when its new text, with the text after it, matches a row.
void CKeyExpansion::Rematch(std::size_t index) {
    const SPlace& place = m_places[index];
    const std::size_t end = index + 1 < m_places.size() ? m_places[index + 1].start : m_text.size();
    const std::size_t row =
        FindRow(m_rows, place.head, m_text.substr(place.rest, end - place.rest));
    if (row != kNowhere) {
        m_queue.emplace(row, index);
    }
}

// Adds the growth of all places before this one. `node & (node - 1)` takes off the lowest bit that
// is set, which is the number of places that the node of the tree covers.
std::size_t CKeyExpansion::GetPosition(std::size_t index) const {
    std::size_t position = m_places[index].start;
    for (std::size_t node = index; node != 0; node &= node - 1) {
        position += m_growth[node - 1];
    }
    return position;
}

// Adds to every node of the tree that covers the place. `node & (~node + 1)` is the lowest bit.
void CKeyExpansion::Shift(std::size_t index, std::size_t added) {
    for (std::size_t node = index + 1; node <= m_growth.size(); node += node & (~node + 1)) {
        m_growth[node - 1] += added;
    }
}

CStrW CKeyExpansion::Print() const {
    std::u16string text;
    std::size_t done = 0;
    for (const SPlace& place : m_places) {
        text += m_text.substr(done, place.start - done);
        text += place.head;
        done = place.rest;
    }
    text += m_text.substr(done);
    return CStrW(text);
}

}  // namespace

CRegPathConverter::CRegPathConverter() {
    const std::u16string sid = platform::GetUserSid();
    m_expansions = BuildRows(kExpansions, sid);
    m_collapses = BuildRows(kCollapses, sid);
    for (std::size_t row = 0; row < m_collapses.size(); ++row) {
        m_storedKeys.Add(platform::FoldedText(m_collapses[row].to), row);
    }
}

std::size_t CRegPathConverter::ExpandKeyText(CStrW& text) const {
    CKeyExpansion expansion(m_expansions, text);
    const std::size_t count = expansion.Run();
    if (count != 0) {
        text = expansion.Print();
    }
    return count;
}

bool CRegPathConverter::CollapseKeyText(CStrW& text) const {
    std::u16string collapsed;
    if (!CollapseKeyText(text.View(), collapsed)) {
        return false;
    }
    text.Assign(collapsed);
    return true;
}

bool CRegPathConverter::CollapseKeyText(std::u16string_view text, std::u16string& collapsed) const {
    // No portable key begins like a stored one, and matches never overlap. So one pass gives the
    // same as a new search for the first row after each replacement.
    collapsed.clear();
    std::size_t done = 0;
    for (std::size_t place = FindRoot(text, 0); place != kNowhere;) {
        const std::size_t row = m_storedKeys.FindLongest(text.substr(place));
        if (row == CPrefixTree::kNone) {
            place = FindRoot(text, place + 1);
            continue;
        }
        collapsed += text.substr(done, place - done);
        collapsed += m_collapses[row].from.View();
        done = place + m_collapses[row].to.GetLength();
        place = FindRoot(text, done);
    }
    if (done == 0) {
        return false;
    }
    collapsed += text.substr(done);
    return true;
}

bool CRegPathConverter::KernelPathToHivePath(CStrW& text) {
    const SKernelRoot* const root = FindKernelRoot(text);
    if (root == nullptr) {
        return false;
    }
    text.Delete(0, root->kernelName.size());
    text.Prepend(root->hiveName);
    return true;
}
