// tests/windows/twins.h - packages for one conversion in Wine and one on Linux.
//
// They hold what is likely to come out otherwise, and leave out what Wine does otherwise than
// Windows. Wine's link object finds no target by a share, a relative path or the end of a path, and
// no icon by a block. Its registry gives keys in the order of their small letters, so that of two
// keys that become one another is the first when a name has one of [ \ ] ^ _ ` where the other has
// a letter. Its XML reader misreads a letter that is not ASCII at a border of 4096 bytes.
#pragma once

#include <string>

#include "support/hive_builder.h"
#include "support/package_builder.h"

// The folders of its two targets with a hive.
inline constexpr const char* kCorners64 = "7C1D52E0-93AB-4C60-A1B7-5E0F2D646464_1";
inline constexpr const char* kCorners32 = "7C1D52E0-93AB-4C60-A1B7-5E0F2D323232_1";

// Names, texts, types and places of every kind, and what makes lines in the log: a target of which
// nothing is there, scripts that are missing, links that are none. The hives are written apart.
[[nodiscard]] CTestPackage MakeCorners();

// The captured registry of a target of it.
[[nodiscard]] CTestHive MakeCornersHive(bool is64Bit);

// A package for a place within the machine's own store, where every captured file belongs to the
// assemblies. The assembly has no files of its own, which would have to lie right in its folder of
// the store.
[[nodiscard]] CTestPackage MakeAssemblies();

// The user in whose name Wine runs: the folders captured of this user become portable.
[[nodiscard]] std::string CapturedUser();
