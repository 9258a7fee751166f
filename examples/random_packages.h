// examples/random_packages.h - packages put together at random, for trying many of them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

// What is wrong with a package, or nothing. The names are those of ToText.
enum class EFault {
    None,
    CutProfile,      // the profile breaks off
    NoTarget,        // the profile has no target
    SameTargets,     // two targets have one GUID
    CutHive,         // the hive of a target breaks off
    NoHive,          // a target has no hive
    GarbageHive,     // bytes that are no hive
    DirtyHive,       // a hive whose last write was cut off, without its logs
    GarbageLinks,    // shortcuts that are no links
    LinkedFolder,    // a symbolic link among the captured folders, where links can be made
    UnlistedFolder,  // a captured folder that no ordinary user can list
};

constexpr EFault kLastFault = EFault::UnlistedFolder;

[[nodiscard]] const char* ToText(EFault fault);

// Makes the package of a number in `folder`, which is made when missing, and gives the path of its
// profile. The same seed and fault give the same bytes everywhere. Throws std::exception when
// something cannot be written.
std::filesystem::path WriteRandomPackage(const std::filesystem::path& folder, std::uint64_t seed,
                                         EFault fault);
