#include "traversal/mounted_keys.h"

#include <algorithm>
#include <initializer_list>

#include "foundation/path_names.h"
#include "platform/text.h"

namespace {

constexpr std::u16string_view kRegistry = uR"(\REGISTRY)";
constexpr std::u16string_view kMachine = uR"(\MACHINE)";
constexpr std::u16string_view kUser = uR"(\USER)";
constexpr std::u16string_view kWow6432Node = u"_ow6432Node";
constexpr std::u16string_view kCurrentUser = u"CurrentUser";
constexpr std::u16string_view kEnvironment = u"Environment";

bool StartsWithNames(std::u16string_view path, std::initializer_list<std::u16string_view> names) {
    return std::all_of(names.begin(), names.end(), [&path](std::u16string_view name) {
        return EqualsNoCase(TakeFirstName(path), name);
    });
}

// Whether `names` stand one behind the other in a path. Unlike CRegPathW::Contains this compares
// the first of them too, without which every user's "Environment" key would pass.
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

// Whether folding does nothing to a name but what it does to the path in front of it. Nothing that
// it looks for goes on behind the end of a name; and both keys of variables end in the same name.
bool StaysAsItIs(std::u16string_view name) {
    const auto isStart = [name](std::u16string_view sought) {
        return name.starts_with(sought.substr(1));  // behind the backslash
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
    // Where nothing is left of the parent, the name comes first and may mean more.
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

// This is done on the text, not name by name: what is taken out or replaced goes wherever it
// stands, inside of names too.
CMountedKeys::SFolded CMountedKeys::FoldAll(std::u16string_view mounted) const {
    SFolded folded{CStrW(mounted), CStrW(mounted)};
    folded.isEnvironment = ContainsNames(mounted, {kMount, kCurrentUser, kEnvironment}) ||
                           CRegPathW(mounted).Contains(m_machineEnvironment);
    folded.real.Remove(kMount);
    folded.real.Remove(kRegistry);
    folded.isUser = folded.real.StartsWithNoCase(kUser);
    folded.real.Remove(kMachine);
    folded.real.Remove(kUser);
    folded.real.Replace(kWow6432Node, u"Wow6432Node", true);
    if (!m_sid.IsEmpty()) {
        folded.real.Replace(kCurrentUser, m_sid, true);
    }
    return folded;
}

// The remembered parent of that path; null when it is none of the last ones.
const CMountedKeys::SFolded* CMountedKeys::FindParent(std::u16string_view mounted) {
    for (SFolded& parent : m_parents) {
        if (platform::HasSameUnits(parent.mounted, mounted)) {
            parent.lastUse = ++m_uses;
            return &parent;
        }
    }
    return nullptr;
}

// The parent of that path, which is remembered now.
const CMountedKeys::SFolded& CMountedKeys::GetParent(std::u16string_view mounted) {
    if (const SFolded* const known = FindParent(mounted)) {
        return *known;
    }
    // Its own parent is remembered too, for others that stand beside it.
    const std::u16string_view above = ParentOf(mounted);
    const SFolded* const parent = FindParent(above);
    return Remember(Fold(mounted, parent != nullptr ? *parent : Remember(FoldAll(above))));
}

// Takes the place of the parent that was not asked for the longest.
const CMountedKeys::SFolded& CMountedKeys::Remember(SFolded folded) {
    folded.lastUse = ++m_uses;
    return *std::ranges::min_element(m_parents, {}, &SFolded::lastUse) = std::move(folded);
}
