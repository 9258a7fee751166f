// examples/sample.h - the parts of the sample package.
//
// "Planner" of "Tarnbrook Works", both invented, captured twice: on a 64-bit and on a 32-bit
// system.
#pragma once

#include <string>

#include "support/package_builder.h"

// The whole package: what its profile says, with both targets.
[[nodiscard]] CTestPackage MakeSample();

// The captured files of a target: program, shared parts, settings, documents, shortcuts, and the
// marks that a capture leaves.
void AddFiles(CTestTarget& target, bool is64Bit);

// The captured registry of a target as the bytes of a hive.
[[nodiscard]] std::string MakeHive(bool is64Bit);
