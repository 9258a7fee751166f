// formats/hive/name_rules.h - which names of keys and values are the same.
#pragma once

#include <cstddef>
#include <cstdint>

#include "formats/hive/marvin.h"

namespace formats {

// Gives the small letter of a capital one and any other unit as it is.
using FoldUnit = char16_t (*)(char16_t unit);

// Names that differ only in letter case are the same. Which letters belong together, the system
// that reads the hive decides. Copies are cheap; any thread.
class CNameRules {
public:
    // `seed` must be a number that nobody outside the process knows. The names come from outside,
    // and with a known seed they could be chosen so that all hashes collide.
    CNameRules(FoldUnit foldUnit, std::uint64_t seed) : m_foldUnit(foldUnit), m_seed(seed) {}

    // With a short cut for the letters that nearly all names are made of.
    [[nodiscard]] char16_t Fold(char16_t unit) const {
        if (unit < 0x80) {
            return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
        }
        return m_foldUnit(unit);
    }
    [[nodiscard]] bool IsSame(char16_t left, char16_t right) const {
        return left == right || Fold(left) == Fold(right);
    }

    // The hash of a name, any text of units with an index operator, in whatever letter case, within
    // a scope of names.
    template <class TName>
    [[nodiscard]] std::uint64_t Hash(std::uint32_t scope, const TName& name,
                                     std::size_t length) const {
        CMarvin hash(m_seed);
        hash.Add(scope);
        for (std::size_t i = 0; i < length; i += 2) {
            const std::uint32_t second = i + 1 < length ? Fold(name[i + 1]) : 0;
            hash.Add(Fold(name[i]) | second << 16);
        }
        return hash.Finish();
    }

private:
    FoldUnit m_foldUnit;
    std::uint64_t m_seed;
};

}  // namespace formats
