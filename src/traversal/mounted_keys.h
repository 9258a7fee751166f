// traversal/mounted_keys.h - what the keys of a mounted hive are on the real machine.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "foundation/reg_path.h"

struct SRealKey {
    CRegPathW path;              // the hive alone for the levels above all real keys
    bool isEnvironment = false;  // whether its values are environment variables
};

// Folds the mount and the upper levels of a captured hive away. Remembers the last parents, so that
// the next keys below them take little time. Used by one thread.
class CMountedKeys {
public:
    // The name of the mount below HKEY_LOCAL_MACHINE.
    static constexpr std::u16string_view kMount = u"CasToOrvConversion";

    // `sid` is the user who the captured one becomes; without any, keys keep the name of that one.
    explicit CMountedKeys(const CStrW& sid) : m_sid(sid) {}

    // The key of a path that has its hive.
    [[nodiscard]] SRealKey MapHivePath(const CRegPathW& mountedPath);

private:
    // A path below its hive, and what has been made of it.
    struct SFolded {
        CStrW mounted;
        CStrW real;
        bool isUser = false;  // whose hive the real one is
        bool isEnvironment = false;
        std::uint64_t lastUse = 0;
    };

    // The first by what the path's parent has become, the second without.
    [[nodiscard]] SFolded Fold(std::u16string_view mounted, const SFolded& parent) const;
    [[nodiscard]] SFolded FoldAll(std::u16string_view mounted) const;
    [[nodiscard]] const SFolded* FindParent(std::u16string_view mounted);
    [[nodiscard]] const SFolded& GetParent(std::u16string_view mounted);
    const SFolded& Remember(SFolded folded);

    const CStrW m_sid;
    const CRegPathW m_machineEnvironment{
        uR"(SYSTEM\CurrentControlSet\Control\Session Manager\Environment)"};
    // The parent of the keys that a walk finds, that of those that it opens, and one above.
    std::array<SFolded, 3> m_parents;
    std::uint64_t m_uses = 0;
};
