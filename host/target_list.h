// host/target_list.h - the targets of a package, as its enumeration tells them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct STarget {
    std::u16string guid;  // in braces
    std::optional<std::u16string> name;
};

// Asks the library for the targets of the package with this profile, in their order. Returns its
// status; `targets` is changed only on success.
[[nodiscard]] std::uint32_t ListTargets(const std::u16string& profile,
                                        std::vector<STarget>& targets);

}  // namespace host
