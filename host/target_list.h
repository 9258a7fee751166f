// host/target_list.h - lists the targets of a package.
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

// Lists the targets of the package with this profile, in their order. Returns the status of the
// library; on failure `targets` is unchanged.
[[nodiscard]] std::uint32_t ListTargets(const std::u16string& profile,
                                        std::vector<STarget>& targets);

// The same for the argument of a command, of which `profile` becomes the path for the library.
// False, with the reason on stderr, on failure; `action` is the verb for it, such as "check".
[[nodiscard]] bool ReadTargets(const std::string& argument, const char* action,
                               std::u16string& profile, std::vector<STarget>& targets);

}  // namespace host
