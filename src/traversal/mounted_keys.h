// traversal/mounted_keys.h - maps the keys of a mounted hive to keys of the real machine.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/reg_path.h"

struct SRealKey {
    CRegPathW path;              // only the hive for the levels above all real keys
    bool isEnvironment = false;  // whether its values are environment variables
};

// Maps the path of a mounted key to the path of the real key: the mount and the upper levels of the
// captured hive are removed. A walk maps the key that it is at, and from there its subkeys. The
// last used keys are kept, because the next ones mostly have the same parent, and then only their
// own name is new.
//
// INVARIANT: each record is what FoldAll gives for its path, or is empty. A record is replaced as a
// whole, the least recently used one first. `m_key` is in one of them.
// Threads: one walk uses it, on its worker thread; no lock.
// Gain: 1.13 times fewer instructions for converting a make_hive hive of 50,000 values.
class CMountedKeys {
public:
    // The name of the mount below HKEY_LOCAL_MACHINE.
    static constexpr std::u16string_view kMount = u"CasToOrvConversion";

    // `sid` is the converting user, who takes the place of the captured one. If it is empty, keys
    // keep the captured name.
    explicit CMountedKeys(const CStrW& sid) : m_sid(sid) {}
    CMountedKeys(const CMountedKeys&) = delete;
    CMountedKeys& operator=(const CMountedKeys&) = delete;

    // Maps a path that has its hive. The result is valid until the next call.
    const SRealKey& MapHivePath(const CRegPathW& mountedPath) {
        m_key = &Get(mountedPath.ViewSubKey(), kMostFolds);
        return m_key->real;
    }
    // Maps the path of a subkey of the key that MapHivePath has mapped last.
    [[nodiscard]] SRealKey MapSubKey(const CRegPathW& mountedPath) const {
        return Fold(mountedPath.ViewSubKey(), *m_key).real;
    }

private:
    // What a path maps to.
    struct SFolded {
        SRealKey real;
        // Whether the real path of a subkey is this one followed by the name of the subkey, unless
        // FoldAll changes that name.
        bool isParent = false;
    };
    struct SRecord {
        std::u16string mounted;  // the path without its hive
        SFolded folded;
        std::uint64_t lastUse = 0;  // the value of `m_uses` then
    };
    // How many levels above an unknown key are folded before one is taken as the first.
    static constexpr unsigned kMostFolds = 4;

    // Fold uses the result for the parent of the path; FoldAll maps the path alone.
    [[nodiscard]] SFolded Fold(std::u16string_view mounted, const SFolded& parent) const;
    [[nodiscard]] SFolded FoldAll(std::u16string_view mounted) const;
    const SFolded& Get(std::u16string_view mounted, unsigned folds);

    const CStrW m_sid;
    const CRegPathW m_machineEnvironment{
        uR"(SYSTEM\CurrentControlSet\Control\Session Manager\Environment)"};
    // The key of the walk, those above it that an unknown key may bring, and one that stays.
    std::array<SRecord, kMostFolds + 2> m_records;
    std::uint64_t m_uses = 0;
    const SFolded* m_key = &m_records.front().folded;
};
