#include "traversal/mounted_keys.h"

#include <algorithm>
#include <initializer_list>

#include "foundation/path_names.h"
#include "platform/text.h"

namespace {

constexpr std::u16string_view kRegistry = uR"(\REGISTRY)";
constexpr std::u16string_view kMachine = uR"(\MACHINE)";
constexpr std::u16string_view kUser = uR"(\USER)";
constexpr std::u16string_view kWow6432Node = u"_ow6432Node";  // as the capture spells it
constexpr std::u16string_view kCurrentUser = u"CurrentUser";
constexpr std::u16string_view kEnvironment = u"Environment";

bool StartsWithNames(std::u16string_view path, std::initializer_list<std::u16string_view> names) {
    return std::all_of(names.begin(), names.end(), [&path](std::u16string_view name) {
        return EqualsNoCase(TakeFirstName(path), name);
    });
}

// Whether the consecutive `names` are anywhere in a path. CRegPathW::Contains does not compare the
// first name, and would accept the "Environment" key of every user.
bool ContainsNames(std::u16string_view path, std::initializer_list<std::u16string_view> names) {
    for (; !path.empty(); SkipNames(path, 1)) {
        if (StartsWithNames(path, names)) {
            return true;
        }
    }
    return false;
}

std::u16string_view ParentOf(std::u16string_view path) {
    static_cast<void>(TakeLastName(path));
    return path;
}

// Whether FoldAll leaves a last name as it is, whatever the path before it. No text that FoldAll
// looks for goes on after a backslash into another name, except by its first backslash, and both
// keys of variables end in the name "Environment".
bool StaysAsItIs(std::u16string_view name) {
    const auto isStart = [name](std::u16string_view sought) {
        return name.starts_with(sought.substr(1));  // without its backslash
    };
    return !isStart(kRegistry) && !isStart(kMachine) && !isStart(kUser) &&
           name.find(CMountedKeys::kMount) == std::u16string_view::npos &&
           FindSubstringNoCaseIndex(name, kWow6432Node) == kAllCharacters &&
           FindSubstringNoCaseIndex(name, kCurrentUser) == kAllCharacters &&
           !EqualsNoCase(name, kEnvironment);
}

}  // namespace

SRealKey CMountedKeys::MapHivePath(const CRegPathW& mountedPath) {
    const std::u16string_view mounted = mountedPath.ViewSubKey();
    const SFolded folded = Fold(mounted, GetParent(ParentOf(mounted)));
    const CHiveNameW hive(folded.isUser ? u"HKEY_USERS" : u"HKEY_LOCAL_MACHINE");
    return {CRegPathW(hive, CRegPathW(folded.real)), folded.isEnvironment};
}

CMountedKeys::SFolded CMountedKeys::Fold(std::u16string_view mounted, const SFolded& parent) const {
    std::u16string_view rest = mounted;
    const std::u16string_view name = TakeLastName(rest);
    // If nothing is left of the parent, the name becomes the first one and may have another
    // meaning.
    if (parent.real.IsEmpty() || !StaysAsItIs(name)) {
        return FoldAll(mounted);
    }
    SFolded folded{CStrW(mounted), CStrW(), parent.isUser, parent.isEnvironment};
    folded.real.Reserve(parent.real.GetLength() + name.size() + 2);
    folded.real.Append(parent.real);
    folded.real.Append(u'\\');
    folded.real.Append(name);
    return folded;
}

// On the text, not name by name: a text is removed or replaced wherever it is, also within names.
// This must stay.
CMountedKeys::SFolded CMountedKeys::FoldAll(std::u16string_view mounted) const {
    SFolded folded{CStrW(mounted), CStrW(mounted)};
    folded.isEnvironment = ContainsNames(mounted, {kMount, kCurrentUser, kEnvironment}) ||
                           CRegPathW(mounted).Contains(m_machineEnvironment);
    folded.real.Remove(kMount);
    folded.real.Remove(kRegistry);
    // Before kUser is removed below.
    folded.isUser = folded.real.StartsWithNoCase(kUser);
    folded.real.Remove(kMachine);
    folded.real.Remove(kUser);
    folded.real.Replace(kWow6432Node, u"Wow6432Node", true);
    if (!m_sid.IsEmpty()) {
        folded.real.Replace(kCurrentUser, m_sid, true);
    }
    return folded;
}

// The record of that path; null when it is not kept.
const CMountedKeys::SFolded* CMountedKeys::FindParent(std::u16string_view mounted) {
    for (SFolded& parent : m_parents) {
        if (platform::HasSameUnits(parent.mounted, mounted)) {
            parent.lastUse = ++m_uses;
            return &parent;
        }
    }
    return nullptr;
}

// The record of that path, which is made if it is not kept.
const CMountedKeys::SFolded& CMountedKeys::GetParent(std::u16string_view mounted) {
    if (const SFolded* const known = FindParent(mounted)) {
        return *known;
    }
    // Its own parent is kept too, for the siblings of this path.
    const std::u16string_view above = ParentOf(mounted);
    const SFolded* const parent = FindParent(above);
    return Remember(Fold(mounted, parent != nullptr ? *parent : Remember(FoldAll(above))));
}

// Replaces the least recently used record.
const CMountedKeys::SFolded& CMountedKeys::Remember(SFolded folded) {
    folded.lastUse = ++m_uses;
    return *std::ranges::min_element(m_parents, {}, &SFolded::lastUse) = std::move(folded);
}
