// traversal/mounted_keys.h - maps the keys of a mounted hive to keys of the real machine.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "foundation/reg_path.h"

struct SRealKey {
    CRegPathW path;              // only the hive for the levels above all real keys
    bool isEnvironment = false;  // whether its values are environment variables
};

// Maps the path of a mounted key to the path of the real key: the mount and the upper levels of the
// captured hive are removed. The last used parents are kept, because the next keys mostly have the
// same parent and then only their own name is new.
//
// INVARIANT: each record in `m_parents` is what FoldAll gives for its path, or is empty. A record
// is replaced as a whole, the least recently used one first.
// Threads: one walk uses it, on its worker thread; no lock.
// Gain: 1.10 times fewer instructions for converting a make_hive hive of 50,000 values.
class CMountedKeys {
public:
    // The name of the mount below HKEY_LOCAL_MACHINE.
    static constexpr std::u16string_view kMount = u"CasToOrvConversion";

    // `sid` is the converting user, who takes the place of the captured one. If it is empty, keys
    // keep the captured name.
    explicit CMountedKeys(const CStrW& sid) : m_sid(sid) {}

    // Maps a path that has its hive.
    [[nodiscard]] SRealKey MapHivePath(const CRegPathW& mountedPath);

private:
    // A path without its hive, and what it maps to.
    struct SFolded {
        CStrW mounted;
        CStrW real;
        bool isUser = false;  // below HKEY_USERS, otherwise HKEY_LOCAL_MACHINE
        bool isEnvironment = false;
        std::uint64_t lastUse = 0;  // the value of `m_uses` then
    };

    // Fold uses the result for the parent of the path; FoldAll maps the path alone.
    [[nodiscard]] SFolded Fold(std::u16string_view mounted, const SFolded& parent) const;
    [[nodiscard]] SFolded FoldAll(std::u16string_view mounted) const;
    [[nodiscard]] const SFolded* FindParent(std::u16string_view mounted);
    [[nodiscard]] const SFolded& GetParent(std::u16string_view mounted);
    const SFolded& Remember(SFolded folded);

    const CStrW m_sid;
    const CRegPathW m_machineEnvironment{
        uR"(SYSTEM\CurrentControlSet\Control\Session Manager\Environment)"};
    // Three: the key whose subkeys the walk maps, the parent of the key whose values it visits, and
    // one level above.
    std::array<SFolded, 3> m_parents;
    std::uint64_t m_uses = 0;
};
