#include "traversal/mounted_keys.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

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
           // Searched only where there is an underscore, which few names have.
           (!HasUnit(name, u'_') ||
            FindSubstringNoCaseIndex(name, kWow6432Node) == kAllCharacters) &&
           FindSubstringNoCaseIndex(name, kCurrentUser) == kAllCharacters &&
           !EqualsNoCase(name, kEnvironment);
}

}  // namespace

// The record of a path, which is made from that of its parent if it is not kept.
const CMountedKeys::SFolded& CMountedKeys::Get(std::u16string_view mounted, unsigned folds) {
    for (SRecord& known : m_records) {
        if (platform::HasSameUnits(known.mounted, mounted)) {
            known.lastUse = ++m_uses;
            return known.folded;
        }
    }
    SFolded folded =
        folds == 0 ? FoldAll(mounted) : Fold(mounted, Get(ParentOf(mounted), folds - 1));
    SRecord& record = *std::ranges::min_element(m_records, {}, &SRecord::lastUse);
    record.mounted = mounted;
    record.folded = std::move(folded);
    record.lastUse = ++m_uses;
    return record.folded;
}

CMountedKeys::SFolded CMountedKeys::Fold(std::u16string_view mounted, const SFolded& parent) const {
    std::u16string_view rest = mounted;
    const std::u16string_view name = TakeLastName(rest);
    if (!parent.isParent || !StaysAsItIs(name)) {
        return FoldAll(mounted);
    }
    return {{CRegPathW(parent.real.path, name), parent.real.isEnvironment}, true};
}

// On the text, not name by name: a text is removed or replaced wherever it is, also within names.
// This must stay.
CMountedKeys::SFolded CMountedKeys::FoldAll(std::u16string_view mounted) const {
    CStrW real(mounted);
    real.Remove(kMount);
    real.Remove(kRegistry);
    // Before kUser is removed below.
    const CHiveNameW hive(real.StartsWithNoCase(kUser) ? u"HKEY_USERS" : u"HKEY_LOCAL_MACHINE");
    real.Remove(kMachine);
    real.Remove(kUser);
    real.Replace(kWow6432Node, u"Wow6432Node", true);
    if (!m_sid.IsEmpty()) {
        real.Replace(kCurrentUser, m_sid, true);
    }
    SFolded folded{{CRegPathW(hive, CRegPathW(real)), false}};
    folded.real.isEnvironment = ContainsNames(mounted, {kMount, kCurrentUser, kEnvironment}) ||
                                CRegPathW(mounted).Contains(m_machineEnvironment);
    // Without a name of its own the real path says nothing of those below: the next name may have
    // another meaning as the first one. After "registry", it may even make a kernel name of both.
    folded.isParent = folded.real.path.GetSegmentCount() > 1 && !real.View().ends_with(u'\\') &&
                      !EqualsNoCase(folded.real.path.GetSegmentText(1), kRegistry.substr(1));
    return folded;
}
